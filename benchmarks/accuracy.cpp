// Ground points with and without their uncertainty: what the covariance and the circular errors cost beside the
// solution itself. One thread; the model that ships with the project.

#include <benchmark/benchmark.h>
#include <orbmath.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <vector>

namespace {

using namespace SatCommonUtils;

constexpr std::size_t kPoints = 20000;

TRPC ReadModel(const char* path) {
  TRPCFile file;
  TRPCFileError error;
  if (!ReadRPCFile(path, &file, &error)) {
    std::fprintf(stderr, "%s\n", error.GetText().c_str());
    std::exit(1);
  }
  return TRPC(file.record);
}

/// The shipped pair, points of the left image at heights, and where the right one shows them.
struct Scene {
  TRPC left = ReadModel(ORBMATH_EXAMPLES_DATA "/pushbroom_left.RPB");
  TRPC right = ReadModel(ORBMATH_EXAMPLES_DATA "/pushbroom_right.RPB");
  std::vector<double> line, sample, lat, lon, h, height_sigma;
  std::vector<TImageErrors> errors = {{0.5, 3.0, 0.3, nullptr}, {0.7, 2.0, 0.2, nullptr}};
  TZxThreadsScope one_thread{1};

  Scene() {
    std::mt19937 random(5);
    std::vector<TGroundSolution> solutions(kPoints);
    for (std::size_t i = 0; i < kPoints; ++i) {
      line.push_back(std::uniform_real_distribution<double>(1000.0, 15000.0)(random));
      sample.push_back(std::uniform_real_distribution<double>(1000.0, 15000.0)(random));
      h.push_back(std::uniform_real_distribution<double>(100.0, 700.0)(random));
      height_sigma.push_back(2.0);
    }
    SolveLatLonArray(left, kPoints, line.data(), sample.data(), h.data(), solutions.data());
    for (const TGroundSolution& solution : solutions) {
      lat.push_back(solution.lat);
      lon.push_back(solution.lon);
    }
  }
};

void CountPoints(benchmark::State& state) {
  state.counters["per_point"] = benchmark::Counter(static_cast<double>(state.iterations()) * kPoints,
                                                   benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void LocateAlone(benchmark::State& state) {
  const Scene scene;
  std::vector<TGroundSolution> solutions(kPoints);
  for (auto _ : state) {
    SolveLatLonArray(scene.left, kPoints, scene.line.data(), scene.sample.data(), scene.h.data(), solutions.data());
    benchmark::DoNotOptimize(solutions.data());
  }
  CountPoints(state);
}
BENCHMARK(LocateAlone);

void LocateUncertaintyOnTop(benchmark::State& state) {
  const Scene scene;
  std::vector<TGroundUncertainty> uncertainties(kPoints);
  for (auto _ : state) {
    LocateUncertaintyArray(scene.left, scene.errors[0], kPoints, scene.lat.data(), scene.lon.data(), scene.h.data(),
                           scene.height_sigma.data(), uncertainties.data());
    benchmark::DoNotOptimize(uncertainties.data());
  }
  CountPoints(state);
}
BENCHMARK(LocateUncertaintyOnTop);

void TerrainUncertaintyOnTop(benchmark::State& state) {
  const Scene scene;
  THeightGridFrame frame;
  frame.columns = frame.rows = 400;
  const double transform[] = {8.35, 0.0008, 0.0, 47.4, 0.0, -0.0005};
  std::copy(std::begin(transform), std::end(transform), frame.transform);
  std::vector<double> posts(400 * 400);
  for (std::size_t i = 0; i < posts.size(); ++i) posts[i] = 400.0 + 0.05 * static_cast<double>(i % 997);
  const THeightGrid grid(frame, posts);
  std::vector<TGroundUncertainty> uncertainties(kPoints);
  for (auto _ : state) {
    TerrainUncertaintyArray(scene.left, scene.errors[0], grid, {2.0, 30.0}, kPoints, scene.lat.data(), scene.lon.data(),
                            scene.h.data(), uncertainties.data());
    benchmark::DoNotOptimize(uncertainties.data());
  }
  CountPoints(state);
}
BENCHMARK(TerrainUncertaintyOnTop);

void IntersectAlone(benchmark::State& state) {
  const Scene scene;
  std::vector<std::vector<TRPCCoordsDataItem>> items(kPoints);
  for (std::size_t i = 0; i < kPoints; ++i) {
    for (const TRPC* const model : {&scene.left, &scene.right}) {
      TRPCCoordsDataItem item;
      item.model = model;
      model->CalculateLineSample(scene.lat[i], scene.lon[i], scene.h[i], &item.line, &item.sample, nullptr, nullptr);
      items[i].push_back(item);
    }
  }
  for (auto _ : state) {
    for (const auto& item : items) benchmark::DoNotOptimize(SolveLatLonH(item));
  }
  CountPoints(state);
}
BENCHMARK(IntersectAlone);

void IntersectUncertaintyOnTop(benchmark::State& state) {
  const Scene scene;
  std::vector<TGroundUncertainty> uncertainties(kPoints);
  for (auto _ : state) {
    IntersectionUncertaintyArray({&scene.left, &scene.right}, scene.errors, {}, kPoints, scene.lat.data(),
                                 scene.lon.data(), scene.h.data(), uncertainties.data());
    benchmark::DoNotOptimize(uncertainties.data());
  }
  CountPoints(state);
}
BENCHMARK(IntersectUncertaintyOnTop);

}  // namespace
