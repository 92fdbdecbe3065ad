// The search for bad measurements and control, the covariances, and the choice of the kind, on simulated blocks.

#include <gtest/gtest.h>

#include "block/block_adjustment.h"
#include "block/blocks.h"

namespace {

using namespace orbmath_test;
using namespace SatCommonUtils;

bool IsNamed(TBlockMeasurementState state) {
  return state == TBlockMeasurementState::Bad || state == TBlockMeasurementState::Undecided;
}

/// Root mean square of the corrections' errors in their own standard deviations.
double NormalizedError(const SimulatedBlock& block, const TBlockResult& result) {
  double square = 0.0;
  int count = 0;
  for (std::size_t k = 0; k < block.truth.size(); ++k) {
    for (int c = 0; c < 6; ++c) {
      const double variance = result.images[k].covariance[7 * c];
      const double off = SixOf(result.images[k].parameters)[c] - SixOf(block.truth[k])[c];
      if (variance > 0.0) square += off * off / variance, ++count;
    }
  }
  return std::sqrt(square / count);
}

TEST(BlockBlunders, AFifthOfTheMeasurementsMayBeBad) {
  Random random("fifth");
  BlockPlan plan;
  plan.images = 10;
  plan.ties = 500;
  plan.blunders = 0.2;
  const SimulatedBlock block = SimulateBlock(plan, &random);
  const TBlockResult result = AdjustBlock(block.problem);
  ASSERT_EQ(result.state, TBlockState::Adjusted) << result.message;
  std::vector<int> rays(block.problem.points.size(), 0);
  for (const std::uint32_t point : block.problem.measurements.point) ++rays[point];
  int large = 0, missed = 0;
  for (const std::size_t i : block.blunders) {
    if (block.blunderSize[i] < 10.0 || rays[block.problem.measurements.point[i]] < 4) continue;
    ++large;
    missed += IsNamed(result.measurements.state[i]) ? 0 : 1;
  }
  EXPECT_GT(large, 100);
  // Some lie along the rays of a point that has lost others.
  EXPECT_LE(missed * 20, large);
  EXPECT_NEAR(result.sigma0, 1.0, 0.1);
  EXPECT_NEAR(NormalizedError(block, result), 1.0, 0.35);
  // Worst first.
  double before = std::numeric_limits<double>::infinity();
  for (const std::uint32_t i : result.badMeasurements) {
    if (std::isnan(result.measurements.standardized[i])) continue;
    EXPECT_LE(result.measurements.standardized[i], before);
    before = result.measurements.standardized[i];
  }
}

TEST(BlockBlunders, GoodMeasurementsAreLeftInPeace) {
  Random random("peace");
  BlockPlan plan;
  plan.ties = 600;
  const SimulatedBlock block = SimulateBlock(plan, &random);
  const TBlockResult result = AdjustBlock(block.problem);
  EXPECT_LE(result.badMeasurements.size(), 3u);
  EXPECT_TRUE(result.badControl.empty());
  // Standardized residuals of normal measurements are normal: their mean square is 1.
  double square = 0.0;
  int count = 0;
  double redundancy = 0.0;
  for (std::size_t i = 0; i < result.measurements.state.size(); ++i) {
    if (result.measurements.state[i] != TBlockMeasurementState::Used) continue;
    square += std::pow(result.measurements.standardized[i], 2);
    redundancy += 2.0 * result.measurements.redundancy[i];
    ++count;
  }
  EXPECT_NEAR(square / count, 1.0, 0.06);
  // The redundancy numbers of all equations add up to the redundancy; control has some of it.
  EXPECT_LT(redundancy, static_cast<double>(result.redundancy) + 1e-3);
  EXPECT_GT(redundancy, static_cast<double>(result.redundancy) - 3.0 * plan.control);
}

TEST(BlockBlunders, ExactDataHaveNoBlundersAndOneOfThreePixelsIsFoundInThem) {
  Random random("clean");
  BlockPlan plan;
  plan.noise = 0.0;
  SimulatedBlock block = SimulateBlock(plan, &random);
  EXPECT_TRUE(AdjustBlock(block.problem).badMeasurements.empty());
  std::vector<int> rays(block.problem.points.size(), 0);
  for (const std::uint32_t point : block.problem.measurements.point) ++rays[point];
  std::uint32_t moved = 0;
  while (rays[block.problem.measurements.point[moved]] < 4) ++moved;
  block.problem.measurements.line[moved] += 3.0;
  EXPECT_EQ(AdjustBlock(block.problem).badMeasurements, std::vector<std::uint32_t>{moved});
}

TEST(BlockBlunders, ControlThatIsOffIsNamed) {
  Random random("control");
  BlockPlan plan;
  plan.control = 12;
  SimulatedBlock block = SimulateBlock(plan, &random);
  const auto point = static_cast<std::uint32_t>(plan.ties + 4);
  block.problem.points[point].height += 40.0;
  const TBlockResult result = AdjustBlock(block.problem);
  ASSERT_EQ(result.badControl.size(), 1u);
  const TBlockMisclosure& bad = result.control[result.badControl[0]];
  EXPECT_EQ(bad.point, point);
  EXPECT_NEAR(bad.up, -40.0, 4.0);
  EXPECT_EQ(result.points[point].state, TBlockPointState::Used);
}

TEST(BlockBlunders, ControlThatIsNoneHarmsNothing) {
  struct Case {
    const char* name;
    void (*spoil)(TBlockPoint*);
  };
  const Case cases[] = {{"swapped", [](TBlockPoint* point) { std::swap(point->lat, point->lon); }},
                        {"antipode", [](TBlockPoint* point) { point->lat = -point->lat, point->lon -= 180.0; }},
                        {"millimetres", [](TBlockPoint* point) { point->height *= 1e3; }}};
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    Random random("gross");
    BlockPlan plan;
    plan.control = 12;
    SimulatedBlock block = SimulateBlock(plan, &random);
    const auto point = static_cast<std::uint32_t>(plan.ties + 4);
    each.spoil(&block.problem.points[point]);
    const TBlockResult result = AdjustBlock(block.problem);
    ASSERT_EQ(result.state, TBlockState::Adjusted) << result.message;
    EXPECT_NEAR(NormalizedError(block, result), 1.0, 0.4);
    EXPECT_NEAR(result.sigma0, 1.0, 0.1);
    ASSERT_EQ(result.badControl.size(), 1u);
    EXPECT_EQ(result.control[result.badControl[0]].point, point);
  }
}

TEST(BlockBlunders, WithoutControlTheSigmasHoldTheBlockAndTheReportSaysSo) {
  Random random("free");
  BlockPlan plan;
  plan.control = plan.checks = 0;
  const SimulatedBlock block = SimulateBlock(plan, &random);
  const TBlockResult result = AdjustBlock(block.problem);
  ASSERT_EQ(result.state, TBlockState::Adjusted);
  ASSERT_EQ(result.pieces.size(), 1u);
  EXPECT_TRUE(result.pieces[0].isFree);
  ASSERT_FALSE(result.notes.empty());
  EXPECT_NE(result.notes[0].find("a-priori"), std::string::npos);
  EXPECT_NEAR(result.sigma0, 1.0, 0.1);
  // Where it lies nobody knows to better than the a-priori sigmas; how its points lie to each other is well known.
  EXPECT_GT(result.images[0].cornerSigma, 10.0);
}

TEST(BlockBlunders, TheKindThatTheDataNeedIsChosen) {
  for (const TBlockCorrection kind : {TBlockCorrection::Shift, TBlockCorrection::Drift, TBlockCorrection::Affine}) {
    Random random("kind");
    BlockPlan plan;
    plan.correction = kind;
    plan.blunders = 0.03;
    SimulatedBlock block = SimulateBlock(plan, &random);
    for (TBlockImage& image : block.problem.images) image.correction = TBlockCorrection::Automatic;
    const TBlockResult result = AdjustBlock(block.problem);
    ASSERT_EQ(result.state, TBlockState::Adjusted);
    for (const TBlockImageResult& image : result.images) EXPECT_EQ(image.correction, kind);
  }
}

TEST(BlockBlunders, ImagesOfAPassShareOneCorrection) {
  Random random("pass");
  SimulatedBlock block = SimulateBlock(BlockPlan(), &random);
  // Two images of the same truth; the problem is simulated again with it.
  BlockPlan plan;
  plan.bias = 0.0;
  plan.drift = 0.0;
  block = SimulateBlock(plan, &random);
  block.problem.images[0].pass = block.problem.images[2].pass = 7;
  const TBlockResult result = AdjustBlock(block.problem);
  ASSERT_EQ(result.state, TBlockState::Adjusted);
  EXPECT_EQ(SixOf(result.images[0].parameters), SixOf(result.images[2].parameters));
  EXPECT_NE(SixOf(result.images[0].parameters), SixOf(result.images[1].parameters));
  EXPECT_NEAR(NormalizedError(block, result), 1.0, 0.4);
}

TEST(BlockBlunders, HeightsOfASurfaceHoldTies) {
  Random random("surface");
  BlockPlan plan;
  plan.images = 2;
  SimulatedBlock block = SimulateBlock(plan, &random);
  TBlockOptions options;
  for (Ground& ground : block.ground) ground[2] = 300.0;
  // All points at one height: measured anew.
  SimulatedBlock flat = block;
  flat.problem.measurements = {};
  flat.blunderSize.clear();
  for (std::uint32_t j = 0; j < block.ground.size(); ++j) {
    flat.problem.points[j].height = 300.0;
    Measure(plan, block.ground[j], j, &flat, &random);
  }
  const TBlockResult without = AdjustBlock(flat.problem, options);
  options.surface = std::make_shared<TConstantHeight>(300.0);
  options.sigmaSurface = 0.1;
  const TBlockResult with = AdjustBlock(flat.problem, options);
  ASSERT_EQ(with.state, TBlockState::Adjusted);
  EXPECT_GT(with.pieces[0].heights, 50u);
  for (std::size_t j = 0; j < 10; ++j) {
    if (with.points[j].state != TBlockPointState::Used) continue;
    EXPECT_NEAR(with.points[j].height, 300.0, 1.0);
    EXPECT_LT(with.points[j].covariance[8], without.points[j].covariance[8]);
  }
}

TEST(BlockBlunders, ACheckSaysWhatIsWrongWithoutAdjusting) {
  Random random("check");
  const SimulatedBlock block = SimulateBlock(BlockPlan(), &random);
  TBlockOptions options;
  options.checkOnly = true;
  const TBlockResult result = AdjustBlock(block.problem, options);
  EXPECT_EQ(result.state, TBlockState::Checked);
  EXPECT_EQ(result.pieces.size(), 1u);
  EXPECT_EQ(SixOf(result.images[0].parameters), (std::array<double, 6>{}));
}

TEST(BlockBlunders, AHandlerMayStopIt) {
  class Stopper : public TZxProgressHandler {
   public:
    bool Progress(double fraction) override {
      EXPECT_GE(fraction, last);
      last = fraction;
      return --left > 0;
    }
    double last = 0.0;
    int left = 3;
  };
  Random random("stop");
  const SimulatedBlock block = SimulateBlock(BlockPlan(), &random);
  Stopper stopper;
  TBlockOptions options;
  options.progress = &stopper;
  EXPECT_EQ(AdjustBlock(block.problem, options).state, TBlockState::Cancelled);
  EXPECT_EQ(stopper.left, 0);
}

}  // namespace
