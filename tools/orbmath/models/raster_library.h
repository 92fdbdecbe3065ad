#pragma once
/// \file
/// OrbmathRaster, loaded at run time when a file needs it: a start without images costs no GDAL.

#include <cstddef>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "raster/grid.h"
#include "raster/ortho.h"
#include "rpc/rpc_file.h"
#include "terrain/height_surface.h"

namespace orbmath_tool {

/// `ReadImageModel` of that library. \return false, and in `error` (not null) what to install, when it is not there.
bool ReadImage(const std::string& name, const SatCommonUtils::TRPCFileOptions& options, SatCommonUtils::TRPCFile* out,
               SatCommonUtils::TRPCFileError* error);

/// `WriteImageModel` of that library. \return as `ReadImage`.
bool WriteImage(const std::string& name, const SatCommonUtils::TRPCData& record,
                const SatCommonUtils::TRPCFileExtras& extras, SatCommonUtils::TRPCFileError* error);

/// A DEM as the command line asks for it.
struct DemRequest {
  std::vector<std::string> files;
  std::string geoid;  ///< name, path, "none", or empty: as the files say
  bool bicubic = false;
  double void_height = std::numeric_limits<double>::quiet_NaN();  ///< in the files' own reference; NaN: voids stay
  std::size_t cache_bytes = std::size_t(256) << 20;
  bool void_is_geoid = false;  ///< voids are at the height of the geoid
};

/// Opens a DEM as heights above the ellipsoid; what was assumed is said on standard error. \throws Failure
std::shared_ptr<const SatCommonUtils::THeightSurface> OpenDem(const DemRequest& request);

/// `WriteGrid` of that library, in the same way. \throws Failure
SatCommonUtils::TGridResult MakeGridFile(const SatCommonUtils::TGridProblem& problem,
                                         const SatCommonUtils::TGridOptions& options);

/// `Orthorectify` of that library; what was chosen is said on standard error. \throws Failure when there is no result
SatCommonUtils::TOrthoResult MakeOrthoimage(const SatCommonUtils::TOrthoProblem& problem,
                                            const SatCommonUtils::TOrthoOptions& options);
/// Opens a geoid, by name or path: its heights above the ellipsoid. \throws Failure
std::shared_ptr<const SatCommonUtils::THeightSurface> OpenGeoidSurface(const std::string& name);

/// The two ways between a reference system and WGS84: east, north (or longitude, latitude) and height to longitude,
/// latitude and height above the ellipsoid, in place; points without an image are NaN.
struct ReferenceSystem {
  using Way = std::function<void(std::size_t count, double* x, double* y, double* z)>;
  Way to_wgs84;
  Way from_wgs84;
  bool is_geographic = false;
};
/// Opens a reference system, "EPSG:n" or what else PROJ understands. \throws Failure
ReferenceSystem OpenReference(const std::string& definition);

}  // namespace orbmath_tool
