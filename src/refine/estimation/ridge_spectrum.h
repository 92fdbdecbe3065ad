#pragma once
// A least-squares step seen along the singular directions of its design matrix: there a ridge is a division, so that
// trying a hundred ridges costs next to nothing.

#include <cstddef>

#include "refine/estimation/row_rotations.h"
#include "refine/estimation/triangular_factor.h"

namespace SatCommonUtils::estimation {

/// How many unknowns a ridge leaves free. The reference that the ridge pulls towards has seven fitted unknowns of its
/// own; they are counted as the seven largest singular values, free whatever the ridge is.
struct TFreedom {
  double trace = 0.0;          ///< trace of the influence matrix: the effective number of unknowns
  double squared_trace = 0.0;  ///< trace of its square
};

/// The score of a fit, of which the smallest wins: robust generalised cross-validation. \param residual_squares sum of
/// squared residuals of normalised values. \param points their number, above the trace.
///
/// Golub, Heath and Wahba, "Generalized cross-validation as a method for choosing a good ridge parameter" (1979),
/// doi:10.1080/00401706.1979.10489751, in the robust form of Lukas, "Robust generalized cross-validation for choosing
/// the regularization parameter" (2006), doi:10.1088/0266-5611/22/5/021, in which the plain one counts for more
/// the more points there are: with few it now and then takes a ridge that is far too small for their noise.
double CrossValidationScore(double residual_squares, const TFreedom& freedom, std::size_t points);

/// Fewer redundant points than this, points less unknowns, can have small residuals by chance.
constexpr double kFewRedundant = 20.0;

/// The same score, worse where residuals may be small by chance: what results are compared by.
double CautiousScore(double residual_squares, const TFreedom& freedom, std::size_t points);

using TScore = double (*)(double residual_squares, const TFreedom& freedom, std::size_t points);

/// What the influence matrix H, fitted values by observations, says of one point.
struct TInfluence {
  double leverage = 0.0;  ///< element of H on the diagonal: the fitted value by the point's own observation
  double squared = 0.0;   ///< element of H squared on the diagonal; the leverage without a ridge
  double drawn = 0.0;     ///< element of H times the residuals, computed less observed: 0 without a ridge
};

/// The singular value decomposition of a triangular factor.
class TRidgeSpectrum {
 public:
  static constexpr std::size_t kMaxUnknowns = 39;

  explicit TRidgeSpectrum(const TTriangularFactor& factor);

  /// The square of the largest singular value: the unit of ridges.
  double LargestSquare() const { return largest_ * largest_; }
  /// Singular values that are not rounding.
  int Rank() const;
  TFreedom FreedomAt(double ridge) const;
  /// How much the fit of a ridge follows points, the points' rows of the design matrix being among the factor's or as
  /// if they were. \param influences one for each row.
  void Influences(const TDesignRows& rows, double ridge, TInfluence* influences) const;

  /// The ridge of the best score, on a grid of four a decade from 100 times `LargestSquare()` down to `least`.
  /// \param distance of the unknowns from where the ridge pulls them.
  double ChooseRidge(const double* distance, double least, std::size_t points, TScore score_of) const;

  /// The minimiser of |residuals + design · step|² + ridge · |distance + step|², without the directions that the
  /// points do not determine at all.
  /// \return the norm of the change of the residuals that the step makes.
  double Step(const double* distance, double ridge, double* step) const;

 private:
  double Along(std::size_t direction, const double* vector) const;

  std::size_t unknowns_;
  std::size_t directions_;
  double largest_ = 0.0;
  double least_of_reference_ = 0.0;  ///< the seventh largest singular value
  double rest_;
  /// The right singular directions, and the residuals with the opposite sign along the left ones.
  TRotatedRows rotated_;
  double singular_value_[kMaxUnknowns];
};

}  // namespace SatCommonUtils::estimation
