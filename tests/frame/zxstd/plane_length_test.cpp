// Lengths of plane vectors, over the whole range of doubles.

#include "frame/zxstd/plane_length.h"

#include <gtest/gtest.h>

#include "support/portable_bits.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::SameBits;

TEST(PlaneLength, IsTheLength) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  const struct {
    double x, y, length;
  } rows[] = {{3.0, -4.0, 5.0},
              {0.0, -0.0, 0.0},
              {-0.1, 0.0, 0.1},
              {3e200, 4e200, 5e200},
              {3e-200, -4e-200, 5e-200},
              {5e-324, 0.0, 5e-324},
              {1e308, 1e308, std::sqrt(2.0) * 1e308},
              {1.5e308, 1.5e308, kInfinity},
              {-kInfinity, 1.0, kInfinity},
              {1.0, kNaN, kNaN}};
  for (const auto& row : rows) {
    const double length = PlaneLength(row.x, row.y);
    if (std::isfinite(row.length)) {
      EXPECT_LE(std::fabs(length - row.length), 2.3e-16 * row.length) << row.x << " " << row.y;
    } else {
      EXPECT_TRUE(SameBits(length, row.length)) << row.x << " " << row.y;
    }
  }
  orbmath_test::Lehmer numbers;
  for (int i = 0; i < 20000; ++i) {
    const int exponent = static_cast<int>(960.0 * numbers.Next());
    const double x = std::ldexp(numbers.Next(), exponent);
    const double y = std::ldexp(numbers.Next(), exponent + static_cast<int>(30.0 * numbers.Next()));
    ASSERT_NEAR(PlaneLength(x, y) / std::hypot(x, y), 1.0, 4.5e-16) << x << " " << y;
    ASSERT_EQ(PlaneLength(x, 0.0), std::fabs(x));
  }
}

// Noted on x86-64, as the C libraries' hypot would not be on any other system.
TEST(PlaneLength, KeepsItsBits) {
  orbmath_test::Lehmer numbers;
  std::vector<double> lengths;
  for (int i = 0; i < 20000; ++i) {
    const double x = numbers.Next();
    lengths.push_back(PlaneLength(1000.0 * x, numbers.Next()));
  }
  EXPECT_TRUE(orbmath_test::HasHash(lengths, 0x28111f42ee6bab9cu));
}

}  // namespace
}  // namespace SatCommonUtils
