// Cholesky's factorisation, and what follows from the factor: G. H. Golub, C. F. Van Loan, Matrix Computations, 4th
// ed., 2013, 4.2. Every sum keeps the index order of the plain loops.

#include <algorithm>
#include <cmath>
#include <deque>
#include <vector>

#include "linalg/cholesky_factor.h"
#include "linalg/kernels.h"
#include "linalg/row_kernels.h"
#include "linalg/simd.h"
#include "linalg/team.h"
#include "linalg/work_matrix.h"

namespace SatCommonUtils::kernels {

namespace {

// A factor of so few rows is made row by row.
constexpr std::size_t kSmallFactor = 64;
// The most columns of the inverse that are made together: the widest strip of CombineRows at the widest vectors.
constexpr std::size_t kInverseColumns = 48;

// Makes a small factor row by row.
struct TSmallFactor {
  TConstRows a;
  std::size_t n;
  TRows u;
  std::size_t* made;  // rows, up to one whose pivot fails

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    for (std::size_t i = 0; i < n; ++i) {
      double factors[kSmallFactor] = {};
      for (std::size_t k = 0; k < i; ++k) factors[k] = u[k][i];
      double* const row = u[i];
      // Whole vectors: what they compute left of the diagonal and beyond the end is not looked at.
      const TRange columns{i / Width * Width, (n + Width - 1) / Width * Width};
      std::fill(row + columns.first, row + columns.last, 0.0);
      CombineRows<Width, TTerm::Plain>(factors, u, i, columns, row);
      const double pivot = a[i][i] - row[i];
      if (pivot <= kSmallestCholeskyPivot) return;
      row[i] = std::sqrt(pivot);
      SubtractAndDivide<Width>(a[i], row[i], {i + 1, n}, row);
      ++*made;
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

// Some columns of the inverse at once: row i of the right-hand sides takes the rows that are known already. They are
// made in memory of their own, which stays in the cache while all rows go by.
struct TInversion {
  TConstRows u;
  std::size_t n;
  TRange made;    // columns of the inverse
  TRows columns;  // their rows, in whole vectors
  double* factors;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    for (std::size_t i = 0; i < n; ++i) {
      for (std::size_t k = 0; k < i; ++k) factors[k] = u[k][i];
      double right[kInverseColumns] = {};
      if (made.first <= i && i < made.last) right[i - made.first] = 1.0;
      Make<Width>(i, factors, {0, i}, right);
    }
    for (std::size_t i = n; i-- > 0;) {
      double right[kInverseColumns] = {};
      std::copy_n(columns[i], WholeVectors(), right);
      Make<Width>(i, u[i] + i + 1, {i + 1, n}, right);
    }
  }

  template <int Width>
  [[gnu::always_inline]] void Make(std::size_t i, const double* row_factors, TRange rows, const double* right) const {
    const TRange all{0, WholeVectors()};
    std::fill_n(columns[i], all.last, 0.0);
    CombineRows<Width, TTerm::Plain>(row_factors, columns + rows.first, rows.last - rows.first, all, columns[i]);
    SubtractAndDivide<Width>(right, u[i][i], all, columns[i]);
  }

  std::size_t WholeVectors() const { return WorkMatrix::Padded(made.last - made.first); }
};

// Here each sum begins with the value that was found last: nothing can run side by side.
bool BackwardPass(TConstRows u, const double* y, std::size_t n, TPoll poll, double* x) {
  for (std::size_t i = n; i-- > 0;) {
    // The row above, of which another thread may have made a part.
    for (std::size_t j = i - 1; i > 0 && j < n; j += kCacheLine) __builtin_prefetch(u[i - 1] + j);
    x[i] = (y[i] - Dot(u[i] + i + 1, x + i + 1, n - i - 1)) / u[i][i];
    if (Stops(poll)) return false;
  }
  return true;
}

}  // namespace

TFactorState CholeskyFactor(TConstRows a, std::size_t n, TPoll poll, TRows u) {
  if (n > kSmallFactor) return FactorByStrips(a, n, poll, u, nullptr, nullptr);
  std::size_t made = 0;
  simd::Dispatch(TSmallFactor{a, n, u, &made});
  for (std::size_t i = 0; i < made; ++i) {
    if (Stops(poll)) return TFactorState::Cancelled;
  }
  return made < n ? TFactorState::NotPositive : TFactorState::Done;
}

bool CholeskySolve(TConstRows u, const double* b, std::size_t n, TPoll poll, double* y, double* x) {
  bool complete = false;
  simd::Dispatch(TForwardPass{u, b, n, poll, y, &complete});
  return BackwardPass(u, y, n, poll, x) && complete;
}

TFactorState CholeskyFactorAndSolve(TConstRows a, const double* b, std::size_t n, TPoll poll, double* x) {
  const WorkMatrix u(n, n);
  std::vector<double> y(n);
  const bool is_large = n > kSmallFactor;
  const TFactorState state =
      is_large ? FactorByStrips(a, n, poll, u.GetRows(), b, y.data()) : CholeskyFactor(a, n, poll, u.GetRows());
  if (state != TFactorState::Done) return state;
  bool complete = true;
  if (is_large) {
    for (std::size_t i = 0; complete && i < n; ++i) {
      complete = !Stops(poll);
      // The forward pass ends here for the caller.
      if (!complete) std::fill(y.begin() + static_cast<std::ptrdiff_t>(i) + 1, y.end(), 0.0);
    }
    complete = BackwardPass(u.GetRows(), y.data(), n, poll, x) && complete;
  } else {
    complete = CholeskySolve(u.GetRows(), b, n, poll, y.data(), x);
  }
  return complete ? TFactorState::Done : TFactorState::Cancelled;
}

void CholeskyInvert(TConstRows u, std::size_t n, TPoll poll, TRows inverse) {
  if (n == 0) return;
  const std::size_t team = SolverTeamSize(n);
  // As many strips for each thread as for the others.
  const std::size_t rounds = (n + team * kInverseColumns - 1) / (team * kInverseColumns);
  const std::size_t width = WorkMatrix::Padded((n + rounds * team - 1) / (rounds * team));
  std::deque<WorkMatrix> columns;
  for (std::size_t i = 0; i < team; ++i) columns.emplace_back(n, width);
  std::vector<double> factors(n * team);
  for (std::size_t first = 0; first < n; first += team * width) {
    OnTeamOrAlone(team, [&](std::size_t thread, std::size_t threads) {
      // The team may be smaller than it was asked to be.
      for (std::size_t strip = thread; strip < team; strip += threads) {
        const std::size_t begin = first + strip * width;
        if (begin >= n) continue;
        const TRange made{begin, std::min(begin + width, n)};
        simd::Dispatch(TInversion{u, n, made, columns[thread].GetRows(), factors.data() + thread * n});
        for (std::size_t i = 0; i < n; ++i) {
          std::copy_n(columns[thread].GetRows()[i], made.last - made.first, inverse[i] + begin);
        }
      }
    });
    for (std::size_t j = first; poll != nullptr && j < std::min(first + team * width, n); ++j) poll();
  }
}

}  // namespace SatCommonUtils::kernels
