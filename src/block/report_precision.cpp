// What the covariances say of a result, and the lists of what is bad. Tests as in snooping.cpp.

#include <algorithm>
#include <cmath>

#include "block/chi_square.h"
#include "block/parallel.h"
#include "block/precision.h"
#include "block/report.h"
#include "frame/zxstd/text.h"

namespace SatCommonUtils::block {
namespace {

using Measurement = TBlockMeasurementState;
using Zentarix::ssprintf;

constexpr std::size_t kPointRun = 256;
constexpr double kVarianceFloor = 0.02;

/// The largest standard deviation of a correction over the corners of the model's box.
double CornerSigma(const std::array<double, 36>& covariance) {
  double largest = 0.0;
  for (const int u : {-1, 1}) {
    for (const int v : {-1, 1}) {
      const double terms[3] = {1.0, double(u), double(v)};
      for (const int first : {0, 3}) {
        double variance = 0.0;
        for (int p = 0; p < 3; ++p) {
          for (int q = 0; q < 3; ++q) variance += terms[p] * terms[q] * covariance[(first + p) * 6 + first + q];
        }
        largest = std::max(largest, variance);
      }
    }
  }
  return std::sqrt(largest);
}

/// Length of a residual in standard deviations: root of the mean over the directions that show an error.
double Standardized(const TResidualTest& test, double spread) {
  return test.freedom == 0 ? 0.0 : std::sqrt(test.square / test.freedom) / spread;
}

void ReportRays(const TNetwork& network, const TEquations& equations, const TPointPrecision& precision, double spread,
                TBlockMeasurementResults* results) {
  for (std::size_t n = 0; n < precision.rays.size(); ++n) {
    const std::size_t i = precision.rays[n];
    const std::uint32_t m = network.rays[i].measurement;
    const double variance = network.rays[i].sigma * network.rays[i].sigma;
    const std::array<double, 3> q = ResidualCovariance(network, precision, n);
    const TResidualTest test = TestOf(equations.rays[i].residual, q.data(), kVarianceFloor * variance);
    results->standardized[m] = Standardized(test, spread);
    results->redundancy[m] = n < precision.used ? 0.5 * (q[0] + q[2]) / variance : 1.0;
  }
}

/// Expected size of a misclosure and its test: of a used known place the stated variance less the point's, else the
/// sum.
void FinishMisclosure(const TNetwork& network, const std::array<double, 9>& covariance, double spread, bool used,
                      TBlockMisclosure* one) {
  const double horizontal = network.SigmaHorizontal(one->point);
  const double vertical = network.SigmaVertical(one->point);
  const double stated[3] = {horizontal * horizontal, horizontal * horizontal, vertical * vertical};
  const double off[3] = {one->east, one->north, one->up};
  double* const sigmas[3] = {&one->sigmaEast, &one->sigmaNorth, &one->sigmaUp};
  const bool height = network.problem.points[one->point].role == TBlockPointRole::Height;
  double square = 0.0;
  int freedom = 0;
  for (int k = height ? 2 : 0; k < 3; ++k) {
    const double variance = used ? stated[k] * spread * spread - covariance[4 * k] : stated[k] + covariance[4 * k];
    *sigmas[k] = std::sqrt(std::max(variance, 0.0));
    if (!(variance > kVarianceFloor * stated[k] * (used ? spread * spread : 0.0))) continue;
    square += off[k] * off[k] / variance;
    ++freedom;
  }
  if (freedom == 0) return;
  one->standardized = std::sqrt(square / freedom);
  if (!used) one->isBad = square > ChiSquareLimit(network.options.significance, freedom);
}

/// The worst first; what has no number last.
template <class Value>
void SortWorstFirst(std::vector<std::uint32_t>* places, const Value& value) {
  std::stable_sort(places->begin(), places->end(), [&](std::uint32_t a, std::uint32_t b) {
    const double x = value(a);
    const double y = value(b);
    return std::isnan(y) ? !std::isnan(x) : x > y;
  });
}

}  // namespace

void ReportPrecision(const TNetwork& network, TLeastSquares& solution, TBlockResult* result) {
  const TBlockOptions& options = network.options;
  const bool corrections = options.covariance != TBlockCovariance::None;
  const bool points = options.covariance == TBlockCovariance::Points;
  result->scaled = options.scaleBySigma0 && result->sigma0 > 0.0;
  const double spread = result->scaled ? result->sigma0 : 1.0;
  const TReducedSystem& system = solution.System();
  for (std::size_t k = 0; k < result->images.size() && corrections; ++k) {
    const std::uint32_t group = network.groupOf[k];
    TBlockImageResult& image = result->images[k];
    if (network.imageState[k] == TBlockImageState::Fixed) image.covariance.fill(0.0);
    if (group == kNobody || network.imageState[k] != TBlockImageState::Adjusted) continue;
    if (!system.Covariance(group, group, &image.covariance)) continue;
    for (double& value : image.covariance) value *= spread * spread;
    image.cornerSigma = CornerSigma(image.covariance);
  }
  ForRuns(network.PointCount(), kPointRun, [&](std::size_t first, std::size_t last) {
    TPointPrecision precision;
    for (std::size_t j = first; j < last; ++j) {
      if (network.pointState[j] != TBlockPointState::Used) continue;
      PrecisionOf(network, solution.equations, system, corrections, j, &precision);
      if (!precision.known) continue;
      ReportRays(network, solution.equations, precision, spread, &result->measurements);
      if (!points) continue;
      const TSymmetric3& c = precision.covariance;
      result->points[j].covariance = {c[0], c[1], c[2], c[1], c[3], c[4], c[2], c[4], c[5]};
      for (double& value : result->points[j].covariance) value *= spread * spread;
    }
  });
  if (!points) return;
  for (TBlockMisclosure& one : result->control) {
    FinishMisclosure(network, result->points[one.point].covariance, spread, !one.isBad, &one);
  }
  for (TBlockMisclosure& one : result->check) {
    FinishMisclosure(network, result->points[one.point].covariance, spread, false, &one);
  }
}

void ReportLostPoints(const TNetwork& network, const TEquations& equations, TBlockResult* result) {
  for (std::size_t j = 0; j < network.PointCount(); ++j) {
    if (network.pointState[j] != TBlockPointState::LostMeasurements) continue;
    TPointEquations own;
    std::vector<std::size_t> rays;
    for (std::size_t i = network.first[j]; i < network.first[j + 1]; ++i) {
      if (network.rayState[i] == Measurement::Repeated || !network.TakesPart(network.rays[i].image)) continue;
      own.Add(equations.rays[i], 1.0 / (network.rays[i].sigma * network.rays[i].sigma));
      rays.push_back(i);
    }
    double factor[6];
    if (rays.size() < 2 || !Factor3(own.normal, factor)) continue;
    double move[3] = {own.right[0], own.right[1], own.right[2]};
    Solve3(factor, move);
    for (const std::size_t i : rays) {
      const TRay& ray = network.rays[i];
      double v[2];
      double half[6];
      for (int r = 0; r < 2; ++r) {
        const double* const e = equations.rays[i].e + 3 * r;
        v[r] = equations.rays[i].residual[r] - (e[0] * move[0] + e[1] * move[1] + e[2] * move[2]);
        std::copy(e, e + 3, half + 3 * r);
        SolveLower3(factor, half + 3 * r);
      }
      const double variance = ray.sigma * ray.sigma;
      const double q[3] = {variance - (half[0] * half[0] + half[1] * half[1] + half[2] * half[2]),
                           -(half[0] * half[3] + half[1] * half[4] + half[2] * half[5]),
                           variance - (half[3] * half[3] + half[4] * half[4] + half[5] * half[5])};
      const bool scaled = network.options.scaleBySigma0 && result->sigma0 > 0.0;
      result->measurements.sample[ray.measurement] = v[0];
      result->measurements.line[ray.measurement] = v[1];
      result->measurements.standardized[ray.measurement] =
          Standardized(TestOf(v, q, kVarianceFloor * variance), scaled ? result->sigma0 : 1.0);
      result->measurements.redundancy[ray.measurement] = 0.5 * (q[0] + q[2]) / variance;
    }
  }
}

void ReportLists(const TNetwork& network, TBlockResult* result) {
  const TBlockMeasurementResults& m = result->measurements;
  for (std::uint32_t i = 0; i < m.state.size(); ++i) {
    if (m.state[i] == Measurement::Bad || m.state[i] == Measurement::Undecided) result->badMeasurements.push_back(i);
  }
  SortWorstFirst(&result->badMeasurements, [&](std::uint32_t i) { return m.standardized[i]; });
  for (std::uint32_t n = 0; n < result->control.size(); ++n) {
    if (result->control[n].isBad) result->badControl.push_back(n);
  }
  SortWorstFirst(&result->badControl, [&](std::uint32_t n) { return result->control[n].standardized; });
  for (std::size_t p = 0; p < result->pieces.size(); ++p) {
    const TBlockPiece& piece = result->pieces[p];
    if (!piece.isFree) continue;
    const std::string name = result->pieces.size() == 1
                                 ? std::string("the block")
                                 : ssprintf("piece %d (%d images)", int(p) + 1, int(piece.images.size()));
    result->notes.push_back(name +
                            " has no control: nothing but the a-priori sigmas of the corrections holds its place");
  }
  if (result->pieces.size() > 1) {
    result->notes.push_back(ssprintf("the block falls into %d pieces that no point links", int(result->pieces.size())));
  }
  for (const std::uint32_t k : result->lostImages) {
    result->notes.push_back("image " + network.problem.images[k].name +
                            " takes no part: " + DescribeBlockState(result->images[k].state));
  }
  for (const std::uint32_t n : result->badControl) {
    const TBlockMisclosure& one = result->control[n];
    result->notes.push_back(
        ssprintf("control point %s does not belong to the others: %.2f m east, %.2f m north, %.2f m up",
                 network.problem.points[one.point].name.c_str(), one.east, one.north, one.up));
  }
}

}  // namespace SatCommonUtils::block
