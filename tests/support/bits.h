#pragma once
// Comparing doubles by their bits: -0.0 differs from 0.0, and a NaN equals a NaN of the same bits.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

namespace orbmath_test {

inline std::uint64_t Bits(double value) {
  std::uint64_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

/// Same bits, all NaN counting as one: which NaN an operation gives is the processor's choice.
inline ::testing::AssertionResult SameBits(double a, double b) {
  if (Bits(a) == Bits(b) || (a != a && b != b)) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << std::hexfloat << a << " and " << b << std::defaultfloat << " (" << a
                                       << " and " << b << ") differ";
}

/// `count` values of the same bits; the message names the first that differs.
inline ::testing::AssertionResult SameBits(const double* a, const double* b, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const ::testing::AssertionResult same = SameBits(a[i], b[i]);
    if (!same) return ::testing::AssertionFailure() << "element " << i << ": " << same.message();
  }
  return ::testing::AssertionSuccess();
}

/// Doubles that formats and kernels tend to get wrong.
inline std::vector<double> SpecialDoubles() {
  using Limits = std::numeric_limits<double>;
  return {0.0,
          -0.0,
          1.0,
          -1.0,
          0.1,
          1.0 / 3.0,
          -2.5e-310,
          Limits::min(),
          Limits::denorm_min(),
          Limits::max(),
          -Limits::max(),
          1.7976931348623155e308,
          1e22,
          1e23,
          123456789.123456789,
          5e-324,
          Limits::infinity(),
          -Limits::infinity(),
          Limits::quiet_NaN()};
}

/// What a test puts into an output before a call that must not touch it.
constexpr double kPoison = -987654.321;

}  // namespace orbmath_test
