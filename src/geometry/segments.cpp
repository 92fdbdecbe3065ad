// J. R. Shewchuk, Adaptive Precision Floating-Point Arithmetic and Fast Robust Geometric Predicates, Discrete &
// Computational Geometry 18 (1997), DOI 10.1007/PL00009321: the filter of the plane orientation test, and exact sums as
// expansions. Instead of his adaptive stages the rare undecided case goes straight to the exact sum.

#include "geometry/segments.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>

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

  /// The largest part that is not zero has the sign of the whole sum.
  int GetSign() const {
    for (std::size_t i = count_; i-- > 0;) {
      if (parts_[i] != 0.0) return Sign(parts_[i]);
    }
    return 0;
  }

 private:
  void Add(double value) {
    for (std::size_t i = 0; i < count_; ++i) {
      const double sum = value + parts_[i];
      const double rounded = sum - value;
      parts_[i] = (value - (sum - rounded)) + (parts_[i] - rounded);
      value = sum;
    }
    parts_[count_++] = value;
  }

  std::array<double, 12> parts_{};
  std::size_t count_ = 0;
};

/// The determinant multiplied out: its six products of coordinates are exact, differences would not be.
int ExactOrientation(const xy_d& a, const xy_d& b, const xy_d& c) {
  ExactSum sum;
  sum.AddProduct(a.x, b.y);
  sum.AddProduct(-a.x, c.y);
  sum.AddProduct(-c.x, b.y);
  sum.AddProduct(-a.y, b.x);
  sum.AddProduct(a.y, c.x);
  sum.AddProduct(c.y, b.x);
  return sum.GetSign();
}

bool IsBetween(double value, double a, double b) { return std::min(a, b) <= value && value <= std::max(a, b); }

}  // namespace

int Orientation(const xy_d& a, const xy_d& b, const xy_d& c) {
  const double left = (a.x - c.x) * (b.y - c.y);
  const double right = (a.y - c.y) * (b.x - c.x);
  const double determinant = left - right;
  if (std::fabs(determinant) > kFilterBound * (std::fabs(left) + std::fabs(right))) return Sign(determinant);
  return ExactOrientation(a, b, c);
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

double DistanceToSegment(const xy_d& p, const xy_d& a, const xy_d& b) {
  const double dx = b.x - a.x;
  const double dy = b.y - a.y;
  const double squared_length = dx * dx + dy * dy;
  double t = 0.0;
  if (squared_length > 0.0) {
    t = std::clamp(((p.x - a.x) * dx + (p.y - a.y) * dy) / squared_length, 0.0, 1.0);
  }
  // From the nearer end, so that the foot is exact when it is a vertex.
  if (t <= 0.5) return std::hypot(p.x - (a.x + t * dx), p.y - (a.y + t * dy));
  const double u = 1.0 - t;
  return std::hypot(p.x - (b.x - u * dx), p.y - (b.y - u * dy));
}

}  // namespace SatCommonUtils
