#pragma once
// The length of a plane vector of nothing but correctly rounded operations, with the same bits on every system. The
// hypot of C libraries differs in its last bit from one processor and release to the next. Elementary.

#include <cmath>

namespace SatCommonUtils {

/// sqrt(x² + y²), within one unit of the last place and |x| itself where y is 0; not a number where either is none.
inline double PlaneLength(double x, double y) {
  const double squares = x * x + y * y;
  // Between these no square that counts has lost digits or overflown.
  if (squares > 1e-270 && squares < 1e300) return std::sqrt(squares);
  const double larger = std::fmax(std::fabs(x), std::fabs(y));
  if (larger == 0.0 || !std::isfinite(larger) || std::isnan(squares)) return squares;
  // Powers of two, whose products are exact unless the length itself is denormal.
  const double scale = larger > 1.0 ? 0x1p-600 : 0x1p600;
  const double a = x * scale, b = y * scale;
  return std::sqrt(a * a + b * b) / scale;
}

}  // namespace SatCommonUtils
