// The dense routines beside Eigen and OpenBLAS, in one run: `bench_linalg --threads=2` gives every library two threads.
//
//   taskset -c 0 build/bench/benchmarks/bench_linalg --benchmark_repetitions=15
//   build/bench/benchmarks/bench_linalg --threads=2 --benchmark_repetitions=15

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "frame/zxstd/threads.h"
#include "linalg/raw_arrays.h"

#ifdef ORBMATH_WITH_EIGEN
#include <Eigen/Dense>
#endif
#ifdef ORBMATH_WITH_OPENBLAS
#include <cblas.h>
extern "C" {
void dposv_(const char*, const int*, const int*, double*, const int*, double*, const int*, int*);
void dgesv_(const int*, const int*, double*, const int*, int*, double*, const int*, int*);
void dgetrf_(const int*, const int*, double*, const int*, int*, int*);
void dgetri_(const int*, double*, const int*, const int*, double*, const int*, int*);
}
#endif

namespace {

using SatCommonUtils::CreateMatrix;
using SatCommonUtils::ReleaseMatrix;

int NoPoll() { return 0; }

/// The same numbers as a raw array, and one after the other (row by row) for the others.
struct Values {
  Values(std::size_t height, std::size_t width) : rows(height), columns(width), flat(height * width) {
    std::mt19937_64 engine(height * 7919 + width);
    std::normal_distribution<double> normal;
    for (double& value : flat) value = normal(engine);
    raw = CreateMatrix(width, height);
    CopyToRaw();
  }
  Values(const Values&) = delete;
  Values& operator=(const Values&) = delete;
  ~Values() { ReleaseMatrix(raw, rows); }

  void CopyToRaw() {
    for (std::size_t i = 0; i < rows; ++i) std::memcpy(raw[i], &flat[i * columns], columns * sizeof(double));
  }
  /// Makes a square matrix symmetric and positive definite.
  void MakeDefinite() {
    for (std::size_t i = 0; i < rows; ++i) {
      for (std::size_t j = 0; j < i; ++j) flat[i * columns + j] = flat[j * columns + i];
      flat[i * columns + i] += 4.0 * static_cast<double>(rows);
    }
    CopyToRaw();
  }

  std::size_t rows, columns;
  std::vector<double> flat;
  double** raw = nullptr;
};

std::size_t Argument(const benchmark::State& state, int index) { return static_cast<std::size_t>(state.range(index)); }

// --- AᵀA of a tall thin matrix -------------------------------------------------------------------------------------

void NormalOrbmath(benchmark::State& state) {
  const Values a(Argument(state, 0), Argument(state, 1)), c(a.columns, a.columns);
  for (auto _ : state) {
    SatCommonUtils::MultiplyATbyA(a.raw, a.rows, a.columns, c.raw, NoPoll);
    benchmark::DoNotOptimize(c.raw[0]);
  }
}

void NormalWeightedOrbmath(benchmark::State& state) {
  const Values a(Argument(state, 0), Argument(state, 1)), c(a.columns, a.columns);
  std::vector<double> variances(a.rows, 0.25);
  for (auto _ : state) {
    SatCommonUtils::CalculateNormalMatrix(a.raw, a.rows, a.columns, variances.data(), c.raw, NoPoll);
    benchmark::DoNotOptimize(c.raw[0]);
  }
}

void ProductOrbmath(benchmark::State& state) {
  const std::size_t n = Argument(state, 0);
  const Values a(n, n), b(n, n), c(n, n);
  for (auto _ : state) {
    SatCommonUtils::MatrixMultiplication(a.raw, n, n, b.raw, n, c.raw, NoPoll);
    benchmark::DoNotOptimize(c.raw[0]);
  }
}

void CholeskyOrbmath(benchmark::State& state) {
  const std::size_t n = Argument(state, 0);
  Values a(n, n);
  a.MakeDefinite();
  std::vector<double> b(n, 1.0), x(n);
  for (auto _ : state) {
    benchmark::DoNotOptimize(SatCommonUtils::Cholesky(a.raw, b.data(), x.data(), n, nullptr));
  }
}

// Elimination destroys its matrix: every library copies it first, within the time.
void GaussOrbmath(benchmark::State& state) {
  const std::size_t n = Argument(state, 0);
  Values a(n, n);
  std::vector<double> b(n), x(n);
  for (auto _ : state) {
    a.CopyToRaw();
    b.assign(n, 1.0);
    benchmark::DoNotOptimize(SatCommonUtils::Gauss(a.raw, b.data(), x.data(), n, nullptr));
  }
}

void GaussObjectsOrbmath(benchmark::State& state) {
  const std::size_t n = Argument(state, 0);
  const Values values(n, n);
  SatCommonUtils::TMatrix a(n, n);
  a.FillFromBuffer(values.raw);
  const SatCommonUtils::TVector b = SatCommonUtils::TVector(n) + 1.0;
  SatCommonUtils::TVector x(n);
  for (auto _ : state) benchmark::DoNotOptimize(SatCommonUtils::Gauss(a, b, x));
}

// The inverse of a matrix object: a random matrix, and one of small integers, whose pivots are often equal in size, so
// that every copy in the system behind the inverse is eliminated by itself.
template <bool Tied>
void InverseOrbmath(benchmark::State& state) {
  const std::size_t n = Argument(state, 0);
  const Values values(n, n);
  SatCommonUtils::TMatrix a(n, n);
  a.FillFromBuffer(values.raw);
  for (std::size_t i = 0; Tied && i < n; ++i) {
    for (std::size_t j = 0; j < n; ++j) a[i][j] = std::round(2.0 * a[i][j]);
  }
  for (auto _ : state) benchmark::DoNotOptimize((~a)[0]);
}

#ifdef ORBMATH_WITH_EIGEN
using RowMajor = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
using ColumnMajor = Eigen::MatrixXd;

Eigen::Map<const RowMajor> MapOf(const Values& values) {
  return {values.flat.data(), static_cast<Eigen::Index>(values.rows), static_cast<Eigen::Index>(values.columns)};
}

void NormalEigen(benchmark::State& state) {
  const Values values(Argument(state, 0), Argument(state, 1));
  const auto a = MapOf(values);
  ColumnMajor c(a.cols(), a.cols());
  for (auto _ : state) {
    c.setZero();
    c.selfadjointView<Eigen::Lower>().rankUpdate(a.transpose());
    benchmark::DoNotOptimize(c.data());
  }
}

void ProductEigen(benchmark::State& state) {
  const std::size_t n = Argument(state, 0);
  const Values values(n, n), others(n, n);
  const ColumnMajor a = MapOf(values), b = MapOf(others);
  ColumnMajor c(a.rows(), b.cols());
  for (auto _ : state) {
    c.noalias() = a * b;
    benchmark::DoNotOptimize(c.data());
  }
}

void CholeskyEigen(benchmark::State& state) {
  const std::size_t n = Argument(state, 0);
  Values values(n, n);
  values.MakeDefinite();
  const ColumnMajor a = MapOf(values);
  const Eigen::VectorXd b = Eigen::VectorXd::Ones(a.rows());
  Eigen::VectorXd x(a.rows());
  for (auto _ : state) {
    x = a.llt().solve(b);
    benchmark::DoNotOptimize(x.data());
  }
}

void GaussEigen(benchmark::State& state) {
  const std::size_t n = Argument(state, 0);
  const Values values(n, n);
  const ColumnMajor a = MapOf(values);
  const Eigen::VectorXd b = Eigen::VectorXd::Ones(a.rows());
  Eigen::VectorXd x(a.rows());
  for (auto _ : state) {
    const Eigen::PartialPivLU<ColumnMajor> lu(a);
    x = lu.solve(b);
    benchmark::DoNotOptimize(lu.determinant());
    benchmark::DoNotOptimize(x.data());
  }
}

void InverseEigen(benchmark::State& state) {
  const std::size_t n = Argument(state, 0);
  const Values values(n, n);
  const ColumnMajor a = MapOf(values);
  ColumnMajor inverse(a.rows(), a.cols());
  for (auto _ : state) {
    inverse = a.inverse();
    benchmark::DoNotOptimize(inverse.data());
  }
}
#endif

#ifdef ORBMATH_WITH_OPENBLAS
void NormalOpenblas(benchmark::State& state) {
  const Values a(Argument(state, 0), Argument(state, 1)), c(a.columns, a.columns);
  const int n = static_cast<int>(a.columns);
  std::vector<double> result(a.columns * a.columns);
  for (auto _ : state) {
    cblas_dsyrk(CblasRowMajor, CblasUpper, CblasTrans, n, static_cast<int>(a.rows), 1.0, a.flat.data(), n, 0.0,
                result.data(), n);
    benchmark::DoNotOptimize(result.data());
  }
}

void ProductOpenblas(benchmark::State& state) {
  const std::size_t size = Argument(state, 0);
  const int n = static_cast<int>(size);
  const Values a(size, size), b(size, size);
  std::vector<double> c(size * size);
  for (auto _ : state) {
    cblas_dgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, n, n, n, 1.0, a.flat.data(), n, b.flat.data(), n, 0.0,
                c.data(), n);
    benchmark::DoNotOptimize(c.data());
  }
}

void CholeskyOpenblas(benchmark::State& state) {
  const std::size_t size = Argument(state, 0);
  const int n = static_cast<int>(size), one = 1;
  Values a(size, size);
  a.MakeDefinite();
  std::vector<double> work, x;
  for (auto _ : state) {
    work = a.flat;
    x.assign(size, 1.0);
    int info = 0;
    dposv_("L", &n, &one, work.data(), &n, x.data(), &n, &info);
    benchmark::DoNotOptimize(info);
  }
}

void GaussOpenblas(benchmark::State& state) {
  const std::size_t size = Argument(state, 0);
  const int n = static_cast<int>(size), one = 1;
  const Values a(size, size);
  std::vector<double> work, x;
  std::vector<int> pivots(size);
  for (auto _ : state) {
    work = a.flat;
    x.assign(size, 1.0);
    int info = 0;
    dgesv_(&n, &one, work.data(), &n, pivots.data(), x.data(), &n, &info);
    double determinant = 1.0;
    for (std::size_t i = 0; i < size; ++i) {
      determinant *= (pivots[i] == static_cast<int>(i) + 1 ? 1.0 : -1.0) * work[i * size + i];
    }
    benchmark::DoNotOptimize(determinant);
  }
}

void InverseOpenblas(benchmark::State& state) {
  const std::size_t size = Argument(state, 0);
  const int n = static_cast<int>(size), room = 64 * n;
  const Values a(size, size);
  std::vector<double> work, scratch(static_cast<std::size_t>(room));
  std::vector<int> pivots(size);
  for (auto _ : state) {
    work = a.flat;
    int info = 0;
    dgetrf_(&n, &n, work.data(), &n, pivots.data(), &info);
    dgetri_(&n, work.data(), &n, pivots.data(), scratch.data(), &room, &info);
    benchmark::DoNotOptimize(work.data());
  }
}
#endif

using Benchmark = void (*)(benchmark::State&);

void Register(const std::string& name, Benchmark run, const std::vector<std::vector<std::int64_t>>& arguments) {
  for (const auto& sizes : arguments) {
    benchmark::RegisterBenchmark(name.c_str(), run)->Args(sizes)->UseRealTime()->Unit(benchmark::kMicrosecond);
  }
}

void RegisterAll() {
  const std::vector<std::vector<std::int64_t>> tall = {{10000, 39}, {100000, 39}, {100000, 7}};
  const std::vector<std::vector<std::int64_t>> square = {{500}, {1000}};
  const std::vector<std::vector<std::int64_t>> solved = {{7}, {39}, {200}, {300}, {400}, {600}, {1000}};
  const std::vector<std::vector<std::int64_t>> inverted = {{7}, {39}, {100}};
  Register("AtA/orbmath", NormalOrbmath, tall);
  Register("AtWA/orbmath", NormalWeightedOrbmath, tall);
  Register("AB/orbmath", ProductOrbmath, square);
  Register("Cholesky/orbmath", CholeskyOrbmath, solved);
  Register("Gauss/orbmath", GaussOrbmath, solved);
  Register("GaussObjects/orbmath", GaussObjectsOrbmath, solved);
  Register("Inverse/orbmath", InverseOrbmath<false>, inverted);
  Register("InverseTied/orbmath", InverseOrbmath<true>, inverted);
#ifdef ORBMATH_WITH_EIGEN
  Register("AtA/eigen", NormalEigen, tall);
  Register("AB/eigen", ProductEigen, square);
  Register("Cholesky/eigen", CholeskyEigen, solved);
  Register("Gauss/eigen", GaussEigen, solved);
  Register("Inverse/eigen", InverseEigen, inverted);
#endif
#ifdef ORBMATH_WITH_OPENBLAS
  Register("AtA/openblas", NormalOpenblas, tall);
  Register("AB/openblas", ProductOpenblas, square);
  Register("Cholesky/openblas", CholeskyOpenblas, solved);
  Register("Gauss/openblas", GaussOpenblas, solved);
  Register("Inverse/openblas", InverseOpenblas, inverted);
#endif
}

}  // namespace

int main(int argc, char** argv) {
  int threads = 1;
  for (int i = 1; i < argc; ++i) {
    if (std::strncmp(argv[i], "--threads=", 10) != 0) continue;
    threads = std::atoi(argv[i] + 10);
    std::copy(argv + i + 1, argv + argc, argv + i);
    --argc;
    break;
  }
  SatCommonUtils::ZxSetThreadsCount(threads);
#ifdef ORBMATH_WITH_EIGEN
  Eigen::setNbThreads(threads);
  benchmark::AddCustomContext("eigen_threads", std::to_string(Eigen::nbThreads()));
#endif
#ifdef ORBMATH_WITH_OPENBLAS
  openblas_set_num_threads(threads);
  benchmark::AddCustomContext("openblas", openblas_get_config());
  benchmark::AddCustomContext("openblas_threads", std::to_string(openblas_get_num_threads()));
#endif
  benchmark::AddCustomContext("orbmath_threads", std::to_string(SatCommonUtils::ZxGetThreadsCount()));
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RegisterAll();
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
