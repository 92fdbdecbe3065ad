// Declaring and checking the options that commands on points share.

#include "points/point_options.h"

#include "errors.h"
#include "frame/zxstd/threads.h"
#include "report/fixed_digits.h"
#include "report/output_file.h"

namespace orbmath_tool {

void PixelOrigin::Declare(CommandLine& line) {
  line.Choice("--origin", {"center", "corner", "one"}, &choice_,
              "where line and sample of the points count from: 0 at the centre of the first pixel as in RPB and text "
              "files (center, the default), 0 at its corner (corner), 1 at its centre (one)");
}

double PixelOrigin::Shift() const {
  constexpr double kShifts[] = {0.0, 0.5, 1.0};
  return kShifts[choice_];
}

void PointOptions::DeclareOutput(CommandLine& line) {
  line.Count("--precision", "N", 0, kMostDigits, &precision_,
             "digits after the point (default: 6 for pixels, 10 for degrees, 4 for metres)");
  line.Flag("--dms", &dms_, "angles as degrees, minutes and seconds");
  line.Flag("--csv", &csv_, "a table with a line of names, in which the input's other columns stand too");
  line.Flag("--json", &json_, "one JSON object a point instead of a line of fields");
  line.Flag("--geojson", &geojson_, "one GeoJSON collection of points");
  line.Text("--output", "FILE", &stream_.output, "write there, whole or not at all, instead of to standard output");
  line.Count("--threads", "N", 1, 1024, &threads_, "threads that compute (default: one a processor)");
}

OutputColumn PointOptions::Angle(const char* name, const char* letters) const {
  // A hundredth of a second of arc is some 0.3 m, so four digits fewer than of degrees say as much.
  constexpr int kSecondDigits = kDegreeDigits - 4;
  if (!dms_) return {name, Digits(kDegreeDigits)};
  return {name, Digits(kSecondDigits), {}, letters};
}

void PointOptions::DeclareFiles(CommandLine& line) {
  line.Arguments("POINTS", &stream_.inputs, 0, "files of points, '-' for standard input (the default)");
  DeclareInput(line);
}

void PointOptions::DeclareInput(CommandLine& line) {
  line.Texts("--point", "TEXT", &stream_.points, "a point instead of files of points, e.g. '47.3 8.5 410'");
  line.Text("--columns", "NAMES", &stream_.columns,
            "names of the points' columns joined by commas (default: the first line of a file when it holds names, or "
            "else the order said below); columns of other names travel to the output");
}

void PointOptions::DeclareFilesOption(CommandLine& line) {
  line.Texts("--points", "FILE...", &stream_.inputs, "file of points, '-' for standard input (the default)");
  DeclareInput(line);
}

void PointOptions::KeepFromReplacing(const std::vector<std::string>& read) const {
  RefuseToReplace(stream_.output, read);
}

StreamOptions PointOptions::Checked() const {
  if (csv_ + json_ + geojson_ > 1) throw UsageError("--csv, --json and --geojson exclude each other");
  if (!stream_.points.empty() && !stream_.inputs.empty())
    throw UsageError("--point takes the place of files of points");
  RefuseToReplace(stream_.output, stream_.inputs);
  StreamOptions options = stream_;
  options.form = csv_       ? StreamOptions::Form::Csv
                 : json_    ? StreamOptions::Form::Json
                 : geojson_ ? StreamOptions::Form::GeoJson
                            : StreamOptions::Form::Lines;
  return options;
}

int PointOptions::StatusOf(const StreamResult& result) const {
  if (result.errors == 0) return kSuccess;
  Complain(std::to_string(result.errors) + (result.errors == 1 ? " line" : " lines") + " could not be computed, see " +
           (csv_ || json_ || geojson_ ? "error" : "ERROR"));
  return kFailure;
}

int PointOptions::Run(PointTask* task) const {
  if (threads_) SatCommonUtils::ZxSetThreadsCount(*threads_);
  return StatusOf(RunPointStream(Checked(), task));
}

int PointOptions::Run(BlockTask* task) const {
  if (threads_) SatCommonUtils::ZxSetThreadsCount(*threads_);
  return StatusOf(RunBlocks(Checked(), task));
}

std::string PointOptions::OneFile() const {
  if (stream_.inputs.size() > 1 || !stream_.points.empty()) throw UsageError("--tracks takes one file by --points");
  return stream_.inputs.empty() ? "-" : stream_.inputs.front();
}

}  // namespace orbmath_tool
