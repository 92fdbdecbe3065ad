// Intersections as single-point functions and as arrays, on the kernels of intersection_kernel.h.

#include "rpc/image_to_ground.h"

#include <algorithm>
#include <atomic>

#include "rpc/intersection/intersection_arrays.h"
#include "rpc/intersection/intersection_solver.h"

namespace SatCommonUtils {

namespace {

using rpc::THeight;
using rpc::THeightInput;

bool HasPoint(TGroundState state) {
  return state == TGroundState::Converged || state == TGroundState::NotConverged || state == TGroundState::Singular;
}

/// The single-point functions: outputs untouched without a start.
template <THeight Height>
bool Intersect(const std::vector<TRPCCoordsDataItem>& items, const THeightInput& height, double* lat, double* lon,
               double* h) {
  const rpc::TIntersectedPoint<Height> point = rpc::IntersectItems<Height>(items, height);
  if (!HasPoint(point.status.state)) return false;
  *lat = point.ground[0];
  *lon = point.ground[1];
  if (Height != THeight::Known) *h = point.ground[2];
  return point.status.state != TGroundState::Singular;
}

/// Points [first, last) of the arrays, block by block. \return how many met the stopping rule.
template <THeight Height, class HeightOf>
std::size_t IntersectRange(const rpc::TStartImages& images, const TImageArrays& points, const HeightOf& heightOf,
                           std::size_t first, std::size_t last, double* const* ground, TGroundStatus* status) {
  std::size_t converged = 0;
  rpc::TIntersectionBlock<Height> block;
  for (std::size_t start = first; start < last; start += rpc::kLaneBlock) {
    const std::size_t count = std::min(rpc::kLaneBlock, last - start);
    for (std::size_t i = 0; i < count; ++i) {
      const THeightInput height = heightOf(start + i);
      block.height[i] = height.value;
      block.variance[i] = height.variance;
    }
    rpc::IntersectBlock(images, points, start, count, &block);
    for (std::size_t i = 0; i < count; ++i) {
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
  const rpc::TStartImages images(points.images, points.models);
  std::atomic<std::size_t> converged{0};
  rpc::ForEachBlock(points.count, [&](std::size_t first, std::size_t last) {
    converged += IntersectRange<Height>(images, points, heightOf, first, last, ground, status);
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
  if (!rpc::ApproximateIntersection<THeight::Known>(items, {h}, &ground)) return false;
  *lat = ground[0];
  *lon = ground[1];
  return true;
}

bool CalculateLatLonHApproximately(const std::vector<TRPCCoordsDataItem>& items, double* lat, double* lon, double* h) {
  double ground[3];
  if (!rpc::ApproximateIntersection<THeight::Free>(items, {}, &ground)) return false;
  *lat = ground[0];
  *lon = ground[1];
  *h = ground[2];
  return true;
}

bool CalculateLatLonHApproximatelyH(const std::vector<TRPCCoordsDataItem>& items, const double& hObs,
                                    const double& hVar, double* lat, double* lon, double* h) {
  double ground[3];
  if (!rpc::ApproximateIntersection<THeight::Observed>(items, {hObs, hVar}, &ground)) return false;
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
