// The inverse that the elimination of one system of n² unknowns gives, n copies of the matrix along its diagonal,
// without that system. Elementary, but for the bookkeeping.
//
// Equation i·n + j is row i of copy j; the unknowns of copy j are column j of the inverse. Copies meet in three ways
// only:
//
// - Order. Rows are exchanged over the whole system, and of equal pivots the upper one is taken. Where no two are
//   equal, order decides nothing, and one elimination serves all copies. Otherwise the positions of all n² equations,
//   integers, are carried along, and each copy is eliminated in the order that they give it.
// - Zeros. A row of a later copy has 0.0 below the pivot; subtracting 0.0 / pivot times the pivot's row, whose elements
//   are 0.0 there, changes nothing but -0.0, which becomes 0.0 once a pivot is negative.
// - What is not finite. Zero times that is NaN: an infinite element of a pivot's row makes the element below it of
//   every later copy NaN, and that, come to its column, makes their rows NaN. In the solution every copy above one with
//   an element that is not finite is NaN.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

#include "linalg/kernels.h"
#include "linalg/row_kernels.h"
#include "linalg/simd.h"
#include "linalg/work_matrix.h"

namespace SatCommonUtils::kernels {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// How the elimination of one copy, or of all, ended.
enum class TOutcome {
  Solved,
  Singular,  ///< A column without a pivot, or a determinant of 0.0: the inverse is zero.
  AllNaN,    ///< From here on all is NaN, and no column is without a pivot.
};

bool AllFinite(const double* values, std::size_t count) {
  return std::all_of(values, values + count, [](double value) { return std::isfinite(value); });
}

/// Rows of a copy, some unknown of the elimination on their left and `right` columns of right-hand sides behind.
struct TCopy {
  TCopy(std::size_t size, std::size_t right_sides) : n(size), right(right_sides), rows(size, size + right_sides) {}

  double** Rows() const { return rows.GetRows(); }

  /// Takes the matrix, with unit right-hand sides from that of column `first_unit` on.
  void Load(TConstRows a, bool plain_zeros, std::size_t first_unit) {
    for (std::size_t i = 0; i < n; ++i) {
      double* const row = Rows()[i];
      // -0.0 + 0.0 is 0.0, and nothing else changes.
      for (std::size_t j = 0; j < n; ++j) row[j] = plain_zeros ? a[i][j] + 0.0 : a[i][j];
      for (std::size_t j = 0; j < right; ++j) row[n + j] = i == first_unit + j ? 1.0 : 0.0;
    }
  }

  std::size_t n;
  std::size_t right;
  WorkMatrix rows;
};

/// Subtracts the pivot's row from those below it.
struct TEliminate {
  const TCopy& copy;
  std::size_t column;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    const double* const upper = copy.Rows()[column];
    const TRange columns{column + 1, copy.n + copy.right};
    for (std::size_t i = column + 1; i < copy.n; ++i) {
      double* const lower = copy.Rows()[i];
      AddRow<Width, TTerm::Subtracted>(lower[column] / upper[column], upper, columns, lower);
    }
  }
};

/// Back substitution of all right-hand sides, which the solutions replace.
struct TSubstitute {
  const TCopy& copy;
  double* sums;  // as many as a row has columns

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    const TRange columns{copy.n, copy.n + copy.right};
    for (std::size_t i = copy.n; i-- > 0;) {
      double* const row = copy.Rows()[i];
      std::fill(sums + columns.first, sums + columns.last, 0.0);
      CombineRows<Width, TTerm::Plain>(row + i + 1, copy.Rows() + i + 1, copy.n - i - 1, columns, sums);
      SubtractAndDivide<Width>(row, row[i], columns, sums);
      std::copy(sums + columns.first, sums + columns.last, row + columns.first);
    }
  }
};

void Substitute(const TCopy& copy) {
  std::vector<double> sums(copy.n + copy.right);
  simd::Dispatch(TSubstitute{copy, sums.data()});
}

/// The matrix once, with all right-hand sides. \return whether this stands for every copy: no two pivots were equal, no
/// zero has to lose its sign, and all is finite. A column without a pivot is a pivot of 0.0.
bool EliminateForAll(TConstRows a, TCopy* copy) {
  const std::size_t n = copy->n;
  copy->Load(a, false, 0);
  bool negative_zeros = false, negative_pivots = false;
  for (std::size_t i = 0; i < n; ++i) {
    negative_zeros =
        negative_zeros || std::any_of(a[i], a[i] + n, [](double x) { return x == 0.0 && std::signbit(x); });
  }
  for (std::size_t column = 0; column < n; ++column) {
    double** const rows = copy->Rows();
    std::size_t pivot = column;
    bool tied = false;
    for (std::size_t i = column; i < n; ++i) {
      const double magnitude = std::fabs(rows[i][column]), best = std::fabs(rows[pivot][column]);
      if (i > column && magnitude == best) tied = magnitude != 0.0;
      if (magnitude > best) pivot = i, tied = false;
    }
    std::swap(rows[pivot], rows[column]);
    if (tied || !AllFinite(rows[column] + column, n + copy->right - column)) return false;
    if (rows[column][column] == 0.0) return true;
    negative_pivots = negative_pivots || rows[column][column] < 0.0;
    simd::Dispatch(TEliminate{*copy, column});
  }
  return !(negative_zeros && negative_pivots);
}

/// The product of the pivots, taken into that of the copies before.
double TimesPivots(const TCopy& copy, double determinant) {
  for (std::size_t i = 0; i < copy.n; ++i) determinant *= copy.Rows()[i][i];
  return determinant;
}

/// Whether the determinant of as many copies as there are rows is 0.0. A pivot of 0.0 ends the elimination of the whole
/// system in its first copy, where a product that is infinite by then would hide it.
bool IsSingular(const TCopy& copy) {
  double determinant = 1.0;
  for (std::size_t i = 0; i < copy.n; ++i) {
    if (copy.Rows()[i][i] == 0.0) return true;
  }
  for (std::size_t b = 0; b < copy.n; ++b) determinant = TimesPivots(copy, determinant);
  return determinant == 0.0;
}

/// The system copy by copy, with the positions of all equations.
class TOrderedCopies {
 public:
  TOrderedCopies(TConstRows a, std::size_t n) : a_(a), n_(n), equation_at_(n * n), position_of_(n * n), copy_(n, 1) {
    for (std::size_t i = 0; i < n * n; ++i) equation_at_[i] = position_of_[i] = i;
  }

  /// The solutions of all copies, column by column.
  TOutcome Solve(TRows inverse) {
    double determinant = 1.0;
    for (std::size_t b = 0; b < n_; ++b) {
      const TOutcome outcome = Eliminate(b);
      if (outcome != TOutcome::Solved) return outcome;
      determinant = TimesPivots(copy_, determinant);
      Substitute(copy_);
      for (std::size_t i = 0; i < n_; ++i) inverse[i][b] = copy_.Rows()[i][n_];
    }
    if (determinant == 0.0) return TOutcome::Singular;
    return later_right_sides_nan_ ? TOutcome::AllNaN : TOutcome::Solved;
  }

 private:
  /// Eliminates copy b; its rows come to stand in the order of their pivots.
  TOutcome Eliminate(std::size_t b) {
    copy_.Load(a_, negative_pivots_, b);
    row_of_.resize(n_);
    for (std::size_t i = 0; i < n_; ++i) row_of_[i] = i;
    later_nan_.assign(n_, false);
    later_rows_nan_ = false;
    for (std::size_t column = 0; column < n_; ++column) {
      // The last column of all has nothing below, and nobody looks for its pivot.
      if (b + 1 == n_ && column + 1 == n_) return TOutcome::Solved;
      const TOutcome outcome = TakePivot(b, column);
      if (outcome != TOutcome::Solved) return outcome;
      simd::Dispatch(TEliminate{copy_, column});
      if (b + 1 < n_) EliminateLater(column);
    }
    return later_rows_nan_ ? TOutcome::AllNaN : TOutcome::Solved;
  }

  /// Finds the pivot of a column among all rows from the column's place on and exchanges it into that place.
  TOutcome TakePivot(std::size_t b, std::size_t column) {
    const std::size_t place = b * n_ + column;
    std::size_t best = n_;  // a row of this copy, or n for the row of a later copy that holds the place
    double magnitude = later_rows_nan_ || later_nan_[column] ? kNaN : 0.0;
    for (std::size_t i = column; i < n_; ++i) {
      if (Position(b, i) != place) continue;
      best = i;
      magnitude = std::fabs(copy_.Rows()[i][column]);
    }
    for (std::size_t i = column; i < n_; ++i) {
      const double candidate = std::fabs(copy_.Rows()[i][column]);
      const bool above = best < n_ && candidate == magnitude && Position(b, i) < Position(b, best);
      if (candidate > magnitude || (above && candidate != 0.0)) best = i, magnitude = candidate;
    }
    if (magnitude == 0.0) return TOutcome::Singular;
    // NaN is subtracted from every row below.
    if (std::isnan(magnitude)) return TOutcome::AllNaN;
    Exchange(place, Position(b, best));
    std::swap(copy_.Rows()[best], copy_.Rows()[column]);
    std::swap(row_of_[best], row_of_[column]);
    negative_pivots_ = negative_pivots_ || std::signbit(copy_.Rows()[column][column]);
    return TOutcome::Solved;
  }

  /// What the rows of later copies take from a pivot's row: zero times each of its elements.
  void EliminateLater(std::size_t column) {
    const double* const row = copy_.Rows()[column];
    if (later_nan_[column]) later_rows_nan_ = true;
    for (std::size_t j = column + 1; j < n_; ++j) {
      if (!std::isfinite(row[j])) later_nan_[j] = true;
    }
    if (!std::isfinite(row[n_])) later_right_sides_nan_ = true;
  }

  std::size_t Position(std::size_t b, std::size_t i) const { return position_of_[row_of_[i] * n_ + b]; }

  void Exchange(std::size_t first, std::size_t second) {
    std::swap(equation_at_[first], equation_at_[second]);
    position_of_[equation_at_[first]] = first;
    position_of_[equation_at_[second]] = second;
  }

  TConstRows a_;
  std::size_t n_;
  std::vector<std::size_t> equation_at_;
  std::vector<std::size_t> position_of_;
  TCopy copy_;                       ///< The copy at work.
  std::vector<std::size_t> row_of_;  ///< Which row of the matrix each of its rows is.
  bool negative_pivots_ = false;     ///< Any so far.
  std::vector<bool> later_nan_;      ///< Columns of the copy at work where the rows of later copies are NaN.
  bool later_rows_nan_ = false;      ///< They are NaN throughout.
  bool later_right_sides_nan_ = false;
};

/// Zero times what is not finite: columns before one with such an element are NaN.
void SpreadNaN(std::size_t n, TRows inverse) {
  for (std::size_t j = n; j-- > 1;) {
    bool finite = true;
    for (std::size_t i = 0; i < n; ++i) finite = finite && std::isfinite(inverse[i][j]);
    if (finite) continue;
    for (std::size_t i = 0; i < n; ++i) std::fill_n(inverse[i], j, kNaN);
    return;
  }
}

}  // namespace

void InvertAsOneSystem(TConstRows a, std::size_t n, TRows inverse) {
  TCopy all(n, n);
  TOutcome outcome = TOutcome::Solved;
  if (EliminateForAll(a, &all)) {
    if (IsSingular(all)) outcome = TOutcome::Singular;
    if (outcome == TOutcome::Solved) Substitute(all);
    for (std::size_t i = 0; i < n; ++i) std::copy_n(all.Rows()[i] + n, n, inverse[i]);
  } else {
    outcome = TOrderedCopies(a, n).Solve(inverse);
  }
  if (outcome == TOutcome::Solved) return SpreadNaN(n, inverse);
  for (std::size_t i = 0; i < n; ++i) std::fill_n(inverse[i], n, outcome == TOutcome::Singular ? 0.0 : kNaN);
}

}  // namespace SatCommonUtils::kernels
