// Series after range reduction (Muller, "Elementary Functions: Algorithms and Implementation", 2016, chapters 3 and
// 11). `frexp`, `ldexp` and `floor` are exact everywhere.

#include "refine/estimation/portable_math.h"

#include <cmath>
#include <limits>

namespace SatCommonUtils::estimation {

namespace {

// ln 2 in two parts; the first has 21 trailing zeros, so that its product with an exponent is exact.
constexpr double kLn2High = 0x1.62e42fee00000p-1;
constexpr double kLn2Low = 0x1.a39ef35793c76p-33;
constexpr double kSqrtHalf = 0x1.6a09e667f3bcdp-1;
constexpr double kLargestArgument = 700.0;

}  // namespace

double PortableLog(double x) {
  int exponent = 0;
  double mantissa = std::frexp(x, &exponent);
  if (mantissa < kSqrtHalf) {
    mantissa *= 2.0;
    --exponent;
  }
  // ln m = 2 artanh(s) with |s| <= 0.172: the thirteenth term of the series is below 1e-20.
  const double s = (mantissa - 1.0) / (mantissa + 1.0);
  const double square = s * s;
  double sum = 0.0;
  for (int k = 25; k >= 3; k -= 2) sum = (sum + 1.0 / k) * square;
  return exponent * kLn2High + (2.0 * s + (2.0 * s * sum + exponent * kLn2Low));
}

double PortableExp(double x) {
  if (x > kLargestArgument) return std::numeric_limits<double>::infinity();
  if (x < -kLargestArgument) return 0.0;
  const double exponent = std::floor(x / (kLn2High + kLn2Low) + 0.5);
  const double rest = (x - exponent * kLn2High) - exponent * kLn2Low;
  // |rest| <= 0.35: the fifteenth term of the series is below 1e-18.
  double sum = 1.0;
  for (int k = 14; k >= 1; --k) sum = 1.0 + sum * (rest / k);
  return std::ldexp(sum, static_cast<int>(exponent));
}

double PortablePow(double x, double y) { return PortableExp(y * PortableLog(x)); }

}  // namespace SatCommonUtils::estimation
