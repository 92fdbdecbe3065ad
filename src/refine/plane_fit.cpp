// Gauss-Newton on the distances in the target plane; for shifts and affine maps its first step is the solution.

#include "refine/plane_fit.h"

#include <algorithm>
#include <cmath>
#include <tuple>

#include "linalg/raw_arrays.h"
#include "refine/refinement_kinds.h"

namespace SatCommonUtils::refine {
namespace {

constexpr std::size_t kMost = std::tuple_size<TPlaneMap>::value;

/// The normal equations at a map: the upper triangle, with the right side behind it.
struct TNormalEquations {
  std::size_t unknowns;
  double sums[kMost][kMost + 1] = {};
};

/// Products of the terms of the equations, by what they have in common: the two coordinates of the target have the same
/// derivatives, (x, y, 1) / w, each by its own row of the map.
struct TSums {
  double own[3][3] = {};                ///< upper triangle
  double mixed[2][3][2] = {};           ///< of each row with the perspective
  double perspective[2][2] = {};        ///< upper triangle
  double right[2][3] = {};              ///< of each row with its residuals
  double right_of_perspective[2] = {};  ///< of both rows
};

/// Sums over the ties one by one, in their order: a million of them take no memory. Without a perspective the matrix
/// does not depend on the map. \param right_only leaves out all but the right side.
template <class Freed>
TSums SumsOver(const std::vector<TPlaneTie>& ties, const std::vector<std::size_t>& chosen, const TPlaneMap& map,
               bool right_only) {
  constexpr std::size_t kFirst = Freed::kFirst;
  TSums sums;
  for (const std::size_t i : chosen) {
    const TPlaneTie& tie = ties[i];
    const TPlaneRow<Freed::kPerspective> row(map, tie.from[0], tie.from[1]);
    const double weight = tie.root_weight * tie.root_weight;
    double weighted[3];
    for (std::size_t k = kFirst; k < 3; ++k) weighted[k] = weight * row.own[k];
    if (!right_only) {
      for (std::size_t k = kFirst; k < 3; ++k) {
        for (std::size_t j = k; j < 3; ++j) sums.own[k][j] += weighted[k] * row.own[j];
      }
    }
    for (std::size_t axis = 0; axis < 2; ++axis) {
      const double residual = tie.to[axis] - row.mapped[axis];
      for (std::size_t k = kFirst; k < 3; ++k) sums.right[axis][k] += weighted[k] * residual;
      if constexpr (Freed::kPerspective) {
        const double steps[2] = {row.ByPerspective(axis, 0), row.ByPerspective(axis, 1)};
        for (std::size_t k = 0; k < 3; ++k) {
          for (std::size_t j = 0; j < 2; ++j) sums.mixed[axis][k][j] += weighted[k] * steps[j];
        }
        for (std::size_t k = 0; k < 2; ++k) {
          const double weighted_step = weight * steps[k];
          for (std::size_t j = k; j < 2; ++j) sums.perspective[k][j] += weighted_step * steps[j];
          sums.right_of_perspective[k] += weighted_step * residual;
        }
      }
    }
  }
  return sums;
}

/// The normal equations at a map. \param right_only the matrix stands already: that of another map without a
/// perspective.
template <class Freed>
void FormNormalEquations(Freed, const std::vector<TPlaneTie>& ties, const std::vector<std::size_t>& chosen,
                         const TPlaneMap& map, bool right_only, TNormalEquations* normal) {
  const TSums sums = SumsOver<Freed>(ties, chosen, map, right_only);
  const std::size_t n = normal->unknowns;
  const auto place = Freed::Place;
  for (std::size_t axis = 0; axis < 2; ++axis) {
    for (std::size_t k = Freed::kFirst; k < 3; ++k) {
      double* const row = normal->sums[place(axis, k)];
      row[n] = sums.right[axis][k];
      if (right_only) continue;
      for (std::size_t j = k; j < 3; ++j) row[place(axis, j)] = sums.own[k][j];
      if constexpr (Freed::kPerspective) {
        for (std::size_t j = 0; j < 2; ++j) row[place(axis, 3 + j)] = sums.mixed[axis][k][j];
      }
    }
  }
  if constexpr (Freed::kPerspective) {
    for (std::size_t k = 0; k < 2; ++k) {
      double* const row = normal->sums[place(0, 3 + k)];
      row[n] = sums.right_of_perspective[k];
      for (std::size_t j = k; j < 2; ++j) row[place(0, 3 + j)] = sums.perspective[k][j];
    }
  }
}

/// Solves normal equations by Cholesky, with the bits of `Cholesky` of linear_systems.h, but on the stack: a start is
/// sought among hundreds of small systems. \return false when they are not positive definite.
bool Solve(const TNormalEquations& normal, double* x) {
  const std::size_t n = normal.unknowns;
  double u[kMost][kMost];
  double y[kMost];
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t j = i; j < n; ++j) {
      double sum = 0.0;
      for (std::size_t k = 0; k < i; ++k) sum += u[k][i] * u[k][j];
      const double left = normal.sums[i][j] - sum;
      if (j == i && left <= kSmallestCholeskyPivot) return false;
      u[i][j] = j == i ? std::sqrt(left) : left / u[i][i];
    }
  }
  for (std::size_t i = 0; i < n; ++i) {
    double sum = 0.0;
    for (std::size_t k = 0; k < i; ++k) sum += u[k][i] * y[k];
    y[i] = (normal.sums[i][n] - sum) / u[i][i];
  }
  for (std::size_t i = n; i-- > 0;) {
    double sum = 0.0;
    for (std::size_t k = i + 1; k < n; ++k) sum += u[i][k] * x[k];
    x[i] = (y[i] - sum) / u[i][i];
  }
  return true;
}

/// The inverse of the normal matrix.
TMatrix InverseOf(const TNormalEquations& normal) {
  TMatrix matrix(normal.unknowns, normal.unknowns);
  for (std::size_t k = 0; k < normal.unknowns; ++k) {
    for (std::size_t j = 0; j < normal.unknowns; ++j) matrix[k][j] = normal.sums[std::min(k, j)][std::max(k, j)];
  }
  return ~matrix;
}

/// True when no chosen tie lies near the line that the map sends to infinity.
bool IsTame(const TPlaneMap& map, const std::vector<TPlaneTie>& ties, const std::vector<std::size_t>& chosen) {
  constexpr double kLeastDenominator = 0.01;
  if (!std::all_of(map.begin(), map.end(), [](double a) { return std::isfinite(a); })) return false;
  return (map[6] == 0.0 && map[7] == 0.0) || std::all_of(chosen.begin(), chosen.end(), [&](std::size_t i) {
           return Denominator(map, ties[i].from[0], ties[i].from[1]) > kLeastDenominator;
         });
}

}  // namespace

double TPlaneFit::VarianceAt(TRPCRefinementTransformType type, double x, double y) const {
  return WithFreed(type, [&](auto freed) { return decltype(freed)::VarianceAt(*this, x, y); });
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

namespace {

/// \param normal receives the equations, without a right side to speak of, at the fitted map.
template <class Freed>
bool Iterate(Freed freed, TRPCRefinementTransformType type, const std::vector<TPlaneTie>& ties,
             const std::vector<std::size_t>& chosen, TPlaneMap* map, TNormalEquations* normal) {
  constexpr int kMostSteps = 20;
  constexpr double kAtRest = 1e-13;  // coordinates are near 1
  const TRefinementKind& kind = *FindRefinementKind(type);
  TPlaneMap current = kIdentityMap;
  for (int round = 0; round < kMostSteps; ++round) {
    FormNormalEquations(freed, ties, chosen, current, round > 0 && !Freed::kPerspective, normal);
    double step[kMost] = {};
    if (!Solve(*normal, step)) return false;
    double largest = 0.0;
    for (std::size_t k = 0; k < kind.parameterCount; ++k) {
      current[kind.parameters[k]] += step[k];
      largest = std::max(largest, std::fabs(step[k]));
    }
    if (!IsTame(current, ties, chosen)) return false;
    if (largest < kAtRest) break;
  }
  *map = current;
  if (Freed::kPerspective) FormNormalEquations(freed, ties, chosen, current, false, normal);
  return true;
}

/// Twice the area of the triangle of three points, with a sign; 0 where they lie on a line up to rounding, as two equal
/// ones do with any third: what a map divides by it would be noise.
double AreaOf(const double* a, const double* b, const double* c) {
  constexpr double kOnALine = 1e-10;  // sine of the angle between the sides
  const double u[2] = {b[0] - a[0], b[1] - a[1]}, v[2] = {c[0] - a[0], c[1] - a[1]};
  const double area = u[0] * v[1] - u[1] * v[0];
  const double sides = (u[0] * u[0] + u[1] * u[1]) * (v[0] * v[0] + v[1] * v[1]);
  return std::fabs(area) > kOnALine * std::sqrt(sides) ? area : 0.0;
}

/// Whether any three of the chosen ties come from one line.
bool HasThreeOnALine(const std::vector<TPlaneTie>& ties, const std::vector<std::size_t>& chosen) {
  for (std::size_t i = 0; i < chosen.size(); ++i) {
    for (std::size_t j = i + 1; j < chosen.size(); ++j) {
      for (std::size_t k = j + 1; k < chosen.size(); ++k) {
        if (AreaOf(ties[chosen[i]].from, ties[chosen[j]].from, ties[chosen[k]].from) == 0.0) return true;
      }
    }
  }
  return false;
}

TPlaneMap Translation(const TPlaneTie& tie) {
  TPlaneMap map = kIdentityMap;
  for (std::size_t axis = 0; axis < 2; ++axis) map[3 * axis + 2] = tie.to[axis] - tie.from[axis];
  return map;
}

/// The affine map through three ties that do not come from one line, by Cramer's rule.
TPlaneMap Affinity(const TPlaneTie& a, const TPlaneTie& b, const TPlaneTie& c) {
  const double u[2] = {b.from[0] - a.from[0], b.from[1] - a.from[1]};
  const double v[2] = {c.from[0] - a.from[0], c.from[1] - a.from[1]};
  const double area = AreaOf(a.from, b.from, c.from);
  TPlaneMap map = kIdentityMap;
  for (std::size_t axis = 0; axis < 2; ++axis) {
    const double to_b = b.to[axis] - a.to[axis], to_c = c.to[axis] - a.to[axis];
    double* const row = map.data() + 3 * axis;
    row[0] = (to_b * v[1] - to_c * u[1]) / area;
    row[1] = (to_c * u[0] - to_b * v[0]) / area;
    row[2] = a.to[axis] - row[0] * a.from[0] - row[1] * a.from[1];
  }
  return map;
}

using TCorners = double[4][2];
using TProjectivity = double[3][3];

/// The projective map of the corners (0, 0), (1, 0), (1, 1), (0, 1) of a square to these; not finite where three of
/// them lie on a line. P. Heckbert, "Fundamentals of texture mapping and image warping" (1989), section 2.2.3.
void MapSquare(const TCorners& to, TProjectivity map) {
  double sum[2], right[2], left[2];  // of the corners with alternating signs; of the sides to the third one
  for (std::size_t axis = 0; axis < 2; ++axis) {
    sum[axis] = to[0][axis] - to[1][axis] + to[2][axis] - to[3][axis];
    right[axis] = to[1][axis] - to[2][axis];
    left[axis] = to[3][axis] - to[2][axis];
  }
  const double determinant = right[0] * left[1] - left[0] * right[1];
  map[2][0] = (sum[0] * left[1] - left[0] * sum[1]) / determinant;
  map[2][1] = (right[0] * sum[1] - sum[0] * right[1]) / determinant;
  map[2][2] = 1.0;
  for (std::size_t axis = 0; axis < 2; ++axis) {
    map[axis][0] = to[1][axis] - to[0][axis] + map[2][0] * to[1][axis];
    map[axis][1] = to[3][axis] - to[0][axis] + map[2][1] * to[3][axis];
    map[axis][2] = to[0][axis];
  }
}

/// The projective map through four ties: from the plane to the square, by the adjugate, and on to the other plane.
TPlaneMap Projectivity(const std::vector<TPlaneTie>& ties, const std::vector<std::size_t>& chosen) {
  TCorners from, to;
  for (std::size_t i = 0; i < 4; ++i) {
    std::copy_n(ties[chosen[i]].from, 2, from[i]);
    std::copy_n(ties[chosen[i]].to, 2, to[i]);
  }
  TProjectivity of_from, of_to, adjugate, product = {};
  MapSquare(from, of_from);
  MapSquare(to, of_to);
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t j = 0; j < 3; ++j) {
      const std::size_t r = (j + 1) % 3, s = (j + 2) % 3, c = (i + 1) % 3, d = (i + 2) % 3;
      adjugate[i][j] = of_from[r][c] * of_from[s][d] - of_from[r][d] * of_from[s][c];
    }
  }
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t j = 0; j < 3; ++j) {
      for (std::size_t k = 0; k < 3; ++k) product[i][j] += of_to[i][k] * adjugate[k][j];
    }
  }
  TPlaneMap map;
  for (std::size_t k = 0; k < kMost; ++k) map[k] = product[k / 3][k % 3] / product[2][2];
  return map;
}

}  // namespace

bool PassPlaneMap(TRPCRefinementTransformType type, const std::vector<TPlaneTie>& ties,
                  const std::vector<std::size_t>& chosen, TPlaneMap* map) {
  if (HasThreeOnALine(ties, chosen)) return false;
  switch (type) {
    case TRPCRefinementTransformType::Projective:
      *map = Projectivity(ties, chosen);
      break;
    case TRPCRefinementTransformType::Affine:
      *map = Affinity(ties[chosen[0]], ties[chosen[1]], ties[chosen[2]]);
      break;
    default:
      *map = Translation(ties[chosen[0]]);
  }
  return IsTame(*map, ties, chosen);
}

bool FitPlaneMap(TRPCRefinementTransformType type, const std::vector<TPlaneTie>& ties,
                 const std::vector<std::size_t>& chosen, TPlaneFit* fit) {
  const std::size_t unknowns = FreeParameters(type);
  TNormalEquations normal{unknowns};
  fit->sum_of_squares = 0.0;
  const bool fitted = WithFreed(type, [&](auto freed) {
    if (!Iterate(freed, type, ties, chosen, &fit->map, &normal)) return false;
    for (const std::size_t i : chosen) {
      fit->sum_of_squares += SquaredResidual<decltype(freed)::kPerspective>(fit->map, ties[i]);
    }
    return true;
  });
  if (!fitted) return false;
  const TMatrix inverse = InverseOf(normal);
  for (std::size_t i = 0; i < unknowns; ++i) {
    for (std::size_t j = 0; j < unknowns; ++j) fit->cofactors[i * unknowns + j] = inverse(i, j);
  }
  return fit->cofactors[0] > 0.0;
}

}  // namespace SatCommonUtils::refine
