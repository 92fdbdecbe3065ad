#pragma once
// Correspondences brought to normalised form, a small block at a time: a fit of a million points needs no second copy.

#include <cstddef>

#include "refine/rpc_estimation.h"
#include "rpc/rpc_axes.h"

namespace SatCommonUtils::estimation {

/// The least number of points for a cubic fit: one more than the 39 unknowns of an output.
constexpr std::size_t kMinCubicPoints = 40;

/// The least and largest of each coordinate.
struct TPointRanges {
  TRPCEstimationPoint least;
  TRPCEstimationPoint largest;
};

/// A run of points.
struct TPointSpan {
  const TRPCEstimationPoint* points = nullptr;
  std::size_t count = 0;
};

/// True when every coordinate is finite.
bool AllFinite(TPointSpan points);
/// True when no coordinate's absolute value is above the limit.
bool AllBelow(TPointSpan points, double limit);

/// Starts from +DBL_MAX and -DBL_MAX.
TPointRanges RangesOf(TPointSpan points);

/// Maps the range of each coordinate onto [-1, 1]. \return false, some maps changed, for a coordinate without spread.
bool NormalizationOfRanges(const TPointRanges& ranges, TRPCNormalization* normalization);

/// Normalised points, one array a coordinate. P, L, H: latitude, longitude, height.
struct TPointBlock {
  static constexpr std::size_t kSize = 64;
  std::size_t count = 0;
  alignas(64) double P[kSize];
  alignas(64) double L[kSize];
  alignas(64) double H[kSize];
  alignas(64) double line[kSize];
  alignas(64) double sample[kSize];
};

/// Loads the block that begins at point `first`; lanes behind the last point repeat it.
/// \param normalization null: the points are normalised already.
void LoadBlock(TPointSpan points, std::size_t first, const TRPCNormalization* normalization, TPointBlock* block);

}  // namespace SatCommonUtils::estimation
