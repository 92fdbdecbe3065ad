// Normal equations of weighted least squares: G. H. Golub, C. F. Van Loan, Matrix Computations, 4th ed., 2013, 5.3.2.

#include "linalg/normal_equations.h"

#include <cstddef>
#include <utility>
#include <vector>

#include "linalg/kernels.h"
#include "linalg/row_pointers.h"

namespace SatCommonUtils {

bool NormalEquationsMatrix(const TMatrix& A, const TVector& w, TMatrix* N) {
  const std::size_t n = A.GetWidth();
  const std::size_t m = A.GetHeight();
  if (n == 0 || m == 0 || w.GetSize() != m) return false;
  TMatrix normal(n, n);
  const std::vector<const double*> a = RowPointers(A);
  const std::vector<double*> rows = RowPointers(&normal);
  // The element below the diagonal is (A(k, i)·w(k))·A(k, j) with i > j: seen from the upper triangle the weight
  // goes to the second factor.
  kernels::MultiplySymmetric({{a.data()}, {a.data(), false, w.GetData()}, m, n, n}, rows.data());
  *N = std::move(normal);
  return true;
}

bool NormalEquationsSubMatrix(const TMatrix& A, const TVector& w, const TMatrix& B, TMatrix* N) {
  const std::size_t n = A.GetWidth();
  const std::size_t m = A.GetHeight();
  const std::size_t p = B.GetWidth();
  if (n == 0 || m == 0 || p == 0 || B.GetHeight() != m || w.GetSize() != m) return false;
  TMatrix normal(p, n);
  const std::vector<const double*> a = RowPointers(A);
  const std::vector<const double*> b = RowPointers(B);
  const std::vector<double*> rows = RowPointers(&normal);
  const kernels::TProduct task{{a.data(), false, w.GetData()}, {b.data()}, m, n, p};
  kernels::Multiply(task, {0, n}, rows.data(), kernels::TWorkspace(task));
  *N = std::move(normal);
  return true;
}

bool NormalEquationsFreeTerm(const TMatrix& A, const TVector& w, const TVector& l, TVector* b) {
  const std::size_t n = A.GetWidth();
  const std::size_t m = A.GetHeight();
  if (n == 0 || m == 0 || w.GetSize() != m || l.GetSize() != m) return false;
  TVector weighted(m);
  for (std::size_t k = 0; k < m; ++k) weighted[k] = w(k) * l(k);
  TVector free_term(n);
  const std::vector<const double*> a = RowPointers(A);
  kernels::FactorByVector({a.data()}, kernels::TTerm::Plain, nullptr, {0, n}, m, weighted.GetData(),
                          free_term.GetData());
  *b = std::move(free_term);
  return true;
}

}  // namespace SatCommonUtils
