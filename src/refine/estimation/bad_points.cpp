// Outlier tests of geodesy ("data snooping"): W. Baarda, "A testing procedure for use in geodetic networks" (1968),
// with the variance estimated from the other points as in R. Cook and S. Weisberg, "Residuals and Influence in
// Regression" (1982), chapter 2.

#include "refine/estimation/bad_points.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

#include "refine/estimation/portable_math.h"

namespace SatCommonUtils::estimation {

namespace {

// Residuals below this share of half the range of an output count as this: a thousandth of a pixel of a large image.
constexpr double kRounding = 1e-7;
// Probability that a set of good points with normal errors loses one.
constexpr double kLevel = 0.01;
// A squared residual, in squared standard deviations, below which no point is bad. The smooth misfit of a model that is
// no rational polynomial reaches five in the corners of its box.
constexpr double kLeastSquare = 36.0;
// What leaving out a point of one's choice brings down the squares of good ones, at most, both outputs.
constexpr double kChosenSquare = 20.0;
// A point left out may be so much uncertain by the fit of the others: what these do not determine it does not join.
constexpr double kLargestLeverage = 4.0;
// The share of its own residual that a fitted point has to leave visible to be tested.
constexpr double kUntestable = 1e-6;

TLinearNormalization OutputOf(const TRPCNormalization& normalization, TOutput output) {
  return output == TOutput::Line ? normalization.line : normalization.sample;
}

double LimitOfSquares(std::size_t count, double freedom) {
  return std::max(kLeastSquare, SquareBeyondChance(count, freedom));
}

// One coordinate of a point in squared standard deviations.
double SquareOf(const TOutputStory& story, std::size_t i, bool is_out) {
  const double square = story.residual[i] * story.residual[i];
  const double noise = story.rounding * story.rounding;
  if (is_out) {
    const double variance = story.squares / std::max(story.freedom, 1.0) + noise;
    return square / ((1.0 + std::min(story.leverage[i], kLargestLeverage)) * variance);
  }
  const double visible = 1.0 - story.leverage[i];
  if (visible < kUntestable || story.freedom <= 2.0) return 0.0;
  const double others = std::max(0.0, story.squares - square / visible) / (story.freedom - 1.0);
  return square / (visible * (others + noise));
}

}  // namespace

double SquareBeyondChance(std::size_t count, double freedom) {
  if (!(freedom > 0.0)) return std::numeric_limits<double>::infinity();
  // Half of the square is distributed as F with 2 and `freedom` degrees of freedom, whose tail is
  // (1 + square / freedom)^(-freedom / 2).
  return freedom * (PortablePow(kLevel / static_cast<double>(count), -2.0 / freedom) - 1.0);
}

TOutputStory Judge(const TFitPoints& points, TOutput output, std::size_t terms, const TFitResult& result,
                   const std::vector<char>& left_out) {
  struct TWork {
    TPointBlock block;
    TOutputValues values;
    TDesignRows rows;
  };
  const auto work = std::make_unique<TWork>();
  const double scale = OutputOf(*points.normalization, output).GetScale();
  const std::size_t count = points.points.count;
  TOutputStory story;
  story.rounding = kRounding * std::fabs(scale);
  story.residual.resize(count);
  story.leverage.assign(count, 0.0);
  std::size_t used = 0;
  for (std::size_t first = 0; first < count; first += TPointBlock::kSize) {
    LoadBlock(points.points, first, points.normalization, &work->block);
    EvaluateOutput(work->block, output, result.rational, &work->values);
    // With many points none has a leverage to speak of.
    const bool levers = count <= kMaxFactoredPoints && result.spectrum;
    if (levers) {
      FormDesignRows(work->block, work->values, terms, &work->rows);
      work->rows.DivideColumns(terms, kDenominatorWeight);
      result.spectrum->Leverages(work->rows, result.absolute_ridge, story.leverage.data() + first);
    }
    for (std::size_t i = 0; i < work->block.count; ++i) {
      const double root = points.root_weights == nullptr ? 1.0 : points.root_weights[first + i];
      story.residual[first + i] = root * scale * work->values.residual[i];
      story.leverage[first + i] *= root * root;
      if (left_out[first + i] != 0) continue;
      ++used;
      story.squares += story.residual[first + i] * story.residual[first + i];
    }
  }
  story.freedom = static_cast<double>(used) - result.freedom;
  return story;
}

TStandardized Combine(const TOutputStory& line, const TOutputStory& sample, const std::vector<char>& left_out) {
  TStandardized combined;
  const std::size_t count = line.residual.size();
  combined.square.resize(count);
  combined.is_rounding = true;
  for (std::size_t i = 0; i < count; ++i) {
    const bool is_out = left_out[i] != 0;
    combined.square[i] = SquareOf(line, i, is_out) + SquareOf(sample, i, is_out);
    combined.is_rounding = combined.is_rounding && std::fabs(line.residual[i]) <= line.rounding &&
                           std::fabs(sample.residual[i]) <= sample.rounding;
  }
  const auto variance = [](const TOutputStory& story) {
    return story.squares / std::max(story.freedom, 1.0) + story.rounding * story.rounding;
  };
  combined.line_squares = line.squares;
  combined.sample_squares = sample.squares;
  combined.line_variance = variance(line);
  combined.sample_variance = variance(sample);
  combined.freedom = line.freedom + sample.freedom;
  return combined;
}

bool IsMuchBetter(const TStandardized& all, const TStandardized& without, std::size_t count) {
  const double gain = (all.line_squares - without.line_squares) / without.line_variance +
                      (all.sample_squares - without.sample_squares) / without.sample_variance;
  return gain > LimitOfSquares(all.square.size(), without.freedom) + kChosenSquare * static_cast<double>(count);
}

std::vector<char> BadOnes(const TStandardized& judged, const std::vector<char>& left_out) {
  const double limit = LimitOfSquares(judged.square.size(), judged.freedom);
  std::vector<char> bad(left_out.size(), 0);
  for (std::size_t i = 0; i < bad.size(); ++i) bad[i] = judged.square[i] > limit ? 1 : 0;
  return bad;
}

}  // namespace SatCommonUtils::estimation
