#include "transform/affine_2d.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/bits.h"
#include "support/debug_capture.h"
#include "support/random.h"
#include "support/xml.h"

using namespace SatCommonUtils;
using orbmath_test::kPoison;
using orbmath_test::ReaderOf;
using orbmath_test::SameBits;
using orbmath_test::SavedXml;

namespace {

/// Rounding of a handful of operations on numbers near 1000.
constexpr double kRounding = 1e-10;

constexpr T2DAffineParams kMap = {1.25, -0.5, 300.0, 0.75, 2.0, -40.0};
constexpr T2DAffineParams kPoisoned = {kPoison, kPoison, kPoison, kPoison, kPoison, kPoison};

::testing::AssertionResult Near(const T2DAffineParams& a, const T2DAffineParams& b, double tolerance) {
  const double* x = &a.A1;
  const double* y = &b.A1;
  for (int i = 0; i < 6; ++i) {
    if (!(std::fabs(x[i] - y[i]) <= tolerance)) {
      return ::testing::AssertionFailure() << "coefficient " << i << ": " << x[i] << " and " << y[i];
    }
  }
  return ::testing::AssertionSuccess();
}

::testing::AssertionResult Same(const T2DAffineParams& a, const T2DAffineParams& b) {
  return SameBits(&a.A1, &b.A1, 6);
}

T2DTransformParamsSourceDataItem Tie(const T2DAffineParams& map, double x, double y) {
  return {x, y, map.A1 * x + map.A2 * y + map.A3, map.B1 * x + map.B2 * y + map.B3};
}

/// A direct map and an inverse that is not its inverse.
const char* const kInconsistentInverse = "the stored inverse";
std::string InconsistentXml() {
  return SavedXml([](TZxXIniWriter* writer) {
    EXPECT_TRUE(SaveToXML(kMap, writer, "Direct2DAffineTransform"));
    EXPECT_TRUE(SaveToXML({1, 2, 3, 4, 5, 6}, writer, "Inverse2DAffineTransform"));
  });
}

template <class Function>
std::string RuntimeErrorOf(const Function& function) {
  try {
    function();
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "nothing was thrown";
}

}  // namespace

TEST(Affine2DFit, ReproducesThreePointsAndRefusesTwo) {
  std::vector<T2DTransformParamsSourceDataItem> points = {Tie(kMap, 0, 0), Tie(kMap, 100, 7)};
  T2DAffineParams out = kPoisoned;
  EXPECT_FALSE(Calculate2DAffineParams(points, &out));
  EXPECT_TRUE(Same(out, kPoisoned));
  points.push_back(Tie(kMap, -3, 50));
  ASSERT_TRUE(Calculate2DAffineParams(points, &out));
  EXPECT_TRUE(Near(out, kMap, kRounding));
}

TEST(Affine2DFit, IsLeastSquares) {
  // The residual +e, -e, +e, -e at the corners of a square is orthogonal to every affine map of the square.
  constexpr double kError = 0.5;
  std::vector<T2DTransformParamsSourceDataItem> points;
  const double corners[4][2] = {{-1, -1}, {1, -1}, {1, 1}, {-1, 1}};
  for (int i = 0; i < 4; ++i) {
    points.push_back(Tie(kMap, corners[i][0], corners[i][1]));
    points.back().Xto += i % 2 == 0 ? kError : -kError;
    points.back().Yto -= i % 2 == 0 ? kError : -kError;
  }
  T2DAffineParams out;
  ASSERT_TRUE(Calculate2DAffineParams(points, &out));
  EXPECT_TRUE(Near(out, kMap, kRounding));
}

// What the header says of points far from the origin, and of the way out. The largest misses seen are 3.3e-4 and 2e-9.
TEST(Affine2DFit, LosesDigitsFarFromTheOriginAsDocumented) {
  orbmath_test::Random random("affine far away");
  for (const bool moved : {false, true}) {
    std::vector<T2DTransformParamsSourceDataItem> points;
    for (int i = 0; i < 30; ++i) {
      points.push_back(Tie(kMap, 5e6 + random.Uniform(-1000, 1000), 5e6 + random.Uniform(-700, 1000)));
      if (moved) points.back().Xfrom -= 5e6, points.back().Yfrom -= 5e6;
    }
    T2DAffineParams out;
    ASSERT_TRUE(Calculate2DAffineParams(points, &out));
    for (const auto& point : points) {
      const auto fitted = Tie(out, point.Xfrom, point.Yfrom);
      EXPECT_NEAR(fitted.Xto, point.Xto, moved ? 1e-8 : 1e-3);
      EXPECT_NEAR(fitted.Yto, point.Yto, moved ? 1e-8 : 1e-3);
    }
  }
}

TEST(Affine2DAlgebra, CombinesInTheOrderOfApplicationAndInverts) {
  orbmath_test::Random random("affine algebra");
  for (int round = 0; round < 20; ++round) {
    T2DAffineParams p, q, combined, inverse;
    for (double* value = &p.A1; value <= &p.B3; ++value) *value = random.Uniform(-2, 2);
    for (double* value = &q.A1; value <= &q.B3; ++value) *value = random.Uniform(-2, 2);
    p.A1 += 5, p.B2 += 5;  // far from singular
    Combine2DAffineParams(p, q, &combined);
    const auto first = Tie(p, 0.3, -0.7);
    const auto second = Tie(q, first.Xto, first.Yto);
    const auto both = Tie(combined, 0.3, -0.7);
    EXPECT_NEAR(both.Xto, second.Xto, kRounding);
    EXPECT_NEAR(both.Yto, second.Yto, kRounding);

    ASSERT_TRUE(Invert2DAffineParams(p, &inverse));
    Combine2DAffineParams(p, inverse, &inverse);  // the output may be an input
    EXPECT_TRUE(Near(inverse, {1, 0, 0, 0, 1, 0}, kRounding));
  }
}

TEST(Affine2DAlgebra, RefusesSingularMaps) {
  const T2DAffineParams maps[] = {
      {1e-11, 0, 5, 0, 1e-11, 6}, {1, 2, 0, 2, 4, 0}, {0, 0, 0, 0, 0, 0}, {NAN, 0, 0, 0, 1, 0}};
  for (const T2DAffineParams& map : maps) {
    T2DAffineParams out = kPoisoned;
    EXPECT_FALSE(Invert2DAffineParams(map, &out));
    EXPECT_TRUE(Same(out, kPoisoned));
    EXPECT_EQ(RuntimeErrorOf([&] { T2DAffineTransform transform(map); }),
              "T2DAffineTransform::T2DAffineTransform(const T2DAffineParams& src)");
    T2DAffineTransform transform(kMap);
    EXPECT_FALSE(transform.Initialize(map));
    transform.GetParameters(&out);
    EXPECT_TRUE(Same(out, kMap));
  }
}

TEST(Affine2DAlgebra, TheLimitOfTheDeterminantIsExclusive) {
  const double limit = kSmallestAffineDeterminant;
  const double above = std::nextafter(limit, 1.0);
  T2DAffineParams out;
  for (const double sign : {1.0, -1.0}) {
    EXPECT_FALSE(Invert2DAffineParams({sign * limit, 0, 5, 0, 1, 6}, &out)) << sign;
    EXPECT_FALSE(Invert2DAffineParams({0, sign * limit, 5, 1, 0, 6}, &out)) << sign;
    EXPECT_TRUE(Invert2DAffineParams({sign * above, 0, 5, 0, 1, 6}, &out)) << sign;
    EXPECT_EQ(out.A1, sign / above);
  }
}

TEST(Affine2DTransform, EverySlotOfTheFamilyWorks) {
  const T2DAffineTransform transform(kMap);
  const TZx2DTransform& base = transform;
  const xy_d point(12.5, -3.0);
  const auto tie = Tie(kMap, point.x, point.y);
  const xy_d image = base.GetTraCoord(point);
  EXPECT_EQ(image, xy_d(tie.Xto, tie.Yto));
  const xy_d back = base.GetInverseTraCoord(image);
  EXPECT_NEAR(back.x, point.x, kRounding);
  EXPECT_NEAR(back.y, point.y, kRounding);
  xy_d checked, batch[2] = {point, xy_d(0, 0)};
  EXPECT_TRUE(base.GetTraCoordB(point, checked));
  EXPECT_EQ(checked, image);
  base.GetTraCoordM(batch, batch, 2);
  EXPECT_EQ(batch[0], image);
  EXPECT_EQ(batch[1], xy_d(300, -40));
  base.GetInverseTraCoordM(batch, batch, 2);
  EXPECT_EQ(batch[0], back);
  EXPECT_EQ(base.GetTransformTime(false), 1.0);
  EXPECT_EQ(base.GetTransformTime(true), 1.0);
  EXPECT_STREQ(base.GetContentName(), "sat_affine");
  double x = kPoison, y = kPoison;
  transform.InverseTransform(image.x, image.y, &x, &y);
  EXPECT_EQ(xy_d(x, y), back);
  EXPECT_EQ(base.CreateCopy()->GetInverseTraCoord(image), back);
  EXPECT_EQ(base.CreateInverseTransform()->GetTraCoord(image), back);
  EXPECT_EQ(T2DAffineTransform().GetTraCoord(point), point);
}

TEST(Affine2DXml, AStoredInverseIsTakenAsItStands) {
  const std::string xml = InconsistentXml();
  const T2DAffineTransform transform(ReaderOf(xml).get());
  EXPECT_EQ(transform.GetInverseTraCoord(xy_d(1, 1)), xy_d(6, 15)) << kInconsistentInverse;
  EXPECT_EQ(transform.CreateCopy()->GetInverseTraCoord(xy_d(1, 1)), xy_d(6, 15)) << "copies take it along";
  EXPECT_EQ(SavedXml([&](TZxXIniWriter* writer) { EXPECT_TRUE(transform.SaveToXML(writer)); }), xml);
  // The inverse transform's own inverse is computed, not copied.
  const xy_d p = transform.CreateInverseTransform()->GetInverseTraCoord(xy_d(6, 15));
  EXPECT_NEAR(p.x, 1, kRounding);
  EXPECT_NEAR(p.y, 1, kRounding);
}

TEST(Affine2DXml, AMissingInverseIsComputed) {
  const auto reader = ReaderOf(SavedXml([](TZxXIniWriter* writer) {
    TZxXIniWriterSection outer(writer, "outer");
    SaveToXML(kMap, writer, "Direct2DAffineTransform");
  }));
  T2DAffineTransform transform(reader.get(), "outer");
  double x, y;
  transform.InverseTransform(300, -40, &x, &y);
  EXPECT_NEAR(x, 0, kRounding);
  EXPECT_NEAR(y, 0, kRounding);
  EXPECT_FALSE(transform.InitializeFromXML(reader.get())) << "the reader is back in its section, which has no map";
}

TEST(Affine2DXml, IncompleteDocumentsFailAndChangeNothing) {
  const std::string complete = InconsistentXml();
  for (const char* key : {"A1", "B3", "Direct2DAffineTransform"}) {
    std::string xml = complete;
    for (std::size_t at = 0; (at = xml.find(key, at)) != std::string::npos;) xml.replace(at, 1, "Z");
    const auto reader = ReaderOf(xml);
    T2DAffineTransform transform(kMap);
    EXPECT_FALSE(transform.InitializeFromXML(reader.get())) << key;
    T2DAffineParams params = kPoisoned;
    EXPECT_FALSE(InitializeFromXML(reader.get(), "Direct2DAffineTransform", &params)) << key;
    EXPECT_TRUE(Same(params, kPoisoned));
    transform.GetParameters(&params);
    EXPECT_TRUE(Same(params, kMap));
    EXPECT_EQ(RuntimeErrorOf([&] { T2DAffineTransform t(reader.get()); }),
              "T2DAffineTransform::T2DAffineTransform(TZxXIniReader *src))");
    EXPECT_EQ(RuntimeErrorOf([&] { T2DAffineTransform t(reader.get(), "none"); }),
              "T2DAffineTransform::T2DAffineTransform(TZxXIniReader *src, std::string key)");
  }
}

TEST(Affine2DXml, ThereIsNoneWithoutReaderOrWriter) {
  T2DAffineTransform transform(kMap);
  T2DAffineParams params = kPoisoned;
  EXPECT_FALSE(InitializeFromXML(nullptr, &params) || InitializeFromXML(nullptr, "k", &params));
  EXPECT_FALSE(SaveToXML(kMap, nullptr) || SaveToXML(kMap, nullptr, "k"));
  EXPECT_FALSE(transform.InitializeFromXML(nullptr) || transform.InitializeFromXML(nullptr, "k"));
  EXPECT_FALSE(transform.SaveToXML(nullptr) || transform.SaveToXML(nullptr, "k"));
  EXPECT_TRUE(Same(params, kPoisoned));
}

TEST(TiePoints, PrintOneMessageEach) {
  orbmath_test::DebugCapture capture;
  DebugOutput(std::vector<T2DTransformParamsSourceDataItem>{{1.5, -2.0, 1e6, 0.12345}, {1e300, 0, 0, 0}});
  ASSERT_EQ(capture.messages.size(), 2u);
  EXPECT_EQ(capture.messages[0],
            "Xfrom=               1.500 Yfrom=              -2.000 Xto=         1000000.000 Yto=               0.123");
  EXPECT_EQ(capture.messages[1].size(), 127u);
}
