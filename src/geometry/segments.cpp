// J. R. Shewchuk, Adaptive Precision Floating-Point Arithmetic and Fast Robust Geometric Predicates, Discrete &
// Computational Geometry 18 (1997), DOI 10.1007/PL00009321: the filter of the plane orientation test, and exact sums as
// expansions. Instead of his adaptive stages the rare undecided case goes straight to the exact sum.

#include "geometry/segments.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

#include "frame/zxstd/plane_length.h"

namespace SatCommonUtils {
namespace {

// The paper's bound (3 + 16 u) u of the filter, with u = 2^-53.
constexpr double kUnit = std::numeric_limits<double>::epsilon() / 2.0;
constexpr double kFilterBound = (3.0 + 16.0 * kUnit) * kUnit;

int Sign(double value) { return (value > 0.0) - (value < 0.0); }

/// An exact sum of doubles, kept as parts that do not overlap, in increasing magnitude.
class ExactSum {
 public:
  /// Adds the product exactly, as its rounded value and its rounding error.
  void AddProduct(double a, double b) {
    const double product = a * b;
    Add(std::fma(a, b, -product));
    Add(product);
  }

  /// Adds the product of two sums, each part with each.
  void AddProduct(const ExactSum& a, const ExactSum& b) {
    for (const double x : a.parts_) {
      for (const double y : b.parts_) AddProduct(x, y);
    }
  }

  /// The largest part that is not zero has the sign of the whole sum.
  int GetSign() const {
    for (std::size_t i = parts_.size(); i-- > 0;) {
      if (parts_[i] != 0.0) return Sign(parts_[i]);
    }
    return 0;
  }

  /// The sum rounded, within some units in the last place: its parts do not cancel.
  double GetValue() const {
    double value = 0.0;
    for (const double part : parts_) value += part;
    return value;
  }

 private:
  void Add(double value) {
    std::size_t kept = 0;
    for (const double part : parts_) {
      const double sum = value + part;
      const double rounded = sum - value;
      const double error = (value - (sum - rounded)) + (part - rounded);
      if (error != 0.0) parts_[kept++] = error;
      value = sum;
    }
    parts_.resize(kept);
    parts_.push_back(value);
  }

  std::vector<double> parts_;
};

/// The determinant multiplied out: its six products of coordinates are exact, differences would not be.
ExactSum ExactOrientation(const xy_d& a, const xy_d& b, const xy_d& c) {
  ExactSum sum;
  sum.AddProduct(a.x, b.y);
  sum.AddProduct(-a.x, c.y);
  sum.AddProduct(-c.x, b.y);
  sum.AddProduct(-a.y, b.x);
  sum.AddProduct(a.y, c.x);
  sum.AddProduct(c.y, b.x);
  return sum;
}

/// The cross product of two directions, multiplied out likewise.
ExactSum ExactTurn(const TSegment& a, const TSegment& b) {
  ExactSum sum;
  for (const auto& [p, sign_p] : {std::pair(a.to, 1.0), std::pair(a.from, -1.0)}) {
    for (const auto& [q, sign_q] : {std::pair(b.to, 1.0), std::pair(b.from, -1.0)}) {
      sum.AddProduct(sign_p * sign_q * p.x, q.y);
      sum.AddProduct(-sign_p * sign_q * p.y, q.x);
    }
  }
  return sum;
}

/// The filter of the paper's first stage: the sign of left - right, products of differences, or 0 when their rounding
/// leaves it open.
int FilteredSign(double left, double right) {
  const double determinant = left - right;
  return std::fabs(determinant) > kFilterBound * (std::fabs(left) + std::fabs(right)) ? Sign(determinant) : 0;
}

bool IsBetween(double value, double a, double b) { return std::min(a, b) <= value && value <= std::max(a, b); }

}  // namespace

int Orientation(const xy_d& a, const xy_d& b, const xy_d& c) {
  const int sign = FilteredSign((a.x - c.x) * (b.y - c.y), (a.y - c.y) * (b.x - c.x));
  return sign != 0 ? sign : ExactOrientation(a, b, c).GetSign();
}

int Turn(const TSegment& a, const TSegment& b) {
  const int sign = FilteredSign((a.to.x - a.from.x) * (b.to.y - b.from.y), (a.to.y - a.from.y) * (b.to.x - b.from.x));
  return sign != 0 ? sign : ExactTurn(a, b).GetSign();
}

bool HaveOneSense(const TSegment& a, const TSegment& b) {
  // A difference of doubles has the sign of the exact one.
  if (a.to.x != a.from.x) return (a.to.x > a.from.x) == (b.to.x > b.from.x);
  return (a.to.y > a.from.y) == (b.to.y > b.from.y);
}

bool IsOnSegment(const xy_d& p, const xy_d& a, const xy_d& b) {
  return IsBetween(p.x, a.x, b.x) && IsBetween(p.y, a.y, b.y) && Orientation(a, b, p) == 0;
}

bool SegmentsMeet(const xy_d& a, const xy_d& b, const xy_d& c, const xy_d& d) {
  const int c_side = Orientation(a, b, c);
  const int d_side = Orientation(a, b, d);
  const int a_side = Orientation(c, d, a);
  const int b_side = Orientation(c, d, b);
  if (c_side * d_side < 0 && a_side * b_side < 0) return true;
  return IsOnSegment(c, a, b) || IsOnSegment(d, a, b) || IsOnSegment(a, c, d) || IsOnSegment(b, c, d);
}

bool SegmentsCross(const TSegment& a, const TSegment& b) {
  return Orientation(a.from, a.to, b.from) * Orientation(a.from, a.to, b.to) < 0 &&
         Orientation(b.from, b.to, a.from) * Orientation(b.from, b.to, a.to) < 0;
}

int CrossingOrder(const TSegment& edge, const TSegment& first, const TSegment& second) {
  // Along the edge the crossing with a line lies at |A| / (|A| + |B|), A and B being the areas, of opposite signs, of
  // the triangles that the line's segment makes with the edge's ends: |A1| |B2| and |A2| |B1| decide between two of
  // them.
  const ExactSum a1 = ExactOrientation(first.from, first.to, edge.from);
  const ExactSum b1 = ExactOrientation(first.from, first.to, edge.to);
  const ExactSum minus_a2 = ExactOrientation(second.to, second.from, edge.from);
  const ExactSum b2 = ExactOrientation(second.from, second.to, edge.to);
  const double left = std::fabs(a1.GetValue() * b2.GetValue());
  const double right = std::fabs(minus_a2.GetValue() * b1.GetValue());
  constexpr double kUndecided = 64.0 * kUnit;  // the four values and two products are off by some units each
  if (std::fabs(left - right) > kUndecided * std::max(left, right)) return left < right ? -1 : 1;
  ExactSum difference;  // A1 B2 - A2 B1, whose terms have the sign of -A1 A2
  difference.AddProduct(a1, b2);
  difference.AddProduct(minus_a2, b1);
  return difference.GetSign() * a1.GetSign() * minus_a2.GetSign();
}

xy_d Crossing(const TSegment& a, const TSegment& b) {
  const double from_side = std::fabs(ExactOrientation(b.from, b.to, a.from).GetValue());
  const double to_side = std::fabs(ExactOrientation(b.from, b.to, a.to).GetValue());
  const double t = from_side / (from_side + to_side);
  // From the nearer end, where the rounding of t matters less.
  if (t <= 0.5) return {a.from.x + t * (a.to.x - a.from.x), a.from.y + t * (a.to.y - a.from.y)};
  const double u = to_side / (from_side + to_side);
  return {a.to.x - u * (a.to.x - a.from.x), a.to.y - u * (a.to.y - a.from.y)};
}

double DistanceToSegment(const xy_d& p, const xy_d& a, const xy_d& b) {
  const double dx = b.x - a.x;
  const double dy = b.y - a.y;
  const double squared_length = dx * dx + dy * dy;
  double t = 0.0;
  if (squared_length > 0.0) {
    t = std::clamp(((p.x - a.x) * dx + (p.y - a.y) * dy) / squared_length, 0.0, 1.0);
  }
  // From the nearer end, so that the foot is exact when it is a vertex.
  if (t <= 0.5) return PlaneLength(p.x - (a.x + t * dx), p.y - (a.y + t * dy));
  const double u = 1.0 - t;
  return PlaneLength(p.x - (b.x - u * dx), p.y - (b.y - u * dy));
}

}  // namespace SatCommonUtils
