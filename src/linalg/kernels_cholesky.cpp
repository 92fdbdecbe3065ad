// Cholesky's factorisation by panels of rows, and what follows from the factor: G. H. Golub, C. F. Van Loan, Matrix
// Computations, 4th ed., 2013, 4.2.9 (blocked outer-product form). Every sum keeps the index order of the plain loops.

#include <algorithm>
#include <cmath>
#include <vector>

#include "linalg/kernels.h"
#include "linalg/row_kernels.h"
#include "linalg/simd.h"
#include "linalg/work_matrix.h"

namespace SatCommonUtils::kernels {

namespace {

// Rows that are made one by one before the sums of all rows below take their terms together.
constexpr std::size_t kPanelRows = 64;
// Columns of the inverse that are made together: the widest strip of CombineRows at the widest vectors.
constexpr std::size_t kInverseColumns = 48;

bool Stops(TPoll poll) { return poll != nullptr && poll() != 0; }

// Makes the rows [first, last) of the factor. They hold the sums over k below `first` already; they take those over
// the rows between, one row of sums at a time, and then their values.
struct TPanelOfFactor {
  TConstRows a;
  std::size_t n;
  TRange rows;
  TPoll poll;
  TRows u;
  TFactorState* state;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    for (std::size_t i = rows.first; i < rows.last; ++i) {
      double factors[kPanelRows];
      for (std::size_t k = rows.first; k < i; ++k) factors[k - rows.first] = u[k][i];
      double* const row = u[i];
      // Whole vectors: what they compute left of the diagonal and beyond the end is not looked at.
      const std::size_t first = i / Width * Width;
      CombineRows<Width, TTerm::Plain>(factors, u + rows.first, i - rows.first,
                                       {first, (n + Width - 1) / Width * Width}, row);
      const double pivot = a[i][i] - row[i];
      if (pivot <= kSmallestCholeskyPivot) {
        *state = TFactorState::NotPositive;
        return;
      }
      const double root = std::sqrt(pivot);
      row[i] = root;
      SubtractAndDivide<Width>(a[i], root, {i + 1, n}, row);
      if (Stops(poll)) {
        *state = TFactorState::Cancelled;
        return;
      }
    }
  }
};

// y(i) collects its sum, one term from each y(k) once that is known.
struct TForwardPass {
  TConstRows u;
  const double* b;
  std::size_t n;
  TPoll poll;
  double* y;
  bool* complete;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    std::fill_n(y, n, 0.0);
    for (std::size_t i = 0; i < n; ++i) {
      y[i] = (b[i] - y[i]) / u[i][i];
      if (Stops(poll)) {
        std::fill(y + i + 1, y + n, 0.0);
        return;
      }
      AddRow<Width, TTerm::Plain>(y[i], u[i], {i + 1, n}, y);
    }
    *complete = true;
  }
};

// Some columns of the inverse at once: row i of the right-hand sides takes the rows that are known already. The columns
// of a strip stay in the cache while all rows go by.
struct TInversion {
  TConstRows u;
  std::size_t n;
  TRange columns;
  TRows inverse;
  double* factors;
  double* sums;  // n values, of which those of the columns are used

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    for (std::size_t i = 0; i < n; ++i) {
      for (std::size_t k = 0; k < i; ++k) factors[k] = u[k][i];
      Sum<Width>(factors, inverse, i);
      std::fill(inverse[i] + columns.first, inverse[i] + columns.last, 0.0);
      if (columns.first <= i && i < columns.last) inverse[i][i] = 1.0;
      Finish<Width>(i);
    }
    for (std::size_t i = n; i-- > 0;) {
      Sum<Width>(u[i] + i + 1, inverse + i + 1, n - i - 1);
      Finish<Width>(i);
    }
  }

  template <int Width>
  [[gnu::always_inline]] void Sum(const double* row_factors, TConstRows rows, std::size_t count) const {
    std::fill(sums + columns.first, sums + columns.last, 0.0);
    CombineRows<Width, TTerm::Plain>(row_factors, rows, count, columns, sums);
  }

  template <int Width>
  [[gnu::always_inline]] void Finish(std::size_t i) const {
    SubtractAndDivide<Width>(inverse[i], u[i][i], columns, sums);
    std::copy(sums + columns.first, sums + columns.last, inverse[i] + columns.first);
  }
};

}  // namespace

TFactorState CholeskyFactor(TConstRows a, std::size_t n, TPoll poll, TRows u) {
  std::vector<const double*> panel;
  std::vector<double*> below;
  for (std::size_t first = 0; first < n; first += kPanelRows) {
    const std::size_t last = std::min(first + kPanelRows, n);
    if (first == 0) {
      for (std::size_t i = 0; i < last; ++i) std::fill_n(u[i], n, 0.0);
    }
    TFactorState state = TFactorState::Done;
    simd::Dispatch(TPanelOfFactor{a, n, {first, last}, poll, u, &state});
    if (state != TFactorState::Done) return state;
    if (last == n) break;
    // The sums of the rows below take the terms of this panel.
    panel.clear();
    below.clear();
    for (std::size_t k = first; k < last; ++k) panel.push_back(u[k] + last);
    for (std::size_t i = last; i < n; ++i) below.push_back(u[i] + last);
    TProduct product{{panel.data()}, {panel.data()}, last - first, n - last, n - last};
    product.add = first != 0;
    MultiplyUpper(product, {}, below.data(), TWorkspace(product));
  }
  return TFactorState::Done;
}

bool CholeskySolve(TConstRows u, const double* b, std::size_t n, TPoll poll, double* y, double* x) {
  bool complete = false;
  simd::Dispatch(TForwardPass{u, b, n, poll, y, &complete});
  // Here each sum begins with the value that was found last: nothing can run side by side.
  for (std::size_t i = n; i-- > 0;) {
    x[i] = (y[i] - Dot(u[i] + i + 1, x + i + 1, n - i - 1)) / u[i][i];
    if (Stops(poll)) return false;
  }
  return complete;
}

void CholeskyInvert(TConstRows u, std::size_t n, TPoll poll, TRows inverse) {
  std::vector<double> factors(n), sums(n);
  for (std::size_t first = 0; first < n; first += kInverseColumns) {
    const TRange columns{first, std::min(first + kInverseColumns, n)};
    simd::Dispatch(TInversion{u, n, columns, inverse, factors.data(), sums.data()});
    for (std::size_t j = columns.first; poll != nullptr && j < columns.last; ++j) poll();
  }
}

}  // namespace SatCommonUtils::kernels
