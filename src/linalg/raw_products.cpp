// The parallel products of raw arrays.

#include <omp.h>

#include <algorithm>
#include <cstddef>

#include "frame/zxstd/threads.h"
#include "linalg/kernels.h"
#include "linalg/raw_arrays.h"

namespace SatCommonUtils {

namespace {

using kernels::TRange;

// The run of `count` rows that a static schedule gives to one thread of a team.
TRange StaticShare(std::size_t count, int thread, int threads) {
  const auto t = static_cast<std::size_t>(thread);
  const auto team = static_cast<std::size_t>(threads);
  const std::size_t chunk = count / team;
  const std::size_t longer = count % team;  // the first threads take one row more
  const std::size_t first = t * chunk + std::min(t, longer);
  return {first, first + chunk + (t < longer ? 1 : 0)};
}

// Runs `make(range)` on the rows of the result, shared out over the team, and polls once for each row.
template <class Make>
void ForRowsInParallel(std::size_t rows, int (*poll)(void), const Make& make) {
  omp_set_dynamic(0);
#pragma omp parallel num_threads(ZxGetThreadsCount())
  {
    const TRange share = StaticShare(rows, omp_get_thread_num(), omp_get_num_threads());
    make(share);
    for (std::size_t i = share.first; i < share.last; ++i) poll();
  }
}

void SquareInParallel(const kernels::TNormalProduct& product, double** c, int (*poll)(void)) {
  omp_set_dynamic(0);
#pragma omp parallel num_threads(ZxGetThreadsCount())
  {
    const TRange share = StaticShare(product.size, omp_get_thread_num(), omp_get_num_threads());
    kernels::MultiplyUpper(product, share, c);
#pragma omp barrier
    kernels::MirrorUpper(share, c);
    for (std::size_t i = share.first; i < share.last; ++i) poll();
  }
}

}  // namespace

void MatrixByVector(double** A, std::size_t columns, std::size_t rows, double* x, double* y, int (*poll)(void)) {
  ForRowsInParallel(rows, poll, [&](TRange range) { kernels::MatrixByVector(A, columns, range, x, y); });
}

bool MatrixTByVector(double** A, std::size_t columns, std::size_t rows, double* x, double* y, int (*poll)(void)) {
  ForRowsInParallel(columns, poll, [&](TRange range) { kernels::TransposedByVector(A, rows, range, x, y); });
  return true;
}

void CalculateNormalMatrix(double** A, std::size_t rows, std::size_t columns, double* w, double** N,
                           int (*poll)(void)) {
  SquareInParallel({{A}, {A}, kernels::TTerm::Divided, w, rows, columns}, N, poll);
}

bool CalculateNormalMatrix(double** A, std::size_t rows, std::size_t columns, double** N, int (*poll)(void)) {
  return MultiplyATbyA(A, rows, columns, N, poll);
}

bool MultiplyATbyA(double** A, std::size_t rows, std::size_t columns, double** C, int (*poll)(void)) {
  SquareInParallel({{A}, {A}, kernels::TTerm::Plain, nullptr, rows, columns}, C, poll);
  return true;
}

void MultiplyATbyB(double** A, std::size_t rows, std::size_t columns, double** B, std::size_t b_columns, double** C,
                   int (*poll)(void)) {
  ForRowsInParallel(columns, poll, [&](TRange range) { kernels::Multiply({A}, {B}, rows, b_columns, range, C); });
}

void MultiplyAbyBT(double** A, std::size_t rows, std::size_t columns, double** B, std::size_t b_rows, double** C,
                   int (*poll)(void)) {
  ForRowsInParallel(rows, poll, [&](TRange range) {
    kernels::Multiply({A, true}, {B, true}, columns, b_rows, range, C);
  });
}

void MatrixMultiplication(double** A, std::size_t rows, std::size_t columns, double** B, std::size_t b_columns,
                          double** C, int (*poll)(void)) {
  ForRowsInParallel(rows, poll, [&](TRange range) { kernels::Multiply({A, true}, {B}, columns, b_columns, range, C); });
}

}  // namespace SatCommonUtils
