#pragma once
// Following a line of sight downwards to where it crosses the terrain from above.

#include "terrain/sight_line.h"
#include "terrain/tile_cursor.h"

namespace SatCommonUtils::terrain {

/// On which side of the terrain the walk is, and what it has met.
struct TWalk {
  enum class TSide { Unknown, Above, Below };
  TSide side = TSide::Unknown;
  bool voids = false;  ///< passed over a place without a height
  bool known = false;  ///< passed over one with a height
};

/// Follows `sight` over the cells of a grid from `top` down to `bottom` (u). \return whether it crosses the terrain
/// from above there; `crossing` is the first such u, up to the line's bending within a few cells.
bool WalkGrid(TTileCursor& cursor, const TSightLine& sight, double top, double bottom, TWalk* walk, double* crossing);

/// The u near `crossing` where the line meets the grid, to within rounding. \param offset metres by which the base lies
/// higher than the line's polynomial has it. \param met null, or receives whether the line meets it there.
double PolishOnGrid(TTileCursor& cursor, const TSightLine& sight, double crossing, double offset, bool* met = nullptr);

/// `WalkGrid` over any surface, by halving the line until bounds or signs tell. The crossing is good to rounding.
bool WalkSurface(const TScene& scene, const TSightLine& sight, double top, double bottom, TWalk* walk,
                 double* crossing);

}  // namespace SatCommonUtils::terrain
