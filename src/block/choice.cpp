// The F test of nested models (N. Draper and H. Smith, "Applied Regression Analysis", 1998, chapter 6). With the
// redundancy of a block the F distribution is the chi-square one.

#include "block/choice.h"

#include <algorithm>

#include "block/chi_square.h"
#include "block/report.h"

namespace SatCommonUtils::block {
namespace {

/// A correction that is chosen has so many equations for each of its parameters.
constexpr double kEquationsPerParameter = 2.0;

constexpr TBlockCorrection kKinds[] = {TBlockCorrection::Shift, TBlockCorrection::Drift, TBlockCorrection::Affine};

/// What a kind leaves.
struct TLeft {
  TBlockCorrection kind = TBlockCorrection::Shift;
  double square = 0.0;  ///< Weighted square sum.
  std::int64_t redundancy = 0;
};

/// The richer kind explains more than chance would.
bool Improves(const TLeft& simple, const TLeft& rich, double significance) {
  const auto more = static_cast<int>(simple.redundancy - rich.redundancy);
  if (more <= 0 || rich.redundancy <= 0) return false;
  const double variance = rich.square / static_cast<double>(rich.redundancy);
  return simple.square - rich.square > variance * ChiSquareLimit(significance, more);
}

void SetKinds(TBlockCorrection kind, TNetwork* network, TEquations* equations) {
  for (std::size_t g = 0; g < network->groups.size(); ++g) {
    TGroup& group = network->groups[g];
    if (!group.isOpen) continue;
    group.kind = std::min(kind, group.richest);
    const std::array<bool, 3> terms = TermsOf(group.kind);
    for (int c = 0; c < 6; ++c) {
      if (!terms[c % 3]) equations->unknowns.correction[g][c] = 0.0;
    }
  }
}

}  // namespace

void OpenKinds(TNetwork* network) {
  const std::vector<double> equations = network->Equations();
  for (std::size_t g = 0; g < network->groups.size(); ++g) {
    TGroup& group = network->groups[g];
    if (!group.isOpen) continue;
    group.richest = TBlockCorrection::Shift;
    for (const TBlockCorrection kind : kKinds) {
      if (equations[g] >= kEquationsPerParameter * ParametersOf(kind)) group.richest = kind;
    }
    group.kind = group.richest;
  }
}

TStepsState ChooseKinds(TNetwork* network, TLeastSquares* solution) {
  const bool open =
      std::any_of(network->groups.begin(), network->groups.end(), [](const TGroup& group) { return group.isOpen; });
  if (!open) return TStepsState::Converged;
  std::vector<TLeft> left;
  const auto solve = [&](TBlockCorrection kind) {
    SetKinds(kind, network, &solution->equations);
    solution->ForgetFactor();
    return solution->Solve(network->options.maxIterations);
  };
  TStepsState state = TStepsState::Converged;
  for (const TBlockCorrection kind : kKinds) {
    state = solve(kind);
    if (state == TStepsState::Singular || state == TStepsState::Cancelled) return state;
    const TFit fit = FitOf(*network, solution->equations);
    left.push_back({kind, fit.sigma0 * fit.sigma0 * static_cast<double>(fit.redundancy), fit.redundancy});
  }
  for (std::size_t n = 0; n < left.size(); ++n) {
    const bool improved =
        std::any_of(left.begin() + static_cast<std::ptrdiff_t>(n) + 1, left.end(),
                    [&](const TLeft& rich) { return Improves(left[n], rich, network->options.significance); });
    if (!improved) return n + 1 == left.size() ? state : solve(left[n].kind);
  }
  return state;
}

}  // namespace SatCommonUtils::block
