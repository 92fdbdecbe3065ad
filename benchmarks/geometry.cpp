// Rays, rotations, polygons and polynomial fits. One item is one ray, one matrix, one point or one sample.

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstddef>
#include <random>
#include <vector>

#include "geometry/attitude.h"
#include "geometry/polygon.h"
#include "geometry/polygon_intersection.h"
#include "geometry/ray.h"
#include "linalg/vector.h"
#include "poly/interpolation.h"

namespace {

using SatCommonUtils::TPolygon;
using SatCommonUtils::TVector;

// WGS 84, metres.
constexpr double kEquatorial = 6378137.0;
constexpr double kPolar = 6356752.314245179;
constexpr std::size_t kRays = 1024;

/// Rays from 700 km, up to 30 degrees off the vertical.
struct Rays {
  Rays() {
    std::mt19937_64 engine(1);
    std::uniform_real_distribution<double> component(-0.5, 0.5);
    for (std::size_t i = 0; i < kRays; ++i) {
      const TVector up = TVector(component(engine), component(engine), component(engine)).GetNormalized();
      origins.push_back(up * (kEquatorial + 7e5));
      directions.push_back(0.5 * TVector(component(engine), component(engine), component(engine)) - up);
    }
  }

  std::vector<TVector> origins;
  std::vector<TVector> directions;
};

void BM_RayEllipsoidCartesian(benchmark::State& state) {
  const Rays rays;
  for (auto _ : state) {
    for (std::size_t i = 0; i < kRays; ++i) {
      double x, y, z;
      SatCommonUtils::ray_and_ellipsoid_intersection_cartesian(kEquatorial, kPolar, 100.0, rays.origins[i],
                                                               rays.directions[i], &x, &y, &z);
      benchmark::DoNotOptimize(x + y + z);
    }
  }
  state.SetItemsProcessed(state.iterations() * kRays);
}
BENCHMARK(BM_RayEllipsoidCartesian);

void BM_RayEllipsoidGeodetic(benchmark::State& state) {
  const Rays rays;
  for (auto _ : state) {
    for (std::size_t i = 0; i < kRays; ++i) {
      double lat, lon;
      SatCommonUtils::ray_and_ellipsoid_intersection(kEquatorial, kPolar, 100.0, rays.origins[i], rays.directions[i],
                                                     &lat, &lon, nullptr);
      benchmark::DoNotOptimize(lat + lon);
    }
  }
  state.SetItemsProcessed(state.iterations() * kRays);
}
BENCHMARK(BM_RayEllipsoidGeodetic);

/// Fit of 10,000 samples; the argument is the order.
void BM_PolynomialFit(benchmark::State& state) {
  constexpr std::size_t kSamples = 10000;
  std::vector<double> x, y;
  for (std::size_t i = 0; i < kSamples; ++i) {
    x.push_back(2.0 * static_cast<double>(i) / (kSamples - 1) - 1.0);
    y.push_back(std::sin(3.0 * x.back()));
  }
  SatCommonUtils::TLeastSquaresPolynomialApproximation fit(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    fit.Build(kSamples, x.data(), y.data());
    benchmark::DoNotOptimize(fit.GetValue(0.5));
  }
  state.SetItemsProcessed(state.iterations() * kSamples);
}
BENCHMARK(BM_PolynomialFit)->Arg(1)->Arg(3)->Arg(5)->Arg(8);

void BM_AttitudeMatrix(benchmark::State& state) {
  const SatCommonUtils::TAttitudeAngles angles(0.1, -0.2, 0.3);
  for (auto _ : state) benchmark::DoNotOptimize(angles.GetMatrix());
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_AttitudeMatrix);

void BM_PolygonContains(benchmark::State& state) {
  const TPolygon footprint({{0.0, 0.1}, {1.0, 0.0}, {1.1, 0.9}, {0.1, 1.0}});
  double x = 0.0;
  for (auto _ : state) {
    x = x < 1.2 ? x + 0.01 : 0.0;
    benchmark::DoNotOptimize(footprint.Contains({x, 0.5}));
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_PolygonContains);

void BM_QuadrilateralIntersection(benchmark::State& state) {
  const TPolygon a({{0.0, 0.1}, {1.0, 0.0}, {1.1, 0.9}, {0.1, 1.0}});
  const TPolygon b({{0.5, 0.4}, {1.5, 0.2}, {1.6, 1.2}, {0.4, 1.3}});
  std::vector<TPolygon> pieces;
  for (auto _ : state) benchmark::DoNotOptimize(SatCommonUtils::IntersectPolygons(a, b, &pieces));
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_QuadrilateralIntersection);

}  // namespace
