#pragma once
// Where a straight piece of a line of sight crosses one cell from above.

#include "terrain/cell.h"
#include "terrain/walk.h"

namespace SatCommonUtils::terrain {

/// A straight line: column and row counted from the cell's first corner, and height, at t = 0, and what they gain to
/// t = 1.
struct TStraight {
  double x, y, z;
  double dx, dy, dz;
};

/// Looks at t from `from` to `to`. \return whether the line comes from above to below there; `t` is the first place.
/// `side` is that at `from` on entry (known: carried on from the cell before) and that at the place or at `to` on exit.
bool CrossBilinear(const TCell& cell, const TStraight& line, double from, double to, TWalk::TSide* side, double* t);
bool CrossBicubic(const TCell& cell, const TStraight& line, double from, double to, TWalk::TSide* side, double* t);

}  // namespace SatCommonUtils::terrain
