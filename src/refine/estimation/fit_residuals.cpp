// Residuals of a record over points and their statistics. Elementary.

#include "refine/estimation/fit_residuals.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "refine/estimation/design_rows.h"

namespace SatCommonUtils {

namespace estimation {

namespace {

TRPCFitStatistics StatisticsOf(std::vector<double>* absolutes) {
  TRPCFitStatistics statistics;
  const std::size_t count = absolutes->size();
  if (count == 0) return statistics;
  double squares = 0.0;
  for (const double value : *absolutes) squares += value * value;
  statistics.rms = std::sqrt(squares / static_cast<double>(count));
  // The smallest value that at least 95 of 100 do not exceed.
  const auto rank = static_cast<std::ptrdiff_t>((count * 95 + 99) / 100 - 1);
  std::nth_element(absolutes->begin(), absolutes->begin() + rank, absolutes->end());
  statistics.percentile95 = (*absolutes)[static_cast<std::size_t>(rank)];
  statistics.maximum = *std::max_element(absolutes->begin() + rank, absolutes->end());
  return statistics;
}

TRational RationalOf(const double* numerator, const double* denominator) {
  TRational rational;
  std::copy_n(numerator, kTerms, rational.numerator);
  std::copy_n(denominator, kTerms, rational.denominator);
  return rational;
}

// Which of `parts` equal parts of a range a value lies in.
std::size_t PartOf(double value, double least, double largest, std::size_t parts) {
  const double share = (value - least) / (largest - least);
  return std::min(parts - 1, static_cast<std::size_t>(std::max(share, 0.0) * static_cast<double>(parts)));
}

/// Calls `visit` with the number of each point and what its line and sample miss.
template <class Visit>
void ForEachResidual(const TRPCData& rpc, TPointSpan points, bool normalized, const Visit& visit) {
  struct TWork {
    TRPCEstimationPoint points[TPointBlock::kSize];
    TPointBlock block;
    TOutputValues line, sample;
  };
  const auto work = std::make_unique<TWork>();
  const TRPCNormalization normalization = TRPCNormalization(rpc);
  const TRational line = RationalOf(rpc.lineNumCoef, rpc.lineDenCoef);
  const TRational sample = RationalOf(rpc.sampNumCoef, rpc.sampDenCoef);
  for (std::size_t first = 0; first < points.count; first += TPointBlock::kSize) {
    const std::size_t count = std::min(TPointBlock::kSize, points.count - first);
    std::copy_n(points.points + first, count, work->points);
    for (std::size_t i = 0; i < count && !normalized; ++i) {
      work->points[i].Lon = LongitudeNear(rpc.longOffset, work->points[i].Lon);
    }
    LoadBlock({work->points, count}, 0, normalized ? nullptr : &normalization, &work->block);
    EvaluateOutput(work->block, TOutput::Line, line, &work->line);
    EvaluateOutput(work->block, TOutput::Sample, sample, &work->sample);
    for (std::size_t i = 0; i < count; ++i) {
      visit(first + i, work->line.residual[i] * rpc.lineScale, work->sample.residual[i] * rpc.sampScale);
    }
  }
}

}  // namespace

TRPCFitResiduals ResidualsOf(const TRPCData& rpc, TPointSpan points, bool normalized) {
  std::vector<double> lines, samples, distances;
  lines.reserve(points.count);
  samples.reserve(points.count);
  distances.reserve(points.count);
  ForEachResidual(rpc, points, normalized, [&](std::size_t, double of_line, double of_sample) {
    lines.push_back(std::fabs(of_line));
    samples.push_back(std::fabs(of_sample));
    distances.push_back(std::sqrt(of_line * of_line + of_sample * of_sample));
  });
  return {points.count, StatisticsOf(&lines), StatisticsOf(&samples), StatisticsOf(&distances)};
}

TExplained ExplainedBy(const TRPCData& rpc, TPointSpan points, const double* root_weights, const char* left_out,
                       bool normalized) {
  const auto weight_of = [&](std::size_t i) {
    if (left_out != nullptr && left_out[i] != 0) return 0.0;
    return root_weights == nullptr ? 1.0 : root_weights[i] * root_weights[i];
  };
  double weights = 0.0, means[2] = {}, variations[2] = {}, squares[2] = {};
  for (std::size_t i = 0; i < points.count; ++i) {
    const double weight = weight_of(i);
    weights += weight;
    means[0] += weight * points.points[i].Line, means[1] += weight * points.points[i].Sample;
  }
  for (double& mean : means) mean /= weights;
  ForEachResidual(rpc, points, normalized, [&](std::size_t i, double of_line, double of_sample) {
    const double weight = weight_of(i);
    if (weight == 0.0) return;
    const double off[] = {points.points[i].Line - means[0], points.points[i].Sample - means[1]};
    const double residual[] = {of_line, of_sample};
    for (std::size_t k = 0; k < 2; ++k) {
      variations[k] += weight * off[k] * off[k], squares[k] += weight * residual[k] * residual[k];
    }
  });
  const auto explained = [&](std::size_t k) {
    return variations[k] > 0.0 ? std::max(0.0, 1.0 - squares[k] / variations[k]) : 0.0;
  };
  return {explained(0), explained(1)};
}

int DimensionsOf(TPointSpan points, const TPointRanges& ranges) {
  constexpr double kThin = 1e-6;  // square of the share of the range
  constexpr double TRPCEstimationPoint::*kGround[] = {&TRPCEstimationPoint::Lat, &TRPCEstimationPoint::Lon,
                                                      &TRPCEstimationPoint::Height};
  double sums[3] = {}, products[3][3] = {};
  for (std::size_t i = 0; i < points.count; ++i) {
    double at[3];
    for (std::size_t k = 0; k < 3; ++k) {
      const double least = ranges.least.*kGround[k], range = ranges.largest.*kGround[k] - least;
      at[k] = range > 0.0 ? (points.points[i].*kGround[k] - least) / range - 0.5 : 0.0;
      sums[k] += at[k];
      for (std::size_t j = 0; j <= k; ++j) products[k][j] += at[k] * at[j];
    }
  }
  const double count = static_cast<double>(points.count);
  double variances[3][3];
  for (std::size_t k = 0; k < 3; ++k) {
    for (std::size_t j = 0; j <= k; ++j) {
      variances[k][j] = variances[j][k] = products[k][j] / count - sums[k] / count * (sums[j] / count);
    }
  }
  // Elimination with the largest variance first: what is left of the others is their variance beside those before.
  int dimensions = 0;
  for (bool used[3] = {}; dimensions < 3; ++dimensions) {
    std::size_t pivot = 3;
    for (std::size_t k = 0; k < 3; ++k) {
      if (!used[k] && (pivot == 3 || variances[k][k] > variances[pivot][pivot])) pivot = k;
    }
    if (!(variances[pivot][pivot] > kThin)) break;
    used[pivot] = true;
    for (std::size_t k = 0; k < 3; ++k) {
      for (std::size_t j = 0; j < 3; ++j) {
        if (used[k] || used[j]) continue;
        variances[k][j] -= variances[k][pivot] * variances[pivot][j] / variances[pivot][pivot];
      }
    }
  }
  return dimensions;
}

double CoverageOf(TPointSpan points, const TPointRanges& ranges, bool flat) {
  constexpr std::size_t kParts = 4;
  const std::size_t slabs = flat ? 1 : 2;
  bool filled[kParts][kParts][2] = {};
  for (std::size_t i = 0; i < points.count; ++i) {
    const TRPCEstimationPoint& point = points.points[i];
    const std::size_t slab = flat ? 0 : PartOf(point.Height, ranges.least.Height, ranges.largest.Height, slabs);
    filled[PartOf(point.Line, ranges.least.Line, ranges.largest.Line, kParts)]
          [PartOf(point.Sample, ranges.least.Sample, ranges.largest.Sample, kParts)][slab] = true;
  }
  const auto* const cells = &filled[0][0][0];
  const auto number = std::count(cells, cells + kParts * kParts * 2, true);
  return static_cast<double>(number) / static_cast<double>(kParts * kParts * slabs);
}

}  // namespace estimation

TRPCFitResiduals ResidualsOfRPC(const TRPCData& rpc, const std::vector<TRPCEstimationPoint>& points, bool normalized) {
  return estimation::ResidualsOf(rpc, {points.data(), points.size()}, normalized);
}

}  // namespace SatCommonUtils
