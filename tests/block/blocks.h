#pragma once
// Simulated blocks with their truth: two cameras that look from either side, moved along a strip over the ground.

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "block/block_adjustment.h"
#include "rpc/models.h"
#include "support/random.h"

namespace orbmath_test {

using SatCommonUtils::TBlockCorrection;
using SatCommonUtils::TBlockParameters;
using SatCommonUtils::TBlockPointRole;
using SatCommonUtils::TBlockProblem;

/// What a block is made of.
struct BlockPlan {
  int images = 6;
  int ties = 150;
  int control = 8;
  int checks = 4;
  double noise = 0.3;     ///< Pixels; half of the measurements have twice as much, and say so.
  double blunders = 0.0;  ///< Share of the measurements of ties, moved by 5 to 50 pixels.
  double bias = 3.0;      ///< Pixels.
  double drift = 1.0;     ///< Pixels.
  double longitude = 1.4;
  TBlockCorrection correction = TBlockCorrection::Affine;
};

struct SimulatedBlock {
  TBlockProblem problem;
  std::vector<TBlockParameters> truth;
  std::vector<Ground> ground;       ///< Of each point.
  std::set<std::size_t> blunders;   ///< Measurements.
  std::vector<double> blunderSize;  ///< Of each measurement, pixels.
};

/// The correction's value at a raw image point.
inline std::array<double, 2> Corrected(const SatCommonUtils::TRPC& model, const TBlockParameters& p, double line,
                                       double sample) {
  const auto& axes = model.GetNormalization();
  const double u = axes.sample.Initial2Normalized(sample);
  const double v = axes.line.Initial2Normalized(line);
  return {line + p.line[0] + p.line[1] * u + p.line[2] * v, sample + p.sample[0] + p.sample[1] * u + p.sample[2] * v};
}

inline TBlockParameters RandomCorrection(const BlockPlan& plan, Random* random) {
  TBlockParameters p;
  for (auto* axis : {&p.sample, &p.line}) {
    (*axis)[0] = random->Normal(plan.bias);
    if (plan.correction == TBlockCorrection::Affine) (*axis)[1] = random->Normal(plan.drift);
    if (plan.correction != TBlockCorrection::Shift) (*axis)[2] = random->Normal(plan.drift);
  }
  return p;
}

/// Measurements of one ground point in every image that sees it.
inline void Measure(const BlockPlan& plan, const Ground& ground, std::uint32_t point, SimulatedBlock* block,
                    Random* random) {
  const bool tie = block->problem.points[point].role == TBlockPointRole::Tie;
  for (std::uint32_t k = 0; k < block->problem.images.size(); ++k) {
    const SatCommonUtils::TRPC& model = *block->problem.images[k].model;
    double line = 0.0;
    double sample = 0.0;
    model.CalculateLineSample(ground[0], ground[1], ground[2], &line, &sample, nullptr, nullptr);
    const auto& axes = model.GetNormalization();
    if (std::fabs(axes.line.Initial2Normalized(line)) > 0.97) continue;
    if (std::fabs(axes.sample.Initial2Normalized(sample)) > 0.97) continue;
    const double sigma = plan.noise * (random->Index(2) == 0 ? 1.0 : 2.0);
    const auto seen = Corrected(model, block->truth[k], line, sample);
    double error[2] = {random->Normal(sigma), random->Normal(sigma)};
    double size = 0.0;
    if (tie && random->Uniform(0.0, 1.0) < plan.blunders) {
      const double angle = random->Uniform(0.0, 6.283);
      size = random->Uniform(5.0, 50.0);
      error[0] += size * std::cos(angle);
      error[1] += size * std::sin(angle);
      block->blunders.insert(block->problem.measurements.Size());
    }
    block->blunderSize.push_back(size);
    block->problem.measurements.Add(point, k, seen[0] + error[0], seen[1] + error[1], std::max(sigma, 0.01));
  }
}

inline SimulatedBlock SimulateBlock(const BlockPlan& plan, Random* random) {
  SimulatedBlock block;
  for (int k = 0; k < plan.images; ++k) {
    // Three positions along the strip hold two views each, 0.4 of an image apart.
    SatCommonUtils::TRPCData record = CameraRecord(plan.longitude, k % 2 == 0 ? 0.25 : -0.2);
    record.latOffset -= 0.8 * record.latScale * (k / 2) + random->Uniform(-0.002, 0.002);
    record.sampScale += 300.0 * (k % 3);
    SatCommonUtils::TBlockImage image;
    image.name = "image" + std::to_string(k);
    image.model = std::make_shared<SatCommonUtils::TRPC>(record);
    image.correction = plan.correction;
    block.problem.images.push_back(image);
    block.truth.push_back(RandomCorrection(plan, random));
  }
  const SatCommonUtils::TRPC& north = *block.problem.images.front().model;
  const SatCommonUtils::TRPC& south = *block.problem.images.back().model;
  const auto add = [&](TBlockPointRole role, int count) {
    for (int n = 0; n < count; ++n) {
      const Ground ground{random->Uniform(south.GetMinLatitude(), north.GetMaxLatitude()),
                          plan.longitude + random->Uniform(-0.07, 0.07), 240.0 + random->Uniform(-150.0, 150.0)};
      SatCommonUtils::TBlockPoint point;
      point.name = SatCommonUtils::GetBlockPointRoleName(role) + std::to_string(n);
      point.role = role;
      if (role != TBlockPointRole::Tie) {
        point.lat = ground[0], point.lon = ground[1], point.height = ground[2];
        point.sigmaHorizontal = 0.05, point.sigmaVertical = 0.08;
      }
      block.problem.points.push_back(point);
      block.ground.push_back(ground);
      Measure(plan, ground, static_cast<std::uint32_t>(block.ground.size() - 1), &block, random);
    }
  };
  add(TBlockPointRole::Tie, plan.ties);
  add(TBlockPointRole::Control, plan.control);
  add(TBlockPointRole::Check, plan.checks);
  return block;
}

/// b0, b1, b2, a0, a1, a2.
inline std::array<double, 6> SixOf(const TBlockParameters& p) {
  return {p.sample[0], p.sample[1], p.sample[2], p.line[0], p.line[1], p.line[2]};
}

/// Largest difference of the corrections from others, pixels.
inline double LargestDifference(const SatCommonUtils::TBlockResult& result,
                                const std::vector<TBlockParameters>& others) {
  double largest = 0.0;
  for (std::size_t k = 0; k < others.size(); ++k) {
    const auto a = SixOf(result.images[k].parameters);
    const auto b = SixOf(others[k]);
    for (int c = 0; c < 6; ++c) largest = std::max(largest, std::fabs(a[c] - b[c]));
  }
  return largest;
}

}  // namespace orbmath_test
