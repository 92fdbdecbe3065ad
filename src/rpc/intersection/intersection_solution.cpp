// Ground points from several images, with their status, residuals and covariance.

#include <cmath>
#include <limits>

#include "rpc/branch.h"
#include "rpc/damped_steps.h"
#include "rpc/ellipsoid.h"
#include "rpc/ground_solution.h"
#include "rpc/intersection/intersection_proven.h"
#include "rpc/intersection/intersection_solver.h"
#include "rpc/solution_flags.h"

namespace SatCommonUtils {

namespace {

using rpc::THeight;
using rpc::THeightInput;
using TItems = std::vector<TRPCCoordsDataItem>;

constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();

/// Root mean square of line and sample residuals over the images.
double FillResiduals(const TItems& items, TGroundIntersection* solution) {
  double sum = 0.0;
  solution->residuals.clear();
  for (const TRPCCoordsDataItem& item : items) {
    double line, sample;
    item.model->CalculateLineSample(solution->lat, solution->lon, solution->h, &line, &sample, nullptr, nullptr);
    const TImageResidual residual = {item.line - line, item.sample - sample};
    solution->residuals.push_back(residual);
    sum += residual.line * residual.line + residual.sample * residual.sample;
  }
  return std::sqrt(sum / static_cast<double>(items.size()));
}

/// The inverse of the normal matrix at the solution. \return false when it is singular.
template <THeight Height>
bool FillCovariance(const TItems& items, const THeightInput& height, TGroundIntersection* solution) {
  constexpr int N = rpc::kUnknowns<Height>;
  const double ground[3] = {solution->lat, solution->lon, solution->h};
  rpc::TLinearized<Height> here;
  rpc::Linearize<Height>({items.data(), items.size(), height}, ground, &here);
  for (int column = 0; column < N; ++column) {
    for (int row = 0; row < N; ++row) here.equations.right[row] = row == column ? 1.0 : 0.0;
    double inverse[N];
    double lowestPivot;
    rpc::SolveCholesky(here.equations, inverse, lowestPivot);
    // A pivot is its diagonal's part that no other unknown explains; below this part it is rounding.
    constexpr double kRounding = 1e-14;
    const bool blind = kRounding * inverse[column] * here.equations.matrix[column][column] > 1.0;
    if (lowestPivot <= rpc::kSmallestPivot || blind) return false;
    for (int row = 0; row < N; ++row) solution->covariance[3 * row + column] = inverse[row];
  }
  return true;
}

/// The plain iteration. \return whether its result is a solution.
template <THeight Height>
bool Iterate(const TItems& items, const THeightInput& height, TGroundIntersection* solution) {
  const rpc::TIntersectedPoint<Height> point = rpc::IntersectItems<Height>(items, height);
  solution->status = point.status;
  if (solution->status.state == TGroundState::TooFewImages || solution->status.state == TGroundState::NoStart) {
    return false;
  }
  solution->lat = point.ground[0];
  solution->lon = point.ground[1];
  solution->h = point.ground[2];
  if (solution->status.state == TGroundState::NotConverged && rpc::IsRounding(point.lastStep)) {
    solution->status.state = TGroundState::Converged;
  }
  return solution->status.state == TGroundState::Converged;
}

/// Whether the height is farther from every model's than its heights reach ten times, and than ten kilometres: there is
/// no ground there, and polynomials that were fitted to a kilometre or two mean nothing.
bool IsFarHeight(const TItems& items, double h) {
  constexpr double kRanges = 10.0;
  constexpr double kMetres = 10000.0;
  for (const TRPCCoordsDataItem& item : items) {
    const double range = std::fabs(item.model->GetHeightNormalization()->GetScale());
    if (std::fabs(h - item.model->GetAverageHeight()) <= std::fmax(kRanges * range, kMetres)) return false;
  }
  return true;
}

/// What is wrong with a minimum whose residuals are known.
template <THeight Height>
TGroundState Judge(const TItems& items, const TIntersectionOptions& options, const TGroundIntersection& solution) {
  if (!std::isfinite(solution.residual)) return TGroundState::NotConverged;
  bool far = false;
  bool folded = false;
  for (const TRPCCoordsDataItem& item : items) {
    const rpc::TBranch branch(*item.model);
    double ground[3];
    branch.Normalize(solution.lat, solution.lon, solution.h, ground);
    if (!branch.IsFree(ground)) {
      const rpc::TProbe probe = branch.Probe(ground);
      if (!branch.IsInFront(probe)) return TGroundState::BehindSensor;
      folded = folded || !branch.IsUnfolded(probe);
    }
    far = far || rpc::IsFarOut(branch, item, solution);
  }
  if (Height != THeight::Known && IsFarHeight(items, solution.h)) return TGroundState::FarHeight;
  if (folded) return TGroundState::OtherBranch;
  if (far) return TGroundState::FarOut;
  return solution.residual <= options.largestRms ? TGroundState::Converged : TGroundState::Misfit;
}

/// Damped steps from the models' centres and from the lost point. A minimum that is an answer is preferred, then the
/// lowest.
template <THeight Height>
void Retry(const TItems& items, const THeightInput& height, const TIntersectionOptions& options,
           TGroundIntersection* solution) {
  constexpr int kMostSteps = 200;
  const rpc::TMeasuredPoint<Height> point = {items.data(), items.size(), height};
  double lowest = std::numeric_limits<double>::infinity();
  const auto tryFrom = [&](double lat, double lon, double h) {
    double ground[3] = {lat, lon, Height == THeight::Known ? height.value : h};
    if (!rpc::WalkDamped(point, ground, &solution->status.iterations, kMostSteps)) return;
    rpc::TLinearized<Height> end;
    rpc::Linearize(point, ground, &end);
    TGroundIntersection there = *solution;
    there.lat = ground[0];
    there.lon = ground[1];
    there.h = ground[2];
    there.method = TGroundMethod::Damped;
    there.residual = FillResiduals(items, &there);
    there.status.state = Judge<Height>(items, options, there);
    const bool better = there && !*solution;
    const bool worse = !there && *solution;
    if (worse || !(better || end.cost < lowest)) return;
    lowest = end.cost;
    *solution = there;
  };
  const double lost[3] = {solution->lat, solution->lon, solution->h};
  const double reference = items[0].model->GetCenterLongitude();
  for (const TRPCCoordsDataItem& item : items) {
    tryFrom(item.model->GetCenterLatitude(), LongitudeNear(reference, item.model->GetCenterLongitude()),
            item.model->GetAverageHeight());
  }
  tryFrom(lost[0], lost[1], lost[2]);
}

TGroundIntersection NoPoint(TGroundIntersection solution) {
  solution.lat = solution.lon = solution.h = solution.residual = kNoNumber;
  for (double& number : solution.covariance) number = kNoNumber;
  return solution;
}

template <THeight Height>
TGroundIntersection Solve(const TItems& items, const THeightInput& height, const TIntersectionOptions& options) {
  TGroundIntersection solution;
  if (rpc::SolveShort<Height>(items.data(), items.size(), height, options, &solution)) return solution;
  return rpc::SolveUnproven<Height>(items, height, options);
}

}  // namespace

template <THeight Height>
bool rpc::SolveShort(const TRPCCoordsDataItem* items, std::size_t count, const THeightInput& height,
                     const TIntersectionOptions& options, TGroundIntersection* solution) {
  using TPoint = rpc::TNewtonIntersection<Height>;
  constexpr std::size_t kFew = 4;  // images without memory from the heap
  if (Height == THeight::Observed && !(height.variance > 0.0)) return false;
  const TRPC* fewModels[kFew];
  double fewNumbers[kFew * (2 + TPoint::kWork)];
  std::vector<const TRPC*> manyModels(count > kFew ? count : 0);
  std::vector<double> manyNumbers(count > kFew ? count * (2 + TPoint::kWork) : 0);
  const TRPC** const models = count > kFew ? manyModels.data() : fewModels;
  double* const numbers = count > kFew ? manyNumbers.data() : fewNumbers;
  for (std::size_t m = 0; m < count; ++m) {
    models[m] = items[m].model;
    numbers[2 * m] = items[m].line;
    numbers[2 * m + 1] = items[m].sample;
  }
  const rpc::TNewtonImages images(count, models);
  if (!images.AreFit()) return false;
  TPoint point;
  point.count = 1;
  point.measured = numbers;
  point.work = numbers + 2 * count;
  point.variance = height.variance;
  point.height[0] = height.value;
  rpc::IntersectNewton(images, &point);
  return rpc::TakeProven(images, point, 0, items, options, solution);
}

template bool rpc::SolveShort<THeight::Known>(const TRPCCoordsDataItem*, std::size_t, const THeightInput&,
                                              const TIntersectionOptions&, TGroundIntersection*);
template bool rpc::SolveShort<THeight::Free>(const TRPCCoordsDataItem*, std::size_t, const THeightInput&,
                                             const TIntersectionOptions&, TGroundIntersection*);
template bool rpc::SolveShort<THeight::Observed>(const TRPCCoordsDataItem*, std::size_t, const THeightInput&,
                                                 const TIntersectionOptions&, TGroundIntersection*);

template <THeight Height>
TGroundIntersection rpc::SolveUnproven(const std::vector<TRPCCoordsDataItem>& items, const THeightInput& height,
                                       const TIntersectionOptions& options) {
  TGroundIntersection solution;
  if (Height == THeight::Observed && !(height.variance > 0.0)) {
    solution.status.state = TGroundState::BadVariance;
    return NoPoint(solution);
  }
  solution.h = height.value;
  const bool found = Iterate<Height>(items, height, &solution);
  bool complete = solution.status.state != TGroundState::TooFewImages;
  for (const TRPCCoordsDataItem& item : items) complete = complete && item.model != nullptr;
  if (!complete) return NoPoint(solution);
  solution.residual = FillResiduals(items, &solution);
  if (found) solution.status.state = Judge<Height>(items, options, solution);
  if (!solution) Retry<Height>(items, height, options, &solution);
  if (solution && !FillCovariance<Height>(items, height, &solution)) solution.status.state = TGroundState::Singular;
  if (!solution) {
    for (double& number : solution.covariance) number = kNoNumber;
  }
  for (const TRPCCoordsDataItem& item : items) rpc::SetFlags(item, &solution);
  return solution;
}

template TGroundIntersection rpc::SolveUnproven<THeight::Known>(const std::vector<TRPCCoordsDataItem>&,
                                                                const THeightInput&, const TIntersectionOptions&);
template TGroundIntersection rpc::SolveUnproven<THeight::Free>(const std::vector<TRPCCoordsDataItem>&,
                                                               const THeightInput&, const TIntersectionOptions&);
template TGroundIntersection rpc::SolveUnproven<THeight::Observed>(const std::vector<TRPCCoordsDataItem>&,
                                                                   const THeightInput&, const TIntersectionOptions&);

TGroundIntersection SolveLatLon(const std::vector<TRPCCoordsDataItem>& items, double h,
                                const TIntersectionOptions& options) {
  return Solve<THeight::Known>(items, {h}, options);
}

TGroundIntersection SolveLatLonH(const std::vector<TRPCCoordsDataItem>& items, const TIntersectionOptions& options) {
  return Solve<THeight::Free>(items, {}, options);
}

TGroundIntersection SolveLatLonH(const std::vector<TRPCCoordsDataItem>& items, double hObs, double hVar,
                                 const TIntersectionOptions& options) {
  return Solve<THeight::Observed>(items, {hObs, hVar}, options);
}

TGroundScale GroundScaleAt(double lat, double h) noexcept {
  const ellipsoid::TDegree degree = ellipsoid::DegreeAt(lat, h);
  return {degree.east, degree.north};
}

void GroundSigmas(double lat, double h, const double* covariance, double* sigma) {
  const ellipsoid::TDegree degree = ellipsoid::DegreeAt(lat, h);
  sigma[0] = std::sqrt(covariance[4]) * degree.east;
  sigma[1] = std::sqrt(covariance[0]) * degree.north;
  sigma[2] = std::sqrt(covariance[8]);
}

}  // namespace SatCommonUtils
