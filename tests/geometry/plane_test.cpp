#include "geometry/plane.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

#include "geometry/matchers.h"
#include "support/bits.h"
#include "support/debug_capture.h"
#include "support/random.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::kPoison;
using orbmath_test::Near;

const TPlaneCoefs kPoisoned(kPoison, kPoison, kPoison, kPoison);

/// The text of the runtime error that the call throws, or "".
template <class Call>
std::string ThrownText(const Call& call) {
  try {
    call();
  } catch (const std::runtime_error& e) {
    return e.what();
  }
  return "";
}

constexpr const char* kNoPlane = "TPlaneVectors::TPlaneVectors(const TVector& n, const TVector& p)";

TEST(Plane, Validity) {
  EXPECT_FALSE(static_cast<bool>(TPlaneCoefs(0, -0.0, 0, 5)));
  EXPECT_TRUE(static_cast<bool>(TPlaneCoefs(0, 0, NAN, 0)));
  TPlaneVectors vectors({0, 0, 2}, {1, 1, 1});
  EXPECT_TRUE(vectors && Near(vectors.n, TVector(0, 0, 1), 0.0));
  vectors.Reset();
  EXPECT_TRUE(!vectors && vectors == TPlaneVectors());
  const TVector good(0, 0, 1);
  for (const TVector& bad : {TVector(), TVector(2), TVector(4)}) {
    EXPECT_EQ(ThrownText([&] { TPlaneVectors(bad, good); }), kNoPlane);
    EXPECT_EQ(ThrownText([&] { TPlaneVectors(good, bad); }), kNoPlane);
  }
  EXPECT_EQ(ThrownText([&] { TPlaneVectors(TVector(3), good); }), kNoPlane) << "a normal without length";
}

TEST(Plane, Conversions) {
  const struct {
    TPlaneCoefs coefs;
    TVector n, p;
  } cases[] = {
      {{0, 0, 2, -4}, {0, 0, 1}, {0, 0, 2}},     {{0, -3, 0, 6}, {0, -1, 0}, {0, 2, 0}},
      {{0, 3, 4, 6}, {0, 0.6, 0.8}, {0, -2, 0}}, {{2, 0, 0, 5}, {1, 0, 0}, {-2.5, 0, 0}},
      {{3, 0, 4, 0}, {0.6, 0, 0.8}, {0, 0, 0}},
  };
  for (const auto& c : cases) {
    TPlaneVectors vectors;
    ASSERT_TRUE(PlaneCoefsToVectors(c.coefs, &vectors));
    EXPECT_TRUE(Near(vectors.n, c.n));
    EXPECT_TRUE(Near(vectors.p, c.p));
    TPlaneCoefs back = kPoisoned;
    ASSERT_TRUE(PlaneVectorsToCoefs(vectors, &back));
    EXPECT_TRUE(back == vectors && vectors == back);
    const double length = std::hypot(c.coefs.A, c.coefs.B, c.coefs.C);
    EXPECT_NEAR(back.D, c.coefs.D / length, orbmath_test::kRounding);
  }
  TPlaneVectors vectors({1, 0, 0}, {1, 2, 3});
  EXPECT_FALSE(PlaneCoefsToVectors(TPlaneCoefs(0, 0, 0, 7), &vectors));
  EXPECT_EQ(vectors, TPlaneVectors());
  TPlaneCoefs coefs = kPoisoned;
  EXPECT_FALSE(PlaneVectorsToCoefs(vectors, &coefs));
  EXPECT_EQ(coefs, TPlaneCoefs());
}

TEST(Plane, NormalAndAlternativePoint) {
  TPlaneVectors plane;
  TVector out(kPoison, kPoison, kPoison);
  EXPECT_FALSE(plane.GetUnityPlaneNormal(&out));
  EXPECT_FALSE(plane.GetAlternativePlanePoint(1.0, &out));
  EXPECT_EQ(out(0), kPoison);
  plane.n = TVector(0, 3, 4);
  plane.p = TVector(1, 2, 3);
  ASSERT_TRUE(plane.GetUnityPlaneNormal(&out));
  EXPECT_TRUE(Near(out, TVector(0, 0.6, 0.8)));
  TVector empty;
  EXPECT_THROW(plane.GetUnityPlaneNormal(&empty), std::runtime_error);

  // Of equal components the first counts, whatever its sign: (-1, 0, -1) x (0, 1, 1) is along (1, 1, -1).
  ASSERT_TRUE(TPlaneVectors({-1, 0, -1}, {1, 2, 3}).GetAlternativePlanePoint(std::sqrt(3.0), &out));
  EXPECT_TRUE(Near(out, TVector(2, 3, 2)));

  orbmath_test::Random random("Plane.Alternative");
  for (int run = 0; run < 50; ++run) {
    const TVector n(random.Normal(1), run % 3 == 0 ? 0.0 : random.Normal(1), run % 7 == 0 ? 0.0 : random.Normal(1));
    const TPlaneVectors any(n, {1, 2, 3});
    ASSERT_TRUE(any.GetAlternativePlanePoint(-2.5, &out));
    EXPECT_NEAR((out - any.p) * any.n, 0.0, orbmath_test::kRounding);
    EXPECT_NEAR((out - any.p).Norma(), 2.5, orbmath_test::kRounding);
  }
}

TEST(Plane, ThroughThreePoints) {
  orbmath_test::DebugCapture debug;
  TPlaneCoefs plane;
  ASSERT_TRUE(EstimatePlaneCoefs({{0, 0, 2}, {1, 0, 2}, {0, 1, 2}}, &plane));
  EXPECT_EQ(plane, TPlaneCoefs(0, 0, 1, -2));
  ASSERT_EQ(debug.messages.size(), 1u);
  EXPECT_EQ(debug.messages[0], "EstimatePlaneCoefs: points count=3  mean error=0 max_error=0");
}

TEST(Plane, FourAndMorePointsGiveTheZeroPlane) {
  orbmath_test::DebugCapture debug;
  std::vector<TVector> points = {{0, 0, 2}, {1, 0, 2}, {0, 1, 2}, {1, 1, 3}};
  for (; points.size() < 8; points.emplace_back(static_cast<double>(points.size()), -1, 4)) {
    TPlaneCoefs plane = kPoisoned;
    EXPECT_TRUE(EstimatePlaneCoefs(points, &plane)) << points.size();
    EXPECT_EQ(plane, TPlaneCoefs()) << points.size();
  }
  EXPECT_EQ(debug.messages.size(), 4u);
  TPlaneCoefs plane = kPoisoned;
  EXPECT_FALSE(EstimatePlaneCoefs({{0, 0, 2}, {1, 0, 2}, {0, 1, 2}, {1, 1, 2}}, &plane)) << "four on one plane";
  EXPECT_EQ(plane, TPlaneCoefs());
}

TEST(Plane, RefusedPoints) {
  const std::vector<TVector> points = {{0, 0, 0}, {1, 1, 1}, {2, 2, 2}, {5, 2, 1}, {7, 1, 2}};
  for (std::size_t count = 0; count <= points.size(); ++count) {
    std::vector<TVector> with_short(points.begin(), points.begin() + static_cast<std::ptrdiff_t>(count));
    if (count >= 3) with_short[1] = TVector(2);
    TPlaneCoefs plane = kPoisoned;
    EXPECT_FALSE(EstimatePlaneCoefs(with_short, &plane));
    EXPECT_EQ(plane, TPlaneCoefs());
  }
  for (const double value : {static_cast<double>(NAN), static_cast<double>(INFINITY)}) {
    for (std::size_t count = 3; count <= points.size(); ++count) {
      std::vector<TVector> with_bad(points.begin(), points.begin() + static_cast<std::ptrdiff_t>(count));
      with_bad[1] = TVector(1, value, 1);
      TPlaneCoefs plane = kPoisoned;
      EXPECT_FALSE(EstimatePlaneCoefs(with_bad, &plane)) << value << ' ' << count;
      EXPECT_EQ(plane, TPlaneCoefs());
    }
  }
  TPlaneCoefs plane;
  EXPECT_EQ(ThrownText([&] { EstimatePlaneCoefs({points[0], points[1], points[2]}, &plane); }), kNoPlane) << "a line";
}

}  // namespace
}  // namespace SatCommonUtils
