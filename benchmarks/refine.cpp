// Fits of maps to points, and the cost of a refinement on top of a model. One item is one point.

#include "refine/refinement_fit.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

#include "transform/seven_params.h"

namespace {

using namespace SatCommonUtils;

constexpr std::size_t kFitted = 1000;
constexpr std::size_t kProjected = 100000;

void CountItems(benchmark::State& state, std::size_t items) {
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(items));
}

TRPCRefinementDataAffine Correction() {
  TRPCRefinementDataAffine data;
  data.LineBias = 3.0, data.LineDrift = 1.0001, data.LineTilt = -5e-5;
  data.SampleBias = -2.0, data.SampleDrift = 4e-5, data.SampleTilt = 0.9999;
  return data;
}

/// A camera whose polynomials are nearly linear, as those of real ones are.
TRPCData Camera() {
  TRPCData record;
  for (int k = 0; k < 20; ++k) {
    const double small = k < 4 ? 1e-3 : 1e-6;
    record.lineNumCoef[k] = record.sampNumCoef[k] = small;
    record.lineDenCoef[k] = record.sampDenCoef[k] = small;
  }
  record.lineNumCoef[2] = -1.0, record.sampNumCoef[1] = 1.0;
  record.lineDenCoef[0] = record.sampDenCoef[0] = 1.0;
  record.lineOffset = record.lineScale = record.sampOffset = record.sampScale = 5000.0;
  record.latOffset = 43.0, record.latScale = 0.05;
  record.longOffset = 1.0, record.longScale = 0.07;
  record.heightOffset = 200.0, record.heightScale = 500.0;
  return record;
}

void BM_SevenParameterFit(benchmark::State& state) {
  std::mt19937_64 engine(1);
  std::uniform_real_distribution<double> coordinate(-1e6, 1e6);
  const T7ParamsTransform transform(T7Params{1e-4, -2e-4, 0.3, 1e-6, 100.0, -200.0, 300.0});
  std::vector<T7ParamsSourceDataItem> points(kFitted);
  for (T7ParamsSourceDataItem& p : points) {
    p.Xfrom = coordinate(engine), p.Yfrom = coordinate(engine), p.Zfrom = coordinate(engine);
    transform.DirectTransform(p.Xfrom, p.Yfrom, p.Zfrom, &p.Xto, &p.Yto, &p.Zto);
  }
  T7Params found;
  for (auto _ : state) benchmark::DoNotOptimize(Calculate7Params(points, &found));
  CountItems(state, points.size());
}
BENCHMARK(BM_SevenParameterFit);

/// One point in five is bad.
void BM_RefinementFit(benchmark::State& state) {
  std::mt19937_64 engine(1);
  std::uniform_real_distribution<double> coordinate(0.0, 10000.0);
  std::normal_distribution<double> noise(0.0, 0.3);
  const auto refinement = CreateRefinementE(Correction());
  std::vector<TRefinementTie> ties(kFitted);
  for (std::size_t i = 0; i < ties.size(); ++i) {
    TRefinementTie& tie = ties[i];
    tie.line = coordinate(engine), tie.sample = coordinate(engine);
    refinement->RawToRefined(tie.line, tie.sample, &tie.measuredLine, &tie.measuredSample, nullptr, nullptr);
    tie.measuredLine += noise(engine) + (i % 5 == 0 ? 30.0 : 0.0);
    tie.measuredSample += noise(engine);
  }
  TRefinementFitOptions options;
  constexpr TRPCRefinementTransformType kTypes[] = {TRPCRefinementTransformType::Affine,  // not used: it is chosen
                                                    TRPCRefinementTransformType::Affine,
                                                    TRPCRefinementTransformType::Projective};
  options.automatic = state.range(0) == 0;
  options.type = kTypes[state.range(0)];
  TRefinementFit fit;
  for (auto _ : state) benchmark::DoNotOptimize(FitRefinement(ties, options, &fit));
  state.SetLabel(options.automatic ? "kind chosen" : GetRPCRefinementTransformTypeName(options.type));
  CountItems(state, ties.size());
}
BENCHMARK(BM_RefinementFit)->DenseRange(0, 2);

/// Arrays of points without (0) and with (1) a refinement.
void BM_Project(benchmark::State& state) {
  const TRPCData record = Camera();
  const TRPCRefinementDataAffine correction = Correction();
  const TAdjustedRPC model(&record, state.range(0) == 0 ? nullptr : &correction);
  std::mt19937_64 engine(1);
  std::uniform_real_distribution<double> within(-1.0, 1.0);
  std::vector<double> lat(kProjected), lon(kProjected), h(kProjected), line(kProjected), sample(kProjected);
  for (std::size_t i = 0; i < kProjected; ++i) {
    lat[i] = 43.0 + 0.05 * within(engine), lon[i] = 1.0 + 0.07 * within(engine), h[i] = 200.0 + 500.0 * within(engine);
  }
  for (auto _ : state) {
    model.CalculateLineSampleArray(kProjected, lat.data(), lon.data(), h.data(), line.data(), sample.data(), nullptr,
                                   nullptr);
    benchmark::ClobberMemory();
  }
  CountItems(state, kProjected);
}
BENCHMARK(BM_Project)->Arg(0)->Arg(1)->UseRealTime();

void BM_ExportRefined(benchmark::State& state) {
  const TRPCData record = [] {
    TRPCData camera = Camera();
    camera.sampDenCoef[1] *= 1.5;  // other than that of the line
    return camera;
  }();
  const TRPCRefinementDataAffine correction = Correction();
  const TAdjustedRPC model(&record, &correction);
  TRPCData out;
  for (auto _ : state) benchmark::DoNotOptimize(model.ExportRefined(&out));
}
BENCHMARK(BM_ExportRefined)->Unit(benchmark::kMillisecond);

}  // namespace
