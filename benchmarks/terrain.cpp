// Image to ground on a DEM, with GDAL's RPC transformer and its RPC_DEM beside it on the same posts where it is
// installed.
//
// ORBMATH_BENCH_DEM names a DEM of one's own in longitudes and latitudes (heights count as ellipsoidal),
// ORBMATH_BENCH_MODEL an RPB or text file of a model; without them a simulated terrain of three arc seconds lies below
// the model that ships with the project. One thread.

#include <benchmark/benchmark.h>
#include <orbmath.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#if defined(ORBMATH_WITH_GDAL)
#include <gdal_priv.h>

#include "gdal_transformer.h"
#endif

namespace {

using namespace SatCommonUtils;

constexpr std::size_t kPoints = 100000;

[[noreturn]] void Stop(const std::string& why) {
  std::fprintf(stderr, "%s\n", why.c_str());
  std::exit(1);
}

TRPCData ReadModel() {
  const char* const named = std::getenv("ORBMATH_BENCH_MODEL");
  const std::string path = named == nullptr ? ORBMATH_EXAMPLES_DATA "/pushbroom_left.RPB" : named;
  TRPCFile file;
  TRPCFileError error;
  if (!ReadRPCFile(path, &file, &error)) Stop(error.GetText());
  return file.record;
}

/// Hills of several sizes within the model's heights.
double Hills(const TRPCData& record, double lat, double lon) {
  const double y = lat * 111000.0;
  const double x = lon * 78000.0;
  double h = 0.0;
  double size = 6000.0;
  for (int octave = 0; octave < 6; ++octave, size *= 0.45) {
    h += 0.05 * size * std::sin(x / size + octave) * std::cos(y / size - 2.0 * octave);
  }
  return record.heightOffset + 0.8 * record.heightScale * std::tanh(h / 500.0);
}

/// Posts in memory, and the name under which GDAL finds the same ones.
struct Terrain {
  std::shared_ptr<THeightGrid> bilinear;
  std::shared_ptr<THeightGrid> bicubic;
  std::string path;
};

void MakeGrids(THeightGridFrame frame, const std::vector<double>& posts, double noData, Terrain* terrain) {
  frame.pixelIsArea = true;
  terrain->bilinear = std::make_shared<THeightGrid>(frame, posts, noData);
  frame.interpolation = THeightInterpolation::Bicubic;
  terrain->bicubic = std::make_shared<THeightGrid>(frame, posts, noData);
}

#if defined(ORBMATH_WITH_GDAL)
Terrain ReadTerrain(const std::string& path) {
  GDALAllRegister();
  GDALDataset* const dataset = static_cast<GDALDataset*>(GDALOpen(path.c_str(), GA_ReadOnly));
  if (dataset == nullptr) Stop(path + " is no DEM");
  THeightGridFrame frame;
  frame.columns = dataset->GetRasterXSize();
  frame.rows = dataset->GetRasterYSize();
  dataset->GetGeoTransform(frame.transform);
  std::vector<double> posts(std::size_t(frame.columns) * frame.rows);
  GDALRasterBand* const band = dataset->GetRasterBand(1);
  if (band->RasterIO(GF_Read, 0, 0, frame.columns, frame.rows, posts.data(), frame.columns, frame.rows, GDT_Float64, 0,
                     0, nullptr) != CE_None) {
    Stop(path + " cannot be read");
  }
  int has = 0;
  const double noData = band->GetNoDataValue(&has);
  Terrain terrain;
  terrain.path = path;
  MakeGrids(frame, posts, has != 0 ? noData : std::numeric_limits<double>::quiet_NaN(), &terrain);
  GDALClose(dataset);
  return terrain;
}
#endif

Terrain MakeTerrain(const TRPCData& record) {
#if defined(ORBMATH_WITH_GDAL)
  if (const char* const path = std::getenv("ORBMATH_BENCH_DEM")) return ReadTerrain(path);
#endif
  const double step = 3.0 / 3600.0;
  const double reach = 0.3;
  THeightGridFrame frame;
  frame.columns = static_cast<int>(2.0 * (record.longScale + reach) / step);
  frame.rows = static_cast<int>(2.0 * (record.latScale + reach) / step);
  frame.transform[0] = record.longOffset - record.longScale - reach;
  frame.transform[1] = step;
  frame.transform[3] = record.latOffset + record.latScale + reach;
  frame.transform[5] = -step;
  std::vector<double> posts;
  for (int row = 0; row < frame.rows; ++row) {
    for (int column = 0; column < frame.columns; ++column) {
      posts.push_back(
          Hills(record, frame.transform[3] - (row + 0.5) * step, frame.transform[0] + (column + 0.5) * step));
    }
  }
  Terrain terrain;
  MakeGrids(frame, posts, std::numeric_limits<double>::quiet_NaN(), &terrain);
#if defined(ORBMATH_WITH_GDAL)
  GDALAllRegister();
  terrain.path = "/vsimem/terrain.tif";
  GDALDataset* const dataset = GetGDALDriverManager()->GetDriverByName("GTiff")->Create(
      terrain.path.c_str(), frame.columns, frame.rows, 1, GDT_Float64, nullptr);
  dataset->SetGeoTransform(frame.transform);
  OGRSpatialReference system;
  system.SetWellKnownGeogCS("WGS84");
  dataset->SetSpatialRef(&system);
  if (dataset->GetRasterBand(1)->RasterIO(GF_Write, 0, 0, frame.columns, frame.rows, posts.data(), frame.columns,
                                          frame.rows, GDT_Float64, 0, 0, nullptr) != CE_None) {
    Stop("the simulated terrain cannot be written");
  }
  GDALClose(dataset);
#endif
  return terrain;
}

/// Random image points of the inner nine tenths of the model's box.
struct Scene {
  Scene() : record(ReadModel()), model(record, nullptr), terrain(MakeTerrain(record)) {
    ZxSetThreadsCount(1);
    std::mt19937_64 engine(1);
    std::uniform_real_distribution<double> inside(-0.9, 0.9);
    for (std::size_t i = 0; i < kPoints; ++i) {
      line.push_back(record.lineOffset + record.lineScale * inside(engine));
      sample.push_back(record.sampOffset + record.sampScale * inside(engine));
    }
  }
  TRPCData record;
  TRPC model;
  Terrain terrain;
  std::vector<double> line, sample;
};

Scene& TheScene() {
  static Scene scene;
  return scene;
}

void CountPoints(benchmark::State& state, std::size_t points) {
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * points));
}

void Locate(benchmark::State& state, bool bicubic) {
  Scene& scene = TheScene();
  const TTerrainLocator locator(scene.model, bicubic ? *scene.terrain.bicubic : *scene.terrain.bilinear);
  std::vector<TTerrainSolution> solutions(kPoints);
  std::size_t found = 0;
  for (auto _ : state) found = locator.LocateArray(kPoints, scene.line.data(), scene.sample.data(), solutions.data());
  state.counters["found"] = static_cast<double>(found);
  CountPoints(state, kPoints);
}
BENCHMARK_CAPTURE(Locate, bilinear, false)->Name("locate/orbmath/bilinear");
BENCHMARK_CAPTURE(Locate, bicubic, true)->Name("locate/orbmath/bicubic");

void Prepare(benchmark::State& state) {
  Scene& scene = TheScene();
  for (auto _ : state) {
    const TTerrainLocator locator(scene.model, *scene.terrain.bilinear);
    benchmark::DoNotOptimize(&locator);
  }
}
BENCHMARK(Prepare)->Name("locate/orbmath/making a locator");

#if defined(ORBMATH_WITH_GDAL)
void Gdal(benchmark::State& state, const char* interpolation) {
  Scene& scene = TheScene();
  const GdalTransformer transformer(scene.record, 1e-6, scene.terrain.path.c_str(), interpolation);
  std::vector<double> x, y, z;
  std::vector<int> success(kPoints);
  for (auto _ : state) {
    state.PauseTiming();
    x = scene.sample;
    y = scene.line;
    // GDAL counts from the corner of the first pixel.
    for (double& value : x) value += 0.5;
    for (double& value : y) value += 0.5;
    z.assign(kPoints, 0.0);
    state.ResumeTiming();
    transformer.Run(false, static_cast<int>(kPoints), x.data(), y.data(), z.data(), success.data());
  }
  double found = 0.0;
  for (const int good : success) found += good;
  state.counters["found"] = found;
  CountPoints(state, kPoints);
}
BENCHMARK_CAPTURE(Gdal, bilinear, "bilinear")->Name("locate/gdal/bilinear to 1e-6 px");
BENCHMARK_CAPTURE(Gdal, bicubic, "cubic")->Name("locate/gdal/bicubic to 1e-6 px");
#endif

}  // namespace
