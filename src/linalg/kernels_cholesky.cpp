// Cholesky's factorisation by panels of rows, and what follows from the factor: G. H. Golub, C. F. Van Loan, Matrix
// Computations, 4th ed., 2013, 4.2.9 (blocked outer-product form). Every sum keeps the index order of the plain loops.

#include <algorithm>
#include <cmath>
#include <vector>

#include "linalg/kernels.h"
#include "linalg/row_kernels.h"
#include "linalg/simd.h"
#include "linalg/team.h"

namespace SatCommonUtils::kernels {

namespace {

// Rows that are made one by one before the sums of all rows below take their terms together.
constexpr std::size_t kPanelRows = 64;
// Columns of the inverse that are made together: the widest strip of CombineRows at the widest vectors.
constexpr std::size_t kInverseColumns = 48;

// Makes the rows [first, last) of the factor in some columns. They hold the sums over k below `first` already; they
// take those over the rows between, one row of sums at a time, and then their values. The columns begin with the
// diagonal ones, or all diagonal elements are there.
struct TPanelOfFactor {
  TConstRows a;
  TRange rows;
  TRange columns;
  TRows u;
  std::size_t* made;  // rows, up to one whose pivot fails

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    const bool diagonal = columns.first == rows.first;
    for (std::size_t i = rows.first; i < rows.last; ++i) {
      double factors[kPanelRows];
      for (std::size_t k = rows.first; k < i; ++k) factors[k - rows.first] = u[k][i];
      double* const row = u[i];
      // Whole vectors: what they compute left of the diagonal and beyond the end is not looked at.
      const std::size_t first = diagonal ? i / Width * Width : columns.first;
      const std::size_t last = diagonal ? (columns.last + Width - 1) / Width * Width : columns.last;
      CombineRows<Width, TTerm::Plain>(factors, u + rows.first, i - rows.first, {first, last}, row);
      if (diagonal) {
        const double pivot = a[i][i] - row[i];
        if (pivot <= kSmallestCholeskyPivot) return;
        row[i] = std::sqrt(pivot);
        ++*made;
      }
      SubtractAndDivide<Width>(a[i], row[i], {diagonal ? i + 1 : columns.first, columns.last}, row);
    }
  }
};

// Makes rows of the factor: one thread those columns that hold the diagonal, which all others need, then every thread
// some of the others. Returns how many rows there are, which a pivot may end.
std::size_t MakePanel(TConstRows a, std::size_t n, TRange rows, std::size_t team, TRows u) {
  std::size_t made = 0;
  const std::size_t alone = team == 1 ? n : rows.last;
  simd::Dispatch(TPanelOfFactor{a, rows, {rows.first, alone}, u, &made});
  if (made < rows.last - rows.first || alone == n) return made;
  OnTeam(team, [&](std::size_t thread, std::size_t threads) {
    simd::Dispatch(TPanelOfFactor{a, rows, ColumnShare({rows.last, n}, thread, threads), u, nullptr});
  });
  return made;
}

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
  const std::size_t team = SolverTeamSize(n);
  std::vector<const double*> panel;
  std::vector<double*> below;
  for (std::size_t first = 0; first < n; first += kPanelRows) {
    const std::size_t last = std::min(first + kPanelRows, n);
    if (first == 0) {
      for (std::size_t i = 0; i < last; ++i) std::fill_n(u[i], n, 0.0);
    }
    const std::size_t made = MakePanel(a, n, {first, last}, team, u);
    for (std::size_t i = 0; i < made; ++i) {
      if (Stops(poll)) return TFactorState::Cancelled;
    }
    if (made < last - first) return TFactorState::NotPositive;
    if (last == n) break;
    // The sums of the rows below take the terms of this panel.
    panel.clear();
    below.clear();
    for (std::size_t k = first; k < last; ++k) panel.push_back(u[k] + last);
    for (std::size_t i = last; i < n; ++i) below.push_back(u[i] + last);
    TProduct product{{panel.data()}, {panel.data()}, last - first, n - last, n - last};
    product.add = first != 0;
    const std::vector<TWorkspace> workspaces = Workspaces(product, team);
    OnTeamOrAlone(team, [&](std::size_t thread, std::size_t threads) {
      MultiplyUpper(product, {thread, threads}, below.data(), workspaces[thread]);
    });
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
  const std::size_t team = SolverTeamSize(n);
  std::vector<double> factors(n * team), sums(n * team);
  for (std::size_t first = 0; first < n; first += team * kInverseColumns) {
    OnTeamOrAlone(team, [&](std::size_t thread, std::size_t threads) {
      // The team may be smaller than it was asked to be.
      for (std::size_t strip = thread; strip < team; strip += threads) {
        const std::size_t begin = std::min(first + strip * kInverseColumns, n);
        const TRange columns{begin, std::min(begin + kInverseColumns, n)};
        simd::Dispatch(TInversion{u, n, columns, inverse, factors.data() + thread * n, sums.data() + thread * n});
      }
    });
    for (std::size_t j = first; poll != nullptr && j < std::min(first + team * kInverseColumns, n); ++j) poll();
  }
}

}  // namespace SatCommonUtils::kernels
