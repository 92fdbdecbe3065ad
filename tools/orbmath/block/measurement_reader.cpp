// Measurements of whatever form: what a path holds, and tables of them.

#include "block/measurement_reader.h"

#include <cmath>
#include <filesystem>

#include "block/table_columns.h"
#include "block/table_rows.h"
#include "errors.h"

namespace orbmath_tool {

void MeasurementReader::Read(const std::string& path) {
  std::error_code ignored;
  if (std::filesystem::is_directory(std::filesystem::u8path(path), ignored)) {
    ReadHomolFolder(path, &pairs_);
  } else if (IsColmapImages(path)) {
    ReadColmapImages(path, images_, data_);
  } else {
    ReadTable(path);
  }
}

void MeasurementReader::ReadPair(const std::string& given) {
  const std::size_t sign = given.find('=');
  const std::size_t comma = given.find(',');
  if (sign == std::string::npos || comma == std::string::npos || comma > sign) {
    throw UsageError("--matches is IMAGE,IMAGE=FILE, not '" + given + "'");
  }
  pairs_.Read(given.substr(sign + 1), given.substr(0, comma), given.substr(comma + 1, sign - comma - 1));
}

void MeasurementReader::ReadTable(const std::string& path) {
  enum Column : std::size_t { kPoint, kImage, kLine, kSample, kSigma };
  const std::vector<TableColumn> wanted = {TextColumn("point", {"pointid", "id", "track", "name"}, true),
                                           TextColumn("image", {"imageid", "img", "file"}, true), columns::kLine,
                                           columns::kSample, OpenColumn(columns::kSigma, false)};
  ForEachBlock(path, wanted, columns_, "measurement 'point image line sample [sigma]'",
               [&](const LineBlock& block, const RowPlaces& places, RowRefusals* refused) {
                 for (std::size_t i = 0; i < block.count; ++i) {
                   const double sigma = block.in[kSigma][i];
                   if (sigma <= 0.0) {
                     refused->Add(places.Of(i), "sigma must be above 0");
                     continue;
                   }
                   if (block.texts[kPoint][i].empty()) {
                     refused->Add(places.Of(i), "the point has no name");
                     continue;
                   }
                   const std::int32_t image = images_->Find(block.texts[kImage][i]);
                   if (image < 0) {
                     ++data_->unknown_images[std::string(block.texts[kImage][i])];
                     continue;
                   }
                   data_->measurements.Add(static_cast<std::uint32_t>(data_->points.Add(block.texts[kPoint][i])),
                                           static_cast<std::uint32_t>(image), block.in[kLine][i] - shift_,
                                           block.in[kSample][i] - shift_, std::isnan(sigma) ? 0.0 : sigma);
                 }
               });
}

}  // namespace orbmath_tool
