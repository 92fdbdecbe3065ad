// The result of an adjustment: states, residuals, statistics, pieces. Elementary.

#include "block/report.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "frame/zxstd/text.h"

namespace SatCommonUtils::block {
namespace {

using Measurement = TBlockMeasurementState;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

bool IsNamed(Measurement state) { return state == Measurement::Bad || state == Measurement::Undecided; }

bool IsKnownPoint(const TNetwork& network, std::size_t point) {
  return network.pointState[point] == TBlockPointState::Used;
}

/// Residuals of what has a ground point.
void ReportResiduals(const TNetwork& network, const TEquations& equations, TBlockResult* result) {
  for (std::size_t i = 0; i < network.rays.size(); ++i) {
    const TRay& ray = network.rays[i];
    if (!IsKnownPoint(network, network.pointOf[i]) || !network.TakesPart(ray.image)) continue;
    result->measurements.sample[ray.measurement] = equations.rays[i].residual[0];
    result->measurements.line[ray.measurement] = equations.rays[i].residual[1];
  }
}

void ReportImageStatistics(const TNetwork& network, const TEquations& equations, TBlockResult* result) {
  for (std::size_t k = 0; k < result->images.size(); ++k) {
    TBlockImageResiduals& own = result->images[k].residuals;
    double sums[4] = {};
    for (std::size_t n = network.imageFirst[k]; n < network.imageFirst[k + 1]; ++n) {
      const std::uint32_t i = network.imageRays[n];
      own.bad += IsNamed(network.rayState[i]) ? 1 : 0;
      if (!network.IsUsed(i) || !IsKnownPoint(network, network.pointOf[i])) continue;
      const double sample = equations.rays[i].residual[0];
      const double line = equations.rays[i].residual[1];
      ++own.used;
      sums[0] += line;
      sums[1] += sample;
      sums[2] += line * line;
      sums[3] += sample * sample;
      own.largest = std::max(own.largest, std::hypot(line, sample));
    }
    if (own.used == 0) continue;
    const auto count = static_cast<double>(own.used);
    own.meanLine = sums[0] / count;
    own.meanSample = sums[1] / count;
    own.rmsLine = std::sqrt(sums[2] / count);
    own.rmsSample = std::sqrt(sums[3] / count);
  }
}

/// Weighted square sum of measurements and of what is known of the ground, and the numbers of both.
struct TSums {
  double weighted = 0.0;
  double plain = 0.0;
  std::int64_t rays = 0;
  std::int64_t known = 0;
  std::int64_t points = 0;
};

TSums SumsOf(const TNetwork& network, const TEquations& equations) {
  TSums sums;
  for (std::size_t j = 0; j < network.PointCount(); ++j) {
    if (!IsKnownPoint(network, j)) continue;
    ++sums.points;
    for (std::size_t i = network.first[j]; i < network.first[j + 1]; ++i) {
      const double weight = equations.Weight(i);
      if (weight == 0.0) continue;
      const double* const r = equations.rays[i].residual;
      const double square = r[0] * r[0] + r[1] * r[1];
      sums.weighted += weight * square;
      sums.plain += square;
      ++sums.rays;
    }
    TKnownEquation known[3];
    const int count = equations.Known(j, known);
    sums.known += count;
    for (int n = 0; n < count; ++n) sums.weighted += known[n].weight * known[n].value * known[n].value;
  }
  return sums;
}

std::int64_t CorrectionUnknowns(const TNetwork& network) {
  std::int64_t count = 0;
  for (const TGroup& group : network.groups) {
    const bool used = std::any_of(group.images.begin(), group.images.end(), [&](std::uint32_t image) {
      return network.imageState[image] == TBlockImageState::Adjusted;
    });
    if (used) count += ParametersOf(group.kind);
  }
  return count;
}

/// The representative of an image's piece.
std::uint32_t RootOf(std::uint32_t image, std::vector<std::uint32_t>* parent) {
  while ((*parent)[image] != image) {
    (*parent)[image] = (*parent)[(*parent)[image]];
    image = (*parent)[image];
  }
  return image;
}

/// The first image of a point's used rays.
std::uint32_t FirstImage(const TNetwork& network, std::size_t point) {
  for (std::size_t i = network.first[point]; i < network.first[point + 1]; ++i) {
    if (network.IsUsed(i)) return network.rays[i].image;
  }
  return kNobody;
}

double RootMeanSquare(const std::vector<double>& values) {
  double sum = 0.0;
  for (const double value : values) sum += value * value;
  return std::sqrt(sum / static_cast<double>(values.size()));
}

/// The smallest value that 90 % of the values do not exceed.
double Percentile90(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const auto place = static_cast<std::size_t>(std::ceil(0.9 * static_cast<double>(values.size())));
  return values[place - 1];
}

TBlockMisclosureStatistics StatisticsOf(const std::vector<TBlockMisclosure>& misclosures, const TNetwork& network) {
  TBlockMisclosureStatistics statistics;
  std::vector<double> east, north, up, horizontal, vertical;
  for (const TBlockMisclosure& one : misclosures) {
    const bool height = network.problem.points[one.point].role == TBlockPointRole::Height;
    if (height || (one.isBad && !network.IsCheck(one.point))) continue;
    east.push_back(one.east);
    north.push_back(one.north);
    up.push_back(one.up);
    horizontal.push_back(std::hypot(one.east, one.north));
    vertical.push_back(std::fabs(one.up));
  }
  statistics.count = east.size();
  if (east.empty()) return statistics;
  statistics.rmsEast = RootMeanSquare(east);
  statistics.rmsNorth = RootMeanSquare(north);
  statistics.rmsUp = RootMeanSquare(up);
  statistics.ce90 = Percentile90(horizontal);
  statistics.le90 = Percentile90(vertical);
  return statistics;
}

}  // namespace

TFit FitOf(const TNetwork& network, const TEquations& equations) {
  const TSums sums = SumsOf(network, equations);
  TFit fit;
  fit.observations = sums.rays;
  fit.unknowns = CorrectionUnknowns(network) + 3 * sums.points;
  fit.redundancy = 2 * sums.rays + sums.known - fit.unknowns;
  if (fit.redundancy > 0) fit.sigma0 = std::sqrt(sums.weighted / static_cast<double>(fit.redundancy));
  if (sums.rays > 0) fit.rms = std::sqrt(sums.plain / static_cast<double>(2 * sums.rays));
  return fit;
}

void ReportSolution(const TNetwork& network, TLeastSquares& solution, TBlockResult* result) {
  const TEquations& equations = solution.equations;
  const TFit fit = FitOf(network, equations);
  result->observations = fit.observations;
  result->unknowns = fit.unknowns;
  result->redundancy = fit.redundancy;
  result->sigma0 = fit.sigma0;
  result->rms = fit.rms;
  result->iterations = solution.iterations;
  result->factorizations = solution.factorizations;
  result->dense = solution.System().IsDense();
  for (std::size_t k = 0; k < result->images.size(); ++k) {
    const std::uint32_t group = network.groupOf[k];
    if (group == kNobody || network.imageState[k] != TBlockImageState::Adjusted) continue;
    const std::array<double, 6>& c = equations.unknowns.correction[group];
    result->images[k].correction = network.groups[group].kind;
    std::copy_n(c.begin(), 3, result->images[k].parameters.sample.begin());
    std::copy_n(c.begin() + 3, 3, result->images[k].parameters.line.begin());
  }
  for (std::size_t j = 0; j < result->points.size(); ++j) {
    if (!IsKnownPoint(network, j)) continue;
    result->points[j].lat = equations.unknowns.lat[j];
    result->points[j].lon = equations.unknowns.lon[j];
    result->points[j].height = equations.unknowns.height[j];
  }
  ReportResiduals(network, equations, result);
  ReportImageStatistics(network, equations, result);
}

void ReportStates(const TNetwork& network, TBlockResult* result) {
  for (std::uint32_t k = 0; k < result->images.size(); ++k) {
    result->images[k].state = network.imageState[k];
    if (!network.TakesPart(k)) result->lostImages.push_back(k);
  }
  for (std::uint32_t j = 0; j < result->points.size(); ++j) {
    TBlockPointResult& point = result->points[j];
    point.state = network.pointState[j];
    if (!IsKnownPoint(network, j)) result->lostPoints.push_back(j);
    for (std::size_t i = network.first[j]; i < network.first[j + 1]; ++i) {
      point.rays += network.IsUsed(i) && IsKnownPoint(network, j) ? 1 : 0;
      point.bad += IsNamed(network.rayState[i]) ? 1 : 0;
    }
  }
  result->measurements.state = network.outside;
  for (std::size_t i = 0; i < network.rays.size(); ++i) {
    Measurement& state = result->measurements.state[network.rays[i].measurement];
    state = network.rayState[i];
    if (state != Measurement::Used) continue;
    if (!network.TakesPart(network.rays[i].image)) {
      state = Measurement::ImageLost;
    } else if (!IsKnownPoint(network, network.pointOf[i])) {
      state = Measurement::PointLost;
    }
  }
}

void ReportPieces(const TNetwork& network, TBlockResult* result) {
  const std::size_t images = network.imageState.size();
  std::vector<std::uint32_t> parent(images);
  std::iota(parent.begin(), parent.end(), 0u);
  const auto join = [&parent](std::uint32_t a, std::uint32_t b) {
    const std::uint32_t rootA = RootOf(a, &parent);
    const std::uint32_t rootB = RootOf(b, &parent);
    parent[std::max(rootA, rootB)] = std::min(rootA, rootB);
  };
  for (const TGroup& group : network.groups) {
    for (const std::uint32_t image : group.images) join(group.images.front(), image);
  }
  for (std::size_t j = 0; j < network.PointCount(); ++j) {
    if (!IsKnownPoint(network, j)) continue;
    const std::uint32_t own = FirstImage(network, j);
    for (std::size_t i = network.first[j]; i < network.first[j + 1]; ++i) {
      if (network.IsUsed(i)) join(own, network.rays[i].image);
    }
  }
  std::vector<std::uint32_t> pieceOf(images, kNobody);
  for (std::uint32_t k = 0; k < images; ++k) {
    if (!network.TakesPart(k)) continue;
    std::uint32_t& piece = pieceOf[RootOf(k, &parent)];
    if (piece == kNobody) {
      piece = static_cast<std::uint32_t>(result->pieces.size());
      result->pieces.emplace_back();
    }
    TBlockPiece& own = result->pieces[piece];
    own.images.push_back(k);
    own.fixedImages += network.imageState[k] == TBlockImageState::Fixed ? 1 : 0;
  }
  for (std::size_t j = 0; j < network.PointCount(); ++j) {
    if (!IsKnownPoint(network, j)) continue;
    TBlockPiece& own = result->pieces[pieceOf[RootOf(FirstImage(network, j), &parent)]];
    const TKnowledge known = network.Known(j);
    own.ties += known.plane || known.height ? 0 : 1;
    own.control += known.plane ? 1 : 0;
    own.heights += known.height && !known.plane ? 1 : 0;
  }
  for (TBlockPiece& piece : result->pieces) piece.isFree = piece.control == 0 && piece.fixedImages == 0;
  std::stable_sort(result->pieces.begin(), result->pieces.end(),
                   [](const TBlockPiece& a, const TBlockPiece& b) { return a.images.size() > b.images.size(); });
  for (std::size_t p = 0; p < result->pieces.size(); ++p) {
    for (const std::uint32_t image : result->pieces[p].images) result->images[image].piece = static_cast<int>(p);
  }
}

void ReportMisclosures(const TNetwork& network, const TEquations& equations, TBlockResult* result) {
  for (std::uint32_t j = 0; j < network.PointCount(); ++j) {
    const TBlockPointRole role = network.problem.points[j].role;
    if (role == TBlockPointRole::Tie || !IsKnownPoint(network, j)) continue;
    TBlockMisclosure one;
    one.point = j;
    const std::array<double, 3> known = equations.FromStated(j);
    if (role != TBlockPointRole::Height) {
      one.east = known[0];
      one.north = known[1];
    }
    one.up = known[2];
    one.sigmaEast = one.sigmaNorth = one.sigmaUp = kNaN;
    one.isBad = network.knownIsBad[j] != 0;
    (role == TBlockPointRole::Check ? result->check : result->control).push_back(one);
  }
  result->controlStatistics = StatisticsOf(result->control, network);
  result->checkStatistics = StatisticsOf(result->check, network);
}

}  // namespace SatCommonUtils::block
