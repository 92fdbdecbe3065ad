#pragma once
// Image points in simple squares, whose lines of sight cross the terrain only once, many at a time.

#include <cstddef>
#include <cstdint>

#include "rpc/blocks.h"
#include "terrain/height_tile.h"
#include "terrain/sight_patches.h"

namespace SatCommonUtils::terrain {

/// Lines of sight side by side: arrays by line, aligned to the widest vectors.
struct alignas(64) TSightBatch {
  static constexpr std::size_t kMost = rpc::kLaneBlock;
  /// The number of lines is a multiple of this, the widest vector: lines that nobody asks for repeat others.
  static constexpr std::size_t kLanes = 8;
  static constexpr int kPowers = 4;

  // Powers of u, which counts from the middle of the square's bounds.
  double column[kPowers][kMost];
  double row[kPowers][kMost];
  double clearance[kPowers][kMost];
  double place[2][kPowers][kMost];  ///< longitude and latitude; only where the grid has a mapping
  /// Derivatives by line and sample, per pixel: of longitude and latitude, without a mapping of column and row.
  double byLine[2][kMost];
  double bySample[2][kMost];
  double middle[kMost];    ///< of the bounds, u
  double reach[kMost];     ///< u stays within so much of the middle
  double u[kMost];         ///< the start, then the crossing
  double found[2][kMost];  ///< column and row of the crossing
  double miss[kMost];      ///< metres of height left there
  std::size_t count = 0;
};

/// Fills a batch: `count` points, a multiple of `TSightBatch::kLanes`, at `places` in simple squares.
void FillBatch(const TSightPatches& patches, std::size_t count, const TSquarePlace* places, TSightBatch* batch);

/// Finds where the lines of a batch cross a grid. \param tile the tile with all cells below them. \param tolerance
/// metres of height. A line that has not come so close, see `miss`, must be solved in another way.
void SolveSingleCrossings(const THeightTile& tile, bool bicubic, double tolerance, TSightBatch* batch);

}  // namespace SatCommonUtils::terrain
