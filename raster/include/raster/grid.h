#pragma once
/// \file
/// Coordinate grids as files, for those who resample themselves: the ground of an image's pixels, or the image points
/// of a map's.

#include <orbmath/frame/zxstd/progress.h>
#include <orbmath/rpc/rpc_model.h>
#include <orbmath/terrain/height_surface.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "api.h"
#include "map_frame.h"

namespace SatCommonUtils {

/// What the nodes of a grid are, and what stands at them.
enum class TGridKind {
  GroundOfPixels,  ///< pixels of the image: latitude, longitude (degrees), height (metres above the ellipsoid)
  PixelsOfMap,     ///< centres of a map's pixels: line and sample of the image
};

/// A model, the terrain under it and the file to write. Model and surface are not owned.
struct TGridProblem {
  std::string output;                       ///< NumPy's form where the name ends in ".npy"
  const TRPC* model = nullptr;              ///< whole numbers are pixel centres
  const THeightSurface* surface = nullptr;  ///< heights above the ellipsoid
  int width = 0;                            ///< of the image, pixels
  int height = 0;                           ///< of the image, pixels
};

/// How a grid is made.
struct TGridOptions {
  TGridKind kind = TGridKind::GroundOfPixels;  ///< what it is
  TMapFrameOptions frame;                      ///< of the map, for `PixelsOfMap`
  int step = 1;                                ///< every so many pixels of the image, for `GroundOfPixels`
  std::string format = "GTiff";                ///< GDAL's name, for any file but NumPy's
  std::vector<std::string> creation;           ///< options of that format
  /// May be null. Called by any of the threads, one at a time; `false` stops the work.
  TZxProgressHandler* progress = nullptr;
};

/// What became of it.
struct TGridResult {
  TMapState state = TMapState::NotRun;  ///< how it ended
  std::string sentence = "not run";     ///< the same in words, without a full stop
  std::vector<std::string> notes;       ///< what was chosen, sentences without a full stop
  int columns = 0;                      ///< nodes in a row
  int rows = 0;                         ///< number of rows
  std::int64_t found = 0;               ///< nodes with a value; the others are NaN

  /// True when the file is there.
  explicit operator bool() const noexcept { return state == TMapState::Done; }
};

/// Writes a coordinate grid: one band of doubles a coordinate, NaN where there is none (voids, off the surface, outside
/// the image). NumPy's array has the shape (bands, rows, columns). The image points of a map are those by which
/// `Orthorectify` resamples. A raster of the ground of pixels has no reference system, and a transform from which
/// sample and line of a node follow as x and y of its pixel's centre.
///
/// Runs on `ZxGetThreadsCount()` threads; the values are the same for any number. The file comes whole or not at all.
ORBMATH_RASTER_API TGridResult WriteGrid(const TGridProblem& problem, const TGridOptions& options = {});

}  // namespace SatCommonUtils
