#include "transform/first_order_rational.h"

#include <gtest/gtest.h>

#include <string>

#include "support/bits.h"
#include "support/xml.h"

using namespace SatCommonUtils;
using orbmath_test::kPoison;
using orbmath_test::SameBits;

namespace {

/// Rounding of the small systems solved here.
constexpr double kRounding = 1e-9;

/// A camera at (0, 0, 10) or elsewhere that looks down: line and sample are X and Y over the depth.
TRPC1Params CameraAt(double x, double y) {
  TRPC1Params params;
  const double line_num[4] = {1, 0, 0, -x}, sample_num[4] = {0, 1, 0, -y}, denom[4] = {0.01, -0.02, -1, 10};
  for (int i = 0; i < 4; ++i) {
    params.LineNum[i] = line_num[i];
    params.SampleNum[i] = sample_num[i];
    params.LineDenom[i] = params.SampleDenom[i] = denom[i];
  }
  return params;
}

}  // namespace

TEST(FirstOrderRational, InvertsAtAHeight) {
  const TRPC1 model(CameraAt(0.5, -0.25));
  double line, sample, x, y;
  model.CalculateLineSample(1.5, 2.0, 3.0, &line, &sample);
  const double depth = 0.01 * 1.5 - 0.02 * 2.0 - 3.0 + 10.0;
  EXPECT_DOUBLE_EQ(line, 1.0 / depth);
  EXPECT_DOUBLE_EQ(sample, 2.25 / depth);
  ASSERT_TRUE(model.CalculateXY(line, sample, 3.0, &x, &y));
  EXPECT_NEAR(x, 1.5, kRounding);
  EXPECT_NEAR(y, 2.0, kRounding);
}

TEST(FirstOrderRational, ASingularModelHasNoInverse) {
  TRPC1 model;  // all zero
  double x = kPoison, y = kPoison;
  EXPECT_FALSE(model.CalculateXY(1, 2, 3, &x, &y));
  EXPECT_EQ(x, kPoison);
  EXPECT_EQ(y, kPoison);
  TRPC1Params params;
  model = CameraAt(1, 1);
  model.Reset();
  model.GetParams(&params);
  EXPECT_TRUE(SameBits(params.LineNum, TRPC1Params().LineNum, 16));
}

TEST(FirstOrderRational, TwoImagesMeetInSpace) {
  const TRPC1 left(CameraAt(-2, 0)), right(CameraAt(2, 1));
  double line1, sample1, line2, sample2, x, y, z;
  left.CalculateLineSample(0.25, -0.5, 1.25, &line1, &sample1);
  right.CalculateLineSample(0.25, -0.5, 1.25, &line2, &sample2);
  SpaceIntersection(&left, line1, sample1, &right, line2, sample2, &x, &y, &z);
  EXPECT_NEAR(x, 0.25, kRounding);
  EXPECT_NEAR(y, -0.5, kRounding);
  EXPECT_NEAR(z, 1.25, kRounding);
}

TEST(FirstOrderRational, KeysComeBackBitForBit) {
  TRPC1Params params;
  double* const groups[] = {params.LineNum, params.SampleNum, params.LineDenom, params.SampleDenom};
  for (int i = 0; i < 16; ++i) groups[i / 4][i % 4] = 1.0 / (i + 3);
  const std::string xml =
      orbmath_test::SavedXml([&](TZxXIniWriter* writer) { EXPECT_TRUE(TRPC1(params).SaveToXML(writer)); });
  EXPECT_LT(xml.find("LineNum3"), xml.find("LineDenom0"));
  EXPECT_LT(xml.find("LineDenom3"), xml.find("SampleNum0"));
  TRPC1 loaded;
  ASSERT_TRUE(loaded.InitializeFromXML(orbmath_test::ReaderOf(xml).get()));
  TRPC1Params back;
  loaded.GetParams(&back);
  EXPECT_TRUE(SameBits(back.LineNum, params.LineNum, 16));

  std::string broken = xml;
  broken.replace(broken.find("SampleDenom3"), 6, "Simple");
  EXPECT_FALSE(loaded.InitializeFromXML(orbmath_test::ReaderOf(broken).get()));
  EXPECT_FALSE(loaded.InitializeFromXML(nullptr) || loaded.SaveToXML(nullptr));
  loaded.GetParams(&back);
  EXPECT_TRUE(SameBits(back.LineNum, params.LineNum, 16));
}
