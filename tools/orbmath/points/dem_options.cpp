// The options of commands that take heights from a DEM.

#include "points/dem_options.h"

#include <cmath>

#include "errors.h"
#include "frame/zxstd/number_text.h"
#include "models/raster_library.h"

namespace orbmath_tool {

const char* const kNoTerrainHeight = "no terrain height there (a void, or outside the DEM)";

void DemChoice::Declare(CommandLine& line) {
  line.Texts("--dem", "FILE...", &files_, "DEM, any raster that GDAL opens; several make one surface");
  line.Text("--geoid", "FILE|NAME|none", &geoid_,
            "what the DEM's heights count from: a geoid grid, egm96, egm2008, or none for the ellipsoid");
  line.Text("--void-height", "H|geoid", &void_height_,
            "height of voids and outside the DEM, metres in its own vertical reference, or that of the geoid");
  line.Choice("--interpolation", {"bilinear", "bicubic"}, &interpolation_,
              "between the DEM's posts (default: bilinear)");
}

std::shared_ptr<const SatCommonUtils::THeightSurface> DemChoice::Open(std::size_t cache_bytes) const {
  if (!IsGiven()) {
    if (!geoid_.empty() || !void_height_.empty() || interpolation_ != 0) {
      throw UsageError("--geoid, --void-height and --interpolation need --dem");
    }
    return nullptr;
  }
  DemRequest request;
  request.files = files_;
  request.cache_bytes = cache_bytes;
  request.geoid = geoid_;
  request.bicubic = interpolation_ == 1;
  request.void_is_geoid = void_height_ == "geoid";
  if (!void_height_.empty() && !request.void_is_geoid &&
      (!SatCommonUtils::ParseDouble(void_height_, &request.void_height) || !std::isfinite(request.void_height))) {
    throw UsageError("--void-height is a number of metres or 'geoid'");
  }
  return OpenDem(request);
}

}  // namespace orbmath_tool
