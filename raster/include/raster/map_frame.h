#pragma once
/// \file
/// Where the pixels of a map lie: reference system, transform and size, given or chosen for an image.

#include <orbmath/rpc/rpc_model.h>
#include <orbmath/terrain/height_surface.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "api.h"

namespace SatCommonUtils {

/// How the making of a raster file ended.
enum class TMapState : std::int32_t {
  NotRun,   ///< Nothing was done.
  Done,     ///< The file is there.
  Stopped,  ///< The progress handler asked for it; nothing was written.
  Failed,   ///< The result's sentence says why; nothing was written.
};

/// The pixels of a map.
struct TMapFrame {
  std::string crs;  ///< WKT; x is the easting or longitude, y the northing or latitude
  /// The outer corner of pixel (column, row) is x = t[0] + column t[1] + row t[2], y = t[3] + column t[4] + row t[5].
  double transform[6] = {0.0, 1.0, 0.0, 0.0, 0.0, -1.0};
  int columns = 0;  ///< pixels in a row
  int rows = 0;     ///< number of rows
};

/// Edges of a map in the units of its reference system.
struct TMapBounds {
  double xMin = 0.0;  ///< west
  double yMin = 0.0;  ///< south
  double xMax = 0.0;  ///< east
  double yMax = 0.0;  ///< north
};

/// What is asked of a frame; the rest is chosen.
struct TMapFrameOptions {
  /// "EPSG:n", WKT, PROJ string or a file; empty: the UTM zone of the image's centre (polar stereographic beyond 84
  /// degrees north and 80 south). A vertical part is left out.
  std::string crs;
  /// Size of a square pixel in the units of the reference system; 0: the image's ground sample distance at its centre,
  /// rounded to two digits. Below 0, or no number, is an error.
  double resolution = 0.0;
  /// Kept as they are: where they are no whole number of pixels apart, the pixels give way. Without them, all of the
  /// image's ground, on whole multiples of the resolution.
  std::optional<TMapBounds> bounds;
  /// A raster whose frame is taken whole; the others do not count then. Empty: none.
  std::string like;
};

/// Makes the frame of a map of an image.
/// \param model, surface not owned. \param width, height of the image, pixels.
/// \param notes null, or what was chosen is appended to it: sentences without a full stop.
/// \param out untouched on failure. \param error may be null; one sentence on failure. \return success.
ORBMATH_RASTER_API bool PlanMapFrame(const TRPC& model, const THeightSurface& surface, int width, int height,
                                     const TMapFrameOptions& options, TMapFrame* out, std::vector<std::string>* notes,
                                     std::string* error);

}  // namespace SatCommonUtils
