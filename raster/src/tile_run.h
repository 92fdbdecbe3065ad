#pragma once
// Tiles of a raster, each made by one of several threads.

#include <functional>
#include <string>

#include "frame/zxstd/progress.h"
#include "image_coordinates.h"

namespace SatCommonUtils {

/// Makes a tile by its number. \return false, and why, when it cannot; an empty reason when it was told to give up.
using TileWorker = std::function<bool(int, std::string*)>;

struct TileRunEnd {
  bool stopped = false;  ///< as the progress handler asked
  std::string error;     ///< empty when nothing failed
};

/// Tiles of `side` pixels of a raster, numbered row by row.
int CountTiles(int side, int columns, int rows);
PixelRect TileOf(int number, int side, int columns, int rows);

/// One sentence of how it ended, without a full stop.
std::string DescribeMapState(TMapState state, const std::string& error);

/// Makes all tiles on up to `ZxGetThreadsCount()` threads, in the order of their numbers as far as threads allow.
/// \param makeWorker gives each thread a worker of its own. \param giveUp called when no more tiles will come.
TileRunEnd RunTiles(int tiles, TZxProgressHandler* progress, const std::function<TileWorker()>& makeWorker,
                    const std::function<void()>& giveUp);

}  // namespace SatCommonUtils
