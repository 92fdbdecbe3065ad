// Points brought to [-1, 1] and sorted into arrays by coordinate. Elementary.

#include "refine/estimation/point_block.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

#include "frame/zxstd/unset_mark.h"
#include "linalg/simd.h"

namespace SatCommonUtils::estimation {

namespace {

using TSlot = double TRPCEstimationPoint::*;
constexpr TSlot kSlots[] = {&TRPCEstimationPoint::Lat, &TRPCEstimationPoint::Lon, &TRPCEstimationPoint::Height,
                            &TRPCEstimationPoint::Line, &TRPCEstimationPoint::Sample};

// The bits of `TLinearNormalization::Initial2Normalized`, over an array.
struct TNormalize {
  double offset;
  double scale;
  double* values;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    for (std::size_t i = 0; i < TPointBlock::kSize; ++i) values[i] = (values[i] - offset) / scale;
  }
};

void Normalize(const TLinearNormalization& normalization, double* values) {
  simd::Dispatch(TNormalize{normalization.GetOffset(), normalization.GetScale(), values});
}

bool MapRange(double least, double largest, TLinearNormalization* normalization) {
  return normalization->Reset(largest, least, 1.0, -1.0);
}

}  // namespace

bool AllFinite(TPointSpan points) { return AllBelow(points, DBL_MAX); }

bool AllBelow(TPointSpan points, double limit) {
  return std::all_of(points.points, points.points + points.count, [&](const TRPCEstimationPoint& point) {
    return std::all_of(std::begin(kSlots), std::end(kSlots),
                       [&](TSlot slot) { return std::fabs(point.*slot) <= limit; });
  });
}

TPointRanges RangesOf(TPointSpan points) {
  TPointRanges ranges{{DBL_MAX, DBL_MAX, DBL_MAX, DBL_MAX, DBL_MAX},
                      {-DBL_MAX, -DBL_MAX, -DBL_MAX, -DBL_MAX, -DBL_MAX}};
  for (std::size_t i = 0; i < points.count; ++i) {
    for (const TSlot slot : kSlots) {
      ranges.least.*slot = std::min(ranges.least.*slot, points.points[i].*slot);
      ranges.largest.*slot = std::max(ranges.largest.*slot, points.points[i].*slot);
    }
  }
  return ranges;
}

bool NormalizationOfRanges(const TPointRanges& ranges, TRPCNormalization* normalization) {
  const TRPCEstimationPoint& a = ranges.least;
  const TRPCEstimationPoint& b = ranges.largest;
  return MapRange(a.Line, b.Line, &normalization->line) && MapRange(a.Sample, b.Sample, &normalization->sample) &&
         MapRange(a.Lat, b.Lat, &normalization->latitude) && MapRange(a.Lon, b.Lon, &normalization->longitude) &&
         MapRange(a.Height, b.Height, &normalization->height);
}

void LoadBlock(TPointSpan points, std::size_t first, const TRPCNormalization* normalization, TPointBlock* block) {
  block->count = std::min(TPointBlock::kSize, points.count - first);
  for (std::size_t i = 0; i < TPointBlock::kSize; ++i) {
    const TRPCEstimationPoint& point = points.points[first + std::min(i, block->count - 1)];
    block->P[i] = point.Lat;
    block->L[i] = point.Lon;
    block->H[i] = point.Height;
    block->line[i] = point.Line;
    block->sample[i] = point.Sample;
  }
  if (normalization == nullptr) return;
  Normalize(normalization->latitude, block->P);
  Normalize(normalization->longitude, block->L);
  Normalize(normalization->height, block->H);
  Normalize(normalization->line, block->line);
  Normalize(normalization->sample, block->sample);
}

}  // namespace SatCommonUtils::estimation
