// Looks for the ground of an image by shrinking rectangles, and for poles by walks downhill. Elementary.

#include "refine/image_nodes.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "rpc/rpc_terms.h"

namespace SatCommonUtils::refine {
namespace {

/// Corners of images reach over the ground box, whose sizes are often those of the image's middle height: so far does
/// the search go.
constexpr double kReach = 1.5;

/// The normalised place of node `i` of `count` from `first` to `last`.
double PlaceOf(int i, int count, bool middles, double first, double last) {
  const double share = middles ? (i + 0.5) / count : static_cast<double>(i) / (count - 1);
  return first + (last - first) * share;
}

/// True when a polynomial with its constant's sign is that wherever the search goes.
bool IsPositiveInBox(const double* coefficients) {
  double others = 0.0;
  for (int k = 1; k < kRPCTermCount; ++k) others += std::fabs(coefficients[k]);
  return others * kReach * kReach * kReach < std::fabs(coefficients[0]);
}

}  // namespace

TImageSampler::TImageSampler(const TAdjustedRPC& model) : model_(model) {
  model.GetRPCData(&record_);
  int width = 0, height = 0;
  has_raster_ = model.GetRasterDims(&width, &height);
  lines_ = height;
  samples_ = width;
  double line, sample, by_line[3], by_sample[3];
  model.CalculateLineSampleNormalized(0.0, 0.0, 0.0, &line, &sample, by_line, by_sample);
  orientation_ = by_line[0] * by_sample[1] - by_line[1] * by_sample[0] < 0.0 ? -1.0 : 1.0;
}

double TImageSampler::RemotenessAt(double p, double l, double h, bool* on_branch) const {
  double terms[kRPCTermCount];
  FormRPCTerms({p, l, h}, terms);
  double line, sample, by_line[3], by_sample[3];
  model_.CalculateLineSampleNormalized(p, l, h, &line, &sample, by_line, by_sample);
  *on_branch = SumRPCTerms(record_.lineDenCoef, terms) * record_.lineDenCoef[0] > 0.0 &&
               SumRPCTerms(record_.sampDenCoef, terms) * record_.sampDenCoef[0] > 0.0 &&
               (by_line[0] * by_sample[1] - by_line[1] * by_sample[0]) * orientation_ > 0.0;
  if (has_raster_) {
    double refined_line, refined_sample;
    model_.GetRefinement()->RawToRefined(model_.GetLineNormalization()->Normalized2Initial(line),
                                         model_.GetSampleNormalization()->Normalized2Initial(sample), &refined_line,
                                         &refined_sample, nullptr, nullptr);
    line = lines_ > 1.0 ? 2.0 * refined_line / (lines_ - 1.0) - 1.0 : refined_line;
    sample = samples_ > 1.0 ? 2.0 * refined_sample / (samples_ - 1.0) - 1.0 : refined_sample;
  }
  const double remoteness = std::max(std::fabs(line), std::fabs(sample));
  return std::isfinite(remoteness) ? remoteness : std::numeric_limits<double>::infinity();
}

bool TImageSampler::NodeAt(double p, double l, double h, TImageNode* node) const {
  bool on_branch = false;
  if (!(RemotenessAt(p, l, h, &on_branch) <= 1.0) || !on_branch) return false;
  node->p = p, node->l = l, node->h = h;
  node->lat = model_.GetLatitudeNormalization()->Normalized2Initial(p);
  node->lon = model_.GetLongitudeNormalization()->Normalized2Initial(l);
  node->height = model_.GetHeightNormalization()->Normalized2Initial(h);
  model_.CalculateLineSample(node->lat, node->lon, node->height, &node->line, &node->sample, nullptr, nullptr);
  return std::isfinite(node->line) && std::isfinite(node->sample);
}

// Some models' ground boxes are a hundred times their image: the rectangle shrinks around the nodes that the image
// shows, or, while there are none, around the nearest one.
bool TImageSampler::FindRect(double h, TRect* rect) const {
  constexpr int kAcross = 17;
  constexpr int kEnough = kAcross * kAcross / 4;
  constexpr int kMostRounds = 12;
  *rect = {{-kReach, -kReach}, {kReach, kReach}};
  int shown = 0;
  for (int round = 0; round < kMostRounds && shown < kEnough; ++round) {
    TRect found = {{2.0, 2.0}, {-2.0, -2.0}};
    TRect nearest = found;
    double least = std::numeric_limits<double>::infinity();
    shown = 0;
    for (int i = 0; i < kAcross; ++i) {
      for (int j = 0; j < kAcross; ++j) {
        const double at[2] = {PlaceOf(i, kAcross, false, rect->least[0], rect->largest[0]),
                              PlaceOf(j, kAcross, false, rect->least[1], rect->largest[1])};
        bool on_branch = false;
        const double remoteness = RemotenessAt(at[0], at[1], h, &on_branch);
        if (!on_branch) continue;
        if (remoteness < least) {
          least = remoteness;
          nearest = {{at[0], at[1]}, {at[0], at[1]}};
        }
        if (remoteness > 1.0) continue;
        ++shown;
        for (std::size_t axis = 0; axis < 2; ++axis) {
          found.least[axis] = std::min(found.least[axis], at[axis]);
          found.largest[axis] = std::max(found.largest[axis], at[axis]);
        }
      }
    }
    if (!std::isfinite(least)) return false;
    if (shown == 0) found = nearest;
    for (std::size_t axis = 0; axis < 2; ++axis) {
      const double cell = (rect->largest[axis] - rect->least[axis]) / (kAcross - 1);
      rect->least[axis] = std::max(-kReach, found.least[axis] - cell);
      rect->largest[axis] = std::min(kReach, found.largest[axis] + cell);
    }
  }
  return shown > 0;
}

std::vector<TImageNode> TImageSampler::Nodes(const TNodeGrid& grid) const {
  std::vector<TImageNode> nodes;
  for (int k = 0; k < grid.heights; ++k) {
    const double h = PlaceOf(k, grid.heights, grid.middles, -1.0, 1.0);
    TRect rect;
    if (!FindRect(h, &rect)) continue;
    for (int i = 0; i < grid.across; ++i) {
      for (int j = 0; j < grid.across; ++j) {
        TImageNode node;
        const double p = PlaceOf(i, grid.across, grid.middles, rect.least[0], rect.largest[0]);
        const double l = PlaceOf(j, grid.across, grid.middles, rect.least[1], rect.largest[1]);
        if (NodeAt(p, l, h, &node)) nodes.push_back(node);
      }
    }
  }
  return nodes;
}

// Compass search. A step leads nowhere but to a place that the image shows, or beyond the pole that is looked for.
double TImageSampler::LeastDenominatorNear(const double* denominator, double p, double l, double h,
                                           double reach) const {
  constexpr double kSmallestReach = 1e-6;
  double at[3] = {p, l, h};
  const auto value = [&] {
    double terms[kRPCTermCount];
    FormRPCTerms({at[0], at[1], at[2]}, terms);
    return SumRPCTerms(denominator, terms) / denominator[0];
  };
  double least = value();
  while (reach > kSmallestReach && least > 0.0) {
    bool moved = false;
    for (double& coordinate : at) {
      for (const double sign : {-1.0, 1.0}) {
        const double before = coordinate;
        coordinate = std::min(kReach, std::max(-kReach, before + sign * reach));
        const double there = value();
        TImageNode node;
        if (there < least && (there <= 0.0 || NodeAt(at[0], at[1], at[2], &node))) {
          least = there;
          moved = true;
        } else {
          coordinate = before;
        }
      }
    }
    if (!moved) reach *= 0.5;
  }
  return least;
}

bool TImageSampler::ShowsPole() const {
  constexpr int kAcross = 33;
  constexpr int kHeights = 17;
  constexpr double kPole = 0.01;  // of the value at the centre
  for (const double* denominator : {record_.lineDenCoef, record_.sampDenCoef}) {
    if (IsPositiveInBox(denominator)) continue;
    // The lowest point of each level, and from there downhill.
    for (int k = 0; k < kHeights; ++k) {
      const double h = PlaceOf(k, kHeights, false, -1.0, 1.0);
      TRect rect;
      if (!FindRect(h, &rect)) continue;
      double least = std::numeric_limits<double>::infinity(), least_p = 0.0, least_l = 0.0;
      for (int i = 0; i < kAcross; ++i) {
        for (int j = 0; j < kAcross; ++j) {
          const double p = PlaceOf(i, kAcross, false, rect.least[0], rect.largest[0]);
          const double l = PlaceOf(j, kAcross, false, rect.least[1], rect.largest[1]);
          double terms[kRPCTermCount];
          FormRPCTerms({p, l, h}, terms);
          const double value = SumRPCTerms(denominator, terms) / denominator[0];
          TImageNode node;
          if (!(value < least) || !NodeAt(p, l, h, &node)) continue;
          least = value, least_p = p, least_l = l;
        }
      }
      if (!std::isfinite(least)) continue;
      const double reach = std::max(rect.largest[0] - rect.least[0], rect.largest[1] - rect.least[1]) / kAcross;
      if (LeastDenominatorNear(denominator, least_p, least_l, h, reach) < kPole) return true;
    }
  }
  return false;
}

}  // namespace SatCommonUtils::refine
