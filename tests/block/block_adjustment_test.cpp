// Block adjustment: exact data come back exactly, whatever the order of things, the meridian and the threads.

#include "block/block_adjustment.h"

#include <gtest/gtest.h>

#include "block/blocks.h"
#include "support/bits.h"

namespace {

using namespace orbmath_test;
using namespace SatCommonUtils;

/// What the corrections of exact measurements may miss, pixels: the a-priori sigmas pull by less than that.
constexpr double kExact = 1e-4;

TBlockOptions Plain() {
  TBlockOptions options;
  options.robust = false;
  options.sigmaShift = options.sigmaDrift = 1e4;
  return options;
}

TEST(BlockAdjustment, ExactMeasurementsGiveTheTruthForEveryKindAndAcrossTheMeridian) {
  for (const TBlockCorrection kind : {TBlockCorrection::Shift, TBlockCorrection::Drift, TBlockCorrection::Affine}) {
    for (const double longitude : {1.4, 179.99}) {
      SCOPED_TRACE(GetBlockCorrectionName(kind) + std::to_string(longitude));
      Random random("exact");
      BlockPlan plan;
      plan.noise = 0.0;
      plan.correction = kind;
      plan.longitude = longitude;
      const SimulatedBlock block = SimulateBlock(plan, &random);
      const TBlockResult result = AdjustBlock(block.problem, Plain());
      ASSERT_EQ(result.state, TBlockState::Adjusted) << result.message;
      EXPECT_LT(LargestDifference(result, block.truth), kExact);
      for (const TBlockMisclosure& check : result.check) {
        EXPECT_LT(std::hypot(check.east, check.north, check.up), 1e-3);
      }
      for (std::size_t j = 0; j < block.ground.size(); ++j) {
        if (result.points[j].state != TBlockPointState::Used) continue;
        EXPECT_NEAR(std::remainder(result.points[j].lon - block.ground[j][1], 360.0), 0.0, 1e-8);
        EXPECT_NEAR(result.points[j].height, block.ground[j][2], 1e-3);
      }
    }
  }
}

TEST(BlockAdjustment, AdjustedModelsPutGroundPointsWhereTheyWereMeasured) {
  Random random("models");
  const SimulatedBlock block = SimulateBlock(BlockPlan(), &random);
  const TBlockResult result = AdjustBlock(block.problem, Plain());
  const TBlockMeasurements& m = block.problem.measurements;
  for (std::size_t i = 0; i < m.Size(); ++i) {
    const TBlockPointResult& point = result.points[m.point[i]];
    if (result.measurements.state[i] != TBlockMeasurementState::Used) continue;
    const TRPC& model = *block.problem.images[m.image[i]].model;
    const auto adjusted = AdjustedModelOf(model, result.images[m.image[i]].parameters);
    double line = 0.0;
    double sample = 0.0;
    adjusted->CalculateLineSample(point.lat, point.lon, point.height, &line, &sample, nullptr, nullptr);
    EXPECT_NEAR(m.line[i] - line, result.measurements.line[i], 1e-9);
    EXPECT_NEAR(m.sample[i] - sample, result.measurements.sample[i], 1e-9);
  }
}

TEST(BlockAdjustment, ARefinementThatIsThereAlreadyIsPartOfTheRecord) {
  const TBlockParameters first{{1.0, 0.5, -0.25}, {-2.0, 0.125, 0.75}};
  const TBlockParameters second{{-3.0, 0.25, 0.5}, {0.5, -0.75, 0.125}};
  const TRPC model = CameraModel();
  const auto once = AdjustedModelOf(model, first);
  const auto twice = AdjustedModelOf(*once, second);
  double raw[2];
  double got[2];
  model.CalculateLineSample(43.61, 1.42, 300.0, raw, raw + 1, nullptr, nullptr);
  twice->CalculateLineSample(43.61, 1.42, 300.0, got, got + 1, nullptr, nullptr);
  const auto between = Corrected(model, first, raw[0], raw[1]);
  const auto expected = Corrected(model, second, between[0], between[1]);
  EXPECT_NEAR(got[0], expected[0], 1e-9);
  EXPECT_NEAR(got[1], expected[1], 1e-9);
}

TEST(BlockAdjustment, TheBitsDoNotDependOnThreads) {
  Random random("threads");
  BlockPlan plan;
  plan.images = 14;
  plan.ties = 4000;  // several runs of everything that is shared out
  plan.blunders = 0.05;
  const SimulatedBlock block = SimulateBlock(plan, &random);
  TBlockOptions options;
  options.threads = 1;
  const TBlockResult one = AdjustBlock(block.problem, options);
  options.threads = 3;
  const TBlockResult three = AdjustBlock(block.problem, options);
  ASSERT_TRUE(one);
  EXPECT_EQ(Bits(one.sigma0), Bits(three.sigma0));
  for (std::size_t k = 0; k < one.images.size(); ++k) {
    for (int c = 0; c < 6; ++c) {
      EXPECT_EQ(Bits(SixOf(one.images[k].parameters)[c]), Bits(SixOf(three.images[k].parameters)[c]));
    }
    for (int c = 0; c < 36; ++c) EXPECT_EQ(Bits(one.images[k].covariance[c]), Bits(three.images[k].covariance[c]));
  }
  for (std::size_t i = 0; i < one.measurements.line.size(); ++i) {
    EXPECT_EQ(one.measurements.state[i], three.measurements.state[i]);
    EXPECT_EQ(Bits(one.measurements.line[i]), Bits(three.measurements.line[i]));
  }
}

TEST(BlockAdjustment, WhatCannotBeMeantIsSaid) {
  Random random("bad");
  const SimulatedBlock block = SimulateBlock(BlockPlan(), &random);
  TBlockProblem broken = block.problem;
  broken.measurements.image[3] = 77;
  EXPECT_EQ(AdjustBlock(broken).state, TBlockState::BadProblem);
  broken = block.problem;
  broken.measurements.line.pop_back();
  EXPECT_EQ(AdjustBlock(broken).state, TBlockState::BadProblem);
  TBlockOptions options;
  options.sigmaMeasurement = 0.0;
  EXPECT_EQ(AdjustBlock(block.problem, options).state, TBlockState::BadProblem);
  EXPECT_EQ(AdjustBlock(TBlockProblem()).state, TBlockState::NothingToDo);
  broken = block.problem;
  broken.points.back().sigmaVertical = std::numeric_limits<double>::infinity();
  EXPECT_EQ(AdjustBlock(broken).points.back().state, TBlockPointState::NotFinite);
}

TEST(BlockAdjustment, AnImageWithTooFewTiesIsNamedAndLeftAsItWas) {
  Random random("few");
  SimulatedBlock block = SimulateBlock(BlockPlan(), &random);
  TBlockImage lonely = block.problem.images[1];
  lonely.name = "lonely";
  block.problem.images.push_back(lonely);
  // Two measurements of the second image become all that the new one has.
  int moved = 0;
  for (auto& image : block.problem.measurements.image) {
    if (image == 1 && moved < 2) image = 6, ++moved;
  }
  const TBlockResult result = AdjustBlock(block.problem, Plain());
  EXPECT_EQ(result.state, TBlockState::Adjusted);
  EXPECT_EQ(result.images[6].state, TBlockImageState::TooFewTies);
  EXPECT_EQ(result.lostImages, std::vector<std::uint32_t>{6});
  EXPECT_EQ(SixOf(result.images[6].parameters), (std::array<double, 6>{}));
  EXPECT_EQ(result.images[6].piece, -1);
}

TEST(BlockAdjustment, APieceOfItsOwnIsToldApart) {
  Random random("pieces");
  SimulatedBlock block = SimulateBlock(BlockPlan(), &random);
  BlockPlan plan;
  plan.images = 2;
  plan.ties = 60;
  plan.control = plan.checks = 0;
  const SimulatedBlock other = SimulateBlock(plan, &random);
  const auto points = static_cast<std::uint32_t>(block.problem.points.size());
  for (const auto& image : other.problem.images) block.problem.images.push_back(image);
  for (const auto& point : other.problem.points) block.problem.points.push_back(point);
  const TBlockMeasurements& m = other.problem.measurements;
  for (std::size_t i = 0; i < m.Size(); ++i) {
    block.problem.measurements.Add(points + m.point[i], 6 + m.image[i], m.line[i], m.sample[i], m.sigma[i]);
  }
  const TBlockResult result = AdjustBlock(block.problem);
  ASSERT_EQ(result.pieces.size(), 2u);
  EXPECT_EQ(result.pieces[1].images, (std::vector<std::uint32_t>{6, 7}));
  EXPECT_TRUE(result.pieces[1].isFree);
  EXPECT_FALSE(result.pieces[0].isFree);
  EXPECT_GE(result.pieces[0].control, 6u);  // some may lie where no image sees them
  EXPECT_EQ(result.images[7].piece, 1);
}

}  // namespace
