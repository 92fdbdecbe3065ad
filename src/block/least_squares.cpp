// Gauss-Newton with Levenberg's damping where a step fails (K. Levenberg 1944, doi:10.1090/qam/10666; D. Marquardt
// 1963, doi:10.1137/0111030). Rational polynomial models are nearly linear over the errors that they have, so that one
// factor mostly serves all steps (a chord method).

#include "block/least_squares.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "block/parallel.h"

namespace SatCommonUtils::block {
namespace {

constexpr std::size_t kPointRun = 1024;
/// A step that is shorter than the one before by less than this factor wants a new factor.
constexpr double kSlow = 0.2;
/// Rounding may raise the cost by this share.
constexpr double kCostSlack = 1e-10;
constexpr double kFirstDamping = 1e-4;
constexpr double kMoreDamping = 10.0;
constexpr double kLargestDamping = 1e8;

}  // namespace

TLeastSquares::TLeastSquares(const TNetwork& network, int parameters, TProgress* progress)
    : equations(network),
      network_(network),
      progress_(progress),
      system_(TReducedSystem::Create(network, parameters)) {}

double TLeastSquares::TakeStep() {
  const std::vector<std::array<double, 6>> step = system_->Solve(equations);
  const std::size_t points = network_.PointCount();
  std::vector<double> longest((points + kPointRun - 1) / kPointRun, 0.0);
  ForRuns(points, kPointRun, [&](std::size_t first, std::size_t last) {
    double& far = longest[first / kPointRun];
    for (std::size_t j = first; j < last; ++j) {
      if (!system_->Point(j).used) continue;
      const std::array<double, 3> move = system_->PointStep(j, step);
      for (std::size_t i = network_.first[j]; i < network_.first[j + 1]; ++i) {
        if (equations.Weight(i) == 0.0) continue;
        const double* const e = equations.rays[i].e;
        far = std::max(far, std::fabs(e[0] * move[0] + e[1] * move[1] + e[2] * move[2]));
        far = std::max(far, std::fabs(e[3] * move[0] + e[4] * move[1] + e[5] * move[2]));
      }
      equations.Move(j, move.data());
    }
  });
  double far = 0.0;
  for (const double value : longest) far = std::max(far, value);
  for (std::size_t g = 0; g < step.size(); ++g) {
    for (int c = 0; c < 6; ++c) {
      equations.unknowns.correction[g][c] += step[g][c];
      far = std::isfinite(step[g][c]) ? std::max(far, std::fabs(step[g][c])) : step[g][c];
    }
  }
  ++iterations;
  return far;
}

TStepsState TLeastSquares::Solve(int steps, double rest) {
  double damping = 0.0;
  equations.Linearize();
  double cost = equations.Cost();
  double before = std::numeric_limits<double>::infinity();
  for (int taken = 0; taken < steps; ++taken) {
    if (!progress_->Advance()) return TStepsState::Cancelled;
    system_->EliminatePoints(equations, damping);
    if (!hasFactor_) {
      ++factorizations;
      hasFactor_ = system_->Factor(equations, damping);
      if (!hasFactor_) {
        damping = std::max(kFirstDamping, damping * kMoreDamping);
        if (damping > kLargestDamping) return TStepsState::Singular;
        continue;
      }
    }
    const TUnknowns saved = equations.unknowns;
    const double far = TakeStep();
    equations.Linearize();
    const double reached = equations.Cost();
    if (!(reached <= cost * (1.0 + kCostSlack) + std::numeric_limits<double>::min())) {
      equations.unknowns = saved;
      equations.Linearize();
      // At rest rounding decides; else damp more, with a factor of the place.
      if (far <= rest) return TStepsState::Converged;
      damping = std::max(kFirstDamping, damping * kMoreDamping);
      if (damping > kLargestDamping) return TStepsState::NotConverged;
      hasFactor_ = false;
      continue;
    }
    cost = reached;
    if (far <= rest && damping == 0.0) return TStepsState::Converged;
    if (far > kSlow * before || damping > 0.0) hasFactor_ = false;
    damping = damping > kFirstDamping ? damping / kMoreDamping : 0.0;
    before = far;
  }
  return TStepsState::NotConverged;
}

bool TLeastSquares::MakePrecision(bool corrections) {
  system_->EliminatePoints(equations, 0.0);
  if (!corrections) return true;
  ++factorizations;
  hasFactor_ = system_->Factor(equations, 0.0);
  if (!hasFactor_) return false;
  system_->Invert();
  return true;
}

}  // namespace SatCommonUtils::block
