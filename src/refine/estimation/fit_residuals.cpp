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

}  // namespace

TRPCFitResiduals ResidualsOf(const TRPCData& rpc, TPointSpan points, bool normalized) {
  struct TWork {
    TRPCEstimationPoint points[TPointBlock::kSize];
    TPointBlock block;
    TOutputValues line, sample;
  };
  const auto work = std::make_unique<TWork>();
  const TRPCNormalization normalization = TRPCNormalization(rpc);
  const TRational line = RationalOf(rpc.lineNumCoef, rpc.lineDenCoef);
  const TRational sample = RationalOf(rpc.sampNumCoef, rpc.sampDenCoef);

  std::vector<double> lines, samples, distances;
  lines.reserve(points.count);
  samples.reserve(points.count);
  distances.reserve(points.count);
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
      const double of_line = work->line.residual[i] * rpc.lineScale;
      const double of_sample = work->sample.residual[i] * rpc.sampScale;
      lines.push_back(std::fabs(of_line));
      samples.push_back(std::fabs(of_sample));
      distances.push_back(std::sqrt(of_line * of_line + of_sample * of_sample));
    }
  }
  return {points.count, StatisticsOf(&lines), StatisticsOf(&samples), StatisticsOf(&distances)};
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
