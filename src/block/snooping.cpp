// Data snooping: W. Baarda, "A testing procedure for use in geodetic networks" (1968), with both coordinates of a
// measurement tested together (W. Foerstner and B. Wrobel, "Photogrammetric Computer Vision", 2016, section 4.6).

#include "block/snooping.h"

#include <atomic>
#include <cmath>

#include "block/chi_square.h"
#include "block/parallel.h"
#include "block/precision.h"

namespace SatCommonUtils::block {
namespace {

constexpr std::size_t kPointRun = 256;
/// As in consensus.cpp: what a residual cannot show is not tested.
constexpr double kVarianceFloor = 0.02;

using Measurement = TBlockMeasurementState;

/// How far above its limit a test is: 1 is at the limit; 0 for nothing to test.
double Ratio(const TResidualTest& test, double sigma0, const double* limits) {
  return test.freedom == 0 ? 0.0 : test.square / (sigma0 * sigma0 * limits[test.freedom]);
}

/// Index of the covariance of two axes in the upper triangle.
constexpr int kDiagonal[3] = {0, 3, 5};

/// The worst of what is known of the place: each equation by itself.
double KnownRatio(const TKnownEquation* known, int count, const TPointPrecision& precision, bool used, double sigma0,
                  const double* limits) {
  double worst = 0.0;
  for (int n = 0; n < count; ++n) {
    const double* const row = known[n].row;
    const TSymmetric3& c = precision.covariance;
    double fitted = 0.0;
    for (int k = 0; k < 3; ++k) fitted += row[k] * row[k] * c[kDiagonal[k]];
    fitted += 2.0 * (row[0] * row[1] * c[1] + row[0] * row[2] * c[2] + row[1] * row[2] * c[4]);
    const double own = 1.0 / known[n].weight;
    const double variance = used ? own - fitted : own + fitted;
    if (variance <= kVarianceFloor * own) continue;
    worst = std::max(worst, Ratio({known[n].value * known[n].value / variance, 1}, sigma0, limits));
  }
  return worst;
}

struct TSnoop {
  double sigma0;
  bool corrections;
  double limits[3];
};

std::size_t SnoopPoint(const TSnoop& snoop, std::size_t point, const TEquations& equations,
                       const TReducedSystem& system, TNetwork* network, TPointPrecision* precision) {
  PrecisionOf(*network, equations, system, snoop.corrections, point, precision);
  if (!precision->known) return 0;
  const char wasBad = network->knownIsBad[point];
  network->knownIsBad[point] = 0;
  TKnownEquation known[3];
  const int count = equations.Known(point, known);
  network->knownIsBad[point] = wasBad;
  const double ofKnown = KnownRatio(known, count, *precision, wasBad == 0, snoop.sigma0, snoop.limits);
  double worst = wasBad == 0 ? ofKnown : 0.0;
  std::size_t worstRay = precision->rays.size();
  std::size_t welcome = 0;
  std::vector<double> ratios;
  for (std::size_t n = 0; n < precision->rays.size(); ++n) {
    const std::size_t i = precision->rays[n];
    const std::array<double, 3> q = ResidualCovariance(*network, *precision, n);
    const double floor = kVarianceFloor * network->rays[i].sigma * network->rays[i].sigma;
    ratios.push_back(Ratio(TestOf(equations.rays[i].residual, q.data(), floor), snoop.sigma0, snoop.limits));
    if (n >= precision->used) {
      welcome += ratios[n] <= 1.0 ? 1 : 0;
    } else if (ratios[n] > worst) {
      worst = ratios[n];
      worstRay = n;
    }
  }
  if (worst > 1.0) {
    if (worstRay == precision->rays.size()) {
      network->knownIsBad[point] = 1;
    } else if (precision->used == 2 && count == 0) {
      // The two contradict each other, and neither can be told from the other.
      network->rayState[precision->rays[0]] = Measurement::Undecided;
      network->rayState[precision->rays[1]] = Measurement::Undecided;
      network->pointState[point] = TBlockPointState::LostMeasurements;
    } else {
      network->rayState[precision->rays[worstRay]] = Measurement::Bad;
    }
    return 1;
  }
  if (wasBad != 0 && count > 0 && ofKnown <= 1.0) {
    network->knownIsBad[point] = 0;
    return 1;
  }
  if (welcome == 0) return 0;
  for (std::size_t n = precision->used; n < precision->rays.size(); ++n) {
    if (ratios[n] <= 1.0) network->rayState[precision->rays[n]] = Measurement::Used;
  }
  return welcome;
}

}  // namespace

std::size_t Snoop(double sigma0, bool corrections, TNetwork* network, TLeastSquares* solution) {
  const double share = network->options.significance;
  const TSnoop snoop{sigma0, corrections, {0.0, ChiSquareLimit(share, 1), ChiSquareLimit(share, 2)}};
  std::atomic<std::size_t> changes{0};
  ForRuns(network->PointCount(), kPointRun, [&](std::size_t first, std::size_t last) {
    TPointPrecision precision;
    std::size_t own = 0;
    for (std::size_t j = first; j < last; ++j) {
      if (network->pointState[j] != TBlockPointState::Used) continue;
      own += SnoopPoint(snoop, j, solution->equations, solution->System(), network, &precision);
    }
    changes += own;
  });
  return changes;
}

}  // namespace SatCommonUtils::block
