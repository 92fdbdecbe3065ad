// Cholesky and Gauss solvers of raw arrays and of matrix objects.

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include "linalg/kernels.h"
#include "linalg/linear_systems.h"
#include "linalg/raw_arrays.h"
#include "linalg/row_pointers.h"
#include "linalg/work_matrix.h"

namespace SatCommonUtils {

namespace {

using kernels::TFactorState;

// Exchanges the rows of `matrix` until row i has its elements at `rows[i]`, for i below `n`.
void OrderRows(const double* const* rows, std::size_t n, TMatrix* matrix) {
  for (std::size_t i = 0; i < n; ++i) {
    std::size_t holder = i;
    while ((*matrix)[holder].GetData() != rows[i]) ++holder;
    matrix->SwapRows(i, holder);
  }
}

// Gives `solve` room for `n` unknowns. That `x` has it is checked where they are due: a singular system has none.
template <class Solve>
double SolveInto(TVector& x, std::size_t n, const Solve& solve) {
  if (x.GetSize() >= n) return solve(x.GetData());
  std::vector<double> elsewhere(n);
  const double determinant = solve(elsewhere.data());
  if (determinant != 0.0) ThrowIndexError();
  return determinant;
}

}  // namespace

bool Cholesky(double** A, double* b, double* x, std::size_t n, int (*poll)(void)) {
  return kernels::CholeskyFactorAndSolve(A, b, n, poll, x) == TFactorState::Done;
}

bool Cholesky(const TMatrix& A, const TVector& b, TVector& x) {
  const std::size_t n = A.GetWidth();
  CheckSquareBlock(A, n);
  // That it is too short counts only where there is a factor.
  const std::vector<double> none(b.GetSize() < n ? n : 0);
  const double* const right_side = none.empty() ? b.GetData() : none.data();
  TVector solution(n);
  if (kernels::CholeskyFactorAndSolve(RowPointers(A).data(), right_side, n, nullptr, solution.GetData()) !=
      TFactorState::Done) {
    return false;
  }
  if (b.GetSize() < n) ThrowIndexError();
  x = std::move(solution);
  return true;
}

bool CholeskyMatrixInversion(double** A, double** Ainv, std::size_t n, int (*poll)(void)) {
  const WorkMatrix u(n, n);
  if (kernels::CholeskyFactor(A, n, nullptr, u.GetRows()) != TFactorState::Done) return false;
  kernels::CholeskyInvert(u.GetRows(), n, poll, Ainv);
  return true;
}

bool CholeskyMatrixInversion(const TMatrix& A, TMatrix* Ainv, int (*poll)(void)) {
  const std::size_t n = A.GetWidth();
  CheckSquareBlock(A, n);
  const WorkMatrix u(n, n);
  if (kernels::CholeskyFactor(RowPointers(A).data(), n, nullptr, u.GetRows()) != TFactorState::Done) return false;
  // From here on A is not needed, which may be the matrix that is filled while polls look at it.
  Ainv->Reset(n, n);
  kernels::CholeskyInvert(u.GetRows(), n, poll, RowPointers(Ainv).data());
  return true;
}

double Gauss(double** A, double* b, double* x, std::size_t n, int (*poll)(void)) {
  return kernels::Gauss(A, b, x, n, poll);
}

double GaussTriangle(TMatrix& A, TVector& b, TVector& x) {
  const std::size_t n = b.GetSize();
  CheckSquareBlock(A, n);
  std::vector<double*> rows = RowPointers(&A);
  return SolveInto(x, n, [&](double* unknowns) {
    const double determinant = kernels::Gauss(rows.data(), b.GetData(), unknowns, n, nullptr);
    OrderRows(rows.data(), n, &A);
    return determinant;
  });
}

double Gauss(const TMatrix& A, const TVector& b, TVector& x) {
  const std::size_t n = b.GetSize();
  CheckSquareBlock(A, n);
  const std::vector<const double*> rows = RowPointers(A);
  TVector right_side(b);
  return SolveInto(x, n, [&](double* unknowns) {
    return kernels::GaussOfCopy(rows.data(), right_side.GetData(), unknowns, n, nullptr);
  });
}

double Cond(const TMatrix& A) { return A.Norma1() * (~A).Norma1(); }

}  // namespace SatCommonUtils
