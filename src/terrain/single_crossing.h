#pragma once
// Lines of sight that can cross the terrain only once, many at a time.

#include <cstddef>

#include "rpc/blocks.h"
#include "terrain/height_tile.h"
#include "terrain/sight_patches.h"

namespace SatCommonUtils::terrain {

/// Lines of sight side by side: `c[component][power][line]`.
struct TSightBatch {
  double c[kLatitude][kTerms][rpc::kLaneBlock];
};

/// Finds where lines of sight cross a bilinear grid, where their bounds say `single`.
/// \param tile the tile with all cells below the lines. \param first, count the lines that are meant, of `sights`,
///   `bounds`, `offset`, `u` and `solved` alike.
/// \param offset null, or metres by which the base lies higher than each line's polynomial has it.
/// \param tolerance metres of height. \param u the start on entry, the crossing on exit.
/// \param solved receives whether each came within the tolerance.
void SolveSingleCrossings(const THeightTile& tile, std::size_t first, std::size_t count, const TSightBatch& sights,
                          const TSightBounds* const* bounds, const double* offset, double tolerance, double* u,
                          bool* solved);

}  // namespace SatCommonUtils::terrain
