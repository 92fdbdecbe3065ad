// Fits of 78 coefficients to noisy points, so that the plain fits make all of their 10 iterations: ours, the robust
// one, and the same normal equations formed with Eigen in blocks of 256 rows.

#include <benchmark/benchmark.h>

#include <map>
#include <random>

#include "frame/zxstd/threads.h"
#include "refine/robust_fit.h"
#include "refine/rpc_estimation.h"

#ifdef ORBMATH_WITH_EIGEN
#include <Eigen/Dense>
#endif

namespace {

using namespace SatCommonUtils;

// Points of a mildly curved model: some 10,000 pixels a side with 0.3 pixels of noise.
const TRPCEstimationDataSet& Points(std::size_t count) {
  static std::map<std::size_t, TRPCEstimationDataSet> sets;
  TRPCEstimationDataSet& data = sets[count];
  if (!data.Points.empty()) return data;
  std::mt19937_64 engine(7);
  std::uniform_real_distribution<double> uniform(-1.0, 1.0);
  std::normal_distribution<double> noise(0.0, 0.3);
  for (std::size_t i = 0; i < count; ++i) {
    const double P = uniform(engine), L = uniform(engine), H = uniform(engine);
    const double line =
        (0.01 + 0.1 * L - 1.1 * P + 0.02 * H + 0.003 * L * P + 0.001 * P * P - 2e-4 * H * P + 1e-5 * P * P * P) /
        (1.0 + 0.003 * P - 0.001 * L + 2e-4 * H + 1e-4 * L * P);
    const double sample = (0.02 + 1.1 * L + 0.1 * P - 0.01 * H - 0.002 * L * P + 0.002 * L * L + 1e-5 * L * L * L) /
                          (1.0 - 0.002 * P + 0.002 * L + 1e-4 * H + 2e-4 * L * L);
    data.Points.push_back({47.0 + 0.06 * P, 8.0 + 0.09 * L, 400.0 + 400.0 * H, 5000.0 + 5000.0 * line + noise(engine),
                           5000.0 + 5000.0 * sample + noise(engine)});
  }
  return data;
}

void CountPoints(benchmark::State& state) { state.SetItemsProcessed(state.iterations() * state.range(0)); }

void BM_EstimateRPC(benchmark::State& state) {
  const TRPCEstimationDataSet& data = Points(static_cast<std::size_t>(state.range(0)));
  ZxSetThreadsCount(static_cast<int>(state.range(1)));
  TRPCData rpc;
  for (auto _ : state) benchmark::DoNotOptimize(EstimateRPC(data, &rpc));
  ZxSetThreadsCount(0);
  CountPoints(state);
}

void BM_FitRPC(benchmark::State& state) {
  const TRPCEstimationDataSet& data = Points(static_cast<std::size_t>(state.range(0)));
  TRPCData rpc;
  for (auto _ : state) benchmark::DoNotOptimize(FitRPC(data, TRPCFitOptions(), &rpc));
  CountPoints(state);
}

/// The same without the search for bad points.
void BM_FitRPCNotSought(benchmark::State& state) {
  const TRPCEstimationDataSet& data = Points(static_cast<std::size_t>(state.range(0)));
  TRPCFitOptions options;
  options.badPoints = TRPCBadPoints::NotSought;
  TRPCData rpc;
  for (auto _ : state) benchmark::DoNotOptimize(FitRPC(data, options, &rpc));
  CountPoints(state);
}

#ifdef ORBMATH_WITH_EIGEN

using TTerms = Eigen::Array<double, Eigen::Dynamic, 20>;
using TBlock = Eigen::Matrix<double, Eigen::Dynamic, 39>;

// The normalised points by columns, as someone who knows Eigen would hold them.
struct TColumns {
  Eigen::ArrayXd P, L, H, line, sample;
};

TColumns Normalized(const TRPCEstimationDataSet& data) {
  const auto column = [&](double TRPCEstimationPoint::*slot) {
    Eigen::ArrayXd values(static_cast<Eigen::Index>(data.Points.size()));
    for (std::size_t i = 0; i < data.Points.size(); ++i) values[static_cast<Eigen::Index>(i)] = data.Points[i].*slot;
    const double least = values.minCoeff(), largest = values.maxCoeff();
    return Eigen::ArrayXd((values - 0.5 * (largest + least)) / (0.5 * (largest - least)));
  };
  return {column(&TRPCEstimationPoint::Lat), column(&TRPCEstimationPoint::Lon), column(&TRPCEstimationPoint::Height),
          column(&TRPCEstimationPoint::Line), column(&TRPCEstimationPoint::Sample)};
}

TTerms TermsOf(const TColumns& c, Eigen::Index first, Eigen::Index count) {
  const Eigen::ArrayXd P = c.P.segment(first, count), L = c.L.segment(first, count), H = c.H.segment(first, count);
  TTerms t(count, 20);
  t << Eigen::ArrayXd::Ones(count), L, P, H, L * P, L * H, P * H, L * L, P * P, H * H, P * L * H, L * L * L, L * P * P,
      L * H * H, L * L * P, P * P * P, P * H * H, L * L * H, P * P * H, H * H * H;
  return t;
}

Eigen::VectorXd Correction(const TColumns& c, const Eigen::ArrayXd& observed, const Eigen::VectorXd& numerator,
                           const Eigen::VectorXd& denominator) {
  constexpr Eigen::Index kRows = 256;
  Eigen::MatrixXd normal = Eigen::MatrixXd::Zero(39, 39);
  Eigen::VectorXd right = Eigen::VectorXd::Zero(39);
  TBlock block;
  for (Eigen::Index first = 0; first < observed.size(); first += kRows) {
    const Eigen::Index count = std::min(kRows, observed.size() - first);
    const TTerms terms = TermsOf(c, first, count);
    const Eigen::ArrayXd d = (terms.matrix() * denominator).array();
    const Eigen::ArrayXd value = (terms.matrix() * numerator).array() / d;
    block.resize(count, 39);
    block.leftCols(20) = (terms.colwise() / d).matrix();
    block.rightCols(19) = (block.middleCols(1, 19).array().colwise() * -value).matrix();
    normal.selfadjointView<Eigen::Lower>().rankUpdate(block.transpose());
    right.noalias() -= block.transpose() * (value - observed.segment(first, count)).matrix();
  }
  return Eigen::MatrixXd(normal.selfadjointView<Eigen::Lower>()).partialPivLu().solve(right);
}

void BM_EigenBlocks(benchmark::State& state) {
  const TRPCEstimationDataSet& data = Points(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    const TColumns c = Normalized(data);
    for (const Eigen::ArrayXd* observed : {&c.line, &c.sample}) {
      Eigen::VectorXd numerator = Eigen::VectorXd::Zero(20), denominator = Eigen::VectorXd::Zero(20);
      denominator[0] = 1.0;
      for (int iteration = 0; iteration < 10; ++iteration) {
        const Eigen::VectorXd correction = Correction(c, *observed, numerator, denominator);
        numerator += correction.head(20);
        // Damped, so that its values stay finite; the work is the same.
        denominator.tail(19) += 1e-3 * correction.tail(19);
      }
      benchmark::DoNotOptimize(numerator.data());
    }
  }
  CountPoints(state);
}
BENCHMARK(BM_EigenBlocks)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMillisecond);

#endif

// Arguments: points, threads.
BENCHMARK(BM_EstimateRPC)
    ->ArgsProduct({{1000, 10000, 100000, 1000000}, {1, 2}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(BM_FitRPC)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FitRPCNotSought)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMillisecond);

}  // namespace
