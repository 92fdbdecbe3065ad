// Elimination with partial pivoting: G. H. Golub, C. F. Van Loan, Matrix Computations, 4th ed., 2013, 3.4.

#include <algorithm>
#include <cmath>
#include <utility>

#include "linalg/kernels.h"
#include "linalg/panel_elimination.h"
#include "linalg/row_kernels.h"
#include "linalg/simd.h"
#include "linalg/work_matrix.h"

namespace SatCommonUtils::kernels {

namespace {

// Up to so many columns are eliminated one by one, larger systems by panels.
constexpr std::size_t kSmallSystem = 64;

// A system that is eliminated column by column.
struct TSmallSystem {
  double** a;
  double* b;
  std::size_t n;
  TPoll poll;
  TLeftColumns left_columns;
};

// Subtracts an upper row, times the row's factor, from every row below it, and looks for the pivot of the next column.
struct TSubtractFromRows {
  const TSmallSystem& system;
  std::size_t column;
  std::size_t* pivot;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    const double* const upper = system.a[column];
    // Where nobody looks at them, columns left of the pivot and beyond the last may change: whole vectors are taken.
    const TRange columns = system.left_columns == TLeftColumns::Skip
                               ? TRange{(column + 1) / 8 * 8, WorkMatrix::Padded(system.n)}
                               : TRange{0, system.n};
    double largest = 0.0;
    *pivot = column + 1;
    for (std::size_t row = column + 1; row < system.n; ++row) {
      double* const lower = system.a[row];
      const double factor = lower[column] / upper[column];
      AddRow<Width, TTerm::Subtracted>(factor, upper, columns, lower);
      system.b[row] -= factor * system.b[column];
      // What is not a number is never larger, but stays where it is first.
      const double magnitude = std::fabs(lower[column + 1]);
      if (row == column + 1 || magnitude > largest) *pivot = row, largest = magnitude;
    }
  }
};

// Returns false when a column has no pivot or the poll stops.
bool EliminateByColumns(const TSmallSystem& system, double* sign) {
  double** const a = system.a;
  std::size_t pivot = 0;
  for (std::size_t row = 1; row < system.n; ++row) {
    if (std::fabs(a[row][0]) > std::fabs(a[pivot][0])) pivot = row;
  }
  for (std::size_t column = 0; column + 1 < system.n; ++column) {
    if (a[pivot][column] == 0.0) return false;
    if (pivot != column) {
      std::swap(a[pivot], a[column]);
      std::swap(system.b[pivot], system.b[column]);
      *sign = -*sign;
    }
    simd::Dispatch(TSubtractFromRows{system, column, &pivot});
    if (Stops(system.poll)) return false;
  }
  return true;
}

// The determinant, and the unknowns from the last one up. \param element what the elimination left at a row and column.
// \param dot the sum of a row's elements right of the diagonal times those of the unknowns.
template <class Element, class Dot>
double Substitute(double sign, const double* b, double* x, std::size_t n, TPoll poll, const Element& element,
                  const Dot& dot) {
  double determinant = sign;
  for (std::size_t i = 0; i < n; ++i) determinant *= element(i, i);
  if (Stops(poll)) return 0.0;
  if (determinant == 0.0) return determinant;
  if (Stops(poll)) return 0.0;
  for (std::size_t i = n; i-- > 0;) {
    x[i] = (b[i] - dot(i)) / element(i, i);
    if (i + 1 < n && Stops(poll)) return 0.0;
  }
  return determinant;
}

double SolveSmall(const TSmallSystem& system, double* x) {
  double sign = 1.0;
  if (!EliminateByColumns(system, &sign)) return 0.0;
  const auto element = [&](std::size_t i, std::size_t j) { return system.a[i][j]; };
  const auto dot = [&](std::size_t i) { return Dot(system.a[i] + i + 1, x + i + 1, system.n - i - 1); };
  return Substitute(sign, system.b, x, system.n, system.poll, element, dot);
}

double SolveLarge(const TPanelSystem& system, double** a_rows, double* x) {
  double sign = 1.0;
  TStripMatrix matrix(system.n);
  if (!EliminateByPanels(system, a_rows, &matrix, &sign)) return 0.0;
  const auto element = [&](std::size_t i, std::size_t j) { return matrix.At(i, j); };
  const auto dot = [&](std::size_t i) { return matrix.DotRightOfDiagonal(i, x); };
  return Substitute(sign, system.b, x, system.n, system.poll, element, dot);
}

}  // namespace

double Gauss(double** a, double* b, double* x, std::size_t n, TPoll poll) {
  if (n <= kSmallSystem) return SolveSmall({a, b, n, poll, TLeftColumns::Eliminate}, x);
  return SolveLarge({a, b, n, poll, TLeftColumns::Eliminate}, a, x);
}

double GaussOfCopy(TConstRows a, double* b, double* x, std::size_t n, TPoll poll) {
  if (n > kSmallSystem) return SolveLarge({a, b, n, poll, TLeftColumns::Skip}, nullptr, x);
  const WorkMatrix work(n, n);
  for (std::size_t i = 0; i < n; ++i) std::copy_n(a[i], n, work.GetRows()[i]);
  return SolveSmall({work.GetRows(), b, n, poll, TLeftColumns::Skip}, x);
}

}  // namespace SatCommonUtils::kernels
