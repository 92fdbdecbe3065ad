// Where the pixels of a map lie, from the command line.

#include "models/map_options.h"

#include "errors.h"

namespace orbmath_tool {

void MapFrameChoice::Declare(CommandLine& line) {
  line.Text("--crs", "EPSG:N|WKT", &crs_, "reference system of the map (default: UTM zone of the image's centre)");
  line.Number("--resolution", "R", &resolution_, "size of a pixel in units of the map (default: the image's)");
  line.Numbers("--bounds", "XMIN YMIN XMAX YMAX", 4, &bounds_,
               "edges of the map in its units, longitude first, kept exactly (default: all of the image's ground)");
  line.Text("--like", "FILE", &like_, "take reference system, pixels and bounds of a raster");
}

SatCommonUtils::TMapFrameOptions MapFrameChoice::Options() const {
  if (!like_.empty() && (!crs_.empty() || resolution_ || !bounds_.empty())) {
    throw UsageError("--like says all of --crs, --resolution and --bounds");
  }
  if (resolution_ && !(*resolution_ > 0.0)) throw UsageError("--resolution is a number above 0");
  SatCommonUtils::TMapFrameOptions options;
  options.crs = crs_;
  options.resolution = resolution_.value_or(0.0);
  if (!bounds_.empty()) {
    if (!(bounds_[0] < bounds_[2] && bounds_[1] < bounds_[3])) {
      throw UsageError("--bounds are XMIN YMIN XMAX YMAX, the smaller values first");
    }
    options.bounds = SatCommonUtils::TMapBounds{bounds_[0], bounds_[1], bounds_[2], bounds_[3]};
  }
  options.like = like_;
  return options;
}

}  // namespace orbmath_tool
