// Newton's method on the height of a line of sight above a bilinear grid. Where terrain is nowhere steeper than the
// line, that height falls all along the line and has one zero: no search is needed, and many lines are solved in turns,
// so that one waits while the posts of the next are fetched. Elementary.

#include "terrain/single_crossing.h"

#include <cmath>

#include "rpc/blocks.h"
#include "terrain/tile_cursor.h"

namespace SatCommonUtils::terrain {

namespace {

/// Newton's steps may jump to and fro at a kink between cells; what is not solved then is left to the walk.
constexpr int kMostSteps = 12;

/// One step. \return the height of the line above the terrain at the old u.
inline double Step(const THeightTile& tile, const TSightLine& sight, double top, double bottom, double offset,
                   double* u) {
  const double at = *u;
  const double x = Evaluate(sight.c[kColumn], at);
  const double y = Evaluate(sight.c[kRow], at);
  const int column = static_cast<int>(x);
  const int row = static_cast<int>(y);
  TCell cell;
  LoadBilinear(tile.GetPost(column - tile.GetFirstColumn(), row - tile.GetFirstRow()), tile.GetStride(), &cell);
  const TCellValue h = BilinearGradient(cell, x - column, y - row);
  const double clearance = Evaluate(sight.c[kClearance], at) - offset - h.h;
  const double slope =
      Slope(sight.c[kClearance], at) - h.dx * Slope(sight.c[kColumn], at) - h.dy * Slope(sight.c[kRow], at);
  *u = Least(Largest(at - clearance / slope, bottom), top);
  return clearance;
}

}  // namespace

void SolveSingleCrossings(const THeightTile& tile, std::size_t count, const TSightLine* sights,
                          const TSightBounds* const* bounds, const double* offset, double tolerance, double* u,
                          bool* solved) {
  std::size_t active[rpc::kLaneBlock];
  for (std::size_t i = 0; i < count; ++i) {
    active[i] = i;
    solved[i] = false;
  }
  for (int step = 0; step < kMostSteps && count > 0; ++step) {
    std::size_t left = 0;
    for (std::size_t k = 0; k < count; ++k) {
      const std::size_t i = active[k];
      const double before = u[i];
      const double clearance =
          Step(tile, sights[i], bounds[i]->top, bounds[i]->bottom, offset == nullptr ? 0.0 : offset[i], &u[i]);
      const bool close = std::fabs(clearance) <= tolerance;
      if (close) u[i] = before;
      solved[i] = close;
      active[left] = i;
      left += close ? 0 : 1;
    }
    count = left;
  }
}

}  // namespace SatCommonUtils::terrain
