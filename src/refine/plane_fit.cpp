// Gauss-Newton on the distances in the target plane; for shifts and affine maps its first step is the solution.

#include "refine/plane_fit.h"

#include <algorithm>
#include <cmath>
#include <tuple>

#include "linalg/linear_systems.h"
#include "linalg/vector.h"
#include "refine/refinement_kinds.h"

namespace SatCommonUtils::refine {
namespace {

const std::size_t* ParametersOf(TRPCRefinementTransformType type) { return FindRefinementKind(type)->parameters; }

double Denominator(const TPlaneMap& map, double x, double y) { return map[6] * x + map[7] * y + 1.0; }

/// The normal equations at a map.
struct TNormalEquations {
  TMatrix matrix;
  TVector free_term;
};

/// Sums over the ties one by one: a million of them take no memory.
TNormalEquations FormNormalEquations(TRPCRefinementTransformType type, const std::vector<TPlaneTie>& ties,
                                     const std::vector<std::size_t>& chosen, const TPlaneMap& map) {
  constexpr std::size_t kMost = std::tuple_size<TPlaneMap>::value;
  const std::size_t unknowns = FreeParameters(type);
  const std::size_t* parameters = ParametersOf(type);
  double sums[kMost][kMost + 1] = {};
  for (const std::size_t i : chosen) {
    const TPlaneTie& tie = ties[i];
    const TPlaneEquations equations = EquationsAt(map, tie);
    const double weight = tie.root_weight * tie.root_weight;
    for (std::size_t axis = 0; axis < 2; ++axis) {
      double row[kMost + 1];
      for (std::size_t k = 0; k < unknowns; ++k) row[k] = equations.design[axis][parameters[k]];
      row[unknowns] = equations.residual[axis];
      for (std::size_t k = 0; k < unknowns; ++k) {
        const double weighted = weight * row[k];
        for (std::size_t j = k; j <= unknowns; ++j) sums[k][j] += weighted * row[j];
      }
    }
  }
  TNormalEquations normal{TMatrix(unknowns, unknowns), TVector(unknowns)};
  for (std::size_t k = 0; k < unknowns; ++k) {
    for (std::size_t j = 0; j < unknowns; ++j) normal.matrix[k][j] = k <= j ? sums[k][j] : sums[j][k];
    normal.free_term[k] = sums[k][unknowns];
  }
  return normal;
}

/// True when no chosen tie lies near the line that the map sends to infinity.
bool IsTame(const TPlaneMap& map, const std::vector<TPlaneTie>& ties, const std::vector<std::size_t>& chosen) {
  constexpr double kLeastDenominator = 0.01;
  return std::all_of(map.begin(), map.end(), [](double a) { return std::isfinite(a); }) &&
         std::all_of(chosen.begin(), chosen.end(), [&](std::size_t i) {
           return Denominator(map, ties[i].from[0], ties[i].from[1]) > kLeastDenominator;
         });
}

}  // namespace

TPlaneEquations EquationsAt(const TPlaneMap& map, const TPlaneTie& tie) {
  const double x = tie.from[0], y = tie.from[1];
  const double w = Denominator(map, x, y);
  const double mapped[2] = {(map[0] * x + map[1] * y + map[2]) / w, (map[3] * x + map[4] * y + map[5]) / w};
  TPlaneEquations equations = {};
  for (std::size_t axis = 0; axis < 2; ++axis) {
    double* row = equations.design[axis];
    row[3 * axis] = x / w;
    row[3 * axis + 1] = y / w;
    row[3 * axis + 2] = 1.0 / w;
    row[6] = -mapped[axis] * x / w;
    row[7] = -mapped[axis] * y / w;
    equations.residual[axis] = tie.to[axis] - mapped[axis];
  }
  return equations;
}

double SquaredResidual(const TPlaneMap& map, const TPlaneTie& tie) {
  const double x = tie.from[0], y = tie.from[1];
  const double w = Denominator(map, x, y);
  const double dx = (tie.to[0] - (map[0] * x + map[1] * y + map[2]) / w) * tie.root_weight;
  const double dy = (tie.to[1] - (map[3] * x + map[4] * y + map[5]) / w) * tie.root_weight;
  return dx * dx + dy * dy;
}

double TPlaneFit::VarianceAt(TRPCRefinementTransformType type, double x, double y) const {
  const std::size_t* parameters = ParametersOf(type);
  const std::size_t unknowns = FreeParameters(type);
  const TPlaneEquations equations = EquationsAt(map, {{x, y}, {0.0, 0.0}, 1.0});
  double sum = 0.0;
  for (const auto& row : equations.design) {
    for (std::size_t i = 0; i < unknowns; ++i) {
      for (std::size_t j = 0; j < unknowns; ++j) {
        sum += row[parameters[i]] * cofactors[i * unknowns + j] * row[parameters[j]];
      }
    }
  }
  return 0.5 * sum;
}

double TPlaneFit::Bilinear(TRPCRefinementTransformType type, const double* left, const double* right) const {
  const std::size_t unknowns = FreeParameters(type);
  double sum = 0.0;
  for (std::size_t i = 0; i < unknowns; ++i) {
    double inner = 0.0;
    for (std::size_t j = 0; j < unknowns; ++j) inner += cofactors[i * unknowns + j] * right[j];
    sum += left[i] * inner;
  }
  return sum;
}

std::size_t FreeParameters(TRPCRefinementTransformType type) { return FindRefinementKind(type)->parameterCount; }

bool FitPlaneMap(TRPCRefinementTransformType type, const std::vector<TPlaneTie>& ties,
                 const std::vector<std::size_t>& chosen, TPlaneMap* map) {
  constexpr int kMostSteps = 20;
  constexpr double kAtRest = 1e-13;  // coordinates are near 1
  TPlaneMap current = kIdentityMap;
  TVector step;
  for (int round = 0; round < kMostSteps; ++round) {
    const TNormalEquations normal = FormNormalEquations(type, ties, chosen, current);
    if (!Cholesky(normal.matrix, normal.free_term, step)) return false;
    for (std::size_t k = 0; k < FreeParameters(type); ++k) current[ParametersOf(type)[k]] += step(k);
    if (!IsTame(current, ties, chosen)) return false;
    if (step.Norma1() < kAtRest) break;
  }
  *map = current;
  return true;
}

bool FitPlaneMap(TRPCRefinementTransformType type, const std::vector<TPlaneTie>& ties,
                 const std::vector<std::size_t>& chosen, TPlaneFit* fit) {
  if (!FitPlaneMap(type, ties, chosen, &fit->map)) return false;
  const TMatrix inverse = ~FormNormalEquations(type, ties, chosen, fit->map).matrix;
  const std::size_t unknowns = FreeParameters(type);
  for (std::size_t i = 0; i < unknowns; ++i) {
    for (std::size_t j = 0; j < unknowns; ++j) fit->cofactors[i * unknowns + j] = inverse(i, j);
  }
  fit->sum_of_squares = 0.0;
  for (const std::size_t i : chosen) fit->sum_of_squares += SquaredResidual(fit->map, ties[i]);
  return fit->cofactors[0] > 0.0;
}

}  // namespace SatCommonUtils::refine
