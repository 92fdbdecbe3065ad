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

// What a fit of the others would leave of them: their squares and redundant observations. The ridge stays as it is, so
// this is exact for linear unknowns: without point i their residuals change by H_ji r_i / (1 - h_i), and the sum of
// squares of those is had from H r and H^2. Without a ridge the sum falls by r_i^2 / (1 - h_i) (Cook and Weisberg);
// under a ridge that may be more than there is, since the fit without a point in a corner bends less.
struct TOthers {
  double squares;
  double freedom;
};

TOthers OthersOf(const TOutputStory& story, std::size_t i, double visible) {
  const double residual = story.residual[i];
  if (story.influence.empty()) return {std::max(0.0, story.squares - residual * residual), story.freedom - 1.0};
  const TInfluence& influence = story.influence[i];
  const double left_out = residual / visible;
  const double spread = influence.squared - influence.leverage * influence.leverage;  // sum of H_ji^2 over the others
  const double change =
      2.0 * left_out * (influence.drawn - influence.leverage * residual) + left_out * left_out * spread;
  return {std::max(0.0, story.squares - residual * residual + change), story.freedom - visible - spread / visible};
}

// A squared residual in squared standard deviations, and the redundant observations that these are known from.
struct TSquare {
  double value = 0.0;
  double freedom = 1.0;

  // The square of a normal deviate that is as rare: D. Wallace, "Bounds on normal approximations to Student's and the
  // chi-square distributions", Annals of Mathematical Statistics 30 (1959), doi:10.1214/aoms/1177706096.
  double OfNormal() const {
    const double correction = (8.0 * freedom + 1.0) / (8.0 * freedom + 3.0);
    return correction * correction * freedom * PortableLog(1.0 + value / freedom);
  }
};

TSquare SquareOf(const TOutputStory& story, std::size_t i, bool is_out) {
  const double square = story.residual[i] * story.residual[i];
  const double noise = story.rounding * story.rounding;
  const double leverage = story.influence.empty() ? 0.0 : story.influence[i].leverage;
  if (is_out) {
    const double freedom = std::max(story.freedom, 1.0);
    const double variance = story.squares / freedom + noise;
    return {square / ((1.0 + std::min(leverage, kLargestLeverage)) * variance), freedom};
  }
  const double visible = 1.0 - leverage;
  if (visible < kUntestable || story.freedom <= 2.0) return {};
  const TOthers others = OthersOf(story, i, visible);
  return {square / (visible * (others.squares / others.freedom + noise)), others.freedom};
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
  const bool has_influence = count <= kMaxFactoredPoints && result.spectrum;
  if (has_influence) story.influence.resize(count);
  std::size_t used = 0;
  for (std::size_t first = 0; first < count; first += TPointBlock::kSize) {
    LoadBlock(points.points, first, points.normalization, &work->block);
    EvaluateOutput(work->block, output, result.rational, &work->values);
    if (has_influence) {
      FormDesignRows(work->block, work->values, terms, &work->rows);
      work->rows.DivideColumns(terms, kDenominatorWeight);
      result.spectrum->Influences(work->rows, result.absolute_ridge, story.influence.data() + first);
    }
    for (std::size_t i = 0; i < work->block.count; ++i) {
      const double root = points.root_weights == nullptr ? 1.0 : points.root_weights[first + i];
      story.residual[first + i] = root * scale * work->values.residual[i];
      if (has_influence) {
        TInfluence& influence = story.influence[first + i];
        influence.leverage *= root * root, influence.squared *= root * root, influence.drawn *= root * scale;
      }
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
  combined.excess.resize(count);
  combined.is_rounding = true;
  // What the sum of two squared normal deviates exceeds with the level's probability.
  const double chance = -2.0 * PortableLog(kLevel / static_cast<double>(count));
  for (std::size_t i = 0; i < count; ++i) {
    const bool is_out = left_out[i] != 0;
    const TSquare of_line = SquareOf(line, i, is_out), of_sample = SquareOf(sample, i, is_out);
    double& excess = combined.excess[i];
    excess = (of_line.value + of_sample.value) / kLeastSquare;
    if (excess > 1.0) excess = std::min(excess, (of_line.OfNormal() + of_sample.OfNormal()) / chance);
    combined.is_rounding = combined.is_rounding && std::fabs(line.residual[i]) <= line.rounding &&
                           std::fabs(sample.residual[i]) <= sample.rounding;
  }
  for (std::size_t k = 0; k < 2; ++k) {
    const TOutputStory& story = k == 0 ? line : sample;
    const double freedom = std::max(story.freedom, 1.0);
    combined.outputs[k] = {story.squares, story.squares / freedom + story.rounding * story.rounding, freedom};
  }
  return combined;
}

bool IsMuchBetter(const TStandardized& all, const TStandardized& without, std::size_t count) {
  const double chosen = static_cast<double>(count), points = static_cast<double>(all.excess.size());
  double gain = 0.0, of_normal = 0.0;
  for (std::size_t k = 0; k < 2; ++k) {
    const TStandardized::TOutput& left = without.outputs[k];
    const double of_output = std::max(0.0, all.outputs[k].squares - left.squares) / left.variance;
    gain += of_output;
    // The likelihood ratio, which is distributed as the gain of a known variance: G. Box, "A general distribution
    // theory for a class of likelihood criteria", Biometrika 36 (1949), doi:10.1093/biomet/36.3-4.317.
    of_normal += (left.freedom + 0.5 * chosen - 1.0) * PortableLog(1.0 + of_output / left.freedom);
  }
  if (!(gain > kLeastSquare + kChosenSquare * chosen)) return false;
  // That many points of so many can be chosen in (e n / k)^k ways at most, and with a probability of e^-u a sum of D
  // squared normal deviates is above D + 2 sqrt(D u) + 2 u: B. Laurent and P. Massart, "Adaptive estimation of a
  // quadratic functional by model selection", Annals of Statistics 28 (2000), doi:10.1214/aos/1015957395.
  const double u = chosen * (1.0 + PortableLog(points / chosen)) - PortableLog(kLevel);
  const double deviates = 2.0 * chosen;
  return of_normal > deviates + 2.0 * std::sqrt(deviates * u) + 2.0 * u;
}

std::vector<char> BadOnes(const TStandardized& judged) {
  std::vector<char> bad(judged.excess.size());
  std::transform(judged.excess.begin(), judged.excess.end(), bad.begin(), [](double excess) { return excess > 1.0; });
  return bad;
}

}  // namespace SatCommonUtils::estimation
