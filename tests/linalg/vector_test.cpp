#include "linalg/vector.h"

#include <gtest/gtest.h>

#include <cmath>
#include <type_traits>

#include "frame/zxstd/message.h"
#include "support/bits.h"
#include "support/comma_locale.h"
#include "support/debug_capture.h"
#include "support/process_ends.h"
#include "support/xml.h"

namespace orbmath_test {
namespace {

using SatCommonUtils::TVector;
using SatCommonUtils::TZxMessage;

TVector Of(std::initializer_list<double> values) { return TVector(values.size(), values.begin()); }

TEST(Vector, IsBuiltFromSizesUnitsNumbersAndText) {
  EXPECT_FALSE(TVector());
  EXPECT_EQ(TVector(std::size_t{0}).GetData(), nullptr);
  EXPECT_EQ(TVector(3).GetString(), "(0;0;0)");
  EXPECT_EQ(TVector(3, std::size_t{2}).GetString(), "(0;0;1)");
  EXPECT_EQ(TVector(3, 0).GetString(), "(1;0;0)");
  const struct {
    const char *text, *stored;
  } cases[] = {
      {"(1;2;3)", "(1;2;3)"},
      {"1;2;3", "(1;2;3)"},
      {"(1)(2)(3)", "(1;2;3)"},
      {"(1.5;-2)", "(1.5;-2)"},
      {"(;;4)", "(4)"},
      {"(x;1e3y; +7;0x10;-.5)", "(1000;7;16;-0.5)"},  // what is no number does not count, what follows one is ignored
      {"(1e999;-inf;-1e-999)", "(inf;-inf;-0)"},
  };
  for (const auto& one : cases) EXPECT_EQ(TVector(std::string(one.text)).GetString(), one.stored) << one.text;
  for (const char* none : {"", "()", "(x)", ";;"}) {
    try {
      const TVector vector{std::string(none)};
      ADD_FAILURE() << none;
    } catch (const char* text) {
      EXPECT_STREQ(text, "TVector::TVector(const char* src)");
    }
  }
  try {
    const TVector vector(3, std::size_t{3});
    ADD_FAILURE();
  } catch (const TZxMessage& message) {
    EXPECT_EQ(message.GetText(), "@SatCommonUtils::TVector::TVector: TVector index error");
  }
  orbmath_test::WatchEndsInAProcessOfTheirOwn();
  EXPECT_DEATH(TVector("(" + std::string(128, '1') + ")"), "128");
  EXPECT_EQ(TVector("(" + std::string(127, '0') + ")").GetSize(), 1u);
}

TEST(Vector, TextBringsEveryDoubleBackWhateverTheLocale) {
  const orbmath_test::CommaLocale locale;  // where one is installed
  const std::vector<double> special = SpecialDoubles();
  const TVector vector(special.size(), special.data());
  const TVector back(vector.GetString());
  ASSERT_EQ(back.GetSize(), special.size());
  EXPECT_TRUE(SameBits(back.GetData(), special.data(), special.size()));
  EXPECT_EQ(Of({0.1, -12345.67891}).Output(), "(   0.1000;-12345.6789)");
  EXPECT_EQ(Of({0.1}).GetString(), "(0.10000000000000000555)");
}

TEST(Vector, ChecksOnlyItsSquareBrackets) {
  TVector vector = Of({1, 2});
  vector[1] = 5;
  EXPECT_EQ(vector(1), 5.0);
  try {
    vector[2] = 0;
    ADD_FAILURE();
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "double& TVector::operator[] (size_t index)");
  }
}

TEST(Vector, CopiesDeeplyAndMovesWithoutCopying) {
  static_assert(std::is_nothrow_move_constructible<TVector>::value && std::is_nothrow_move_assignable<TVector>::value);
  TVector a = Of({1, 2, 3}), b(a);
  b[0] = 9;
  EXPECT_EQ(a(0), 1.0);
  const double* const data = a.GetData();
  TVector c(std::move(a));
  EXPECT_EQ(c.GetData(), data);
  EXPECT_EQ(a.GetSize(), 0u);  // NOLINT(bugprone-use-after-move): promised
  a = c + 1.0;
  c = *&c;
  EXPECT_EQ(a.GetString() + c.GetString(), "(2;3;4)(1;2;3)");
  c = TVector();
  EXPECT_FALSE(c);
}

TEST(Vector, Calculates) {
  const TVector a = Of({3, -4, 12}), b = Of({1, 2, 3});
  const struct {
    const char* what;
    TVector result;
    const char* stored;
  } cases[] = {
      {"a+b", a + b, "(4;-2;15)"},
      {"a-b", a - b, "(2;-6;9)"},
      {"a+s", a + 1.0, "(4;-3;13)"},
      {"s+a", 1.0 + a, "(4;-3;13)"},
      {"a-s", a - 1.0, "(2;-5;11)"},
      {"a*s", a * 2.0, "(6;-8;24)"},
      {"s*a", 2.0 * a, "(6;-8;24)"},
      {"a/s", a / 0.5, "(6;-8;24)"},
      {"-a", -a, "(-3;4;-12)"},
      {"a^b", a ^ b, "(-36;3;10)"},
      {"a|b", a | b, "(3;-4;12;1;2;3)"},
      {"norm", Of({3, 4}).GetNormalized(), "(0.5999999999999999778;0.80000000000000004441)"},
      {"sub", a.GetSubVector(1, 2), "(-4;12)"},
  };
  for (const auto& one : cases) EXPECT_EQ(one.result.GetString(), one.stored) << one.what;
  EXPECT_EQ(a * b, 31.0);
  EXPECT_EQ(a.Norma(), 13.0);
  EXPECT_EQ(a.Norma1(), 12.0);
  EXPECT_EQ(TVector().Norma(), 0.0);
  EXPECT_EQ(TVector().Norma1(), -1.0);
  EXPECT_EQ(TVector(2).Normalize().GetString(), "(0;0)");
  EXPECT_EQ(Of({NAN, 1}).Normalize()(1), 1.0);
  EXPECT_TRUE(TVector().IsNull() && Of({0.0, -0.0}).IsNull());
  EXPECT_FALSE(Of({0.0, NAN}).IsNull());
}

TEST(Vector, ChangesItsSize) {
  TVector vector = Of({1, 2, 3});
  EXPECT_FALSE(vector.Clip(0) || vector.Clip(4));
  EXPECT_TRUE(vector.Clip(3));
  EXPECT_EQ(vector.Reset(3), 3u);
  EXPECT_EQ(vector.GetString(), "(1;2;3)") << "the same size keeps the values";
  EXPECT_TRUE(vector.Clip(2));
  EXPECT_EQ(vector.GetString(), "(1;2)");
  EXPECT_EQ(vector.Reset(1), 2u);
  EXPECT_EQ(vector.GetString(), "(0)");
  vector.Reset(0);
  EXPECT_EQ(vector.GetData(), nullptr);
}

TEST(Vector, PrintsForPeople) {
  const DebugCapture capture;
  Of({1}).DebugOutput();
  Of({2}).DebugOutput("title");
  Of({3}).DebugOutput(std::string("other"));
  EXPECT_EQ(capture.messages,
            (std::vector<std::string>{"(   1.0000)", "title (   2.0000)\r\n", "other (   3.0000)\r\n"}));
}

TEST(Vector, LoadsFromXmlOrStaysAsItWas) {
  const TVector saved = Of({1.0 / 3.0, NAN, -0.0});
  const std::string xml = SavedXml([&](auto* writer) {
    EXPECT_TRUE(saved.SaveToXML(writer, "good"));
    writer->template WriteS<std::string>("empty", "()");
    writer->template WriteS<std::string>("long", "(1;" + std::string(128, '2') + ";3)");
  });
  TVector vector = Of({7, 8});
  for (const char* key : {"missing", "empty", "long"}) {
    EXPECT_FALSE(vector.InitializeFromXML(ReaderOf(xml).get(), key)) << key;
    EXPECT_EQ(vector.GetString(), "(7;8)") << key;
  }
  EXPECT_TRUE(vector.InitializeFromXML(ReaderOf(xml).get(), "good"));
  ASSERT_EQ(vector.GetSize(), 3u);
  EXPECT_TRUE(SameBits(vector.GetData(), saved.GetData(), 3));
}

}  // namespace
}  // namespace orbmath_test
