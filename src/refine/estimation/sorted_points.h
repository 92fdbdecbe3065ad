#pragma once
// The points of a fit: which take part, with which weight, and which check it.

#include <cstddef>
#include <utility>
#include <vector>

#include "refine/estimation/point_block.h"
#include "refine/robust_fit.h"

namespace SatCommonUtils::estimation {

/// Coordinates and weights beyond this would not stay in the range of numbers when they are squared.
constexpr double kLargestNumber = 1e60;

/// The points that a fit may take and those that check it, without copies where all may be fitted.
struct TSortedPoints {
  TPointSpan candidates;
  std::vector<TRPCEstimationPoint> check;
  std::vector<double> root_weights;  ///< mean of the squares 1; empty: all 1
  std::vector<std::size_t> places;   ///< of the candidates in the caller's list; empty: the same
  /// Points equal to a candidate that comes before: their places, and that candidate's number.
  std::vector<std::pair<std::size_t, std::size_t>> copies;
  std::vector<TRPCEstimationPoint> storage;

  /// The place of a candidate in the caller's list.
  std::size_t PlaceOf(std::size_t candidate) const { return places.empty() ? candidate : places[candidate]; }
  const double* RootWeights() const { return root_weights.empty() ? nullptr : root_weights.data(); }
};

/// Longitudes on both sides of the 180th meridian come in one turn. The data must live as long as the result.
TSortedPoints SortPoints(const TRPCEstimationDataSet& data, const TRPCFitOptions& options);

}  // namespace SatCommonUtils::estimation
