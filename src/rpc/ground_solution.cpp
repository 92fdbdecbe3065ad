// Image to ground of one image, with its status.

#include "rpc/ground_solution.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>

#include "rpc/blocks.h"
#include "rpc/damped_steps.h"
#include "rpc/solution_flags.h"

namespace SatCommonUtils {

namespace {

using rpc::THeight;
using TPoint = rpc::TMeasuredPoint<THeight::Known>;

/// A root projects back within this many pixels.
constexpr double kLargestMiss = 1e-5;
/// A root that misses by more than this is worth another step, pixels.
constexpr double kWorthAStep = 1e-7;
/// A root this far out, in normalised units, may not be the one that is meant, unless the image point is as far out.
constexpr double kFarOutside = 1.5;

/// Larger of two absolute normalised coordinates.
double Remoteness(const TLinearNormalization& first, double x, const TLinearNormalization& second, double y) {
  return std::fmax(std::fabs(first.Initial2Normalized(x)), std::fabs(second.Initial2Normalized(y)));
}

bool IsFarOutside(const TRPCCoordsDataItem& item, double lat, double lon) {
  const TRPC& model = *item.model;
  const double ground = Remoteness(*model.GetLatitudeNormalization(), lat, *model.GetLongitudeNormalization(), lon);
  const double image =
      Remoteness(*model.GetLineNormalization(), item.line, *model.GetSampleNormalization(), item.sample);
  return !(ground <= kFarOutside * std::fmax(1.0, image));
}

double Miss(const TRPCCoordsDataItem& item, double lat, double lon, double h) {
  double line, sample;
  item.model->CalculateLineSample(lat, lon, h, &line, &sample, nullptr, nullptr);
  return std::hypot(item.line - line, item.sample - sample);
}

bool IsRoot(const TGroundSolution& solution) {
  return solution.status.state == TGroundState::Converged && solution.residual <= kLargestMiss;
}

/// Where a damped walk starts: a ground point and how far its projection misses the measured point.
struct TStart {
  double lat;
  double lon;
  double miss;
};

/// The best of the nodes of grids that shrink towards the model's centre, best first.
std::vector<TStart> GridStarts(const TRPCCoordsDataItem& item, double h) {
  constexpr int kGrids = 7;  // the smallest spans 0.4^6, a 244th of the model's range
  constexpr int kHalf = 3;
  constexpr std::size_t kKept = 8;
  std::vector<TStart> starts;
  double size = 1.0;
  for (int grid = 0; grid < kGrids; ++grid, size *= 0.4) {
    for (int i = -kHalf; i <= kHalf; ++i) {
      for (int j = -kHalf; j <= kHalf; ++j) {
        const double lat = item.model->GetLatitudeNormalization()->Normalized2Initial(size * i / kHalf);
        const double lon = item.model->GetLongitudeNormalization()->Normalized2Initial(size * j / kHalf);
        const double miss = Miss(item, lat, lon, h);
        if (std::isfinite(miss)) starts.push_back({lat, lon, miss});
      }
    }
  }
  std::sort(starts.begin(), starts.end(), [](const TStart& a, const TStart& b) { return a.miss < b.miss; });
  starts.resize(std::min(starts.size(), kKept));
  return starts;
}

/// Walks from `start`. Keeps in `best` what projects back better than it, and a root in the model's range above all.
/// \return whether `best` is such a root now.
bool TryFrom(const TRPCCoordsDataItem& item, const TStart& start, TGroundMethod method, TGroundSolution* best) {
  double ground[3] = {start.lat, start.lon, best->h};
  std::int32_t evaluations = 0;
  rpc::WalkDamped<THeight::Known>({&item, 1, {best->h}}, ground, &evaluations);
  best->status.iterations += evaluations;
  const double miss = Miss(item, ground[0], ground[1], best->h);
  const bool root = miss <= kLargestMiss;
  const bool inside = root && !IsFarOutside(item, ground[0], ground[1]);
  if (inside || !(IsRoot(*best) || best->residual <= miss)) {
    best->lat = ground[0];
    best->lon = ground[1];
    best->residual = miss;
    best->method = method;
    if (root) best->status.state = TGroundState::Converged;
  }
  return inside;
}

/// One more Gauss-Newton step through the virtual projection; kept when it comes nearer.
void Polish(const TRPCCoordsDataItem& item, TGroundSolution* solution) {
  double ground[3] = {solution->lat, solution->lon, solution->h};
  rpc::TLinearized<THeight::Known> here;
  rpc::Linearize<THeight::Known>({&item, 1, {solution->h}}, ground, &here);
  double step[2];
  double lowestPivot;
  rpc::SolveCholesky(here.equations, step, lowestPivot);
  const double miss = Miss(item, ground[0] + step[0], ground[1] + step[1], ground[2]);
  ++solution->status.iterations;
  if (lowestPivot <= rpc::kSmallestPivot || !(miss < solution->residual)) return;
  solution->lat = ground[0] + step[0];
  solution->lon = ground[1] + step[1];
  solution->residual = miss;
  solution->method = TGroundMethod::Polished;
}

/// What follows where the plain iteration gave no root, or one far outside.
void Retry(const TRPCCoordsDataItem& item, TGroundSolution* solution) {
  const TStart lost = {solution->lat, solution->lon, solution->residual};
  if (std::isfinite(lost.miss) && TryFrom(item, lost, TGroundMethod::Damped, solution)) return;
  const TStart center = {item.model->GetCenterLatitude(), item.model->GetCenterLongitude(), 0.0};
  if (TryFrom(item, center, TGroundMethod::Damped, solution)) return;
  for (const TStart& start : GridStarts(item, solution->h)) {
    if (TryFrom(item, start, TGroundMethod::Grid, solution)) return;
  }
}

/// Completes a solution of which point and status are known.
void Complete(const TRPC& model, double line, double sample, TGroundSolution* solution) {
  const TRPCCoordsDataItem item = {&model, line, sample};
  const bool root = IsRoot(*solution);
  if (solution->status.state == TGroundState::Converged && !root) solution->status.state = TGroundState::NotConverged;
  if (solution->status.state != TGroundState::NoApproximation &&
      (!root || IsFarOutside(item, solution->lat, solution->lon))) {
    Retry(item, solution);
  } else if (root && solution->residual > kWorthAStep) {
    Polish(item, solution);
  }
  rpc::SetFlags(item, solution);
}

void SolveRange(const TRPC& model, std::size_t count, const double* line, const double* sample, const double* h,
                TGroundSolution* solutions) {
  double lat[rpc::kLaneBlock], lon[rpc::kLaneBlock], backLine[rpc::kLaneBlock], backSample[rpc::kLaneBlock];
  TGroundStatus status[rpc::kLaneBlock];
  model.CalculateLatLonArray(count, line, sample, h, lat, lon, status);
  model.CalculateLineSampleArray(count, lat, lon, h, backLine, backSample, nullptr, nullptr);
  for (std::size_t i = 0; i < count; ++i) {
    TGroundSolution& solution = solutions[i];
    solution = {};
    solution.lat = lat[i];
    solution.lon = lon[i];
    solution.h = h[i];
    solution.status = status[i];
    solution.residual = std::hypot(line[i] - backLine[i], sample[i] - backSample[i]);
    Complete(model, line[i], sample[i], &solution);
  }
}

}  // namespace

TGroundSolution SolveLatLon(const TRPC& model, double line, double sample, double h) {
  TGroundSolution solution;
  SolveLatLonArray(model, 1, &line, &sample, &h, &solution);
  return solution;
}

std::size_t SolveLatLonArray(const TRPC& model, std::size_t count, const double* line, const double* sample,
                             const double* h, TGroundSolution* solutions) {
  model.EnsureApproximation();
  std::atomic<std::size_t> converged{0};
  rpc::ForEachBlock(count, [&](std::size_t first, std::size_t last) {
    for (std::size_t start = first; start < last; start += rpc::kLaneBlock) {
      const std::size_t part = std::min(rpc::kLaneBlock, last - start);
      SolveRange(model, part, line + start, sample + start, h + start, solutions + start);
      converged += static_cast<std::size_t>(
          std::count_if(solutions + start, solutions + start + part, [](const TGroundSolution& s) { return bool(s); }));
    }
  });
  return converged;
}

}  // namespace SatCommonUtils
