#include "transform/seven_params.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "frame/zxstd/message.h"
#include "support/bits.h"
#include "support/random.h"
#include "support/xml.h"
#include "transform/similarities.h"

using namespace SatCommonUtils;
using orbmath_test::kPoison;
using orbmath_test::Near;
using orbmath_test::PointsOf;
using orbmath_test::RandomParams;
using orbmath_test::ReaderOf;
using orbmath_test::SameBits;

namespace {

/// Rounding of a few products of rotations and of coordinates near 1e3.
constexpr double kRounding = 1e-9;
/// What the fit's stopping rule leaves after quadratic convergence from within its limits.
constexpr double kFitted = 1e-8;

const T7Params kPoisoned = {kPoison, kPoison, kPoison, kPoison, kPoison, kPoison, kPoison};

template <class Function>
std::string MessageOf(const Function& function) {
  try {
    function();
  } catch (const TZxMessage& message) {
    return message.what();
  }
  return "nothing was thrown";
}

}  // namespace

TEST(SevenParamsFit, FindsSmallAndLargeRotations) {
  orbmath_test::Random random("seven parameters");
  for (const double angle : {1e-5, 0.1, 0.5}) {
    for (const std::size_t count : {3u, 20u}) {
      const T7Params truth = RandomParams(random, angle);
      T7Params found = kPoisoned;
      ASSERT_TRUE(Calculate7Params(PointsOf(truth, count, random), &found)) << angle;
      EXPECT_TRUE(Near(found, truth, kFitted)) << angle;
    }
  }
}

TEST(SevenParamsFit, RefusesWhatItCannotSolve) {
  orbmath_test::Random random("seven parameters, refused");
  T7Params out = kPoisoned;
  EXPECT_FALSE(Calculate7Params(PointsOf(T7Params(), 2, random), &out));
  EXPECT_TRUE(Near(out, T7Params(), 0.0)) << "too few points: all zero";
  const std::vector<T7ParamsSourceDataItem> one_place(5), not_a_number(5, {1, 2, NAN, 4, 5, 6});
  for (const auto& points : {one_place, not_a_number}) {
    out = kPoisoned;
    EXPECT_FALSE(Calculate7Params(points, &out));
    EXPECT_TRUE(Near(out, kPoisoned, 0.0));
  }
}

TEST(SevenParamsAlgebra, InverseUndoesInTheConventionOfTheParameters) {
  orbmath_test::Random random("seven parameters, algebra");
  for (int round = 0; round < 20; ++round) {
    const T7Params p = RandomParams(random, 1.0);
    T7Params inverse, both;
    InvertParams(p, &inverse);
    Combine7Params(p, inverse, &both);
    EXPECT_TRUE(Near(both, T7Params(), kRounding));
    InvertParams(inverse, &inverse);  // the output may be the input
    EXPECT_TRUE(Near(inverse, p, kRounding));
  }
}

TEST(SevenParamsAlgebra, LinearizedCombinationTermByTerm) {
  const T7Params first = {0.01, 0.02, 0.03, 0.5, 100, 20, 3}, second = {0.1, 0.2, 0.4, 0.25, 1, 2, 4};
  T7Params out;
  Combine7ParamsLinearized(first, second, &out);
  const T7Params expected = {0.11,
                             0.22,
                             0.43,
                             0.875,
                             100 + 1 + 100 * 0.25 + 20 * 0.4 - 0.2 * 3,
                             20 + 2 + 20 * 0.25 - 100 * 0.4 + 3 * 0.1,
                             3 + 4 + 3 * 0.25 + 100 * 0.2 - 3 * 0.1};
  EXPECT_TRUE(Near(out, expected, kRounding));
  // The shifts of the first are turned against the sense of the exact combination.
  T7Params exact;
  Combine7Params({0, 0, 0, 0, 100, 0, 0}, {0, 0, 1e-3, 0, 0, 0, 0}, &exact);
  Combine7ParamsLinearized({0, 0, 0, 0, 100, 0, 0}, {0, 0, 1e-3, 0, 0, 0, 0}, &out);
  EXPECT_NEAR(exact.dY, 0.1, 1e-6);
  EXPECT_NEAR(out.dY, -0.1, 1e-6);
  try {
    InvertParamsLinearized(first, &out);
    ADD_FAILURE() << "it always throws";
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "Not imlemented");
  }
}

TEST(SevenParamsTransform, BothDirectionsAndMatrices) {
  const double quarter = std::acos(0.0);
  const T7ParamsTransform turn({0, 0, quarter, 1.0, 10, 20, 30});  // x to y, twice as large
  double x, y, z;
  turn.DirectTransform(1, 0, 5, &x, &y, &z);
  EXPECT_NEAR(x, 10, kRounding);
  EXPECT_NEAR(y, 22, kRounding);
  EXPECT_NEAR(z, 40, kRounding);
  turn.InverseTransform(x, y, z, &x, &y, &z);
  EXPECT_NEAR(x, 1, kRounding);
  EXPECT_NEAR(y, 0, kRounding);
  EXPECT_NEAR(z, 5, kRounding);
  // Rz·Ry·Rx: a quarter about x and then about z takes z to -y and that to x.
  TVector v(0, 0, 1);
  T7ParamsTransform({quarter, 0, quarter, 0, 0, 0, 0}).DirectTransformVector(v, &v);
  EXPECT_NEAR(v(0), 1, kRounding);
  EXPECT_EQ(turn.GetScaleFactor(), 2.0);
  EXPECT_EQ(turn.GetTranslationVector()(2), 30.0);
  EXPECT_NEAR(turn.GetRotationMatrix()(1, 0), 1.0, kRounding);
  EXPECT_FALSE(turn.IsIdenticTransform());

  T7ParamsTransform moved;
  EXPECT_TRUE(moved.IsIdenticTransform());
  T7ParamsTransform source = turn;
  moved = std::move(source);
  for (const T7ParamsTransform* same : {&moved, &source}) {  // moves copy
    same->DirectTransform(1, 0, 5, &x, &y, &z);
    EXPECT_NEAR(y, 22, kRounding);
  }
  EXPECT_THROW(turn.DirectTransformVector(TVector(2), &v), std::runtime_error);
  EXPECT_THROW(turn.InverseTransformVector(TVector(), &v), std::runtime_error);
}

TEST(SevenParamsTransform, RefusesScalesThatAreNotPositive) {
  for (const double dm : {-1.0, -3.0, static_cast<double>(NAN)}) {
    const T7Params params = {0.1, 0, 0, dm, 1, 2, 3};
    T7ParamsTransform transform;
    EXPECT_FALSE(transform.Initialize(params));
    EXPECT_TRUE(transform.IsIdenticTransform());
    EXPECT_EQ(MessageOf([&] { T7ParamsTransform t(params); }),
              "T7ParamsTransform::T7ParamsTransform(const T7Params& src) failed");
  }
}

TEST(SevenParamsXml, ComesBackWithTheScaleLast) {
  const T7Params params = {0.1, -0.2, 1.0 / 3.0, 1e-6, 1e7, -0.0, 5e-324};
  const std::string xml = orbmath_test::SavedXml(
      [&](TZxXIniWriter* writer) { EXPECT_TRUE(T7ParamsTransform(params).SaveToXML(writer, "datum")); });
  EXPECT_LT(xml.find("dZ"), xml.find("dm"));
  const auto reader = ReaderOf(xml);
  T7Params loaded;
  T7ParamsTransform(reader.get(), "datum").GetParameters(&loaded);
  EXPECT_TRUE(SameBits(&loaded.Alpha, &params.Alpha, 7));
  EXPECT_EQ(MessageOf([&] { T7ParamsTransform t(reader.get()); }),
            "T7ParamsTransform::T7ParamsTransform(TZxXIniReader *src) failed");
  EXPECT_EQ(MessageOf([&] { T7ParamsTransform t(reader.get(), "none"); }),
            "T7ParamsTransform::T7ParamsTransform(TZxXIniReader *src, std::string Key) failed");
  T7ParamsTransform transform;
  EXPECT_FALSE(InitializeFromXML(nullptr, &loaded) || InitializeFromXML(nullptr, "datum", &loaded));
  EXPECT_FALSE(SaveToXML(params, nullptr) || SaveToXML(params, nullptr, "datum"));
  EXPECT_FALSE(transform.InitializeFromXML(nullptr) || transform.InitializeFromXML(nullptr, "datum"));
  EXPECT_FALSE(transform.SaveToXML(nullptr) || transform.SaveToXML(nullptr, "datum"));
}
