// Plain least squares of a simulated block, beside Ceres (where it was found) on the same problem: affine corrections,
// the library's own derivatives in both, ground points eliminated first. `bench_block [IMAGES TIES [area|strip
// [THREADS]]]`; without arguments a small area and a small strip on one thread. Ceres starts from intersected points,
// which are not in its time; ours is all, from the lists of measurements to the corrections. Beside the time is that of
// the processors: where other work shares the machine, its ratio on one thread tells more.

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "block/block_adjustment.h"
#include "rpc/ground_solution.h"
#include "rpc/rpc_file.h"

#ifdef ORBMATH_WITH_CERES
#include <ceres/ceres.h>
#endif

namespace {

using namespace SatCommonUtils;

constexpr double kNoise = 0.3;
constexpr double kMostRays = 6;

double Seconds() { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); }

TRPCData ReadRecord(const std::string& name) {
  TRPCFile file;
  TRPCFileError error;
  if (!ReadRPCFile(std::string(ORBMATH_EXAMPLES_DATA) + "/" + name, &file, &error)) std::exit(1);
  return file.record;
}

/// Images in pairs of two views, 0.4 of a footprint apart: over an area, or along a strip.
TBlockProblem MakeBlock(int images, int ties, bool strip) {
  const TRPCData views[2] = {ReadRecord("pushbroom_left.RPB"), ReadRecord("pushbroom_right.RPB")};
  std::mt19937_64 engine(7);
  std::uniform_real_distribution<double> uniform(0.0, 1.0);
  std::normal_distribution<double> normal;
  const int cells = (images + 1) / 2;
  const int columns = strip ? 1 : static_cast<int>(std::ceil(std::sqrt(cells)));
  const int rows = (cells + columns - 1) / columns;
  const double stepLon = 0.8 * views[0].longScale;
  const double stepLat = 0.8 * views[0].latScale;
  TBlockProblem problem;
  std::vector<std::array<double, 6>> truth;
  for (int k = 0; k < images; ++k) {
    TRPCData record = views[k % 2];
    record.longOffset += stepLon * (k / 2 % columns);
    record.latOffset -= stepLat * (k / 2 / columns);
    TBlockImage image;
    image.name = std::to_string(k);
    image.model = std::make_shared<TRPC>(record);
    problem.images.push_back(image);
    truth.emplace_back();
    for (int c = 0; c < 6; ++c) truth.back()[c] = normal(engine) * (c % 3 == 0 ? 3.0 : 1.0);
  }
  for (int made = 0; made < ties;) {
    const double column = uniform(engine) * (columns + 1) - 1.0;
    const double row = uniform(engine) * (rows + 1) - 1.0;
    const double lon = views[0].longOffset + stepLon * column;
    const double lat = views[0].latOffset - stepLat * row;
    const double h = views[0].heightOffset + 0.2 * views[0].heightScale * (2.0 * uniform(engine) - 1.0);
    struct TSeen {
      std::uint32_t image;
      double line, sample;
    };
    std::vector<TSeen> seen;
    for (int r = std::max(0, int(row) - 2); r <= std::min(rows - 1, int(row) + 3); ++r) {
      for (int c = std::max(0, int(column) - 2); c <= std::min(columns - 1, int(column) + 3); ++c) {
        for (int k = 2 * (r * columns + c); k < std::min(images, 2 * (r * columns + c) + 2); ++k) {
          const TRPC& model = *problem.images[k].model;
          double line = 0.0;
          double sample = 0.0;
          model.CalculateLineSample(lat, lon, h, &line, &sample, nullptr, nullptr);
          const double u = model.GetNormalization().sample.Initial2Normalized(sample);
          const double v = model.GetNormalization().line.Initial2Normalized(line);
          if (std::fabs(u) > 0.97 || std::fabs(v) > 0.97) continue;
          const std::array<double, 6>& t = truth[k];
          seen.push_back({static_cast<std::uint32_t>(k), line + t[3] + t[4] * u + t[5] * v + kNoise * normal(engine),
                          sample + t[0] + t[1] * u + t[2] * v + kNoise * normal(engine)});
        }
      }
    }
    std::shuffle(seen.begin(), seen.end(), engine);
    const auto rays = static_cast<std::size_t>(2.0 + uniform(engine) * (kMostRays - 1.0));
    if (seen.size() > rays) seen.resize(rays);
    bool both = false;
    for (const TSeen& one : seen) both = both || one.image % 2 != seen.front().image % 2;
    if (!both) continue;
    TBlockPoint point;
    if (made % 2500 == 0) {
      point.role = TBlockPointRole::Control;
      point.lat = lat, point.lon = lon, point.height = h;
      point.sigmaHorizontal = point.sigmaVertical = 0.05;
    }
    for (const TSeen& one : seen)
      problem.measurements.Add(static_cast<std::uint32_t>(made), one.image, one.line, one.sample);
    problem.points.push_back(point);
    ++made;
  }
  return problem;
}

/// Time of all processors for this program.
double ProcessorSeconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

struct TRun {
  double seconds = 0.0;
  double processor = 0.0;
  double sigma0 = 0.0;
  int iterations = 0;
};

TRun RunOurs(const TBlockProblem& problem, int threads, bool robust, TBlockResult* result) {
  TBlockOptions options;
  options.robust = robust;
  options.sigmaMeasurement = kNoise;
  options.threads = threads;
  options.covariance = robust ? TBlockCovariance::Points : TBlockCovariance::None;
  const double start = Seconds();
  const double processor = ProcessorSeconds();
  *result = AdjustBlock(problem, options);
  return {Seconds() - start, ProcessorSeconds() - processor, result->sigma0, result->iterations};
}

#ifdef ORBMATH_WITH_CERES

constexpr double kMetresPerDegree = 111320.0;

struct TStart {
  double lat, lon, h, metresPerLon;
};

/// A measurement as a residual of the image's six parameters and the point's three metres.
class TRayCost final : public ceres::SizedCostFunction<2, 6, 3> {
 public:
  TRayCost(const TRPC& model, const TStart& start, double line, double sample)
      : model_(model), start_(start), line_(line), sample_(sample) {}

  bool Evaluate(double const* const* parameters, double* residuals, double** jacobians) const override {
    const double* const c = parameters[0];
    const double* const x = parameters[1];
    double line, sample, byLine[3], bySample[3];
    model_.CalculateLineSample(start_.lat + x[1] / kMetresPerDegree, start_.lon + x[0] / start_.metresPerLon,
                               start_.h + x[2], &line, &sample, byLine, bySample);
    const auto& axes = model_.GetNormalization();
    const double u = axes.sample.Initial2Normalized(sample);
    const double v = axes.line.Initial2Normalized(line);
    residuals[0] = (sample + c[0] + c[1] * u + c[2] * v - sample_) / kNoise;
    residuals[1] = (line + c[3] + c[4] * u + c[5] * v - line_) / kNoise;
    if (jacobians == nullptr) return true;
    if (jacobians[0] != nullptr) {
      const double rows[12] = {1.0, u, v, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 1.0, u, v};
      for (int i = 0; i < 12; ++i) jacobians[0][i] = rows[i] / kNoise;
    }
    if (jacobians[1] != nullptr) {
      const double scale[3] = {1.0 / start_.metresPerLon, 1.0 / kMetresPerDegree, 1.0};
      const int from[3] = {1, 0, 2};
      const double ss = 1.0 / axes.sample.GetScale();
      const double ls = 1.0 / axes.line.GetScale();
      for (int i = 0; i < 3; ++i) {
        const double s = bySample[from[i]] * scale[i];
        const double l = byLine[from[i]] * scale[i];
        jacobians[1][i] = ((1.0 + c[1] * ss) * s + c[2] * ls * l) / kNoise;
        jacobians[1][3 + i] = (c[4] * ss * s + (1.0 + c[5] * ls) * l) / kNoise;
      }
    }
    return true;
  }

 private:
  const TRPC& model_;
  TStart start_;
  double line_, sample_;
};

/// Known values of a block of N parameters.
template <int N>
class TKnownCost final : public ceres::SizedCostFunction<N, N> {
 public:
  explicit TKnownCost(double sigma) : sigma_(sigma) {}
  bool Evaluate(double const* const* parameters, double* residuals, double** jacobians) const override {
    for (int i = 0; i < N; ++i) residuals[i] = parameters[0][i] / sigma_;
    if (jacobians != nullptr && jacobians[0] != nullptr) {
      for (int i = 0; i < N * N; ++i) jacobians[0][i] = i % (N + 1) == 0 ? 1.0 / sigma_ : 0.0;
    }
    return true;
  }

 private:
  double sigma_;
};

TRun RunCeres(const TBlockProblem& problem, const TBlockResult& ours, ceres::LinearSolverType solver, int threads) {
  const TBlockMeasurements& m = problem.measurements;
  std::vector<std::vector<TRPCCoordsDataItem>> items(problem.points.size());
  for (std::size_t i = 0; i < m.Size(); ++i) {
    items[m.point[i]].push_back({problem.images[m.image[i]].model.get(), m.line[i], m.sample[i]});
  }
  std::vector<TStart> starts;
  for (std::size_t j = 0; j < items.size(); ++j) {
    const TBlockPoint& point = problem.points[j];
    TStart start{point.lat, point.lon, point.height, 0.0};
    if (point.role == TBlockPointRole::Tie) {
      const TGroundIntersection ground = SolveLatLonH(items[j]);
      start = {ground.lat, ground.lon, ground.h, 0.0};
    }
    start.metresPerLon = kMetresPerDegree * std::cos(start.lat * 0.017453292519943295);
    starts.push_back(start);
  }
  std::vector<std::array<double, 6>> corrections(problem.images.size(), std::array<double, 6>{});
  std::vector<std::array<double, 3>> points(problem.points.size(), std::array<double, 3>{});
  const double begin = Seconds();
  const double processor = ProcessorSeconds();
  ceres::Problem block;
  ceres::Solver::Options options;
  options.linear_solver_ordering = std::make_shared<ceres::ParameterBlockOrdering>();
  for (std::size_t i = 0; i < m.Size(); ++i) {
    block.AddResidualBlock(new TRayCost(*problem.images[m.image[i]].model, starts[m.point[i]], m.line[i], m.sample[i]),
                           nullptr, corrections[m.image[i]].data(), points[m.point[i]].data());
  }
  for (auto& correction : corrections) {
    block.AddResidualBlock(new TKnownCost<6>(100.0), nullptr, correction.data());
    options.linear_solver_ordering->AddElementToGroup(correction.data(), 1);
  }
  for (std::size_t j = 0; j < points.size(); ++j) {
    if (problem.points[j].role == TBlockPointRole::Control) {
      block.AddResidualBlock(new TKnownCost<3>(problem.points[j].sigmaHorizontal), nullptr, points[j].data());
    }
    options.linear_solver_ordering->AddElementToGroup(points[j].data(), 0);
  }
  options.linear_solver_type = solver;
  options.num_threads = threads;
  options.function_tolerance = 1e-10;
  options.logging_type = ceres::SILENT;
  ceres::Solver::Summary summary;
  ceres::Solve(options, &block, &summary);
  const double seconds = Seconds() - begin;
  return {seconds, ProcessorSeconds() - processor,
          std::sqrt(2.0 * summary.final_cost / static_cast<double>(ours.redundancy)),
          static_cast<int>(summary.iterations.size())};
}

#endif

void Print(const char* name, const TRun& run, const TRun* base) {
  std::printf("  %-28s %8.3f s  %8.3f s processor  sigma0 %.4f  %2d steps", name, run.seconds, run.processor,
              run.sigma0, run.iterations);
  if (base != nullptr) {
    std::printf("  %.1f times ours, processor %.1f", run.seconds / base->seconds, run.processor / base->processor);
  }
  std::printf("\n");
  std::fflush(stdout);
}

void Measure(int images, int ties, bool strip, int threads) {
  const TBlockProblem problem = MakeBlock(images, ties, strip);
  std::printf("%s of %d images, %zu points, %zu measurements, %d threads\n", strip ? "strip" : "area", images,
              problem.points.size(), problem.measurements.Size(), threads);
  TBlockResult result;
  const TRun plain = RunOurs(problem, threads, false, &result);
  Print("least squares", plain, nullptr);
#ifdef ORBMATH_WITH_CERES
  // Dense Schur holds a full matrix: a few hundred images.
  Print("Ceres, sparse Schur", RunCeres(problem, result, ceres::SPARSE_SCHUR, threads), &plain);
  if (images <= 300) Print("Ceres, dense Schur", RunCeres(problem, result, ceres::DENSE_SCHUR, threads), &plain);
#endif
  Print("robust, with covariances", RunOurs(problem, threads, true, &result), nullptr);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 2) {
    Measure(std::atoi(argv[1]), std::atoi(argv[2]), argc > 3 && std::string(argv[3]) == "strip",
            argc > 4 ? std::atoi(argv[4]) : 2);
    return 0;
  }
  Measure(100, 20000, false, 1);
  Measure(100, 20000, true, 1);
  return 0;
}
