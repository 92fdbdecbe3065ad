// Three rounds with ever finer sieves. Least squares with weights after P. Huber (P. Huber and E. Ronchetti, "Robust
// Statistics", 2009) bring the corrections near enough for the rays of each point to be judged by themselves
// (consensus.h); the corrections of the good rays are then the least-squares ones, and single measurements are tested
// against the whole block (snooping.h).

#include "block/robust.h"

#include <algorithm>
#include <cmath>

#include "block/choice.h"
#include "block/consensus.h"
#include "block/report.h"
#include "block/snooping.h"

namespace SatCommonUtils::block {
namespace {

/// Residuals count in full up to so many standard deviations: 95 % efficiency for good data.
constexpr double kHuber = 1.345;
constexpr int kHuberRounds = 3;
constexpr int kStepsOfRound = 2;
constexpr int kConsensusRounds = 10;
constexpr int kSnoopRounds = 8;
/// The share of points that are good for sure before any bad ray is known: of the points of six rays with 20 % bad
/// ones, a quarter has none.
constexpr double kGoodForSure = 0.2;
/// The spread has settled when it changes by less than this share.
constexpr double kSettled = 0.02;
/// Changes of more rays than this share are worth a new factor.
constexpr double kManyChanges = 0.05;
/// Changes of fewer than this share leave the rest to the last tests.
constexpr double kFewChanges = 0.005;
/// What may still move while states change, pixels.
constexpr double kRestOfSearch = 1e-3;
/// Measurements are not taken for better than this, pixels: data without noise.
constexpr double kNoiseFloor = 1e-3;

double TypicalSigma(const TNetwork& network) {
  if (network.rays.empty()) return 1.0;
  std::vector<double> sigmas;
  for (const TRay& ray : network.rays) sigmas.push_back(ray.sigma);
  const auto middle = sigmas.begin() + static_cast<std::ptrdiff_t>(sigmas.size() / 2);
  std::nth_element(sigmas.begin(), middle, sigmas.end());
  return *middle;
}

void TakeHuberWeights(const TNetwork& network, double spread, TEquations* equations) {
  for (std::size_t i = 0; i < network.rays.size(); ++i) {
    const double* const r = equations->rays[i].residual;
    const double length = std::hypot(r[0], r[1]) / (spread * network.rays[i].sigma);
    equations->weight[i] = length > kHuber ? kHuber / length : 1.0;
  }
}

/// The median length of the used rays' residuals in units of what it is for normal ones.
double MedianResidual(const TNetwork& network, const TEquations& equations) {
  constexpr double kMedianLength = 1.1774;  // of two normal coordinates
  std::vector<double> lengths;
  for (std::size_t i = 0; i < network.rays.size(); ++i) {
    if (!network.IsUsed(i) || network.pointState[network.pointOf[i]] != TBlockPointState::Used) continue;
    const double* const r = equations.rays[i].residual;
    lengths.push_back(std::hypot(r[0], r[1]) / network.rays[i].sigma);
  }
  if (lengths.empty()) return 1.0;
  const auto middle = lengths.begin() + static_cast<std::ptrdiff_t>(lengths.size() / 2);
  std::nth_element(lengths.begin(), middle, lengths.end());
  return *middle / kMedianLength;
}

bool IsLost(TStepsState state) { return state == TStepsState::Singular || state == TStepsState::Cancelled; }

/// One look at all rays and a solution of those that are left.
class TSearch {
 public:
  TSearch(TNetwork* network, TLeastSquares* solution)
      : network_(*network), solution_(*solution), floor_(kNoiseFloor / TypicalSigma(*network)) {}

  TStepsState Huber() {
    TStepsState state = solution_.Solve(kStepsOfRound);
    for (int round = 0; round < kHuberRounds && !IsLost(state); ++round) {
      const double spread = std::max(MedianResidual(network_, solution_.equations), floor_);
      TakeHuberWeights(network_, spread, &solution_.equations);
      solution_.ForgetFactor();
      state = solution_.Solve(kStepsOfRound);
    }
    std::fill(solution_.equations.weight.begin(), solution_.equations.weight.end(), 1.0);
    return state;
  }

  TStepsState Consensus() {
    TStepsState state = TStepsState::Converged;
    double before = 0.0;
    double share = kGoodForSure;
    for (int round = 0; round < kConsensusRounds; ++round) {
      const double spread = std::max(SpreadOf(network_, solution_.equations, share), floor_);
      const std::size_t changed = FindConsensus(spread, &network_, solution_.equations);
      state = SolveAgain(changed);
      if (IsLost(state)) return state;
      if (changed == 0 || (round > 0 && std::fabs(spread - before) < kSettled * spread && Few(changed))) break;
      before = spread;
      share = 0.5;
    }
    return state;
  }

  TStepsState Snoop() {
    const bool corrections = network_.options.covariance != TBlockCovariance::None;
    TStepsState state = TStepsState::Converged;
    bool changedSince = true;
    for (int round = 0; round < kSnoopRounds && !IsLost(state); ++round) {
      // The corrections' share of a residual's variance is small, and hardly changes with a few rays.
      if (round == 0 && !solution_.MakePrecision(corrections)) return TStepsState::Singular;
      if (round > 0) solution_.EliminatePoints();
      changedSince = changedSince && round > 0;
      const double sigma0 = std::max(FitOf(network_, solution_.equations).sigma0, floor_);
      const std::size_t changed = block::Snoop(sigma0, corrections, &network_, &solution_);
      if (changed == 0) break;
      changedSince = true;
      state = SolveAgain(changed);
    }
    if (IsLost(state)) return state;
    // The search was content with less than the result has to be.
    const int before = solution_.iterations;
    state = solution_.Solve(network_.options.maxIterations);
    if (IsLost(state)) return state;
    changedSince = changedSince || solution_.iterations > before + 1;
    if (changedSince && !solution_.MakePrecision(corrections)) return TStepsState::Singular;
    if (!changedSince) solution_.EliminatePoints();
    return state;
  }

 private:
  bool Few(std::size_t changed) const {
    return static_cast<double>(changed) <= kFewChanges * static_cast<double>(network_.rays.size());
  }
  bool Many(std::size_t changed) const {
    return static_cast<double>(changed) > kManyChanges * static_cast<double>(network_.rays.size());
  }

  TStepsState SolveAgain(std::size_t changed) {
    const bool someone = network_.LeaveOut(TBlockPointState::LostMeasurements);
    if (someone || Many(changed)) solution_.ForgetFactor();
    return solution_.Solve(network_.options.maxIterations, kRestOfSearch);
  }

  TNetwork& network_;
  TLeastSquares& solution_;
  double floor_;
};

}  // namespace

TStepsState SolveRobustly(TNetwork* network, TLeastSquares* solution) {
  TSearch search(network, solution);
  TStepsState state = search.Huber();
  if (!IsLost(state)) state = search.Consensus();
  if (!IsLost(state)) state = ChooseKinds(network, solution);
  if (!IsLost(state)) state = search.Snoop();
  return state;
}

}  // namespace SatCommonUtils::block
