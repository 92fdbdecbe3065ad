#include "poly/polynome.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "frame/sat_data_container/string_tree.h"
#include "linalg/raw_arrays.h"
#include "support/bits.h"
#include "support/random.h"
#include "support/xml.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::ReaderOf;
using orbmath_test::SavedXml;

/// A polynomial by its coefficients, lowest power first.
TPolynome Rising(const std::vector<double>& coefs) {
  return TPolynome(static_cast<int>(coefs.size()) - 1, coefs.data());
}

/// What the call throws as a bare text, or "".
template <class Call>
std::string ThrownText(const Call& call) {
  try {
    call();
  } catch (const char* text) {
    return text;
  }
  return "";
}

TEST(Polynome, EveryFormSaysWhichCoefficientComesFirst) {
  const TPolynome falling = Rising({3, 2, 1});  // x² + 2x + 3
  EXPECT_EQ(TPolynome("(1;2;3)"), falling);
  EXPECT_EQ(TPolynome(std::vector<double>{1, 2, 3}), falling);
  EXPECT_EQ(TPolynome(TVector(3, 2, 1)), falling);
  TPolynome p;
  EXPECT_TRUE(p.Initialize({1, 2, 3}, true) && p == falling);
  EXPECT_TRUE(p.Initialize({3, 2, 1}, false) && p == falling);
  EXPECT_EQ(Rising({1, 2, 3}).GetValue(2), 17);
  double room[3] = {9, 9, 9};
  EXPECT_TRUE(falling.GetCoefs(room, 2) == 0 && room[0] == 9);
  int count = falling.GetCoefs(room, 3);
  const std::unique_ptr<double, void (*)(double*)> copy(falling.GetCoefs(count), ReleaseVector);
  EXPECT_TRUE(count == 3 && room[0] == 3 && copy.get()[0] == 3);
  EXPECT_EQ(falling.GetCoefsString(), "(1;2;3)");
  EXPECT_EQ(TPolynome(2, nullptr), Rising({0, 0, 0}));
}

TEST(Polynome, ThrownTexts) {
  TStringTree tree;
  TPolynome p = Rising({1, 2});
  EXPECT_EQ(ThrownText([] { TPolynome(-1, nullptr); }), "TPolynome::TPolynome(int, const double*)");
  EXPECT_EQ(ThrownText([] { TPolynome{TVector()}; }), "TPolynome::TPolynome(const TVector& src)");
  EXPECT_EQ(ThrownText([] { TPolynome{std::vector<double>()}; }), "TPolynome::TPolynome(const vector<double>& src)");
  for (TStringTree* const none : {&tree, static_cast<TStringTree*>(nullptr)}) {
    EXPECT_EQ(ThrownText([&] { TPolynome(none, 1); }), "TPolynome::TPolynome(TStringTree *src, int tag)");
  }
  EXPECT_EQ(ThrownText([&] { p.Reset(-1); }), "void TPolynome::Reset(int new_order)");
  EXPECT_EQ(p, Rising({1, 2}));
}

TEST(Polynome, TextsOfAllKinds) {
  const std::pair<const char*, std::vector<double>> cases[] = {
      {"5", {5}}, {"1,2,3", {3, 2, 1}}, {"(1)(2)", {2, 1}}, {"( 1e1 ;x; -2 )", {-2, 10}}, {";;7;", {7}}};
  TPolynome p = Rising({9, 9});
  for (const auto& [text, rising] : cases) {
    EXPECT_TRUE(p.Initialize(std::string(text)) && p == Rising(rising)) << text;
    EXPECT_EQ(TPolynome(std::string(text)), p) << text;
  }
  // None at all, and a token of 128 characters and more.
  for (const std::string& text : {std::string(), std::string("none"), "1;" + std::string(500, '7')}) {
    EXPECT_TRUE(!p.Initialize(text) && p == Rising({0}) && TPolynome(text) == p) << text;
  }
}

// Elements of an array lie twelve bytes apart, so that every other pointer inside is on an odd multiple of four.
TEST(Polynome, WorksAtAnyMultipleOfFourBytes) {
  static_assert(sizeof(TPolynome) == sizeof(int) + sizeof(double*), "packed to four bytes");
  std::vector<TPolynome> several(3, Rising({1, 2}));
  several.insert(several.begin(), Rising({5}));
  EXPECT_TRUE((several[1] += several[2]) == Rising({2, 4}) && several[3] == several[2]);
}

TEST(Polynome, InvalidOneCountsAsZero) {
  TPolynome p;
  EXPECT_TRUE(!p && p.GetOrder() == -1 && p.GetValue(3) == 0 && p.IsNull() && p.Derivative() == Rising({0}));
  EXPECT_FALSE(p.Initialize(std::vector<double>(), false));
  p += Rising({1, 2});
  TPolynome copy = p;
  EXPECT_TRUE((copy *= 2) == Rising({2, 4}) && p == Rising({1, 2})) << "copies are deep";
  const TPolynome taken(std::move(copy));
  EXPECT_TRUE(taken == Rising({2, 4}) && !copy);  // NOLINT(bugprone-use-after-move): the promise under test
}

TEST(Polynome, Arithmetic) {
  EXPECT_EQ(Rising({7, 5, 3, 2}).Derivative(), Rising({5, 6, 6}));
  EXPECT_EQ(Rising({7}).Derivative(), Rising({0}));
  TPolynome p = Rising({1, 2});
  EXPECT_EQ(p += Rising({1, 1, 1}), Rising({2, 3, 1}));
  EXPECT_EQ(p -= Rising({0, 0, 1}), Rising({2, 3, 0})) << "the order never falls";
  EXPECT_EQ(p -= Rising({1}), Rising({1, 3, 0}));
  EXPECT_EQ(p += p, Rising({2, 6, 0}));
  EXPECT_EQ(p /= 2, Rising({1, 3, 0}));
  EXPECT_EQ(-p, Rising({-1, -3, 0}));
  EXPECT_NE(p, Rising({1, 3}));
  p.Optimize();
  EXPECT_EQ(p, Rising({1, 3}));
  TPolynome constant = Rising({5, 0, -0.0});
  constant.Optimize();
  EXPECT_EQ(constant, Rising({5}));
  EXPECT_TRUE(p.ApproximatelyEqual(Rising({1.05, 2.95, 0.05}), 0.1));
  EXPECT_TRUE(Rising({1.05, 2.95, 0.05}).ApproximatelyEqual(p, 0.1));
  EXPECT_FALSE(p.ApproximatelyEqual(Rising({1, 3, 0.1}), 0.1)) << "strictly below";
  EXPECT_FALSE(p.ApproximatelyEqual(Rising({1, NAN}), 1e9));
  EXPECT_TRUE(Rising({0, -0.0}).IsNull());
  EXPECT_FALSE(Rising({0, NAN}).IsNull());
}

TEST(Polynome, LinearSubstitution) {
  TPolynome p = Rising({0, 0, 1}), q;
  LinearSubstitution(&p, 2, 1, &p);
  EXPECT_EQ(p, Rising({1, 4, 4})) << "in place";
  LinearSubstitution(&q, 2, 1, &p);
  EXPECT_EQ(p, TPolynome()) << "invalid";
  orbmath_test::Random random("Polynome.Substitution");
  for (int order = 0; order <= 12; ++order) {
    p.Reset(order);
    for (int k = 0; k <= order; ++k) p += Rising(std::vector<double>(k + 1, random.Uniform(-1, 1)));
    LinearSubstitution(&p, 0.75, -0.5, &q);
    for (double t = -1.0; t <= 1.0; t += 0.25) EXPECT_NEAR(q.GetValue(t), p.GetValue(0.75 * t - 0.5), 1e-10) << order;
  }
  // Past order 12 factorials wrap: 13! is 1932053504 modulo 2^32, so that 13! / 12! is not 13 in (t + 1)^13.
  p = TPolynome("1;0;0;0;0;0;0;0;0;0;0;0;0;0");
  LinearSubstitution(&p, 1, 1, &q);
  EXPECT_EQ(q.GetValue(0), 1.0);
  EXPECT_EQ(q.Derivative().GetValue(0), 1932053504.0 / 479001600.0);
  p.Reset(40);
  LinearSubstitution(&p, 1, 1, &q);
  EXPECT_EQ(q.GetOrder(), 40) << "factorials of 0 on the way";
}

TEST(Polynome, TextXmlAndTreeComeBackBitForBit) {
  std::vector<double> coefs = orbmath_test::SpecialDoubles();
  const TPolynome p = Rising(coefs);
  TStringTree tree;
  ASSERT_TRUE(p.WriteToTree(&tree, 7, "c"));
  EXPECT_EQ(*tree.FindKey(7, 1), "c1");
  const std::string xml = SavedXml([&](TZxXIniWriter* writer) { EXPECT_TRUE(p.SaveToXML(writer, "P")); });
  TPolynome from_xml;
  ASSERT_TRUE(from_xml.InitializeFromXML(ReaderOf(xml).get(), "P"));
  for (const TPolynome& found : {TPolynome(p.GetCoefsString()), from_xml, TPolynome(&tree, 7)}) {
    std::vector<double> back(coefs.size());
    ASSERT_EQ(found.GetCoefs(back.data(), static_cast<int>(back.size())), static_cast<int>(coefs.size()));
    EXPECT_TRUE(orbmath_test::SameBits(back.data(), coefs.data(), coefs.size()));
  }
}

/// XML of a polynomial with that order and those many coefficients.
std::string Xml(const std::string& order, int count) {
  return SavedXml([&](TZxXIniWriter* writer) {
    TZxXIniWriterSection section(writer, "P");
    if (!order.empty()) writer->WriteS<std::string>("PolynomeOrder", order);
    if (count < 0) return;
    TZxXIniWriterSection coefs(writer, "PolynomeCoefs");
    for (int k = 0; k < count; ++k) writer->WriteS<double>(std::to_string(k), k + 0.5);
  });
}

TEST(Polynome, HostileXmlLeavesItAlone) {
  const TPolynome before = Rising({7, 8});
  TPolynome p = before;
  ASSERT_TRUE(p.InitializeFromXML(ReaderOf(Xml("1", 2)).get(), "P"));
  EXPECT_EQ(p, Rising({0.5, 1.5}));
  p = before;
  const std::string bad[] = {Xml("", 2),  Xml("x", 2),          Xml("0x1", 2),        Xml("1", -1),
                             Xml("2", 2), Xml("2147483647", 2), Xml("99999999999", 2)};
  for (const std::string& xml : bad) EXPECT_FALSE(p.InitializeFromXML(ReaderOf(xml).get(), "P")) << xml;
  EXPECT_FALSE(p.InitializeFromXML(ReaderOf(Xml("1", 2)).get(), "Q"));
  const auto reader = ReaderOf(Xml("-1", 2));
  EXPECT_EQ(ThrownText([&] { p.InitializeFromXML(reader.get(), "P"); }), "void TPolynome::Reset(int new_order)");
  EXPECT_FALSE(p.InitializeFromXML(nullptr, "P") || p.SaveToXML(nullptr, "P") || p.WriteToTree(nullptr, 1, "P"));
  EXPECT_EQ(p, before);
  EXPECT_NE(reader->FindF("P"), TZxXIniReader::npos) << "back in the section where it was";
}

}  // namespace
}  // namespace SatCommonUtils
