#pragma once
/// \file
/// Small fixed-size vectors: a point in the plane.

#include <array>
#include <cstddef>

namespace SatCommonUtils {

/// `N` numbers of type `T`. A plain value; two are equal when every element is.
template <class T, std::size_t N>
struct vec_t_ : std::array<T, N> {};

/// A pair of doubles, x and y. The unit is that of its use.
template <>
struct vec_t_<double, 2> {
  double x = 0.0;  ///< First coordinate.
  double y = 0.0;  ///< Second coordinate.

  vec_t_() = default;
  /// The pair (x, y).
  vec_t_(double x_value, double y_value) : x(x_value), y(y_value) {}

  /// Element 0 is x, element 1 is y; the index is not checked.
  double& operator[](std::size_t index) { return index == 0 ? x : y; }
  /// 0 gives x, any other index y.
  double operator[](std::size_t index) const { return index == 0 ? x : y; }

  /// Equal coordinates; NaN equals nothing.
  friend bool operator==(const vec_t_& a, const vec_t_& b) { return a.x == b.x && a.y == b.y; }
  friend bool operator!=(const vec_t_& a, const vec_t_& b) { return !(a == b); }
};

/// A point or a difference of a plane, in units of the caller.
using xy_d = vec_t_<double, 2>;

}  // namespace SatCommonUtils
