// Residuals and derivatives of a block. Ground points move in metres towards east, north and up; the ellipsoid's radii
// of curvature turn them into degrees (elementary differential geometry, WGS84).

#include "block/equations.h"

#include <algorithm>
#include <cmath>

#include "block/parallel.h"
#include "rpc/ellipsoid.h"
#include "rpc/rpc_axes.h"

namespace SatCommonUtils::block {
namespace {

/// Rays of one image that are projected together: enough for the lanes, few enough for the caches.
constexpr std::size_t kRun = 2048;
constexpr std::size_t kPointRun = 1024;
/// A step on a height surface for its slope, metres: about a cell of the common elevation models.
constexpr double kSlopeStep = 30.0;
/// East has no direction at a pole; within a metre of it this keeps the frame.
constexpr double kSmallestCosine = 1e-7;
/// A pivot below this share of its diagonal element: the equations leave a direction open to rounding.
constexpr double kSmallestPivotShare = 1e-11;

/// Arrays for the points of one run.
struct TRun {
  std::vector<double> lat, lon, height, line, sample;
  std::vector<double> derivatives;

  explicit TRun(std::size_t count)
      : lat(count), lon(count), height(count), line(count), sample(count), derivatives(6 * count) {}
};

}  // namespace

bool Factor3(const TSymmetric3& a, double* l) {
  const double p0 = a[0];
  if (!(p0 > 0.0)) return false;
  l[0] = std::sqrt(p0);
  l[1] = a[1] / l[0];
  l[3] = a[2] / l[0];
  const double p1 = a[3] - l[1] * l[1];
  if (!(p1 > kSmallestPivotShare * a[3])) return false;
  l[2] = std::sqrt(p1);
  l[4] = (a[4] - l[3] * l[1]) / l[2];
  const double p2 = a[5] - l[3] * l[3] - l[4] * l[4];
  if (!(p2 > kSmallestPivotShare * a[5])) return false;
  l[5] = std::sqrt(p2);
  return true;
}

void SolveLower3(const double* l, double* b) {
  b[0] = b[0] / l[0];
  b[1] = (b[1] - l[1] * b[0]) / l[2];
  b[2] = (b[2] - l[3] * b[0] - l[4] * b[1]) / l[5];
}

void SolveUpper3(const double* l, double* y) {
  y[2] = y[2] / l[5];
  y[1] = (y[1] - l[4] * y[2]) / l[2];
  y[0] = (y[0] - l[1] * y[1] - l[3] * y[2]) / l[0];
}

void Solve3(const double* l, double* b) {
  SolveLower3(l, b);
  SolveUpper3(l, b);
}

TEquations::TEquations(const TNetwork& network)
    : rays(network.rays.size()), weight(network.rays.size(), 1.0), network_(network) {
  const std::size_t points = network.PointCount();
  unknowns.correction.assign(network.groups.size(), {});
  unknowns.lat.assign(points, 0.0);
  unknowns.lon.assign(points, 0.0);
  unknowns.height.assign(points, 0.0);
  metresPerLat_.assign(points, 1.0);
  metresPerLon_.assign(points, 1.0);
  if (network.options.surface != nullptr) surface_.resize(points);
}

void TEquations::SetFrames() {
  for (std::size_t j = 0; j < metresPerLat_.size(); ++j) {
    const ellipsoid::TRadii radii = ellipsoid::RadiiAt(unknowns.lat[j]);
    const double cosine = std::max(std::cos(unknowns.lat[j] * ellipsoid::kRadian), kSmallestCosine);
    metresPerLat_[j] = (radii.meridian + unknowns.height[j]) * ellipsoid::kRadian;
    metresPerLon_[j] = (radii.primeVertical + unknowns.height[j]) * cosine * ellipsoid::kRadian;
  }
}

void TEquations::Move(std::size_t point, const double* metres) {
  unknowns.lon[point] += metres[0] / metresPerLon_[point];
  unknowns.lat[point] += metres[1] / metresPerLat_[point];
  unknowns.height[point] += metres[2];
}

void TEquations::Linearize() {
  struct TPart {
    std::uint32_t image;
    std::size_t first, last;
  };
  std::vector<TPart> parts;
  for (std::uint32_t k = 0; k < network_.imageState.size(); ++k) {
    if (!network_.TakesPart(k)) continue;
    for (std::size_t i = network_.imageFirst[k]; i < network_.imageFirst[k + 1]; i += kRun) {
      parts.push_back({k, i, std::min(i + kRun, network_.imageFirst[k + 1])});
    }
  }
  ForRuns(parts.size(), 1,
          [&](std::size_t part, std::size_t) { LinearizeRun(parts[part].image, parts[part].first, parts[part].last); });
  if (network_.options.surface != nullptr) MeetSurface();
}

void TEquations::LinearizeRun(std::uint32_t image, std::size_t first, std::size_t last) {
  const std::size_t count = last - first;
  TRun run(count);
  for (std::size_t n = 0; n < count; ++n) {
    const std::uint32_t point = network_.pointOf[network_.imageRays[first + n]];
    run.lat[n] = unknowns.lat[point];
    run.lon[n] = unknowns.lon[point];
    run.height[n] = unknowns.height[point];
  }
  double* by[6];
  for (int c = 0; c < 6; ++c) by[c] = run.derivatives.data() + c * count;
  const TRPC& model = *network_.problem.images[image].model;
  model.CalculateLineSampleArray(count, run.lat.data(), run.lon.data(), run.height.data(), run.line.data(),
                                 run.sample.data(), by, by + 3);
  const TRPCNormalization& axes = model.GetNormalization();
  const double sampleScale = 1.0 / axes.sample.GetScale();
  const double lineScale = 1.0 / axes.line.GetScale();
  const std::uint32_t group = network_.groupOf[image];
  const std::array<double, 6> none{};
  const std::array<double, 6>& c = group == kNobody ? none : unknowns.correction[group];
  // The corrected point moves by the raw one's movement and by what the correction's own drift makes of it.
  const double ss = 1.0 + c[1] * sampleScale, sl = c[2] * lineScale;
  const double ls = c[4] * sampleScale, ll = 1.0 + c[5] * lineScale;
  for (std::size_t n = 0; n < count; ++n) {
    const std::size_t i = network_.imageRays[first + n];
    const std::uint32_t point = network_.pointOf[i];
    TRayEquations& ray = rays[i];
    ray.u = (run.sample[n] - axes.sample.GetOffset()) * sampleScale;
    ray.v = (run.line[n] - axes.line.GetOffset()) * lineScale;
    const double sample = run.sample[n] + (c[0] + c[1] * ray.u + c[2] * ray.v);
    const double line = run.line[n] + (c[3] + c[4] * ray.u + c[5] * ray.v);
    ray.residual[0] = network_.rays[i].sample - sample;
    ray.residual[1] = network_.rays[i].line - line;
    // Derivatives come by latitude, longitude, height; the local axes are east, north, up.
    const double east = 1.0 / metresPerLon_[point];
    const double north = 1.0 / metresPerLat_[point];
    const double rawLine[3] = {by[1][n] * east, by[0][n] * north, by[2][n]};
    const double rawSample[3] = {by[4][n] * east, by[3][n] * north, by[5][n]};
    for (int d = 0; d < 3; ++d) {
      ray.e[d] = ss * rawSample[d] + sl * rawLine[d];
      ray.e[3 + d] = ls * rawSample[d] + ll * rawLine[d];
    }
  }
}

void TEquations::MeetSurface() {
  const THeightSurface& heights = *network_.options.surface;
  ForRuns(surface_.size(), kPointRun, [&](std::size_t first, std::size_t last) {
    const std::size_t count = last - first;
    std::vector<double> lat(3 * count), lon(3 * count), h(3 * count);
    for (std::size_t n = 0; n < count; ++n) {
      const std::size_t j = first + n;
      for (std::size_t shifted = 0; shifted < 3; ++shifted) {
        lat[shifted * count + n] = unknowns.lat[j] + (shifted == 2 ? kSlopeStep / metresPerLat_[j] : 0.0);
        lon[shifted * count + n] = unknowns.lon[j] + (shifted == 1 ? kSlopeStep / metresPerLon_[j] : 0.0);
      }
    }
    heights.GetHeights(3 * count, lat.data(), lon.data(), h.data());
    for (std::size_t n = 0; n < count; ++n) {
      const double east = (h[count + n] - h[n]) / kSlopeStep;
      const double north = (h[2 * count + n] - h[n]) / kSlopeStep;
      surface_[first + n] = {h[n] - unknowns.height[first + n], std::isfinite(east) ? east : 0.0,
                             std::isfinite(north) ? north : 0.0};
    }
  });
}

double TEquations::Weight(std::size_t ray) const {
  if (!network_.IsUsed(ray)) return 0.0;
  const double sigma = network_.rays[ray].sigma;
  return weight[ray] / (sigma * sigma);
}

int TEquations::Known(std::size_t point, TKnownEquation* equations) const {
  const TKnowledge known = network_.Known(point);
  const TBlockPoint& stated = network_.problem.points[point];
  int count = 0;
  if (known.plane) {
    const double sigma = network_.SigmaHorizontal(point);
    const std::array<double, 3> off = FromStated(point);
    equations[count++] = {{1.0, 0.0, 0.0}, -off[0], 1.0 / (sigma * sigma)};
    equations[count++] = {{0.0, 1.0, 0.0}, -off[1], 1.0 / (sigma * sigma)};
  }
  if (known.height) {
    const double sigma = network_.SigmaVertical(point);
    if (stated.role != TBlockPointRole::Tie) {
      equations[count++] = {{0.0, 0.0, 1.0}, stated.height - unknowns.height[point], 1.0 / (sigma * sigma)};
    } else if (const auto& [above, east, north] = surface_[point]; std::isfinite(above)) {
      equations[count++] = {{-east, -north, 1.0}, above, 1.0 / (sigma * sigma)};
    }
  }
  return count;
}

std::array<double, 3> TEquations::FromStated(std::size_t point) const {
  const TBlockPoint& stated = network_.problem.points[point];
  const double lon = LongitudeNear(unknowns.lon[point], stated.lon);
  return {(unknowns.lon[point] - lon) * metresPerLon_[point], (unknowns.lat[point] - stated.lat) * metresPerLat_[point],
          unknowns.height[point] - stated.height};
}

double TEquations::PriorWeight(std::size_t group, int parameter) const {
  const TGroup& owner = network_.groups[group];
  const double sigma = parameter % 3 == 0 ? owner.sigmaShift : owner.sigmaDrift;
  return 1.0 / (sigma * sigma);
}

double TEquations::Cost() const {
  double cost = SumOverRuns(network_.PointCount(), kPointRun, [&](std::size_t first, std::size_t last) {
    double sum = 0.0;
    for (std::size_t j = first; j < last; ++j) {
      if (network_.pointState[j] != TBlockPointState::Used) continue;
      for (std::size_t i = network_.first[j]; i < network_.first[j + 1]; ++i) {
        const double w = Weight(i);
        if (w == 0.0) continue;
        const double* const r = rays[i].residual;
        sum += w * (r[0] * r[0] + r[1] * r[1]);
      }
      TKnownEquation known[3];
      const int count = Known(j, known);
      for (int n = 0; n < count; ++n) sum += known[n].weight * known[n].value * known[n].value;
    }
    return sum;
  });
  for (std::size_t g = 0; g < unknowns.correction.size(); ++g) {
    for (int c = 0; c < 6; ++c) {
      cost += PriorWeight(g, c) * unknowns.correction[g][c] * unknowns.correction[g][c];
    }
  }
  return cost;
}

}  // namespace SatCommonUtils::block
