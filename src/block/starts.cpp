// Starts of the ground points by intersection, pair by pair where all rays together do not meet.

#include "block/starts.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "block/parallel.h"
#include "rpc/ground_solution.h"

namespace SatCommonUtils::block {
namespace {

constexpr std::size_t kPointRun = 256;
/// Models may be off by so many of their a-priori standard deviations.
constexpr double kLargestError = 3.0;
/// Pairs of rays that are tried where all together fail.
constexpr std::size_t kMostPairs = 45;

/// The rays of a point and their measurements.
struct TTrack {
  std::vector<TRPCCoordsDataItem> items;
  std::vector<std::size_t> rays;
};

TTrack TrackOf(const TNetwork& network, std::size_t point) {
  TTrack track;
  for (std::size_t i = network.first[point]; i < network.first[point + 1]; ++i) {
    if (!network.IsUsed(i)) continue;
    const TRay& ray = network.rays[i];
    track.items.push_back({network.problem.images[ray.image].model.get(), ray.line, ray.sample});
    track.rays.push_back(i);
  }
  return track;
}

/// How far a model may be off, pixels.
double LargestError(const TNetwork& network, const TTrack& track) {
  double largest = 0.0;
  for (const std::size_t i : track.rays) {
    const std::uint32_t group = network.groupOf[network.rays[i].image];
    if (group != kNobody) largest = std::max(largest, network.groups[group].sigmaShift);
  }
  return std::max(kLargestError * largest, TIntersectionOptions().largestRms);
}

/// Distances of the rays from a ground point, pixels.
std::vector<double> Misses(const TTrack& track, double lat, double lon, double h) {
  std::vector<double> misses;
  for (const TRPCCoordsDataItem& item : track.items) {
    double line = 0.0;
    double sample = 0.0;
    item.model->CalculateLineSample(lat, lon, h, &line, &sample, nullptr, nullptr);
    misses.push_back(std::hypot(line - item.line, sample - item.sample));
  }
  return misses;
}

/// The pair of rays that most others agree with; the others become bad.
TGroundSolution MeetByPairs(const TTrack& track, const TIntersectionOptions& options, TNetwork* network) {
  TGroundSolution best;
  std::vector<double> bestMisses;
  std::size_t bestCount = 1;
  std::size_t tried = 0;
  for (std::size_t a = 0; a < track.items.size(); ++a) {
    for (std::size_t b = a + 1; b < track.items.size() && tried < kMostPairs; ++b, ++tried) {
      const TGroundIntersection ground = SolveLatLonH({track.items[a], track.items[b]}, options);
      if (!ground) continue;
      const std::vector<double> misses = Misses(track, ground.lat, ground.lon, ground.h);
      const auto count = static_cast<std::size_t>(
          std::count_if(misses.begin(), misses.end(), [&](double miss) { return miss <= options.largestRms; }));
      if (count <= bestCount) continue;
      best = ground;
      bestCount = count;
      bestMisses = misses;
    }
  }
  for (std::size_t n = 0; n < bestMisses.size(); ++n) {
    if (!(bestMisses[n] <= options.largestRms)) network->rayState[track.rays[n]] = TBlockMeasurementState::Bad;
  }
  return best;
}

TGroundSolution Meet(std::size_t point, TNetwork* network) {
  const TTrack track = TrackOf(*network, point);
  TIntersectionOptions options;
  options.largestRms = LargestError(*network, track);
  const TBlockPoint& stated = network->problem.points[point];
  if (stated.role == TBlockPointRole::Height) {
    const double sigma = network->SigmaVertical(point);
    if (track.items.size() == 1) {
      return SolveLatLon(*track.items[0].model, track.items[0].line, track.items[0].sample, stated.height);
    }
    return SolveLatLonH(track.items, stated.height, sigma * sigma, options);
  }
  TGroundSolution ground = SolveLatLonH(track.items, options);
  if (!ground && track.items.size() > 2 && network->options.robust) ground = MeetByPairs(track, options, network);
  return ground;
}

/// Most rays of a control point miss its place by more than the models may be off.
bool IsGross(const TNetwork& network, std::size_t point) {
  const TTrack track = TrackOf(network, point);
  const TBlockPoint& stated = network.problem.points[point];
  const std::vector<double> misses = Misses(track, stated.lat, stated.lon, stated.height);
  const double limit = LargestError(network, track);
  const auto far = std::count_if(misses.begin(), misses.end(), [&](double miss) { return !(miss <= limit); });
  return 2 * static_cast<std::size_t>(far) > misses.size();
}

/// Control that is none: latitude and longitude that changed places, a height in millimetres. Derivatives there say
/// nothing, so that no weight could save the first steps. Where most of the control is like that, the models are off by
/// more than was said of them, and nobody is named.
void LeaveOutGrossControl(TNetwork* network) {
  std::vector<char> gross(network->PointCount(), 0);
  const auto isControl = [&](std::size_t j) {
    return network->pointState[j] == TBlockPointState::Used &&
           network->problem.points[j].role == TBlockPointRole::Control;
  };
  ForRuns(gross.size(), kPointRun, [&](std::size_t first, std::size_t last) {
    for (std::size_t j = first; j < last; ++j) gross[j] = isControl(j) && IsGross(*network, j) ? 1 : 0;
  });
  std::size_t control = 0;
  for (std::size_t j = 0; j < gross.size(); ++j) control += isControl(j) ? 1 : 0;
  const auto count = static_cast<std::size_t>(std::count(gross.begin(), gross.end(), 1));
  if (2 * count <= control) network->knownIsBad = gross;
}

}  // namespace

void FindStarts(TNetwork* network, TEquations* equations) {
  if (network->options.robust) LeaveOutGrossControl(network);
  ForRuns(network->PointCount(), kPointRun, [&](std::size_t first, std::size_t last) {
    for (std::size_t j = first; j < last; ++j) {
      if (network->pointState[j] != TBlockPointState::Used) continue;
      const TBlockPoint& stated = network->problem.points[j];
      TUnknowns& unknowns = equations->unknowns;
      if (stated.role == TBlockPointRole::Control && network->knownIsBad[j] == 0) {
        unknowns.lat[j] = stated.lat;
        unknowns.lon[j] = stated.lon;
        unknowns.height[j] = stated.height;
        continue;
      }
      const TGroundSolution ground = Meet(j, network);
      if (!ground) {
        network->pointState[j] = TBlockPointState::NoIntersection;
        continue;
      }
      unknowns.lat[j] = ground.lat;
      unknowns.lon[j] = ground.lon;
      unknowns.height[j] = ground.h;
    }
  });
  equations->SetFrames();
}

}  // namespace SatCommonUtils::block
