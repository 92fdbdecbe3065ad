// Image to ground of one image, with its status.

#include "rpc/ground_solution.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <typeinfo>

#include "frame/zxstd/plane_length.h"
#include "rpc/blocks.h"
#include "rpc/branch.h"
#include "rpc/damped_steps.h"
#include "rpc/ground_newton.h"
#include "rpc/solution_flags.h"

namespace SatCommonUtils {

namespace {

using rpc::TBranch;
using rpc::THeight;

/// A root projects back within this many pixels.
constexpr double kLargestMiss = 1e-6;
/// A root that misses by more than this is worth another step, pixels.
constexpr double kWorthAStep = 1e-7;
/// Linearisations of a damped walk that only shows how near a point without an answer comes to one.
constexpr int kLastTry = 25;

double Miss(const TRPCCoordsDataItem& item, double lat, double lon, double h) {
  double line, sample;
  item.model->CalculateLineSample(lat, lon, h, &line, &sample, nullptr, nullptr);
  return PlaneLength(item.line - line, item.sample - sample);
}

/// Puts another point in the place of a worse one.
void Improve(const TRPCCoordsDataItem& item, double lat, double lon, TGroundMethod method, TGroundSolution* solution) {
  const double miss = Miss(item, lat, lon, solution->h);
  if (!(miss < solution->residual) && std::isfinite(solution->residual)) return;
  solution->lat = lat;
  solution->lon = lon;
  solution->residual = miss;
  solution->method = method;
}

/// Gauss-Newton steps through the virtual projection, kept while they come nearer.
void Polish(const TRPCCoordsDataItem& item, TGroundMethod method, TGroundSolution* solution) {
  constexpr int kMostSteps = 3;
  for (int i = 0; i < kMostSteps && solution->residual > kWorthAStep; ++i) {
    const double ground[3] = {solution->lat, solution->lon, solution->h};
    rpc::TLinearized<THeight::Known> here;
    rpc::Linearize<THeight::Known>({&item, 1, {solution->h}}, ground, &here);
    double step[2];
    double lowestPivot;
    rpc::SolveCholesky(here.equations, step, lowestPivot);
    ++solution->status.iterations;
    const double before = solution->residual;
    if (lowestPivot <= rpc::kSmallestPivot) return;
    Improve(item, ground[0] + step[0], ground[1] + step[1], method, solution);
    if (!(solution->residual < before)) return;
  }
}

bool IsRoot(const TGroundSolution& solution) { return solution.residual <= kLargestMiss; }

/// Follows the ground point from the model's centre. \return whether it was found; `solution` then holds it.
bool FollowFromCenter(const TBranch& branch, const TRPCCoordsDataItem& item, TGroundSolution* solution) {
  rpc::TBranchNode end;
  const bool arrived = branch.Follow(item.line, item.sample, solution->h, &end, &solution->status.iterations);
  const TRPC& model = *item.model;
  TGroundSolution followed = *solution;
  followed.residual = HUGE_VAL;
  Improve(item, model.GetLatitudeNormalization()->Normalized2Initial(end.ground[0]),
          model.GetLongitudeNormalization()->Normalized2Initial(end.ground[1]), TGroundMethod::Followed, &followed);
  if (arrived) Polish(item, TGroundMethod::Followed, &followed);
  solution->status.iterations = followed.status.iterations;
  if (arrived && IsRoot(followed)) {
    // The same point found twice: the one that came first stays, whatever way its last digits went.
    const auto same = [](double a, double b, double scale) { return std::fabs(a - b) <= std::fabs(1e-6 * scale); };
    if (!IsRoot(*solution) || !same(followed.lat, solution->lat, branch.Record().latScale) ||
        !same(followed.lon, solution->lon, branch.Record().longScale)) {
      *solution = followed;
    }
    return true;
  }
  if (!IsRoot(*solution)) Improve(item, followed.lat, followed.lon, TGroundMethod::Followed, solution);
  return false;
}

/// Whether a root that could not be followed has the centre's signs nevertheless, all the straight way to it.
bool IsOnBranch(const TBranch& branch, TGroundSolution* solution) {
  double ground[3];
  branch.Normalize(solution->lat, solution->lon, solution->h, ground);
  return branch.IsStraightWayFree(ground, &solution->status.iterations);
}

/// State of a point that is not known to be the only one, or not known to be a root at all.
TGroundState Decide(const TBranch& branch, const TRPCCoordsDataItem& item, TGroundSolution* solution) {
  if (!std::isfinite(item.line + item.sample + solution->h)) return TGroundState::NotConverged;
  if (FollowFromCenter(branch, item, solution)) return TGroundState::Converged;
  if (!IsRoot(*solution)) {
    double ground[3] = {solution->lat, solution->lon, solution->h};
    rpc::WalkDamped<THeight::Known>({&item, 1, {solution->h}}, ground, &solution->status.iterations, kLastTry);
    Improve(item, ground[0], ground[1], TGroundMethod::Damped, solution);
    if (!IsRoot(*solution)) return TGroundState::NotConverged;
  }
  return IsOnBranch(branch, solution) ? TGroundState::Converged : TGroundState::OtherBranch;
}

/// Completes a solution of which point and residual are known.
void Complete(const TBranch& branch, const TRPCCoordsDataItem& item, bool onlyOne, TGroundSolution* solution) {
  solution->status.state = onlyOne ? TGroundState::Converged : Decide(branch, item, solution);
  if (solution->status.state == TGroundState::Converged && rpc::IsFarOut(branch, item, *solution)) {
    solution->status.state = TGroundState::FarOut;
  }
  rpc::SetFlags(item, solution);
}

/// Points of a model whose projection is that of its record.
class TPlainSolver {
 public:
  explicit TPlainSolver(const TRPC& model) : model_(model), flags_(model) {}

  /// At most `kLaneBlock` points.
  void Solve(std::size_t count, const double* line, const double* sample, const double* h,
             TGroundSolution* solutions) const {
    rpc::TNewtonBlock block;
    rpc::SolveNewtonBlock(model_.GetPrepared(), count, line, sample, h, &block);
    for (std::size_t i = 0; i < count; ++i) {
      Finish({&model_, line[i], sample[i]}, h[i],
             {block.lat[i], block.lon[i], block.residual[i], block.marks[i], block.evaluations[i]}, solutions + i);
    }
  }

  void Solve(double line, double sample, double h, TGroundSolution* solution) const {
    Finish({&model_, line, sample}, h, rpc::SolveNewtonPoint(model_.GetPrepared(), line, sample, h), solution);
  }

 private:
  [[gnu::always_inline]] void Finish(const TRPCCoordsDataItem& item, double h, const rpc::TNewtonPoint& point,
                                     TGroundSolution* solution) const {
    constexpr std::int64_t kOnlyOne = rpc::kProven | rpc::kFree;
    const bool onlyOne = (point.marks & kOnlyOne) == kOnlyOne && rpc::IsOnGlobe(point.lat, point.lon);
    solution->lat = point.lat;
    solution->lon = point.lon;
    solution->h = h;
    solution->status = {TGroundState::Converged, static_cast<std::int32_t>(point.evaluations)};
    solution->method = TGroundMethod::Iteration;
    solution->residual = point.residual;
    solution->outsideMargin = false;
    if (onlyOne && (point.marks & rpc::kSure) != 0) {
      flags_.Set((point.marks & rpc::kInImage) != 0, (point.marks & rpc::kInHeight) != 0,
                 (point.marks & rpc::kInGround) != 0, item, solution);
    } else {
      FinishSlowly(item, (point.marks & rpc::kProven) != 0, onlyOne, solution);
    }
  }

  [[gnu::noinline]] void FinishSlowly(const TRPCCoordsDataItem& item, bool proven, bool onlyOne,
                                      TGroundSolution* solution) const {
    solution->outsideImage = solution->outsideHeight = solution->outsideGround = false;
    if (!proven) solution->residual = Miss(item, solution->lat, solution->lon, solution->h);
    Complete(TBranch(model_), item, onlyOne, solution);
  }

  const TRPC& model_;
  const rpc::TImageFlags flags_;
};

/// Points of a model with a projection of its own.
class TVirtualSolver {
 public:
  explicit TVirtualSolver(const TRPC& model) : model_(model), branch_(model) {}

  void Solve(std::size_t count, const double* line, const double* sample, const double* h,
             TGroundSolution* solutions) const {
    double lat[rpc::kLaneBlock], lon[rpc::kLaneBlock];
    TGroundStatus status[rpc::kLaneBlock];
    model_.CalculateLatLonArray(count, line, sample, h, lat, lon, status);
    for (std::size_t i = 0; i < count; ++i) {
      TGroundSolution& solution = solutions[i];
      const TRPCCoordsDataItem item = {&model_, line[i], sample[i]};
      solution = {};
      solution.lat = lat[i];
      solution.lon = lon[i];
      solution.h = h[i];
      solution.status = status[i];
      solution.residual = Miss(item, lat[i], lon[i], h[i]);
      if (solution.status.state == TGroundState::NoApproximation) {
        rpc::SetFlags(item, &solution);
        continue;
      }
      Polish(item, TGroundMethod::Polished, &solution);
      Complete(branch_, item, IsRoot(solution) && IsOnlyOne(solution), &solution);
    }
  }

 private:
  /// In the free box of the record, and where the correction has not turned the image over.
  bool IsOnlyOne(const TGroundSolution& solution) const {
    double ground[3];
    branch_.Normalize(solution.lat, solution.lon, solution.h, ground);
    return branch_.IsFree(ground) && branch_.IsUnfolded(branch_.Probe(ground));
  }

  const TRPC& model_;
  const TBranch branch_;
};

template <class Solver>
std::size_t SolveBlocks(const Solver& solver, std::size_t count, const double* line, const double* sample,
                        const double* h, TGroundSolution* solutions) {
  std::atomic<std::size_t> converged{0};
  rpc::ForEachBlock(count, [&](std::size_t first, std::size_t last) {
    std::size_t found = 0;
    for (std::size_t start = first; start < last; start += rpc::kLaneBlock) {
      const std::size_t part = std::min(rpc::kLaneBlock, last - start);
      solver.Solve(part, line + start, sample + start, h + start, solutions + start);
      for (std::size_t i = start; i < start + part; ++i) found += solutions[i] ? 1 : 0;
    }
    converged += found;
  });
  return converged;
}

}  // namespace

TGroundSolution SolveLatLon(const TRPC& model, double line, double sample, double h) {
  TGroundSolution solution;
  if (typeid(model) == typeid(TRPC)) {
    TPlainSolver(model).Solve(line, sample, h, &solution);
  } else {
    SolveLatLonArray(model, 1, &line, &sample, &h, &solution);
  }
  return solution;
}

std::size_t SolveLatLonArray(const TRPC& model, std::size_t count, const double* line, const double* sample,
                             const double* h, TGroundSolution* solutions) {
  if (typeid(model) == typeid(TRPC)) {
    return SolveBlocks(TPlainSolver(model), count, line, sample, h, solutions);
  }
  model.EnsureApproximation();  // before threads share it
  return SolveBlocks(TVirtualSolver(model), count, line, sample, h, solutions);
}

}  // namespace SatCommonUtils
