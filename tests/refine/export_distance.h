#pragma once
// How far an exported record is from the adjusted model that it came from.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "refine/adjusted_rpc.h"
#include "support/random.h"

namespace orbmath_test {

/// Largest distance in pixels between two models over the image (whole raw box) at heights of the middle half.
inline double WorstDistance(const SatCommonUtils::TAdjustedRPC& model, const SatCommonUtils::TRPCData& exported) {
  const SatCommonUtils::TRPC plain(exported, nullptr);
  Random random("export");
  double worst = 0.0;
  int points = 0;
  for (int i = 0; i < 500; ++i) {
    double line = random.Uniform(model.GetMinLine(), model.GetMaxLine());
    double sample = random.Uniform(model.GetMinSample(), model.GetMaxSample());
    const double h =
        model.GetAverageHeight() + random.Uniform(-0.5, 0.5) * (model.GetMaxHeight() - model.GetAverageHeight());
    double lat, lon, line2, sample2;
    if (!model.CalculateLatLon(line, sample, h, &lat, &lon)) continue;
    model.CalculateLineSample(lat, lon, h, &line, &sample, nullptr, nullptr);
    plain.CalculateLineSample(lat, lon, h, &line2, &sample2, nullptr, nullptr);
    worst = std::max(worst, std::hypot(line - line2, sample - sample2));
    ++points;
  }
  EXPECT_GT(points, 250);
  return worst;
}

}  // namespace orbmath_test
