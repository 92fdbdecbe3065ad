// The parallel products of raw arrays.

#include <cstddef>
#include <vector>

#include "linalg/kernels.h"
#include "linalg/polled_product.h"
#include "linalg/raw_arrays.h"
#include "linalg/team.h"

namespace SatCommonUtils {

namespace {

using kernels::OnTeam;
using kernels::StaticShare;
using kernels::TeamSize;
using kernels::TProduct;
using kernels::TRange;
using kernels::TWorkspace;
using kernels::Workspaces;

// Makes the elements of a vector and polls for each.
template <class Make>
void VectorOnTeam(std::size_t size, int (*poll)(void), const Make& make) {
  OnTeam(TeamSize(), [&](std::size_t thread, std::size_t threads) {
    const TRange share = StaticShare(size, thread, threads);
    make(share);
    for (std::size_t i = share.first; i < share.last; ++i) poll();
  });
}

void MultiplyOnTeam(const TProduct& product, double** c, int (*poll)(void)) {
  const std::size_t team = TeamSize();
  const std::vector<TWorkspace> workspaces = Workspaces(product, team);
  OnTeam(team, [&](std::size_t thread, std::size_t threads) {
    kernels::MultiplyAndPoll(product, StaticShare(product.rows, thread, threads), c, workspaces[thread], poll);
  });
}

// Half of the elements mirror the other half, bit for bit. The threads share the upper ones evenly; after the barrier
// each thread completes its rows.
void SquareOnTeam(const TProduct& product, double** c, int (*poll)(void)) {
  const std::size_t team = TeamSize();
  const std::vector<TWorkspace> workspaces = Workspaces(product, team);
  OnTeam(team, [&](std::size_t thread, std::size_t threads) {
    kernels::MultiplyUpper(product, {thread, threads}, c, workspaces[thread]);
#pragma omp barrier
    const TRange share = StaticShare(product.rows, thread, threads);
    kernels::MirrorUpper(share, c);
    for (std::size_t i = share.first; i < share.last; ++i) poll();
  });
}

}  // namespace

void MatrixByVector(double** A, std::size_t columns, std::size_t rows, double* x, double* y, int (*poll)(void)) {
  VectorOnTeam(rows, poll, [&](TRange range) { kernels::MatrixByVector(A, columns, range, x, y); });
}

bool MatrixTByVector(double** A, std::size_t columns, std::size_t rows, double* x, double* y, int (*poll)(void)) {
  VectorOnTeam(columns, poll,
               [&](TRange range) { kernels::FactorByVector({A}, kernels::TTerm::Plain, nullptr, range, rows, x, y); });
  return true;
}

void CalculateNormalMatrix(double** A, std::size_t rows, std::size_t columns, double* w, double** N,
                           int (*poll)(void)) {
  SquareOnTeam({{A}, {A}, rows, columns, columns, kernels::TTerm::Divided, w}, N, poll);
}

bool CalculateNormalMatrix(double** A, std::size_t rows, std::size_t columns, double** N, int (*poll)(void)) {
  return MultiplyATbyA(A, rows, columns, N, poll);
}

bool MultiplyATbyA(double** A, std::size_t rows, std::size_t columns, double** C, int (*poll)(void)) {
  SquareOnTeam({{A}, {A}, rows, columns, columns}, C, poll);
  return true;
}

void MultiplyATbyB(double** A, std::size_t rows, std::size_t columns, double** B, std::size_t b_columns, double** C,
                   int (*poll)(void)) {
  MultiplyOnTeam({{A}, {B}, rows, columns, b_columns}, C, poll);
}

void MultiplyAbyBT(double** A, std::size_t rows, std::size_t columns, double** B, std::size_t b_rows, double** C,
                   int (*poll)(void)) {
  MultiplyOnTeam({{A, true}, {B, true}, columns, rows, b_rows}, C, poll);
}

void MatrixMultiplication(double** A, std::size_t rows, std::size_t columns, double** B, std::size_t b_columns,
                          double** C, int (*poll)(void)) {
  MultiplyOnTeam({{A, true}, {B}, columns, rows, b_columns}, C, poll);
}

}  // namespace SatCommonUtils
