// Bounds of one cell's heights and slopes by Bernstein coefficients, held against a bundle of lines.
//
// Source of the bounds: G. Farin, "Curves and Surfaces for CAGD" (5th ed., 2002), chapters 4 and 16: a polynomial lies
// in the hull of its coefficients, and its derivative's are their differences.

#include "terrain/crossing_bounds.h"

#include <algorithm>
#include <cmath>

#include "terrain/cell.h"

namespace SatCommonUtils::terrain {

namespace {

/// Cells that are looked at, at most: more of them are hardly ever all gentle, and the walk is there.
constexpr int kMostCells = 400;
/// The terrain's ascent along a line as part of the line's own, at most.
constexpr double kShare = 0.9;

void Include(double value, TSpan* span) {
  span->low = std::min(span->low, value);
  span->high = std::max(span->high, value);
}

/// Bounds of a cell: heights, and what they gain from a column and a row to the next.
struct TCellBounds {
  TSpan h, byColumn, byRow;
};

constexpr TSpan kNothing = {HUGE_VAL, -HUGE_VAL};

/// Bernstein coefficients of Keys' cubic through the inner two of four, whose slopes there are half the differences.
void ToBernstein(double p0, double p1, double p2, double p3, double* b) {
  b[0] = p1;
  b[1] = p1 + (p2 - p0) / 6.0;
  b[2] = p2 - (p3 - p1) / 6.0;
  b[3] = p2;
}

/// Bounds by `Size` x `Size` Bernstein coefficients of a cell, rows by columns.
template <int Size>
TCellBounds BoundBy(const double (&b)[Size][Size]) {
  constexpr double kDegree = Size - 1;  // from differences to derivatives
  TCellBounds bounds = {kNothing, kNothing, kNothing};
  for (int j = 0; j < Size; ++j) {
    for (int i = 0; i < Size; ++i) {
      Include(b[j][i], &bounds.h);
      if (i > 0) Include(kDegree * (b[j][i] - b[j][i - 1]), &bounds.byColumn);
      if (j > 0) Include(kDegree * (b[j][i] - b[j - 1][i]), &bounds.byRow);
    }
  }
  return bounds;
}

/// \return false when the cell is void.
bool BoundCell(const double* post, std::ptrdiff_t stride, bool bicubic, TCellBounds* bounds) {
  if (!bicubic) {
    const double b[2][2] = {{post[0], post[1]}, {post[stride], post[stride + 1]}};
    if (std::isnan(b[0][0] + b[0][1] + b[1][0] + b[1][1])) return false;
    *bounds = BoundBy(b);
    return true;
  }
  double p[4][4], columns[4][4], b[4][4];
  if (!GatherPosts(post, stride, p)) return false;
  for (int j = 0; j < 4; ++j) ToBernstein(p[j][0], p[j][1], p[j][2], p[j][3], columns[j]);
  for (int i = 0; i < 4; ++i) {
    double column[4];
    ToBernstein(columns[0][i], columns[1][i], columns[2][i], columns[3][i], column);
    for (int j = 0; j < 4; ++j) b[j][i] = column[j];
  }
  *bounds = BoundBy(b);
  return true;
}

TSpan Overlap(const TSpan& a, const TSpan& b) { return {std::max(a.low, b.low), std::min(a.high, b.high)}; }

/// The products of one of each.
TSpan Products(const TSpan& a, const TSpan& b) {
  const double low0 = a.low * b.low, low1 = a.low * b.high, high0 = a.high * b.low, high1 = a.high * b.high;
  return {std::min(std::min(low0, low1), std::min(high0, high1)),
          std::max(std::max(low0, low1), std::max(high0, high1))};
}

/// The cells of a span of columns or rows, counted from `first`, at most 0 to `count` - 1.
struct TIndices {
  int first, last;
};
TIndices GetIndices(const TSpan& span, int first, int count) {
  const auto inside = [&](double x) { return static_cast<int>(std::clamp(x, 0.0, count - 1.0)); };
  return {inside(std::floor(span.low - kEdge) - first), inside(std::floor(span.high + kEdge) - first)};
}

}  // namespace

TReach::TReach(double where, double there, double give, const TSpan& gain)
    : middle_(where), value_(there), room_(give), slope_(gain), inverse_{1.0 / gain.low, 1.0 / gain.high} {}

TSpan TReach::Over(const TSpan& u) const {
  const TSpan gain = Products({u.low - middle_, u.high - middle_}, slope_);
  return {value_ - room_ + gain.low, value_ + room_ + gain.high};
}

TSpan TReach::When(const TSpan& values, const TSpan& u) const {
  const double low = values.low - room_ - value_;
  const double high = values.high + room_ - value_;
  if (slope_.low > 0.0) {
    return Overlap(u, {middle_ + std::min(low * inverse_.low, low * inverse_.high),
                       middle_ + std::max(high * inverse_.low, high * inverse_.high)});
  }
  if (slope_.high < 0.0) {
    return Overlap(u, {middle_ + std::min(high * inverse_.low, high * inverse_.high),
                       middle_ + std::max(low * inverse_.low, low * inverse_.high)});
  }
  return Overlap(Over(u), values).IsEmpty() ? kNothing : u;
}

bool MeetOnce(const THeightTile& tile, bool bicubic, const TBundle& bundle, TSpan* u) {
  if (!(bundle.clearance.GetSlope().low > 0.0)) return false;
  const double most = kShare * bundle.clearance.GetSlope().low;
  const TIndices rows = GetIndices(bundle.row.Over(*u), tile.GetFirstRow(), tile.GetRows());
  TSpan meetings = kNothing;
  int cells = 0;
  bool once = true;
  for (int row = rows.first; row <= rows.last; ++row) {
    const double y = tile.GetFirstRow() + row;
    const TSpan overRow = bundle.row.When({y - kEdge, y + 1.0 + kEdge}, *u);
    if (overRow.IsEmpty()) continue;
    const TIndices columns = GetIndices(bundle.column.Over(overRow), tile.GetFirstColumn(), tile.GetColumns());
    for (int column = columns.first; column <= columns.last; ++column) {
      const double x = tile.GetFirstColumn() + column;
      const TSpan over = bundle.column.When({x - kEdge, x + 1.0 + kEdge}, overRow);
      if (over.IsEmpty()) continue;
      if (++cells > kMostCells) return false;
      TCellBounds cell;
      if (!BoundCell(tile.GetPost(column, row), tile.GetStride(), bicubic, &cell)) {
        once = false;
        Include(over.low, &meetings);
        Include(over.high, &meetings);
        continue;
      }
      const TSpan meeting = bundle.clearance.When({cell.h.low - kBaseRoom, cell.h.high + kBaseRoom}, over);
      if (meeting.IsEmpty()) continue;
      Include(meeting.low, &meetings);
      Include(meeting.high, &meetings);
      once = once &&
             Products(cell.byColumn, bundle.column.GetSlope()).high + Products(cell.byRow, bundle.row.GetSlope()).high <
                 most;
    }
  }
  if (meetings.IsEmpty()) return false;
  *u = meetings;
  return once;
}

}  // namespace SatCommonUtils::terrain
