#pragma once
// From measured image points to a solved block: what the single-point functions, the arrays and the solutions with
// status have in common.

#include <vector>

#include "rpc/intersection_kernel.h"

namespace SatCommonUtils::rpc {

/// Gives point `i` of the block its height and its start, or the state that tells why there is none.
template <THeight Height, std::size_t Capacity, class Measured>
void StartPoint(std::size_t images, const Measured& measured, const THeightInput& height, std::size_t i,
                TIntersectionBlock<Height, Capacity>* block) {
  block->height[i] = height;
  block->status[i] = {};
  block->ground[2][i] = height.value;
  double ground[kUnknowns<Height>];
  if (images < 2) {
    block->status[i].state = TGroundState::TooFewImages;
  } else if (!ApproximateIntersection<Height>(images, measured, height, &ground)) {
    block->status[i].state = TGroundState::NoStart;
  } else {
    for (int c = 0; c < kUnknowns<Height>; ++c) block->ground[c][i] = ground[c];
  }
}

/// Runs the iteration of one point, which has its start in place 0 of the block, through the virtual projection.
template <THeight Height>
void IterateItems(const std::vector<TRPCCoordsDataItem>& items, TIntersectionBlock<Height, 1>* block) {
  block->Solve(
      items.size(),
      [&items](std::size_t image, std::size_t, const double* lat, const double* lon, const double* h, double* line,
               double* sample, double* const* dLine, double* const* dSample) {
        double byLine[3];
        double bySample[3];
        items[image].model->CalculateLineSample(*lat, *lon, *h, line, sample, byLine, bySample);
        for (int c = 0; c < 3; ++c) {
          *dLine[c] = byLine[c];
          *dSample[c] = bySample[c];
        }
      },
      [&items](std::size_t image, std::size_t) { return items[image]; });
}

/// The whole way of one point, in place 0 of the block.
template <THeight Height>
void IntersectItems(const std::vector<TRPCCoordsDataItem>& items, const THeightInput& height,
                    TIntersectionBlock<Height, 1>* block) {
  block->count = 1;
  StartPoint(
      items.size(), [&items](std::size_t image) { return items[image]; }, height, 0, block);
  IterateItems(items, block);
}

}  // namespace SatCommonUtils::rpc
