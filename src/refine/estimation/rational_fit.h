#pragma once
// The damped fit of one output, with given degree of its polynomials.

#include <cstddef>
#include <functional>
#include <memory>

#include "refine/estimation/design_rows.h"
#include "refine/estimation/point_block.h"
#include "refine/estimation/ridge_spectrum.h"

namespace SatCommonUtils::estimation {

/// Up to this many points the design matrix itself is factored, beyond it the normal matrix: with so many points the
/// squared condition number costs less than 1e-4 pixels, and the fit takes half the time.
constexpr std::size_t kMaxFactoredPoints = 4096;

/// Chosen ridges do not go below this share of the largest squared singular value: the square of rounding.
constexpr double kLeastRidge = 1e-28;

/// Denominators count this much more in the penalty than numerators. A sensor's denominators are close to 1; giving a
/// deviation to the numerator first keeps noise from making poles.
constexpr double kDenominatorWeight = 10.0;

/// What a fit works on. All coordinates end up in [-1, 1].
struct TFitPoints {
  TPointSpan points;
  const TRPCNormalization* normalization = nullptr;
  /// Square roots of the weights, or null for all 1.
  const double* root_weights = nullptr;
};

/// What a fit starts from and may do.
struct TFitTask {
  TOutput output = TOutput::Line;
  std::size_t terms = kTerms;  ///< 4, 10 or 20: degree 1, 2 or 3
  TRational reference;         ///< where the ridge pulls the coefficients
  TRational start;
  /// The ridge as a share of the largest squared singular value, or negative: chosen by cross-validation.
  double ridge = -1.0;
  /// A chosen ridge is at least this in the first step and goes down from there.
  double least_ridge = 1e-8;
  /// What ridges are chosen by; results are always compared by the cautious score.
  TScore score = &CrossValidationScore;
  /// Accepted steps before the fit may end, while the ridge is on its way down; 0 when the start is a fitted one.
  int first_steps = 3;
  /// Asked after each pass over the points with the number of passes; false ends the fit.
  std::function<bool(int)> go_on;
};

struct TFitResult {
  TRational rational;
  double score = 0.0;  ///< see `CautiousScore`
  double ridge = 0.0;  ///< as in the task
  double freedom = 0.0;
  double least_denominator = 0.0;
  int rank = 0;
  int passes = 0;
  bool converged = false;
  /// The linearised problem at the result, columns of the denominator measured in units of 1 / `kDenominatorWeight`,
  /// and the ridge in its units.
  std::shared_ptr<const TRidgeSpectrum> spectrum;
  double absolute_ridge = 0.0;
};

/// The solution of N - observation · D = 0 in the least-squares sense: no good fit of noisy points, since each point
/// counts as its denominator says, but exact without noise, however far the model is from the first-order one.
TRational AlgebraicFit(const TFitPoints& points, TOutput output, std::size_t terms);

/// Gauss-Newton with a ridge towards the reference (the iteratively regularised method of Bakushinskii, 1992). In each
/// accepted step the ridge is chosen anew; it may fall by no more than six decades, since at a first-order start nine
/// directions look free that are not: with c = N/D, the pairs (N·q, D·q) change nothing. A step that raises the sum of
/// squares and penalty, or that brings a denominator near zero, is taken again with a larger ridge. The iterate with
/// the best score is the result.
/// \return false when `go_on` said so.
bool FitRational(const TFitPoints& points, const TFitTask& task, TFitResult* result);

}  // namespace SatCommonUtils::estimation
