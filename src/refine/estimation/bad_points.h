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
  /// Of the weighted observations, as if fitted for points left out, `drawn` in units of the output; empty: of many
  /// points none has an influence to speak of.
  std::vector<TInfluence> influence;
  double squares = 0.0;   ///< sum of the squared residuals of the fitted points
  double freedom = 0.0;   ///< fitted points less effective unknowns
  double rounding = 0.0;  ///< residuals below this count as this
};

/// \param points all of them, with a normalisation. \param result the fit of those that are not left out.
TOutputStory Judge(const TFitPoints& points, TOutput output, std::size_t terms, const TFitResult& result,
                   const std::vector<char>& left_out);

/// How far the points are from a fit, both outputs together.
struct TStandardized {
  /// How far a point is beyond what chance and the curvature of images that no rational polynomial follows account for;
  /// above 1: it is bad. For a fitted point by what the fit without it would say, for one left out by what it would
  /// add.
  std::vector<double> excess;
  /// Of one output, from the fitted points.
  struct TOutput {
    double squares = 0.0;   ///< as of the story
    double variance = 0.0;  ///< of a residual
    double freedom = 0.0;   ///< redundant observations
  } outputs[2];
  bool is_rounding = false;  ///< no residual is more than that
};

TStandardized Combine(const TOutputStory& line, const TOutputStory& sample, const std::vector<char>& left_out);

/// True when a fit without `count` points explains the others so much better than the fit of all does that these cannot
/// belong to them: a test of the mean-shift model (R. Cook and S. Weisberg, "Residuals and Influence in Regression",
/// 1982, section 2.2.2) that allows for the choice of the points among all and for the curvature of images.
bool IsMuchBetter(const TStandardized& all, const TStandardized& without, std::size_t count);

/// Marks of the bad points.
std::vector<char> BadOnes(const TStandardized& judged);

}  // namespace SatCommonUtils::estimation
