// The list of points as the caller gave it, without those that take no part. Elementary.

#include "refine/estimation/sorted_points.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "refine/estimation/copies.h"

namespace SatCommonUtils::estimation {

namespace {

// Weights below this share of the largest are 0: a root of 1e-10 of the others' leaves nothing of a residual's effect.
constexpr double kNoWeight = 1e-20;

// Takes the copies out of the candidates. A point keeps the largest weight of its copies.
void TakeOutCopies(std::vector<double>* weights, TSortedPoints* sorted) {
  const TPointSpan all = sorted->candidates;
  const std::vector<std::size_t> first = FirstOfCopies(all.count, [&](std::size_t i) {
    const TRPCEstimationPoint& point = all.points[i];
    return std::array<double, 5>{point.Lat, point.Lon, point.Height, point.Line, point.Sample};
  });
  if (first.empty()) return;
  std::vector<TRPCEstimationPoint> different;
  std::vector<std::size_t> places, number(all.count);
  std::vector<double> weights_of_different;
  for (std::size_t i = 0; i < all.count; ++i) {
    if (first[i] != i) {
      const std::size_t original = number[i] = number[first[i]];
      sorted->copies.emplace_back(sorted->PlaceOf(i), original);
      if (!weights->empty()) weights_of_different[original] = std::max(weights_of_different[original], (*weights)[i]);
      continue;
    }
    number[i] = different.size();
    different.push_back(all.points[i]);
    places.push_back(sorted->PlaceOf(i));
    if (!weights->empty()) weights_of_different.push_back((*weights)[i]);
  }
  sorted->storage = std::move(different);
  sorted->places = std::move(places);
  sorted->candidates = {sorted->storage.data(), sorted->storage.size()};
  *weights = std::move(weights_of_different);
}

// The roots of weights. Weights that are all the same are none. A mean of 1 keeps the ridge and the scores in their
// usual range; a power of two, which changes no other bit, keeps their sum in the range of numbers.
std::vector<double> RootsOf(std::vector<double> weights) {
  const auto range = std::minmax_element(weights.begin(), weights.end());
  if (weights.empty() || *range.first == *range.second) return {};
  const int exponent = std::ilogb(*range.second);
  double sum = 0.0;
  for (double& weight : weights) {
    weight = std::ldexp(weight, -exponent);
    sum += weight;
  }
  const double mean = sum / static_cast<double>(weights.size());
  for (double& weight : weights) weight = std::sqrt(weight / mean);
  return weights;
}

}  // namespace

TSortedPoints SortPoints(const TRPCEstimationDataSet& data, const TRPCFitOptions& options) {
  const std::vector<TRPCEstimationPoint>& all = data.Points;
  const std::vector<double>& weights = options.weights;
  TSortedPoints sorted;
  sorted.check = options.checkPoints;
  const TPointRanges ranges = RangesOf({all.data(), all.size()});
  const bool turns = !data.IsNormalized && !all.empty() && ranges.largest.Lon - ranges.least.Lon > 180.0;
  const double least_weight = weights.empty() ? 0.0 : kNoWeight * *std::max_element(weights.begin(), weights.end());
  const auto takes = [&](std::size_t i) { return weights.empty() || weights[i] > least_weight; };
  bool some_out = options.holdOut > 0;
  for (std::size_t i = 0; i < weights.size() && !some_out; ++i) some_out = !takes(i);
  if (some_out || turns) {
    sorted.storage.reserve(all.size());
    sorted.places.reserve(all.size());
    for (std::size_t i = 0; i < all.size(); ++i) {
      TRPCEstimationPoint point = all[i];
      if (turns) point.Lon = LongitudeNear(all[0].Lon, point.Lon);
      if (options.holdOut > 0 && i % options.holdOut == options.holdOut - 1) {
        sorted.check.push_back(point);
      } else if (takes(i)) {
        sorted.storage.push_back(point);
        sorted.places.push_back(i);
      }
    }
    sorted.candidates = {sorted.storage.data(), sorted.storage.size()};
  } else {
    sorted.candidates = {all.data(), all.size()};
  }
  std::vector<double> taken;
  if (!weights.empty()) {
    taken.reserve(sorted.candidates.count);
    for (std::size_t i = 0; i < sorted.candidates.count; ++i) taken.push_back(weights[sorted.PlaceOf(i)]);
  }
  TakeOutCopies(&taken, &sorted);
  sorted.root_weights = RootsOf(std::move(taken));
  return sorted;
}

}  // namespace SatCommonUtils::estimation
