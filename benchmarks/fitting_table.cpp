// Prints the tables of docs/fitting.md: how far models fitted to random points of a known model miss it, by the plain
// fit (EstimateRPC) and by the robust one (FitRPC).
//
//   fitting_table [--draws N] MODEL...

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "refine/robust_fit.h"
#include "refine/rpc_estimation.h"
#include "rpc/rpc_file.h"
#include "rpc/rpc_model.h"

namespace {

using namespace SatCommonUtils;

constexpr int kCheckPoints = 1000;
// A fit that misses by more than this anywhere has blown up, pixels.
constexpr double kBlownUp = 1.0;
// How far a bad point is off, in any direction, pixels.
constexpr double kBadSize = 30.0;

struct Case {
  std::size_t points;
  double noise;  // pixels
  double bad;    // share of points that are kBadSize off
  int draws;
};

// Points of the model's ground box, as far as the image (and half of it more to each side) shows them.
std::vector<TRPCEstimationPoint> RandomPoints(const TRPC& model, std::size_t count, double noise,
                                              std::mt19937_64* engine) {
  std::uniform_real_distribution<double> uniform(-1.0, 1.0);
  std::normal_distribution<double> normal;
  std::vector<TRPCEstimationPoint> points;
  while (points.size() < count) {
    TRPCEstimationPoint p{};
    p.Lat = model.GetLatitudeNormalization()->Normalized2Initial(uniform(*engine));
    p.Lon = model.GetLongitudeNormalization()->Normalized2Initial(uniform(*engine));
    p.Height = model.GetHeightNormalization()->Normalized2Initial(uniform(*engine));
    model.CalculateLineSample(p.Lat, p.Lon, p.Height, &p.Line, &p.Sample, nullptr, nullptr);
    if (std::fabs(model.GetLineNormalization()->Initial2Normalized(p.Line)) > 1.5 ||
        std::fabs(model.GetSampleNormalization()->Initial2Normalized(p.Sample)) > 1.5) {
      continue;
    }
    p.Line += noise * normal(*engine);
    p.Sample += noise * normal(*engine);
    points.push_back(p);
  }
  return points;
}

// Puts a share of the points, chosen at random, off by kBadSize.
void Spoil(double share, std::mt19937_64* engine, std::vector<TRPCEstimationPoint>* points) {
  std::shuffle(points->begin(), points->end(), *engine);
  const auto count = static_cast<std::size_t>(share * static_cast<double>(points->size()) + 0.5);
  std::uniform_real_distribution<double> angle(0.0, 6.283185307179586);
  for (std::size_t i = 0; i < count; ++i) {
    const double direction = angle(*engine);
    (*points)[i].Line += kBadSize * std::cos(direction);
    (*points)[i].Sample += kBadSize * std::sin(direction);
  }
}

struct Errors {
  std::vector<double> rms, largest;
  int failed = 0;

  void Add(bool fitted, const TRPCData& record, const std::vector<TRPCEstimationPoint>& check) {
    const TRPCFitResiduals residuals = fitted ? ResidualsOfRPC(record, check, false) : TRPCFitResiduals();
    const bool finite = fitted && std::isfinite(residuals.distance.rms);
    if (!finite) ++failed;
    rms.push_back(finite ? residuals.distance.rms : INFINITY);
    largest.push_back(finite ? residuals.distance.maximum : INFINITY);
  }
  void Print(const char* name) {
    std::sort(rms.begin(), rms.end());
    std::sort(largest.begin(), largest.end());
    const auto blown = std::count_if(largest.begin(), largest.end(), [](double e) { return e > kBlownUp; });
    std::printf(" %s %8.1e %8.1e %8.1e %5.1f %% |", name, rms[rms.size() / 2], rms.back(), largest.back(),
                100.0 * static_cast<double>(blown) / static_cast<double>(largest.size()));
  }
};

void PrintCase(const TRPC& model, const Case& what) {
  Errors plain, robust;
  for (int draw = 0; draw < what.draws; ++draw) {
    std::mt19937_64 engine(static_cast<std::uint64_t>(draw) + 1000);
    TRPCEstimationDataSet data;
    data.Points = RandomPoints(model, what.points, what.noise, &engine);
    const std::vector<TRPCEstimationPoint> check = RandomPoints(model, kCheckPoints, 0.0, &engine);
    if (what.bad > 0.0) Spoil(what.bad, &engine, &data.Points);
    TRPCData record;
    const bool plain_fitted = EstimateRPC(data, &record);
    plain.Add(plain_fitted, record, check);
    const bool robust_fitted = FitRPC(data, TRPCFitOptions(), &record);
    robust.Add(robust_fitted, record, check);
  }
  std::printf("| %6zu | %4.1f | %3.0f %% | %5d |", what.points, what.noise, 100.0 * what.bad, what.draws);
  plain.Print("");
  robust.Print("");
  std::printf("\n");
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  int draws = 200;
  for (int i = 1; i < argc; ++i) {
    if (std::string(argv[i]) == "--draws" && i + 1 < argc) {
      draws = std::max(2, std::atoi(argv[++i]));
      continue;
    }
    TRPCFile file;
    TRPCFileError error;
    if (!ReadRPCFile(argv[i], &file, &error)) {
      std::fprintf(stderr, "%s\n", error.GetText().c_str());
      return 1;
    }
    const TRPC model(file.record, nullptr);
    std::printf("\n%s: pixels over %d independent points\n", argv[i], kCheckPoints);
    std::printf("| points | noise | bad | draws | plain: rms median, worst, largest, blown up | robust: the same |\n");
    const int half = std::max(1, draws / 2), few = std::max(1, draws / 20);
    const Case cases[] = {{40, 0.0, 0.0, draws},  {100, 0.0, 0.0, draws}, {400, 0.0, 0.0, draws},
                          {40, 0.1, 0.0, half},   {100, 0.1, 0.0, half},  {400, 0.1, 0.0, half},
                          {10000, 0.3, 0.0, few}, {60, 0.1, 0.05, half},  {100, 0.0, 0.05, half},
                          {100, 0.1, 0.05, half}, {400, 0.1, 0.05, half}, {10000, 0.3, 0.05, few},
                          {60, 0.1, 0.2, half},   {100, 0.1, 0.3, half},  {400, 0.1, 0.3, half}};
    for (const Case& what : cases) PrintCase(model, what);
  }
  return 0;
}
