#pragma once
// One ground point and the images that see it: the normal equations of a step from there.

#include <cstddef>

#include "rpc/rpc_model.h"
#include "rpc/small_systems.h"

namespace SatCommonUtils::rpc {

/// The unknowns of an intersection.
enum class THeight { Known, Free, Observed };

/// What is given about the height of one point.
struct THeightInput {
  double value = 0.0;     ///< the known or observed height, metres
  double variance = 1.0;  ///< of an observed height, square metres
};

template <THeight Height>
constexpr int kUnknowns = Height == THeight::Known ? 2 : 3;

/// Images of one point with what is given about its height.
template <THeight Height>
struct TMeasuredPoint {
  const TRPCCoordsDataItem* items;
  std::size_t images;
  THeightInput height;
};

/// The normal equations of a point at a ground position, and the weighted sum of squared residuals there.
template <THeight Height>
struct TLinearized {
  TNormalEquations<kUnknowns<Height>, double> equations;
  double cost = 0.0;
};

template <THeight Height>
void Linearize(const TMeasuredPoint<Height>& point, const double* ground, TLinearized<Height>* out) {
  constexpr int N = kUnknowns<Height>;
  *out = {};
  for (std::size_t image = 0; image < point.images; ++image) {
    const TRPCCoordsDataItem& item = point.items[image];
    double line, sample, dLine[3], dSample[3], lineRow[N], sampleRow[N];
    item.model->CalculateLineSample(ground[0], ground[1], ground[2], &line, &sample, dLine, dSample);
    for (int c = 0; c < N; ++c) {
      lineRow[c] = dLine[c];
      sampleRow[c] = dSample[c];
    }
    out->equations.Add(sampleRow, item.sample - sample);
    out->equations.Add(lineRow, item.line - line);
    out->cost += (item.sample - sample) * (item.sample - sample) + (item.line - line) * (item.line - line);
  }
  if (Height == THeight::Observed) {
    const double miss = point.height.value - ground[2];
    out->equations.AddLast(miss, 1.0 / point.height.variance);
    out->cost += miss * miss / point.height.variance;
  }
}

}  // namespace SatCommonUtils::rpc
