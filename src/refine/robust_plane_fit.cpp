// From the start residuals are tested in the way of outlier tests in geodesy ("data snooping"), a tie inside against a
// variance estimated without it.

#include "refine/robust_plane_fit.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

#include "refine/estimation/bad_points.h"
#include "refine/estimation/portable_math.h"
#include "refine/refinement_fit.h"

namespace SatCommonUtils::refine {
namespace {

using TIndices = std::vector<std::size_t>;

/// Median of the squared length of a plane vector of two standard normal coordinates.
constexpr double kMedianOfSquares = 1.3862943611198906;  // 2 ln 2

/// The ties that lie near the start, in units of the spread that its median says.
TIndices NearStart(TRPCRefinementTransformType type, const std::vector<TPlaneTie>& ties, double noise,
                   const TPlaneMap& start, double median) {
  constexpr double level = 9.210340371976184;  // squared length that one good tie in a hundred exceeds: -2 ln 0.01
  const double spare = static_cast<double>(ties.size() - LeastRefinementPoints(type));
  const double small_sample = 1.0 + 5.0 / spare;
  const double variance = median / kMedianOfSquares * small_sample * small_sample + noise * noise;
  TIndices near;
  near.reserve(ties.size());
  for (std::size_t i = 0; i < ties.size(); ++i) {
    if (SquaredResidual<true>(start, ties[i]) <= std::max(level * variance, median)) near.push_back(i);
  }
  return near;
}

/// The squared residual of every tie in units of its variance: F with 2 and some degrees of freedom is half of it. For
/// a tie inside these are those of the others, and it is 0 when they tell nothing.
template <class Freed>
void TestTies(const std::vector<TPlaneTie>& ties, const TRobustPlaneFit& current, double freedom, double noise,
              std::vector<double>* squares) {
  constexpr double kUntestable = 1e-6;  // share of its own residual that a tie has to leave visible
  const double variance_outside = current.variance + noise * noise;
  auto inside = current.inside.cbegin();
  for (std::size_t i = 0; i < ties.size(); ++i) {
    const TPlaneTie& tie = ties[i];
    const double square = SquaredResidual<Freed::kPerspective>(current.fit.map, tie);
    const double variance_at = Freed::VarianceAt(current.fit, tie.from[0], tie.from[1]);
    const double leverage = tie.root_weight * tie.root_weight * variance_at;
    if (inside == current.inside.cend() || *inside != i) {
      (*squares)[i] = square / ((1.0 + leverage) * variance_outside);
      continue;
    }
    ++inside;
    const double visible = 1.0 - leverage;
    const bool tells = freedom > 2.0 && !(visible < kUntestable);
    const double variance = std::max(0.0, current.fit.sum_of_squares - square / visible) / (freedom - 2.0);
    (*squares)[i] = tells ? square / (visible * (variance + noise * noise)) : 0.0;
  }
}

}  // namespace

std::vector<std::size_t> AllPlaces(std::size_t count) {
  std::vector<std::size_t> all(count);
  std::iota(all.begin(), all.end(), std::size_t{0});
  return all;
}

bool FitRobustly(TRPCRefinementTransformType type, const std::vector<TPlaneTie>& ties, const TPlaneStarts& starts,
                 double noise, TRobustPlaneFit* result) {
  constexpr int kMostRounds = 30;
  result->inside = AllPlaces(ties.size());
  std::vector<double>& squares = result->standardized;
  squares.assign(ties.size(), 0.0);
  if (ties.size() > LeastRefinementPoints(type)) {
    TPlaneMap start;
    double median;
    if (!starts.Find(type, noise, &start, &median)) return false;
    result->inside = NearStart(type, ties, noise, start, median);
  }
  for (int round = 0; round < kMostRounds; ++round) {
    if (!FitPlaneMap(type, ties, result->inside, &result->fit)) return false;
    const double freedom = 2.0 * static_cast<double>(result->inside.size()) - static_cast<double>(FreeParameters(type));
    result->variance = freedom > 0.0 ? result->fit.sum_of_squares / freedom : 0.0;
    WithFreed(type, [&](auto freed) { TestTies<decltype(freed)>(ties, *result, freedom, noise, &squares); });
    // What a good tie hardly ever gets to.
    const double limit_inside = estimation::SquareBeyondChance(ties.size(), freedom - 2.0);
    const double limit_outside = estimation::SquareBeyondChance(ties.size(), freedom);
    TIndices next;
    next.reserve(ties.size());
    auto inside = result->inside.cbegin();
    for (std::size_t i = 0; i < ties.size(); ++i) {
      const bool is_inside = inside != result->inside.cend() && *inside == i;
      if (is_inside) ++inside;
      // Without redundancy nobody leaves and nobody enters.
      const bool stays = is_inside ? !(squares[i] > limit_inside) : freedom > 0.0 && !(squares[i] > limit_outside);
      if (stays) next.push_back(i);
    }
    if (next == result->inside || next.size() < LeastRefinementPoints(type)) break;
    if (round + 1 < kMostRounds) result->inside = std::move(next);
  }
  for (double& square : squares) square = std::sqrt(square);
  return true;
}

double FDistributionTail(std::size_t numerator, std::size_t denominator, double value) {
  // The regularized incomplete beta function I_t(a, b) with whole b is a finite sum.
  const double a = 0.5 * static_cast<double>(denominator);
  const double t = 1.0 / (1.0 + static_cast<double>(numerator) * value / static_cast<double>(denominator));
  double term = estimation::PortablePow(t, a);
  double sum = term;
  for (std::size_t k = 1; k < numerator / 2; ++k) {
    term *= (a + static_cast<double>(k) - 1.0) / static_cast<double>(k) * (1.0 - t);
    sum += term;
  }
  return sum;
}

}  // namespace SatCommonUtils::refine
