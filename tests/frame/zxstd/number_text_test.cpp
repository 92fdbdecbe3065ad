// Numbers from text and back.

#include "frame/zxstd/number_text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include "frame/sat_data_container/numbers.h"
#include "support/bits.h"
#include "support/comma_locale.h"
#include "support/portable_bits.h"
#include "support/random.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::Bits;
using orbmath_test::kPoison;
using orbmath_test::SameBits;

double FromBits(std::uint64_t bits) {
  double value;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

// The shortest text is a promise to the bit, so NaNs with a sign and a payload count as well.
TEST(FormatDouble, ComesBackBitForBit) {
  std::vector<double> values = orbmath_test::SpecialDoubles();
  for (const std::uint64_t nan : {0xfff8000000000000u, 0x7ff8000000000001u, 0xffffffffffffffffu}) {
    values.push_back(FromBits(nan));
  }
  orbmath_test::Random random("frame");
  for (int i = 0; i < 20000; ++i) values.push_back(FromBits(random.Engine()()));
  for (const double value : values) {
    const std::string text = FormatDouble(value);
    double back = kPoison;
    ASSERT_TRUE(ParseDouble(text, &back)) << text;
    ASSERT_EQ(Bits(back), Bits(value)) << text;
  }
}

// Texts of numbers of every size, and the numbers of texts with more digits than a double holds, on every processor.
TEST(NumberText, KeepsItsBits) {
  orbmath_test::Lehmer numbers;
  std::string texts;
  std::vector<double> parsed;
  for (int i = 0; i < 20000; ++i) {
    const double mantissa = numbers.Next();
    const int exponent = static_cast<int>(320.0 * numbers.Next());
    const std::string digits =
        FormatDouble(numbers.Next()) + "37129" + (i % 7 == 0 ? "" : "5e" + std::to_string(exponent));
    texts += FormatDouble(std::ldexp(mantissa, 3 * exponent)) + "\n";
    double value = kPoison;
    ParseDouble(digits, &value);
    parsed.push_back(value);
  }
  EXPECT_EQ(orbmath_test::HashOf(texts), 12168747529344151127u);
  EXPECT_TRUE(orbmath_test::HasHash(parsed, 0x9f45e81a6063e5aeu));
}

TEST(ParseDouble, TakesAWholeTokenOnly) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const struct {
    const char* text;
    double value;
  } good[] = {{"1", 1.0},
              {"+1.5", 1.5},
              {" \t-2e-3\r\n", -0.002},
              {"1E+002", 100.0},
              {".5", 0.5},
              {"5.", 5.0},
              {"1e-400", 0.0},
              {"-1e-400", -0.0},
              {"INF", kInfinity},
              {"-Infinity", -kInfinity},
              {"4.9e-324", 5e-324},
              {"000000000000000000000000000001", 1.0}};
  for (const auto& item : good) {
    double value = kPoison;
    EXPECT_TRUE(ParseDouble(item.text, &value)) << item.text;
    EXPECT_TRUE(SameBits(value, item.value)) << item.text;
  }
  for (const char* text : {"", " ", "+", "-", ".", "e5", "12abc", "1 2", "1,5", "+-1", "++1", "0x10", "1D+3", "1e999",
                           "-1e999", "nan(", "in", "null"}) {
    double value = kPoison;
    EXPECT_FALSE(ParseDouble(text, &value)) << text;
    EXPECT_EQ(value, kPoison) << text;
  }
}

TEST(ParseDoublePrefix, StopsWhereTheNumberEnds) {
  const struct {
    const char* text;
    std::size_t used;
    double value;
  } cases[] = {{"812 pixels", 3, 812.0}, {"\t-1.5e", 5, -1.5}, {"+1e5x", 4, 1e5}, {"1e999m", 5, HUGE_VAL},
               {"pixels", 0, kPoison},   {"-", 0, kPoison},    {"  ", 0, kPoison}};
  for (const auto& item : cases) {
    double value = kPoison;
    EXPECT_EQ(ParseDoublePrefix(item.text, &value), item.used) << item.text;
    EXPECT_EQ(value, item.value) << item.text;
  }
}

TEST(ParseInt, RefusesWhatDoesNotFit) {
  int number = 7;
  for (const char* text :
       {"2147483648", "-2147483649", "99999999999999999999", "1.0", "1e2", "12abc", "", "0x1", "--1"}) {
    EXPECT_FALSE(ParseInt(text, &number)) << text;
  }
  EXPECT_EQ(number, 7);
  EXPECT_TRUE(ParseInt(" +2147483647 ", &number));
  EXPECT_EQ(number, 2147483647);
  unsigned long long size = 7;
  EXPECT_FALSE(ParseUnsigned("-1", &size));
  EXPECT_FALSE(ParseUnsigned("18446744073709551616", &size));
  EXPECT_EQ(size, 7u);
  EXPECT_TRUE(ParseUnsigned("18446744073709551615", &size));
  EXPECT_EQ(size, std::numeric_limits<unsigned long long>::max());
}

TEST(NumberText, DecimalCommaOfTheProcessPlaysNoPart) {
  const orbmath_test::CommaLocale locale;
  if (!locale) GTEST_SKIP() << "no locale with a decimal comma is installed";
  double value = kPoison;
  EXPECT_EQ(FormatDouble(1.5), "1.5");
  EXPECT_TRUE(ParseDouble("1.5", &value));
  EXPECT_TRUE(ParseDouble("1.5e-400", &value));
  EXPECT_EQ(value, 0.0);
  EXPECT_FALSE(ParseDouble("1,5", &value));
}

TEST(SplitStringIntoDoubles, TakesAsManyAsThereIsRoomFor) {
  double out[3] = {kPoison, kPoison, kPoison};
  EXPECT_EQ(SplitStringIntoDoubles("1, 2,\n3 ,4", ",", out, 2), 2u);
  EXPECT_EQ(out[1], 2.0);
  EXPECT_EQ(out[2], kPoison);
  EXPECT_EQ(SplitStringIntoDoubles("(1;2)(3)", "();,", out, 3), 3u);
  EXPECT_EQ(out[2], 3.0);
  EXPECT_EQ(SplitStringIntoDoubles("", ",", out, 3), 0u);
  EXPECT_EQ(SplitStringIntoDoubles("1,2,3", ",", nullptr, 0), 3u);
}

TEST(SplitStringIntoDoubles, MalformedListLeavesTheOutput) {
  double out[2] = {kPoison, kPoison};
  EXPECT_EQ(SplitStringIntoDoubles("1,2x,3", ",", out, 2), 0u);
  EXPECT_EQ(SplitStringIntoDoubles("1,x,3", ",", out, 2), 0u);
  EXPECT_EQ(out[0], kPoison);
  EXPECT_EQ(SplitStringIntoDoubles("1,2x,3", ",", out, 2, kZxSplitSkipNonNumbers), 2u);
  EXPECT_EQ(out[1], 3.0);
  EXPECT_EQ(StringToDoubleDef(" 2.5 ", 1.0), 2.5);
  EXPECT_EQ(StringToDoubleDef("2.5m", 1.0), 1.0);
}

}  // namespace
}  // namespace SatCommonUtils
