#pragma once
// Weighted least squares of a shift, an affine or a projective map of the plane, in coordinates near 1.

#include <array>
#include <cstddef>
#include <vector>

#include "linalg/matrix.h"
#include "refine/refinement_data.h"

namespace SatCommonUtils::refine {

/// x' = (a0 x + a1 y + a2) / w, y' = (a3 x + a4 y + a5) / w, w = a6 x + a7 y + 1.
using TPlaneMap = std::array<double, 8>;

constexpr TPlaneMap kIdentityMap = {1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0};

/// One tie, and the square root of its weight.
struct TPlaneTie {
  double from[2];
  double to[2];
  double root_weight;
};

inline double Denominator(const TPlaneMap& map, double x, double y) { return map[6] * x + map[7] * y + 1.0; }

/// Where a map puts a point, and the derivatives. \param Perspective false: the map has none, and nothing is divided.
template <bool Perspective>
struct TPlaneRow {
  TPlaneRow(const TPlaneMap& map, double of_x, double of_y)
      : x(of_x), y(of_y), w(Perspective ? Denominator(map, x, y) : 1.0), own{Over(x), Over(y), Over(1.0)} {
    for (std::size_t axis = 0; axis < 2; ++axis) {
      const double* const row = map.data() + 3 * axis;
      mapped[axis] = Over(row[0] * x + row[1] * y + row[2]);
    }
  }
  double Over(double value) const { return Perspective ? value / w : value; }
  /// Derivative of a coordinate by an element of the perspective.
  double ByPerspective(std::size_t axis, std::size_t element) const {
    return -mapped[axis] * (element == 0 ? x : y) / w;
  }

  double x, y, w;
  double own[3];  ///< derivatives of a coordinate by its own row of the map
  double mapped[2];
};

/// Squared length of the weighted residual.
template <bool Perspective>
double SquaredResidual(const TPlaneMap& map, const TPlaneTie& tie) {
  const TPlaneRow<Perspective> row(map, tie.from[0], tie.from[1]);
  const double dx = (tie.to[0] - row.mapped[0]) * tie.root_weight;
  const double dy = (tie.to[1] - row.mapped[1]) * tie.root_weight;
  return dx * dx + dy * dy;
}

/// A fitted map.
struct TPlaneFit {
  TPlaneMap map = kIdentityMap;
  double sum_of_squares = 0.0;  ///< of the weighted residuals
  /// Inverse of the normal matrix of the parameters that the kind frees, by rows.
  std::array<double, 64> cofactors = {};

  /// Mean over both coordinates of the variance of the map at a point, for residuals of unit variance.
  double VarianceAt(TRPCRefinementTransformType type, double x, double y) const;
  /// Covariance, for residuals of unit variance, of two linear forms of the parameters that the kind frees.
  double Bilinear(TRPCRefinementTransformType type, const double* left, const double* right) const;
};

/// Which parameters a kind frees: of each row of the map those from `First` on, and the perspective or not.
template <std::size_t First, bool Perspective>
struct TFreed {
  static constexpr std::size_t kFirst = First;
  static constexpr bool kPerspective = Perspective;
  static constexpr std::size_t kOwn = 3 - First;                 ///< of one row
  static constexpr std::size_t kElements = Perspective ? 5 : 3;  ///< of a row and the perspective
  static constexpr std::size_t kCount = 2 * kOwn + kElements - 3;

  /// Place of an element of a row, or behind these of the perspective, among the free parameters.
  static constexpr std::size_t Place(std::size_t axis, std::size_t element) {
    return element < 3 ? axis * kOwn + element - First : 2 * kOwn + element - 3;
  }

  /// `TPlaneFit::VarianceAt` of a kind that frees these.
  static double VarianceAt(const TPlaneFit& fit, double x, double y) {
    const TPlaneRow<Perspective> row(fit.map, x, y);
    double sum = 0.0;
    for (std::size_t axis = 0; axis < 2; ++axis) {
      double design[kElements];
      for (std::size_t k = 0; k < kElements; ++k) design[k] = k < 3 ? row.own[k] : row.ByPerspective(axis, k - 3);
      for (std::size_t i = First; i < kElements; ++i) {
        const double* const cofactors = fit.cofactors.data() + Place(axis, i) * kCount;
        for (std::size_t j = First; j < kElements; ++j) sum += design[i] * cofactors[Place(axis, j)] * design[j];
      }
    }
    return 0.5 * sum;
  }
};

/// Calls `visit` with the parameters that a kind frees, in the order of its table: code of its own for each kind.
template <class Visit>
auto WithFreed(TRPCRefinementTransformType type, const Visit& visit) {
  switch (type) {
    case TRPCRefinementTransformType::Projective:
      return visit(TFreed<0, true>());
    case TRPCRefinementTransformType::Affine:
      return visit(TFreed<0, false>());
    default:
      return visit(TFreed<2, false>());
  }
}

/// Parameters that a kind frees: 2, 6 or 8.
std::size_t FreeParameters(TRPCRefinementTransformType type);

/// Fits the chosen ties. \return false when they do not determine the map.
bool FitPlaneMap(TRPCRefinementTransformType type, const std::vector<TPlaneTie>& ties,
                 const std::vector<std::size_t>& chosen, TPlaneFit* fit);

/// The map that passes through the chosen ties, as few as determine it, whatever their weights. \return false when
/// they do not, as when three of them come from one line or two from one point.
bool PassPlaneMap(TRPCRefinementTransformType type, const std::vector<TPlaneTie>& ties,
                  const std::vector<std::size_t>& chosen, TPlaneMap* map);

}  // namespace SatCommonUtils::refine
