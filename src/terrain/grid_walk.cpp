// Lines of sight over a grid: over the bounds of its pyramid, then cell by cell.
//
// Source of the walk over cells: J. Amanatides and A. Woo, "A fast voxel traversal algorithm for ray tracing" (1987),
// doi:10.2312/egtp.19871000; of the bounds: C. C. Tanner et al.'s and older maximum mipmaps, here with the minima too,
// elementary.

#include <algorithm>
#include <cmath>
#include <limits>

#include "terrain/cell_crossing.h"
#include "terrain/walk.h"

namespace SatCommonUtils::terrain {

namespace {

using TSide = TWalk::TSide;

/// A piece that touches at most this many cells in each direction is walked cell by cell.
constexpr int kFewCells = 3;
/// Pieces that wait while nearer ones are looked at: halving goes on for at most the 53 bits of u.
constexpr int kMostPieces = 64;
/// A piece is cut to where it is within the bounds when that leaves less than this part of it.
constexpr double kWorthCutting = 0.8;

/// A piece of the line from u = `top` down to `bottom`, with its ends.
struct TPiece {
  double top;
  double bottom;
};

struct TEnds {
  double x0, y0, z0;
  double x1, y1, z1;
};

TEnds GetEnds(const TSightLine& sight, const TPiece& piece) {
  return {Evaluate(sight.c[kColumn], piece.top),    Evaluate(sight.c[kRow], piece.top),
          Evaluate(sight.c[kClearance], piece.top), Evaluate(sight.c[kColumn], piece.bottom),
          Evaluate(sight.c[kRow], piece.bottom),    Evaluate(sight.c[kClearance], piece.bottom)};
}

/// By how much the line leaves the chord over `du`: an eighth of the largest second derivative times du squared.
double Bending(const double* c, double du) {
  return (2.0 * std::fabs(c[2]) + 6.0 * std::fabs(c[3])) * (0.125 * du * du);
}

/// Walks the chord of a piece cell by cell.
bool WalkCells(TTileCursor& cursor, const TEnds& ends, TWalk* walk, double* crossing) {
  constexpr double kNever = std::numeric_limits<double>::infinity();
  TStraight line = {0.0, 0.0, ends.z0, ends.x1 - ends.x0, ends.y1 - ends.y0, ends.z1 - ends.z0};
  int column = Floor(ends.x0);
  int row = Floor(ends.y0);
  // A line that starts on an edge and leaves backwards is in the cell before.
  if (ends.x0 == column && line.dx < 0.0) --column;
  if (ends.y0 == row && line.dy < 0.0) --row;
  const int stepColumn = line.dx < 0.0 ? -1 : 1;
  const int stepRow = line.dy < 0.0 ? -1 : 1;
  const double perColumn = line.dx == 0.0 ? kNever : stepColumn / line.dx;
  const double perRow = line.dy == 0.0 ? kNever : stepRow / line.dy;
  double nextColumn = line.dx == 0.0 ? kNever : (column + (line.dx > 0.0 ? 1 : 0) - ends.x0) / line.dx;
  double nextRow = line.dy == 0.0 ? kNever : (row + (line.dy > 0.0 ? 1 : 0) - ends.y0) / line.dy;
  for (double from = 0.0; from < 1.0;) {
    const double to = std::min(std::min(nextColumn, nextRow), 1.0);
    TCell cell;
    if (cursor.Load(column, row, &cell)) {
      walk->known = true;
      line.x = ends.x0 - column;
      line.y = ends.y0 - row;
      const bool hit = cursor.IsBicubic() ? CrossBicubic(cell, line, from, to, &walk->side, crossing)
                                          : CrossBilinear(cell, line, from, to, &walk->side, crossing);
      if (hit) return true;
    } else {
      walk->voids = true;
      walk->side = TSide::Unknown;
    }
    from = to;
    if (nextColumn <= nextRow) {
      column += stepColumn;
      nextColumn += perColumn;
    } else {
      row += stepRow;
      nextRow += perRow;
    }
  }
  return false;
}

/// What bounds say of a piece.
enum class TVerdict { Passed, Cut, Open };

/// Holds a piece against the bounds of the cells below it; cuts it to where a crossing can be.
TVerdict HoldAgainst(const THeightRange& range, const TEnds& ends, double bending, TPiece* piece, TWalk* walk) {
  if (range.voids) {
    // Whether the line itself passes over them only the cells tell, unless that is known already.
    if (!range.IsKnown()) {
      walk->voids = true;
      walk->side = TSide::Unknown;
      return TVerdict::Passed;
    }
    if (!walk->voids) return TVerdict::Open;
  }
  const double above = ends.z0 - range.highest - bending;
  const double below = ends.z1 - range.lowest + bending;
  if (Least(ends.z0, ends.z1) - bending > range.highest) {
    walk->side = TSide::Above;
    walk->known = true;
    return TVerdict::Passed;
  }
  if (Largest(ends.z0, ends.z1) + bending < range.lowest) {
    walk->side = TSide::Below;
    walk->known = true;
    return TVerdict::Passed;
  }
  if (range.voids) return TVerdict::Open;
  const double fall = ends.z0 - ends.z1;
  if (!(fall > 0.0)) return TVerdict::Open;
  // Above the highest until `from`, below the lowest after `to`, both as parts of the piece.
  const double from = std::clamp((above - bending) / fall, 0.0, 1.0);
  const double to = std::clamp(1.0 - (-below - bending) / fall, 0.0, 1.0);
  if (!(to - from < kWorthCutting) || !(to > from)) return TVerdict::Open;
  const double length = piece->top - piece->bottom;
  if (from > 0.0) {
    walk->side = TSide::Above;
    walk->known = true;
  }
  piece->bottom = piece->top - to * length;
  piece->top -= from * length;
  return TVerdict::Cut;
}

}  // namespace

bool WalkGrid(TTileCursor& cursor, const TSightLine& sight, double top, double bottom, TWalk* walk, double* crossing) {
  TPiece waiting[kMostPieces];
  int count = 0;
  waiting[count++] = {top, bottom};
  while (count > 0) {
    TPiece piece = waiting[--count];
    if (!(piece.top > piece.bottom)) continue;
    const TEnds ends = GetEnds(sight, piece);
    if (!(std::fabs(ends.x0) < kFarOut && std::fabs(ends.x1) < kFarOut && std::fabs(ends.y0) < kFarOut &&
          std::fabs(ends.y1) < kFarOut)) {
      walk->voids = true;
      walk->side = TSide::Unknown;
      continue;
    }
    const double du = piece.top - piece.bottom;
    const double bendColumn = Bending(sight.c[kColumn], du);
    const double bendRow = Bending(sight.c[kRow], du);
    const int firstColumn = Floor(Least(ends.x0, ends.x1) - bendColumn);
    const int lastColumn = Floor(Largest(ends.x0, ends.x1) + bendColumn);
    const int firstRow = Floor(Least(ends.y0, ends.y1) - bendRow);
    const int lastRow = Floor(Largest(ends.y0, ends.y1) + bendRow);
    if (lastColumn - firstColumn < kFewCells && lastRow - firstRow < kFewCells) {
      double t;
      if (WalkCells(cursor, ends, walk, &t)) {
        *crossing = piece.top - t * du;
        return true;
      }
      continue;
    }
    THeightRange range;
    TVerdict verdict = TVerdict::Open;
    if (cursor.GetRange(firstColumn, lastColumn, firstRow, lastRow, &range)) {
      verdict = HoldAgainst(range, ends, Bending(sight.c[kClearance], du), &piece, walk);
    }
    if (verdict == TVerdict::Passed) continue;
    const double middle = 0.5 * (piece.top + piece.bottom);
    if (verdict == TVerdict::Cut || count + 2 > kMostPieces || middle >= piece.top || middle <= piece.bottom) {
      if (verdict == TVerdict::Cut) waiting[count++] = piece;
      continue;
    }
    waiting[count++] = {middle, piece.bottom};
    waiting[count++] = {piece.top, middle};
  }
  return false;
}

double PolishOnGrid(TTileCursor& cursor, const TSightLine& sight, double crossing, double offset, bool* met) {
  constexpr int kMostSteps = 60;
  constexpr double kClose = 1e-8;  // metres: rounding of heights is some 1e-12, of columns times slopes some 1e-9
  if (met != nullptr) *met = false;
  double u = crossing;
  double above = std::numeric_limits<double>::quiet_NaN();  // nearest places known to lie above and below
  double below = above;
  TCell cell;
  int cellColumn = 0;
  int cellRow = 0;
  bool loaded = false;
  for (int step = 0; step < kMostSteps; ++step) {
    const double x = Evaluate(sight.c[kColumn], u);
    const double y = Evaluate(sight.c[kRow], u);
    int column, row;
    cursor.GetCell(x, y, &column, &row);
    if (!loaded || column != cellColumn || row != cellRow) {
      TCell next;
      if (cursor.Load(column, row, &next)) {
        cell = next;
        cellColumn = column;
        cellRow = row;
        loaded = true;
      } else if (!loaded) {
        return crossing;
      }
      // Over the edge to a void by the bending of the line: the cell before goes on.
    }
    const TCellValue h = cursor.IsBicubic() ? BicubicGradient(cell, x - cellColumn, y - cellRow)
                                            : BilinearGradient(cell, x - cellColumn, y - cellRow);
    const double clearance = Evaluate(sight.c[kClearance], u) - offset - h.h;
    if (std::fabs(clearance) <= kClose) {
      if (met != nullptr) *met = true;
      break;
    }
    (clearance > 0.0 ? above : below) = u;
    const double slope =
        Slope(sight.c[kClearance], u) - h.dx * Slope(sight.c[kColumn], u) - h.dy * Slope(sight.c[kRow], u);
    double next = u - clearance / slope;
    // Newton's step between the two nearest, else their middle: at a kink between cells it may jump forth and back.
    const bool between = next < above && next > below;
    if (!std::isnan(above) && !std::isnan(below) && !between) next = 0.5 * (above + below);
    if (!std::isfinite(next) || next == u) break;
    u = next;
  }
  return u;
}

}  // namespace SatCommonUtils::terrain
