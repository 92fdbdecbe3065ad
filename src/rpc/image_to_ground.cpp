// Intersections as single-point functions and as arrays, on the kernels of intersection_kernel.h.

#include "rpc/image_to_ground.h"

#include <algorithm>
#include <atomic>

#include "rpc/intersection_kernel.h"
#include "rpc/intersection_solver.h"

namespace SatCommonUtils {

namespace {

using rpc::THeight;
using rpc::THeightInput;

template <THeight Height>
bool Approximate(const std::vector<TRPCCoordsDataItem>& items, const THeightInput& height,
                 double (*ground)[rpc::kUnknowns<Height>]) {
  return rpc::ApproximateIntersection<Height>(
      items.size(), [&items](std::size_t image) { return items[image]; }, height, ground);
}

bool HasPoint(TGroundState state) {
  return state == TGroundState::Converged || state == TGroundState::NotConverged || state == TGroundState::Singular;
}

/// The single-point functions: outputs untouched without a start.
template <THeight Height>
bool Intersect(const std::vector<TRPCCoordsDataItem>& items, const THeightInput& height, double* lat, double* lon,
               double* h) {
  rpc::TIntersectionBlock<Height, 1> block;
  rpc::IntersectItems(items, height, &block);
  if (!HasPoint(block.status[0].state)) return false;
  *lat = block.ground[0][0];
  *lon = block.ground[1][0];
  if (Height != THeight::Known) *h = block.ground[2][0];
  return block.status[0].state != TGroundState::Singular;
}

/// Points [first, last) of the arrays, block by block. \return how many met the stopping rule.
template <THeight Height, class HeightOf>
std::size_t IntersectRange(const TImageArrays& points, const HeightOf& heightOf, std::size_t first, std::size_t last,
                           double* const* ground, TGroundStatus* status) {
  std::size_t converged = 0;
  rpc::TIntersectionBlock<Height, rpc::kLaneBlock> block;
  for (std::size_t start = first; start < last; start += rpc::kLaneBlock) {
    block.count = std::min(rpc::kLaneBlock, last - start);
    const auto measured = [&](std::size_t image, std::size_t point) {
      return TRPCCoordsDataItem{points.models[image], points.line[image][start + point],
                                points.sample[image][start + point]};
    };
    for (std::size_t i = 0; i < block.count; ++i) {
      rpc::StartPoint(
          points.images, [&](std::size_t image) { return measured(image, i); }, heightOf(start + i), i, &block);
    }
    block.Solve(
        points.images,
        [&](std::size_t image, std::size_t count, const double* lat, const double* lon, const double* h, double* line,
            double* sample, double* const* dLine, double* const* dSample) {
          points.models[image]->CalculateLineSampleArray(count, lat, lon, h, line, sample, dLine, dSample);
        },
        measured);
    for (std::size_t i = 0; i < block.count; ++i) {
      const TGroundStatus& end = block.status[i];
      converged += end.state == TGroundState::Converged ? 1 : 0;
      if (status != nullptr) status[start + i] = end;
      if (!HasPoint(end.state)) continue;
      for (int c = 0; c < rpc::kUnknowns<Height>; ++c) ground[c][start + i] = block.ground[c][i];
    }
  }
  return converged;
}

template <THeight Height, class HeightOf>
std::size_t IntersectArrays(const TImageArrays& points, const HeightOf& heightOf, double* lat, double* lon, double* h,
                            TGroundStatus* status) {
  double* const ground[3] = {lat, lon, h};
  for (std::size_t image = 0; image < points.images; ++image) {
    if (points.models[image] != nullptr) points.models[image]->EnsureApproximation();
  }
  std::atomic<std::size_t> converged{0};
  rpc::ForEachBlock(points.count, [&](std::size_t first, std::size_t last) {
    converged += IntersectRange<Height>(points, heightOf, first, last, ground, status);
  });
  return converged;
}

}  // namespace

bool CalculateLatLon(const std::vector<TRPCCoordsDataItem>& items, const double& h, double* lat, double* lon) {
  return Intersect<THeight::Known>(items, {h}, lat, lon, nullptr);
}

bool CalculateLatLonH(const std::vector<TRPCCoordsDataItem>& items, double* lat, double* lon, double* h) {
  return Intersect<THeight::Free>(items, {}, lat, lon, h);
}

bool CalculateLatLonH(const std::vector<TRPCCoordsDataItem>& items, const double& hObs, const double& hVar, double* lat,
                      double* lon, double* h) {
  return Intersect<THeight::Observed>(items, {hObs, hVar}, lat, lon, h);
}

bool CalculateLatLonApproximately(const std::vector<TRPCCoordsDataItem>& items, const double& h, double* lat,
                                  double* lon) {
  double ground[2];
  if (!Approximate<THeight::Known>(items, {h}, &ground)) return false;
  *lat = ground[0];
  *lon = ground[1];
  return true;
}

bool CalculateLatLonHApproximately(const std::vector<TRPCCoordsDataItem>& items, double* lat, double* lon, double* h) {
  double ground[3];
  if (!Approximate<THeight::Free>(items, {}, &ground)) return false;
  *lat = ground[0];
  *lon = ground[1];
  *h = ground[2];
  return true;
}

bool CalculateLatLonHApproximatelyH(const std::vector<TRPCCoordsDataItem>& items, const double& hObs,
                                    const double& hVar, double* lat, double* lon, double* h) {
  double ground[3];
  if (!Approximate<THeight::Observed>(items, {hObs, hVar}, &ground)) return false;
  *lat = ground[0];
  *lon = ground[1];
  *h = ground[2];
  return true;
}

std::size_t CalculateLatLonArray(const TImageArrays& points, const double* h, double* lat, double* lon,
                                 TGroundStatus* status) {
  return IntersectArrays<THeight::Known>(
      points, [h](std::size_t point) { return THeightInput{h[point]}; }, lat, lon, nullptr, status);
}

std::size_t CalculateLatLonHArray(const TImageArrays& points, double* lat, double* lon, double* h,
                                  TGroundStatus* status) {
  return IntersectArrays<THeight::Free>(
      points, [](std::size_t) { return THeightInput{}; }, lat, lon, h, status);
}

std::size_t CalculateLatLonHArray(const TImageArrays& points, const double* hObs, const double& hVar, double* lat,
                                  double* lon, double* h, TGroundStatus* status) {
  const double variance = hVar;
  return IntersectArrays<THeight::Observed>(
      points,
      [hObs, variance](std::size_t point) {
        return THeightInput{hObs[point], variance};
      },
      lat, lon, h, status);
}

}  // namespace SatCommonUtils
