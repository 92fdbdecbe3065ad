// Elementary: Cramer's rule, and least squares by normal equations (G. H. Golub, C. F. Van Loan, Matrix Computations,
// 4th ed., 2013, 5.3.2).

#include "linalg/linear_systems.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>
#include <vector>

#include "linalg/kernels.h"
#include "linalg/raw_arrays.h"
#include "linalg/row_pointers.h"
#include "linalg/work_matrix.h"

namespace SatCommonUtils {

TLinearSystem::TLinearSystem(std::size_t n) : coefficients_(n), free_terms_(n) {}

TLinearSystem::TLinearSystem(const TMatrix& A, const TVector& b) : coefficients_(A), free_terms_(b) {}

void TLinearSystem::Set(const TMatrix& A, const TVector& b) {
  SetCoef(A);
  SetFree(b);
}

double TLinearSystem::SolutionGauss(TVector& x) const {
  x.Reset(free_terms_.GetSize());
  return Gauss(coefficients_, free_terms_, x);
}

double TLinearSystem::Det() const {
  TVector x;
  return SolutionGauss(x);
}

double TLinearSystem::Cond() const { return SatCommonUtils::Cond(coefficients_); }

TOverdefinedLinearSystem::TOverdefinedLinearSystem(const TMatrix& A, const TVector& l)
    : TOverdefinedLinearSystem(A, l, TVector(l.GetSize()) + 1.0) {}

TOverdefinedLinearSystem::TOverdefinedLinearSystem(const TMatrix& A, const TVector& l, const TVector& w)
    : design_(A), observations_(l), weights_(w) {
  const std::size_t m = l.GetSize();
  if (m == 0 || A.GetHeight() < A.GetWidth() || m != A.GetHeight() || w.GetSize() != m) {
    throw "TOverdefinedLinearSystem::TOverdefinedLinearSystem(const TMatrix&,const TVector&)";
  }
}

void TOverdefinedLinearSystem::Solution(TVector& x) const {
  const std::size_t n = design_.GetWidth();
  const std::size_t m = design_.GetHeight();
  const std::vector<const double*> a = RowPointers(design_);
  const kernels::TFactor weighted{a.data(), false, weights_.GetData()};
  TMatrix normal(n, n);
  kernels::MultiplySymmetric({weighted, {a.data()}, m, n, n}, RowPointers(&normal).data());
  TVector right_side(n);
  kernels::FactorByVector(weighted, kernels::TTerm::Plain, nullptr, {0, n}, m, observations_.GetData(),
                          right_side.GetData());
  x.Reset(n);
  if (!Cholesky(normal, right_side, x)) Gauss(normal, right_side, x);
}

namespace {

// The normal matrix of raw arrays, with one poll for each of its rows. All rows grow together, by some observations at
// a time, so that a caller who cancels need not wait for the sums of all of them. \return false after a cancel.
bool FormNormalMatrix(double** A, const double* w, std::size_t n, std::size_t m, int (*poll)(void), double** normal) {
  constexpr std::size_t kFewestObservations = 4096;
  const std::size_t run = std::max(kFewestObservations, m / std::max(n, std::size_t{1}) + 1);
  const kernels::TTerm term = w == nullptr ? kernels::TTerm::Plain : kernels::TTerm::Times;
  for (std::size_t i = 0; i < n; ++i) std::fill_n(normal[i], n, 0.0);
  for (std::size_t i = 0, first = 0; i < n; ++i, first += run) {
    if (first < m) {
      kernels::TProduct part{{A + first}, {A + first}, std::min(run, m - first), n, n, term};
      part.weights = w == nullptr ? nullptr : w + first;
      part.add = true;
      kernels::MultiplyUpper(part, {}, normal, kernels::TWorkspace(part));
    }
    if (kernels::Stops(poll)) return false;
  }
  kernels::MirrorUpper({0, n}, normal);
  return true;
}

}  // namespace

bool kernels::SolveNormalEquations(TConstRows normal, double* right_side, double* x, std::size_t n, TPoll poll) {
  const TFactorState state = CholeskyFactorAndSolve(normal, right_side, n, poll, x);
  if (state != TFactorState::NotPositive) return state == TFactorState::Done;
  return GaussOfCopy(normal, right_side, x, n, poll) != 0.0;
}

bool SolveOverdefined(double** A, double* l, double* w, double* x, std::size_t n, std::size_t m, int (*poll)(void)) {
  const WorkMatrix normal(n, n);
  if (!FormNormalMatrix(A, w, n, m, poll, normal.GetRows())) return false;
  std::vector<double> right_side(n);
  const kernels::TTerm term = w == nullptr ? kernels::TTerm::Plain : kernels::TTerm::Times;
  kernels::FactorByVector({A}, term, w, {0, n}, m, l, right_side.data());
  return kernels::SolveNormalEquations(normal.GetRows(), right_side.data(), x, n, poll);
}

bool SolveEquationsSet(const double& a, const double& b, const double& c, const double& d, const double& e,
                       const double& f, double* x, double* y) {
  // Only an exact zero counts as singular: how near is too near depends on units that are not known here.
  const double det = a * d - b * c;
  if (det == 0.0) return false;
  // Both are computed before either is written: an output may be one of the inputs.
  const double x_value = (e * d - b * f) / det;
  const double y_value = (a * f - e * c) / det;
  *x = x_value;
  *y = y_value;
  return true;
}

namespace {

// The determinant of a 3 x 3 matrix in row order, expanded along the first row.
double Determinant3(const double* a) {
  return a[0] * (a[4] * a[8] - a[5] * a[7]) - a[1] * (a[3] * a[8] - a[5] * a[6]) + a[2] * (a[3] * a[7] - a[4] * a[6]);
}

}  // namespace

double SolveKramer3(const double* A, const double* b, double* x) {
  const double det = Determinant3(A);
  if (det == 0.0) return 0.0;
  std::array<double, 3> solution;
  for (std::size_t i = 0; i < 3; ++i) {
    std::array<double, 9> replaced;
    for (std::size_t k = 0; k < 9; ++k) replaced[k] = k % 3 == i ? b[k / 3] : A[k];
    solution[i] = Determinant3(replaced.data()) / det;
  }
  for (std::size_t i = 0; i < 3; ++i) x[i] = solution[i];
  return det;
}

}  // namespace SatCommonUtils
