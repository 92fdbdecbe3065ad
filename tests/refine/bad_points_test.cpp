// Bad points among the good ones of a fit.

#include <gtest/gtest.h>

#include "fitted_models.h"
#include "refine/robust_fit.h"
#include "rpc/models.h"
#include "support/real_data.h"

namespace {

using namespace SatCommonUtils;
using namespace orbmath_test;

constexpr double kNoise = 0.1;   // pixels
constexpr double kExact = 1e-4;  // pixels, of a fit to points without noise

TRPCFitOptions NotSought() {
  TRPCFitOptions options;
  options.badPoints = TRPCBadPoints::NotSought;
  return options;
}

TEST(FitRPCBadPoints, CannotSpoilItBelowTheBreakdownPoint) {
  const TRPCData smooth = PushbroomRecord(), curved = CurvedRecord();
  const struct {
    const TRPCData& source;
    std::size_t points;
    double share, size, noise;
  } cases[] = {{smooth, 60, 0.1, 30.0, kNoise},
               {smooth, 60, 0.02, 1000.0, 0.0},
               {smooth, 100, kRPCFitBreakdown, 5.0, kNoise},
               {smooth, 100, kRPCFitBreakdown, 1e6, kNoise},
               {smooth, 100, 0.01, 30.0, 0.0},
               {smooth, 400, 0.3, 30.0, kNoise},
               {smooth, 400, kRPCFitBreakdown, 3000.0, 0.0},
               {smooth, 5000, 0.3, 1000.0, 0.3},
               {smooth, 1000, 0.05, 5.0, kNoise},
               {curved, 100, 0.01, 30.0, kNoise},
               {curved, 400, 0.05, 30.0, kNoise},
               {curved, 400, 0.2, 3000.0, 0.0}};
  Random random("BadPoints");
  for (const auto& test : cases) {
    SCOPED_TRACE(::testing::Message() << test.points << " points, " << test.share << " bad by " << test.size);
    TRPCEstimationDataSet data{RandomPoints(test.source, test.points, test.noise, &random), false};
    const TPoints sound = data.Points;
    const std::vector<std::size_t> bad = Spoil(test.source, test.share, test.size, &random, &data.Points);
    TRPCEstimationDataSet good;
    for (std::size_t i = 0; i < sound.size(); ++i) {
      if (!std::binary_search(bad.begin(), bad.end(), i)) good.Points.push_back(sound[i]);
    }
    TRPCData fitted, reference;
    TRPCFitReport report;
    ASSERT_TRUE(FitRPC(data, TRPCFitOptions(), &fitted, &report));
    ASSERT_TRUE(FitRPC(good, NotSought(), &reference));
    EXPECT_EQ(report.bad, bad);
    EXPECT_EQ(report.fitted.count, good.Points.size());
    EXPECT_TRUE(SameRecord(fitted, reference)) << "the fit is that of the good points";
    EXPECT_LT(Distance(test.source, fitted).maximum, test.noise == 0.0 ? kExact : 30.0 * test.noise);
  }
}

TEST(FitRPCBadPoints, AreNotFoundAmongGoodOnes) {
  Random random("GoodPoints");
  for (const std::size_t count : {8u, 25u, 45u, 100u, 1000u}) {
    for (const double noise : {0.0, kNoise, 3.0}) {
      const TRPCEstimationDataSet data{RandomPoints(PushbroomRecord(), count, noise, &random), false};
      TRPCData sought, plain;
      TRPCFitReport report;
      ASSERT_TRUE(FitRPC(data, TRPCFitOptions(), &sought, &report));
      ASSERT_TRUE(FitRPC(data, NotSought(), &plain));
      EXPECT_TRUE(report.bad.empty()) << count << " points, noise " << noise << ": " << report.message;
      EXPECT_TRUE(SameRecord(sought, plain));
    }
  }
}

// Nor where few points are redundant: where ridge and degree, not noise, make the residuals of a corner that one point
// alone determines, or where a handful of residuals is small by chance.
TEST(FitRPCBadPoints, AreHardlyEverFoundAmongFewGoodOnes) {
  constexpr int kSets = 40;
  const struct {
    std::size_t count;
    double noise;
    int most;  ///< sets of `kSets` that may lose a point
  } rows[] = {{25, 0.0, 2}, {25, kNoise, 2}, {40, 0.001, 0}, {43, 0.003, 0}};
  Random random("FewGoodPoints");
  for (const auto& row : rows) {
    int lost = 0;
    for (int set = 0; set < kSets; ++set) {
      const TRPCEstimationDataSet data{RandomPoints(PushbroomRecord(), row.count, row.noise, &random), false};
      TRPCData fitted;
      TRPCFitReport report;
      ASSERT_TRUE(FitRPC(data, TRPCFitOptions(), &fitted, &report));
      lost += report.bad.empty() ? 0 : 1;
    }
    EXPECT_LE(lost, row.most) << row.count << " points, noise " << row.noise;
  }
}

TEST(FitRPCBadPoints, AreNamedByTheirPlacesInTheListAndMayBeKept) {
  Random random("Kept");
  TRPCEstimationDataSet data{RandomPoints(PushbroomRecord(), 300, kNoise, &random), false};
  TRPCFitOptions options;
  options.weights.assign(300, 1.0);
  options.holdOut = 10;
  for (const std::size_t i : {8u, 9u, 44u, 200u}) data.Points[i].Line += 50.0;
  options.weights[44] = 0.0;  // takes no part, as the tenth point
  for (const bool kept : {false, true}) {
    options.badPoints = kept ? TRPCBadPoints::Kept : TRPCBadPoints::LeftOut;
    TRPCData fitted;
    TRPCFitReport report;
    ASSERT_TRUE(FitRPC(data, options, &fitted, &report));
    EXPECT_EQ(report.bad, (std::vector<std::size_t>{8, 200}));
    EXPECT_NE(report.message.find(kept ? "2 bad points kept" : "2 bad points left out"), std::string::npos)
        << report.message;
    EXPECT_EQ(report.fitted.count, kept ? 269u : 267u);
    EXPECT_EQ(Distance(PushbroomRecord(), fitted).maximum > 1.0, kept);
  }
}

// A few points far from the many are the best that a set can have, if they are right.
TEST(FitRPCBadPoints, GoodPointsFarFromTheOthersStay) {
  const TRPC model(PushbroomRecord(), nullptr);
  Random random("Far");
  TRPCEstimationDataSet data;
  for (int i = 0; i < 200; ++i) {
    const double at = i % 20 == 0 ? 0.8 : -0.8;
    data.Points.push_back(
        PointAt(model, at + random.Uniform(-0.2, 0.2), at + random.Uniform(-0.2, 0.2), random.Uniform(-1, 1)));
    data.Points.back().Line += random.Normal(kNoise);
    data.Points.back().Sample += random.Normal(kNoise);
  }
  TRPCData fitted;
  TRPCFitReport report;
  ASSERT_TRUE(FitRPC(data, TRPCFitOptions(), &fitted, &report));
  EXPECT_TRUE(report.bad.empty()) << report.message;
}

class BadPointsOfRealModels : public WithRealData {};

TEST_F(BadPointsOfRealModels, AreNamed) {
  Random random("Real");
  for (const std::string& name : RealModelFiles()) {
    TRPCData record;
    RealModel(name).GetRPCData(&record);
    // Some boxes are far larger than the image.
    TRPCEstimationDataSet data;
    while (data.Points.size() < 200) {
      const TPoints one = RandomPoints(record, 1, kNoise, &random);
      if (std::fabs(one[0].Line - record.lineOffset) < 1.5 * record.lineScale &&
          std::fabs(one[0].Sample - record.sampOffset) < 1.5 * record.sampScale) {
        data.Points.push_back(one[0]);
      }
    }
    const std::vector<std::size_t> bad = Spoil(record, kRPCFitBreakdown, 30.0, &random, &data.Points);
    TRPCData fitted;
    TRPCFitReport report;
    ASSERT_TRUE(FitRPC(data, TRPCFitOptions(), &fitted, &report));
    EXPECT_EQ(report.bad, bad) << name << ": " << report.message;
  }
}

}  // namespace
