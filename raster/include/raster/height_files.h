#pragma once
/// \file
/// Height surfaces from files: DEM rasters and geoid grids in any container, reference system and size.

#include <orbmath/terrain/height_grid.h>

#include <cstddef>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "api.h"

namespace SatCommonUtils {

/// Which heights a surface's files give, and how.
struct TDemOptions {
  /// UTF-8, at least one; several make one mosaic and need one reference system: what GDAL opens, a VRT, "/vsizip/..."
  /// too. Where files overlap the last one that has a height counts.
  std::vector<std::string> files;
  /// What the heights count from. Empty: what the files' reference system says, else the ellipsoid, with a warning.
  /// "none": the ellipsoid. Else the name or path of a geoid grid, see `OpenGeoid`. Overrules the files, with a note.
  std::string geoid;
  THeightInterpolation interpolation = THeightInterpolation::Bilinear;  ///< between the posts
  /// Height of voids and of everything outside the files, metres in the files' own vertical reference (0: the geoid,
  /// where there is one); NaN: unknown there.
  double voidHeight = std::numeric_limits<double>::quiet_NaN();
  /// Memory for posts. Files that need more are read in tiles, of which the ones used last are kept.
  std::size_t cacheBytes = std::size_t(256) << 20;
};

/// A surface that was opened, and what its user should know of it.
struct TDemSurface {
  std::shared_ptr<const THeightSurface> surface;  ///< heights above the ellipsoid; null: not opened
  bool hasGeoid = false;                          ///< a geoid is part of it
  std::vector<std::string> notes;                 ///< sentences without a full stop
  std::vector<std::string> warnings;              ///< the same, of what was assumed
};

/// Opens a DEM as heights above the WGS84 ellipsoid.
///
/// Posts are pixel centres. Voids are what the file's nodata value or mask says, and NaN. Scale and offset of the band
/// are applied. Heights in feet and the like are not converted; a warning names the unit. A reference system other than
/// WGS84 longitudes and latitudes is transformed by PROJ, and heights are interpolated in the file's own plane. The
/// surface may be used by any number of threads; reading is one thread's at a time. \param out untouched on failure.
/// \param error may be null; one sentence on failure that names the file. \return true when the surface is there.
ORBMATH_RASTER_API bool OpenDem(const TDemOptions& options, TDemSurface* out, std::string* error);

/// Opens a geoid grid: heights of the geoid above the WGS84 ellipsoid, bilinear.
/// \param name a path (GTX, GeoTIFF, GeographicLib's PGM, ...), or "egm96" or "egm2008", which are looked for where
/// PROJ keeps its grids. \param error may be null. \return null on failure.
ORBMATH_RASTER_API std::shared_ptr<const THeightSurface> OpenGeoid(const std::string& name, std::size_t cacheBytes,
                                                                   std::string* error);

}  // namespace SatCommonUtils
