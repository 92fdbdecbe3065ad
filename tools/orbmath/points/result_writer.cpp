// Headers, brackets and files around printed blocks.

#include "points/result_writer.h"

#include "errors.h"

namespace orbmath_tool {

using Form = StreamOptions::Form;

ResultWriter::ResultWriter(const StreamOptions& options, const ResultTask& task)
    : options_(options), task_(task), place_(task.Place()) {
  if (options.form == Form::GeoJson && !place_) {
    throw UsageError("--geojson needs ground points in longitude, latitude and height");
  }
  if (options.output != "-") file_.emplace(options.output);
  if (options.form == Form::GeoJson) Put("{\"type\":\"FeatureCollection\",\"features\":[");
}

std::size_t ResultWriter::Print(const LineBlock& block, const Travellers& travellers, CharBuffer* out) const {
  const std::vector<OutputColumn>& columns = task_.Columns();
  switch (options_.form) {
    case Form::Csv:
      return PrintCsv(block, columns, travellers, out);
    case Form::Json:
      return PrintJson(block, columns, travellers, out);
    case Form::GeoJson:
      return PrintGeoJson(block, columns, travellers, *place_, out);
    case Form::Lines:
      break;
  }
  return PrintLines(block, columns, travellers, out);
}

void ResultWriter::Put(std::string_view text) {
  if (file_) {
    file_->Write(text);
  } else {
    WriteToStandardOutput(text);
  }
}

void ResultWriter::Write(std::string_view printed, const Travellers& travellers) {
  if (options_.form == Form::Csv && !printed.empty()) {
    if (!names_) {
      names_ = travellers.names;
      Put(CsvHeader(task_.Columns(), travellers));
    } else if (*names_ != travellers.names) {
      throw Failure("the files have different columns beside those of the points, which one CSV cannot hold");
    }
  }
  if (options_.form == Form::GeoJson && !printed.empty() && !has_feature_) {
    has_feature_ = true;
    printed.remove_prefix(1);  // the comma before the first one
  }
  Put(printed);
}

void ResultWriter::Finish() {
  if (options_.form == Form::Csv && !names_) Put(CsvHeader(task_.Columns(), {}));
  if (options_.form == Form::GeoJson) Put("\n]}\n");
  if (file_) OutputFile::Commit({&*file_});
}

}  // namespace orbmath_tool
