#include "refine/rpc_estimation.h"

#include <gtest/gtest.h>

#include <limits>

#include "fitted_models.h"
#include "frame/zxstd/threads.h"

namespace {

using namespace SatCommonUtils;
using namespace orbmath_test;

// Pixels; undamped steps on normal equations keep about this much of a model without noise.
constexpr double kPlainAccuracy = 1e-4;

using TEstimate = std::function<bool(const TRPCEstimationDataSet&, TRPCData*)>;

bool Plain(const TRPCEstimationDataSet& data, TRPCData* rpc) { return EstimateRPC(data, rpc); }
bool WithoutCallbacks(const TRPCEstimationDataSet& data, TRPCData* rpc) {
  return EstimateRPC(data, rpc, nullptr, nullptr);
}

TRPCEstimationDataSet CurvedPoints(std::size_t count, double noise = 0.0, bool normalized = false) {
  Random random("CurvedPoints");
  return {RandomPoints(CurvedRecord(), count, noise, &random, normalized), normalized};
}

class BothEstimations : public ::testing::TestWithParam<TEstimate> {};
INSTANTIATE_TEST_SUITE_P(, BothEstimations, ::testing::Values(&Plain, &WithoutCallbacks));

TEST_P(BothEstimations, RecoverACurvedModelFromItsPoints) {
  TRPCData fitted;
  ASSERT_TRUE(GetParam()(CurvedPoints(500), &fitted));
  EXPECT_LT(Distance(CurvedRecord(), fitted).maximum, kPlainAccuracy);
}

TEST_P(BothEstimations, KeepTheNormalisationOfNormalisedPointsAndFindTheCoefficients) {
  const TRPCData source = CurvedRecord(), before = PoisonedRecord();
  TRPCData fitted = PoisonedRecord();
  ASSERT_TRUE(GetParam()(CurvedPoints(2000, 0.0, true), &fitted));
  EXPECT_TRUE(SameBits(&fitted.lineOffset, &before.lineOffset, 10));
  for (int k = 0; k < 80; ++k) EXPECT_NEAR((&fitted.lineNumCoef[0])[k], (&source.lineNumCoef[0])[k], 1e-7) << k;
}

TEST_P(BothEstimations, MapTheRangesOfThePointsToOne) {
  const TRPCEstimationDataSet data = CurvedPoints(200);
  TRPCData fitted;
  ASSERT_TRUE(GetParam()(data, &fitted));
  double least = 1e9, largest = -1e9;
  for (const TRPCEstimationPoint& point : data.Points) {
    least = std::min(least, point.Height);
    largest = std::max(largest, point.Height);
  }
  EXPECT_DOUBLE_EQ(fitted.heightOffset, 0.5 * (least + largest));
  EXPECT_DOUBLE_EQ(fitted.heightScale, 0.5 * (largest - least));
}

TEST_P(BothEstimations, RefuseWhatCannotBeFittedAndLeaveTheRecordAlone) {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  struct {
    const char* what;
    std::function<void(TRPCEstimationDataSet*)> spoil;
  } const cases[] = {
      {"39 points", [](auto* data) { data->Points.resize(39); }},
      {"no points", [](auto* data) { data->Points.clear(); }},
      {"one height",
       [](auto* data) {
         for (auto& p : data->Points) p.Height = 100.0;
       }},
      {"one sample",
       [](auto* data) {
         for (auto& p : data->Points) p.Sample = 5.0;
       }},
      {"a latitude that is no number", [](auto* data) { data->Points[7].Lat = kNaN; }},
      {"an infinite longitude", [](auto* data) { data->Points[0].Lon = kInfinity; }},
      {"a height that is no number", [](auto* data) { data->Points[99].Height = kNaN; }},
      {"an infinite line", [](auto* data) { data->Points[50].Line = -kInfinity; }},
      {"normalised, with a sample that is no number",
       [](auto* data) {
         data->IsNormalized = true;
         data->Points[3].Sample = kNaN;
       }},
      {"normalised, all in the origin",
       [](auto* data) {
         data->IsNormalized = true;
         for (auto& p : data->Points) p = TRPCEstimationPoint{};
       }},
      {"normalised, all in one place",
       [](auto* data) {
         data->IsNormalized = true;
         for (auto& p : data->Points) p = {0.5, 0.25, 1.0, 0.5, 2.0};
       }},
  };
  for (const auto& test : cases) {
    TRPCEstimationDataSet data = CurvedPoints(100);
    test.spoil(&data);
    TRPCData fitted = PoisonedRecord();
    EXPECT_FALSE(GetParam()(data, &fitted)) << test.what;
    EXPECT_TRUE(SameRecord(fitted, PoisonedRecord())) << test.what;
  }
  TRPCData fitted;
  EXPECT_TRUE(GetParam()(CurvedPoints(40), &fitted)) << "40 points are enough";
}

TEST_P(BothEstimations, DoNotDependOnTheThreads) {
  const TRPCEstimationDataSet data = CurvedPoints(60000, 0.2);  // enough for both threads to be used
  TRPCData one, two;
  ZxSetThreadsCount(1);
  EXPECT_TRUE(GetParam()(data, &one));
  ZxSetThreadsCount(2);
  EXPECT_TRUE(GetParam()(data, &two));
  ZxSetThreadsCount(0);
  EXPECT_TRUE(SameRecord(one, two));
}

// Callbacks are plain functions: what they see and say lies here.
std::vector<int> told;
int asked = 0;
int cancel_at = -1;
void Tell(int size) { told.push_back(size); }
int Ask() { return asked++ == cancel_at ? 1 : 0; }

bool EstimateAndAsk(const TRPCEstimationDataSet& data, TRPCData* rpc, int cancel) {
  told.clear();
  asked = 0;
  cancel_at = cancel;
  return EstimateRPC(data, rpc, &Tell, &Ask);
}

TEST(EstimateRPCWithCallbacks, TellsTheSizesOfItsSystems) {
  TRPCData fitted;
  ASSERT_TRUE(EstimateAndAsk(CurvedPoints(300), &fitted, -1));
  ASSERT_GE(told.size(), 4u);
  ASSERT_LE(told.size(), 12u);
  EXPECT_EQ(told[0], 7);
  EXPECT_EQ(told[1], 7);
  for (std::size_t i = 2; i < told.size(); ++i) EXPECT_EQ(told[i], 78);

  TRPCData without;
  ASSERT_TRUE(WithoutCallbacks(CurvedPoints(300), &without));
  EXPECT_TRUE(SameRecord(fitted, without));
}

TEST(EstimateRPCWithCallbacks, IsCancelledByTheSolversNotByTheProducts) {
  const TRPCEstimationDataSet data = CurvedPoints(300);
  TRPCData fitted;
  ASSERT_TRUE(EstimateAndAsk(data, &fitted, -1));
  const int answers = asked;
  // The first output's start asks 7 times for its normal matrix, 7 for its factor, and 14 while it substitutes: one
  // answer ends it at any of them, elimination is no way around. Then an elimination asks 38 + 2 + 38 times behind the
  // 2 x 39 questions of the products.
  const int start = 28;
  const int products = 2 * start + 78;
  for (const int at : {0, 7, 14, start - 1, start, 2 * start - 1, 2 * start, products - 1, products, answers - 1}) {
    const bool cancels = at != 2 * start && at != products - 1;
    fitted = PoisonedRecord();
    EXPECT_EQ(EstimateAndAsk(data, &fitted, at), !cancels) << "question " << at;
    EXPECT_EQ(static_cast<bool>(SameRecord(fitted, PoisonedRecord())), cancels) << "question " << at;
  }
}

TEST(EstimateRPCWithCallbacks, GoesOnUntilBothOutputsHaveStopped) {
  // Each time one output is a constant ratio that is found at once, the other needs its iterations.
  for (const bool line_is_easy : {true, false}) {
    TRPCData source = CurvedRecord();
    // Mild enough for undamped steps never to go up.
    for (double* polynomial : {source.lineNumCoef, source.lineDenCoef, source.sampNumCoef, source.sampDenCoef}) {
      std::for_each(polynomial + 4, polynomial + 20, [](double& coefficient) { coefficient *= 0.1; });
    }
    double* const numerator = line_is_easy ? source.lineNumCoef : source.sampNumCoef;
    double* const denominator = line_is_easy ? source.lineDenCoef : source.sampDenCoef;
    std::fill_n(numerator, 20, 0.0);
    std::fill_n(denominator + 1, 19, 0.0);
    numerator[line_is_easy ? 2 : 1] = 0.9, numerator[3] = 0.1;
    Random random("BothOutputs");
    const TPoints points = RandomPoints(source, 600, 0.0, &random);
    TRPCData fitted;
    ASSERT_TRUE(WithoutCallbacks({points, false}, &fitted));
    const TRPCFitResiduals residuals = ResidualsOfRPC(fitted, points, false);
    EXPECT_LT(line_is_easy ? residuals.sample.maximum : residuals.line.maximum, kPlainAccuracy);
  }
}

TEST(EstimateRPCWithCallbacks, NeverEndsWithAWorseModelThanTheFirstOrderOne) {
  // Undamped steps on noisy points of a nearly linear model blow up: what comes out must still be the best seen.
  Random random("NeverWorse");
  for (int draw = 0; draw < 10; ++draw) {
    const TRPCEstimationDataSet data{RandomPoints(PushbroomRecord(), 60, 0.5, &random), false};
    TRPCData fitted, first_order;
    TRPCFitOptions options;
    options.order = 1;
    ASSERT_TRUE(FitRPC(data, options, &first_order));
    if (!WithoutCallbacks(data, &fitted)) continue;
    const double rms = ResidualsOfRPC(fitted, data.Points, false).distance.rms;
    EXPECT_LE(rms, 1.01 * ResidualsOfRPC(first_order, data.Points, false).distance.rms);
  }
}

TEST(EstimateRPC, ReturnsTrueWhenTheStepsNeverBecomeSmall) {
  TRPCData fitted;
  ASSERT_TRUE(EstimateRPC(CurvedPoints(1000, 0.5), &fitted));
  EXPECT_LT(Distance(CurvedRecord(), fitted).rms, 0.5);
}

}  // namespace
