// The sensor model both ways, single calls and arrays, with GDAL's RPC transformer beside it where it is installed, and
// the time that the arithmetic of the projection alone takes on this machine.
//
// ORBMATH_BENCH_MODEL names an RPB file other than the one that ships with the project. `--threads=N` sets the threads.

#include <benchmark/benchmark.h>
#include <orbmath.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

#if defined(ORBMATH_WITH_GDAL)
#include "gdal_transformer.h"
#endif

namespace {

using namespace SatCommonUtils;

constexpr std::size_t kPoints = 100000;

TRPCData ReadModel(const std::string& path) {
  TRPCData record;
  if (!record.InitializeFromRPBFile(path, nullptr, nullptr)) {
    std::fprintf(stderr, "%s is no RPB file\n", path.c_str());
    std::exit(1);
  }
  return record;
}

TRPCData DefaultModel() {
  const char* const path = std::getenv("ORBMATH_BENCH_MODEL");
  return ReadModel(path == nullptr ? ORBMATH_EXAMPLES_DATA "/pushbroom_left.RPB" : path);
}

/// Random ground points of the inner nine tenths of the model's box and where the model puts them.
struct Points {
  Points() : record(DefaultModel()), model(record, nullptr) {
    std::mt19937_64 engine(1);
    std::uniform_real_distribution<double> inside(-0.9, 0.9);
    for (std::size_t i = 0; i < kPoints; ++i) {
      lat.push_back(record.latOffset + record.latScale * inside(engine));
      lon.push_back(record.longOffset + record.longScale * inside(engine));
      h.push_back(record.heightOffset + record.heightScale * inside(engine));
    }
    line.resize(kPoints);
    sample.resize(kPoints);
    out.resize(8 * kPoints);
    model.EnsureApproximation();
    model.CalculateLineSampleArray(kPoints, lat.data(), lon.data(), h.data(), line.data(), sample.data(), nullptr,
                                   nullptr);
  }

  double* Out(std::size_t column) { return out.data() + column * kPoints; }

  TRPCData record;
  TRPC model;
  std::vector<double> lat, lon, h, line, sample, out;
};

Points& ThePoints() {
  static Points points;
  return points;
}

/// Nanoseconds a point appear as "per_point".
void CountPoints(benchmark::State& state, std::size_t points) {
  state.counters["per_point"] = benchmark::Counter(
      static_cast<double>(points), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void ProjectSingle(benchmark::State& state) {
  Points& p = ThePoints();
  for (auto _ : state) {
    for (std::size_t i = 0; i < kPoints; ++i) {
      p.model.CalculateLineSample(p.lat[i], p.lon[i], p.h[i], p.Out(0) + i, p.Out(1) + i, nullptr, nullptr);
    }
  }
  CountPoints(state, kPoints);
}
BENCHMARK(ProjectSingle)->Name("project/orbmath/single");

void ProjectSingleDerivatives(benchmark::State& state) {
  Points& p = ThePoints();
  double dLine[3], dSample[3];
  for (auto _ : state) {
    for (std::size_t i = 0; i < kPoints; ++i) {
      p.model.CalculateLineSample(p.lat[i], p.lon[i], p.h[i], p.Out(0) + i, p.Out(1) + i, dLine, dSample);
      benchmark::DoNotOptimize(dLine);
    }
  }
  CountPoints(state, kPoints);
}
BENCHMARK(ProjectSingleDerivatives)->Name("project/orbmath/single with derivatives");

void ProjectArray(benchmark::State& state, bool derivatives) {
  Points& p = ThePoints();
  double* const dLine[] = {p.Out(2), p.Out(3), p.Out(4)};
  double* const dSample[] = {p.Out(5), p.Out(6), p.Out(7)};
  for (auto _ : state) {
    p.model.CalculateLineSampleArray(kPoints, p.lat.data(), p.lon.data(), p.h.data(), p.Out(0), p.Out(1),
                                     derivatives ? dLine : nullptr, derivatives ? dSample : nullptr);
  }
  CountPoints(state, kPoints);
}
BENCHMARK_CAPTURE(ProjectArray, plain, false)->Name("project/orbmath/array")->UseRealTime();
BENCHMARK_CAPTURE(ProjectArray, derivatives, true)->Name("project/orbmath/array with derivatives")->UseRealTime();

void LocateSingle(benchmark::State& state) {
  Points& p = ThePoints();
  for (auto _ : state) {
    for (std::size_t i = 0; i < kPoints; ++i) {
      p.model.CalculateLatLon(p.line[i], p.sample[i], p.h[i], p.Out(0) + i, p.Out(1) + i);
    }
  }
  CountPoints(state, kPoints);
}
BENCHMARK(LocateSingle)->Name("locate/orbmath/single");

void LocateArray(benchmark::State& state) {
  Points& p = ThePoints();
  std::vector<TGroundStatus> status(kPoints);
  std::size_t converged = 0;
  for (auto _ : state) {
    converged = p.model.CalculateLatLonArray(kPoints, p.line.data(), p.sample.data(), p.h.data(), p.Out(0), p.Out(1),
                                             status.data());
  }
  if (converged != kPoints) state.SkipWithError("not every point converged");
  CountPoints(state, kPoints);
}
BENCHMARK(LocateArray)->Name("locate/orbmath/array")->UseRealTime();

/// With status, proof and flags.
void SolveArray(benchmark::State& state) {
  Points& p = ThePoints();
  std::vector<TGroundSolution> solutions(kPoints);
  std::size_t converged = 0;
  for (auto _ : state) {
    converged = SolveLatLonArray(p.model, kPoints, p.line.data(), p.sample.data(), p.h.data(), solutions.data());
  }
  if (converged != kPoints) state.SkipWithError("not every point converged");
  CountPoints(state, kPoints);
}
BENCHMARK(SolveArray)->Name("locate/orbmath/array with status")->UseRealTime();

/// One point a call, with proof, state and flags.
void SolveSingle(benchmark::State& state) {
  Points& p = ThePoints();
  for (auto _ : state) {
    for (std::size_t i = 0; i < kPoints; ++i) {
      const TGroundSolution solution = SolveLatLon(p.model, p.line[i], p.sample[i], p.h[i]);
      if (!solution) state.SkipWithError("not every point converged");
      p.Out(0)[i] = solution.lat;
      p.Out(1)[i] = solution.lon;
    }
  }
  CountPoints(state, kPoints);
}
BENCHMARK(SolveSingle)->Name("locate/orbmath/single with status");

/// The same points seen by `images` models: the model and copies of it whose heights shift line and sample.
struct Intersections {
  explicit Intersections(std::size_t images) {
    Points& p = ThePoints();
    for (std::size_t k = 0; k < images; ++k) {
      TRPCData record = p.record;
      record.lineNumCoef[3] += 0.01 * static_cast<double>(k);
      record.sampNumCoef[3] -= 0.006 * static_cast<double>(k);
      models.push_back(std::make_unique<TRPC>(record, nullptr));
      models.back()->EnsureApproximation();
      line.emplace_back(kCount);
      sample.emplace_back(kCount);
      models.back()->CalculateLineSampleArray(kCount, p.lat.data(), p.lon.data(), p.h.data(), line.back().data(),
                                              sample.back().data(), nullptr, nullptr);
    }
  }

  static constexpr std::size_t kCount = 20480;  // ten blocks of points, for the threads
  std::vector<std::unique_ptr<TRPC>> models;
  std::vector<std::vector<double>> line, sample;
};

void IntersectSingle(benchmark::State& state) {
  const Intersections images(static_cast<std::size_t>(state.range(0)));
  std::vector<TRPCCoordsDataItem> items(images.models.size());
  double lat = 0.0, lon = 0.0, h = 0.0;
  for (auto _ : state) {
    for (std::size_t i = 0; i < Intersections::kCount; ++i) {
      for (std::size_t k = 0; k < items.size(); ++k) {
        items[k] = TRPCCoordsDataItem{images.models[k].get(), images.line[k][i], images.sample[k][i]};
      }
      if (!CalculateLatLonH(items, &lat, &lon, &h)) state.SkipWithError("no point");
    }
  }
  CountPoints(state, Intersections::kCount);
}
BENCHMARK(IntersectSingle)->Name("intersect/orbmath/single")->Arg(2)->Arg(5);

/// Points as the calls with status take them.
struct MeasuredPoints {
  explicit MeasuredPoints(const Intersections& images) {
    for (std::size_t i = 0; i < Intersections::kCount; ++i) {
      first.push_back(items.size());
      for (std::size_t k = 0; k < images.models.size(); ++k) {
        items.push_back(TRPCCoordsDataItem{images.models[k].get(), images.line[k][i], images.sample[k][i]});
      }
    }
    first.push_back(items.size());
  }
  std::vector<TRPCCoordsDataItem> items;
  std::vector<std::size_t> first;
};

/// With status, residuals, covariance and flags.
void SolveIntersectionSingle(benchmark::State& state) {
  const Intersections images(static_cast<std::size_t>(state.range(0)));
  const MeasuredPoints points(images);
  std::vector<TRPCCoordsDataItem> items;
  for (auto _ : state) {
    for (std::size_t i = 0; i < Intersections::kCount; ++i) {
      items.assign(points.items.data() + points.first[i], points.items.data() + points.first[i + 1]);
      if (!SolveLatLonH(items)) state.SkipWithError("no point");
    }
  }
  CountPoints(state, Intersections::kCount);
}
BENCHMARK(SolveIntersectionSingle)->Name("intersect/orbmath/single with status")->Arg(2)->Arg(5);

void SolveIntersectionArray(benchmark::State& state) {
  const Intersections images(static_cast<std::size_t>(state.range(0)));
  const MeasuredPoints points(images);
  std::vector<TGroundIntersection> solutions(Intersections::kCount);
  std::size_t converged = 0;
  for (auto _ : state) {
    converged = SolveLatLonHArray({Intersections::kCount, points.first.data(), points.items.data()}, solutions.data());
  }
  if (converged != Intersections::kCount) state.SkipWithError("not every point converged");
  CountPoints(state, Intersections::kCount);
}
BENCHMARK(SolveIntersectionArray)->Name("intersect/orbmath/array with status")->Arg(2)->Arg(5)->UseRealTime();

void IntersectArray(benchmark::State& state) {
  const Intersections images(static_cast<std::size_t>(state.range(0)));
  std::vector<const TRPC*> models;
  std::vector<const double*> line, sample;
  for (std::size_t k = 0; k < images.models.size(); ++k) {
    models.push_back(images.models[k].get());
    line.push_back(images.line[k].data());
    sample.push_back(images.sample[k].data());
  }
  TImageArrays arrays;
  arrays.images = models.size();
  arrays.models = models.data();
  arrays.count = Intersections::kCount;
  arrays.line = line.data();
  arrays.sample = sample.data();
  Points& p = ThePoints();
  for (auto _ : state) CalculateLatLonHArray(arrays, p.Out(0), p.Out(1), p.Out(2), nullptr);
  CountPoints(state, Intersections::kCount);
}
BENCHMARK(IntersectArray)->Name("intersect/orbmath/array")->Arg(2)->Arg(5)->UseRealTime();

#if defined(__GNUC__)
/// The 97 multiplications and 76 additions of a projection in index order, on vectors of the width this program is
/// compiled for, from a block that stays in the first-level cache: no division, no turn, no load to speak of.
void ArithmeticLimit(benchmark::State& state) {
#if defined(__AVX512F__)
  constexpr int kWidth = 8;
#elif defined(__AVX__)
  constexpr int kWidth = 4;
#else
  constexpr int kWidth = 2;
#endif
  typedef double Lanes __attribute__((vector_size(kWidth * sizeof(double))));
  constexpr int kVectors = 32;
  const TRPCData record = ThePoints().record;
  const double* const polynomials[] = {record.lineNumCoef, record.lineDenCoef, record.sampNumCoef, record.sampDenCoef};
  Lanes in[3][kVectors], out[4][kVectors];
  for (auto& column : in) {
    for (Lanes& lanes : column) lanes = Lanes{} + 0.3;
  }
  for (auto _ : state) {
    for (int i = 0; i < kVectors; ++i) {
      const Lanes P = in[0][i], L = in[1][i], H = in[2][i];
      const Lanes LP = L * P, LH = L * H, PH = P * H, LL = L * L, PP = P * P, HH = H * H;
      const Lanes terms[] = {L,      P,      H,      LP,     LH,     PH,     LL,     PP,     HH,    P * LH,
                             L * LL, L * PP, L * HH, LL * P, P * PP, P * HH, LL * H, PP * H, H * HH};
      for (int q = 0; q < 4; ++q) {
        const double* const c = polynomials[q];
        Lanes sum = Lanes{} + c[0];
#pragma GCC unroll 19
        for (int k = 0; k < 19; ++k) sum += c[k + 1] * terms[k];
        out[q][i] = sum;
      }
    }
    benchmark::DoNotOptimize(out);
    benchmark::ClobberMemory();
  }
  CountPoints(state, kVectors * kWidth);
}
BENCHMARK(ArithmeticLimit)->Name("project/limit/arithmetic");
#endif

#if defined(ORBMATH_WITH_GDAL)

void Gdal(benchmark::State& state, bool toImage, bool single, double threshold) {
  Points& p = ThePoints();
  const GdalTransformer transformer(p.record, threshold);
  std::vector<double> x(kPoints), y(kPoints), z(kPoints);
  std::vector<int> success(kPoints);
  const int step = single ? 1 : static_cast<int>(kPoints);
  for (auto _ : state) {
    state.PauseTiming();
    x = toImage ? p.lon : p.sample;
    y = toImage ? p.lat : p.line;
    z = p.h;
    state.ResumeTiming();
    for (int i = 0; i < static_cast<int>(kPoints); i += step) {
      transformer.Run(toImage, step, &x[i], &y[i], &z[i], &success[i]);
    }
  }
  CountPoints(state, kPoints);
}
BENCHMARK_CAPTURE(Gdal, project_array, true, false, 0.1)->Name("project/gdal/array");
BENCHMARK_CAPTURE(Gdal, project_single, true, true, 0.1)->Name("project/gdal/single");
BENCHMARK_CAPTURE(Gdal, locate_array, false, false, 1e-8)->Name("locate/gdal/array to 1e-8 px");
BENCHMARK_CAPTURE(Gdal, locate_single, false, true, 1e-8)->Name("locate/gdal/single to 1e-8 px");
BENCHMARK_CAPTURE(Gdal, locate_default, false, false, 0.1)->Name("locate/gdal/array to 0.1 px");

#endif

}  // namespace

int main(int argc, char** argv) {
  int threads = 1;
  std::vector<char*> arguments;
  for (int i = 0; i < argc; ++i) {
    if (std::sscanf(argv[i], "--threads=%d", &threads) != 1) arguments.push_back(argv[i]);
  }
  ZxSetThreadsCount(threads);
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
