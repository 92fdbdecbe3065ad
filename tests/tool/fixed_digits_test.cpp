// Printing with a fixed count of digits is correctly rounded, ties to even, as printf does it in the C locale.

#include "report/fixed_digits.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>

#include "support/bits.h"
#include "support/random.h"

namespace orbmath_test {

namespace {

/// What printf says, without the sign of a number that is all zeros.
std::string Expected(double value, int digits) {
  char text[400];
  std::snprintf(text, sizeof text, "%.*f", digits, value);
  std::string expected = text;
  const bool zero = expected.find_first_not_of("-0.") == std::string::npos;
  return zero && expected[0] == '-' ? expected.substr(1) : expected;
}

void ExpectPrinted(double value) {
  for (int digits = 0; digits <= orbmath_tool::kMostDigits; ++digits) {
    ASSERT_EQ(orbmath_tool::Fixed(value, digits), Expected(value, digits)) << "digits " << digits;
    ASSERT_EQ(orbmath_tool::Fixed(-value, digits), Expected(-value, digits)) << "digits " << digits;
  }
}

TEST(NumberTest, SpecialValues) {
  for (const double value : SpecialDoubles()) {
    if (std::isfinite(value)) ExpectPrinted(value);
  }
}

TEST(NumberTest, TiesAndTheirNeighbours) {
  // Numbers that end in 5 right behind the last digit: some are exact, most lie a little above or below.
  for (int digits = 0; digits <= 15; ++digits) {
    for (const double whole : {0.0, 1.0, 2.0, 3.0, 7.0, 12345.0, 99999.0, 100000000.0, 2251799813685247.0}) {
      const double tie = (whole + 0.5) / std::pow(10.0, digits);
      for (const double value :
           {tie, std::nextafter(tie, 0.0), std::nextafter(tie, 1e300), whole + 0.5, whole + 0.125}) {
        ASSERT_NO_FATAL_FAILURE(ExpectPrinted(value));
      }
    }
  }
}

TEST(NumberTest, RandomNumbersOfEverySize) {
  Random random("fixed digits");
  for (int i = 0; i < 20000; ++i) {
    const double value = random.Uniform(-1.0, 1.0) * std::pow(10.0, random.Uniform(-12.0, 18.0));
    ASSERT_NO_FATAL_FAILURE(ExpectPrinted(value));
    // A few decimals, as coordinates have them: near ties of what is printed.
    ASSERT_NO_FATAL_FAILURE(ExpectPrinted(std::round(value * 1e4) / 1e4));
  }
}

}  // namespace

}  // namespace orbmath_test
