#pragma once
// Which points do not belong to a fit: residuals tested one by one against the others.

#include <cstddef>
#include <vector>

#include "refine/estimation/rational_fit.h"

namespace SatCommonUtils::estimation {

/// A squared residual of two coordinates, in squared standard deviations that `freedom` redundant observations say,
/// which one in a hundred sets of `count` good points exceeds; infinite without any redundant ones.
double SquareBeyondChance(std::size_t count, double freedom);

/// The residuals of one output and how far the fit bent to each of its points.
struct TOutputStory {
  std::vector<double> residual;  ///< weighted, in units of the output (pixels)
  std::vector<double>
      leverage;           ///< derivative of the fitted value by the observation; as if fitted for points left out
  double squares = 0.0;   ///< sum of the squared residuals of the fitted points
  double freedom = 0.0;   ///< fitted points less effective unknowns
  double rounding = 0.0;  ///< residuals below this count as this
};

/// \param points all of them, with a normalisation. \param result the fit of those that are not left out.
TOutputStory Judge(const TFitPoints& points, TOutput output, std::size_t terms, const TFitResult& result,
                   const std::vector<char>& left_out);

/// Squared residuals of the points in squared standard deviations, both outputs together.
struct TStandardized {
  /// For a fitted point what the fit without it would say, for one left out what it would add.
  std::vector<double> square;
  double line_squares = 0.0, sample_squares = 0.0;    ///< as of the stories
  double line_variance = 0.0, sample_variance = 0.0;  ///< of a residual, from the fitted points
  double freedom = 0.0;                               ///< redundant observations, both outputs together
  bool is_rounding = false;                           ///< no residual is more than that
};

TStandardized Combine(const TOutputStory& line, const TOutputStory& sample, const std::vector<char>& left_out);

/// True when a fit without `count` points explains the others so much better than the fit of all does that these cannot
/// belong to them: a test of the mean-shift model (R. Cook and S. Weisberg, "Residuals and Influence in Regression",
/// 1982, section 2.2.2) with room for the choice of the points.
bool IsMuchBetter(const TStandardized& all, const TStandardized& without, std::size_t count);

/// Marks of the points whose residual is beyond what chance and the curvature of images that no rational polynomial
/// follows account for: six standard deviations at least, more with few redundant points.
std::vector<char> BadOnes(const TStandardized& judged, const std::vector<char>& left_out);

}  // namespace SatCommonUtils::estimation
