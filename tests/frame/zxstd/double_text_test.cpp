// Doubles at the beginning of texts: what stands in for std::from_chars says the same, whatever library it is built
// with.

#include "frame/zxstd/double_text.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "frame/zxstd/number_text.h"
#include "support/bits.h"
#include "support/comma_locale.h"
#include "support/random.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::Bits;

// Both readers, on a text that other bytes follow.
void ExpectAlike(const std::string& text) {
  const std::string longer = text + "7";
  const DoubleText quick = ReadDouble(longer.data(), longer.data() + text.size());
  const DoubleText plain = ReadDoubleByCLibrary(longer.data(), longer.data() + text.size());
  EXPECT_EQ(plain.end, quick.end) << text;
  EXPECT_EQ(Bits(plain.value), Bits(quick.value)) << text;
}

TEST(ReadDouble, CLibraryReadsAlike) {
  for (const char* text : {"",
                           "-",
                           "+1",
                           "--1",
                           ".",
                           "-.",
                           ".e1",
                           "1",
                           "-.5",
                           "5.",
                           "1..2",
                           "1.5.2",
                           "1e",
                           "1e+",
                           "1e-x",
                           "1E+002x",
                           "1e5.5",
                           "0x10",
                           "1D+3",
                           "1,5",
                           "1e999",
                           "-1e999",
                           "1e-400",
                           "-1e-400",
                           "4.9e-324",
                           "2e-324",
                           "1e-310",
                           "9e-9999999",
                           "inf",
                           "-INFINITYx",
                           "infini",
                           "in",
                           "nan",
                           "-NaN",
                           "nan(0x12)",
                           "nan(a_1)x",
                           "nan(a-1)",
                           "nan(",
                           "-nan()",
                           "na",
                           " 1",
                           "1 ",
                           "-0",
                           "-0.0e5",
                           "179769313486231580793728971405301e277",
                           "1797693134862315807e290"}) {
    ExpectAlike(text);
  }
  orbmath_test::Random random("double text");
  for (int i = 0; i < 5000; ++i) {
    double value = 0.0;
    const std::uint64_t bits = random.Engine()();
    std::memcpy(&value, &bits, sizeof value);
    const std::string text = FormatDouble(value) + "e-3";
    ExpectAlike(text.substr(0, random.Index(text.size())));
  }
}

// Digits of every length on both sides of a point and what may follow them: the quick way for plain decimals begins and
// ends among these.
TEST(ReadDouble, PlainDecimalsAreReadAlike) {
  orbmath_test::Random random("plain decimals");
  const auto digits = [&](std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) text += static_cast<char>('0' + random.Index(10));
    return text;
  };
  for (const char* sign : {"", "-"}) {
    for (std::size_t before = 0; before <= 20; ++before) {
      for (std::size_t behind = 0; behind <= 20; ++behind) {
        for (const char* end : {"", " 1.5", ",", "/", ":", "e", "e3", "E-2", ".5", "\xb1", "\xff\xff"}) {
          const std::string front = digits(before);
          ASSERT_NO_FATAL_FAILURE(ExpectAlike(sign + front + end));
          ASSERT_NO_FATAL_FAILURE(ExpectAlike(sign + front + "." + digits(behind) + end));
        }
      }
    }
  }
  // About the largest whole number up to which all are doubles, and beyond 2^64, where few bits would be left.
  for (const char* text :
       {"18446.744073709551617", "9007199254740991", "9007199254740992", "9007199254740993", "9007199254740995.0",
        "900719925474099.3", "9007199.254740993", "9.007199254740993", "0.9007199254740993", "0000000000000000.1",
        "000000000000000.1000", "0.1000000000000000", "0.100000000000000"}) {
    ExpectAlike(text);
    ExpectAlike(std::string("-") + text);
  }
}

TEST(ReadDouble, CLibraryMindsNoComma) {
  const orbmath_test::CommaLocale locale;
  if (!locale) GTEST_SKIP() << "no locale with a decimal comma is installed";
  ExpectAlike("2.5e-1");
  ExpectAlike("2,5");
}

}  // namespace
}  // namespace SatCommonUtils
