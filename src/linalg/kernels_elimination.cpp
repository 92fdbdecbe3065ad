// Elimination with partial pivoting by panels of columns: G. H. Golub, C. F. Van Loan, Matrix Computations, 4th ed.,
// 2013, 3.4.7 (blocked form). Every element takes its terms one by one in the order of the columns, as in the plain
// loops.

#include <algorithm>
#include <cmath>
#include <exception>
#include <utility>
#include <vector>

#include "linalg/kernels.h"
#include "linalg/row_kernels.h"
#include "linalg/simd.h"
#include "linalg/team.h"
#include "linalg/work_matrix.h"

namespace SatCommonUtils::kernels {

namespace {

// Columns that are eliminated one by one before the rest of their panel takes their terms together, and columns of a
// panel, after which all others do.
constexpr std::size_t kPieceColumns = 16;
constexpr std::size_t kPanelColumns = 96;
// A system of so few columns is done in one piece, and one of so few in narrower panels: less of it is in their
// corners.
constexpr std::size_t kSmallSystem = 64;
constexpr std::size_t kMiddleSystem = 400;
constexpr std::size_t kNarrowPanelColumns = 48;

// The state of an elimination.
struct TSystem {
  double** a;
  double* b;
  std::size_t n;
  TPoll poll;
  TLeftColumns left_columns;
  double** factors;  // Row by row, those of the columns of the panel; exchanged together with the rows.
  double sign;
  std::size_t team;  // threads
};

// The largest element of a column so far.
struct TPivot {
  std::size_t row;
  double magnitude;

  void Consider(std::size_t candidate, double element) {
    if (std::fabs(element) > magnitude) *this = {candidate, std::fabs(element)};
  }
};

// The element at or below `column` with the largest magnitude in that column, the uppermost of equals.
TPivot FindPivot(TConstRows a, std::size_t column, std::size_t n) {
  TPivot pivot{column, std::fabs(a[column][column])};
  for (std::size_t row = column + 1; row < n; ++row) pivot.Consider(row, a[row][column]);
  return pivot;
}

// Subtracts an upper row, times the row's factor, from every row below it, in the columns of the piece, and looks for
// the pivot of the next column meanwhile, if the piece has one.
struct TSubtractFromRows {
  const TSystem& system;
  TRange piece;
  std::size_t column;
  std::size_t factor_place;
  TPivot* next;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    const double* const upper = system.a[column];
    const bool looks = column + 1 < piece.last;
    TPivot pivot{column + 1, 0.0};
    // Where nobody looks at them, columns left of the pivot and beyond the last may change: whole vectors are taken.
    const TRange columns = system.left_columns == TLeftColumns::Skip
                               ? TRange{(column + 1) / 8 * 8, WorkMatrix::Padded(piece.last)}
                               : piece;
    for (std::size_t row = column + 1; row < system.n; ++row) {
      double* const lower = system.a[row];
      const double factor = lower[column] / upper[column];
      system.factors[row][factor_place] = factor;
      AddRow<Width, TTerm::Subtracted>(factor, upper, columns, lower);
      system.b[row] -= factor * system.b[column];
      if (!looks) continue;
      if (row == column + 1) {
        pivot.magnitude = std::fabs(lower[column + 1]);
      } else {
        pivot.Consider(row, lower[column + 1]);
      }
    }
    *next = pivot;
  }
};

// Subtracts the rows `upper` from those below them, up to `last_row`, in columns that have waited for it.
struct TSubtractTogether {
  const TSystem& system;
  TRange upper;
  std::size_t factor_place;
  TRange columns;
  std::size_t last_row;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    // The piece of the upper rows that a strip of columns needs stays in the first cache while the lower rows go by.
    constexpr std::size_t kStrip = kStripVectors * Width;
    for (std::size_t j = columns.first; j < columns.last; j += kStrip) {
      const TRange strip{j, std::min(j + kStrip, columns.last)};
      for (std::size_t row = upper.first + 1; row < last_row; ++row) {
        CombineRows<Width, TTerm::Subtracted>(system.factors[row] + factor_place, system.a + upper.first,
                                              std::min(row, upper.last) - upper.first, strip, system.a[row]);
      }
    }
  }
};

// What the eliminated columns of a panel call for in the columns outside of it, which are independent of each other. It
// goes by the order that the rows have now: they may be exchanged meanwhile, and other factors be made.
class TOutside {
 public:
  // \param done the eliminated columns. \param team threads that will take part.
  TOutside(const TSystem& system, TRange done, std::size_t team)
      : a_(system.a, system.a + system.n),
        factors_(system.factors, system.factors + system.n),
        system_(system),
        done_(done),
        product_{
            {factors_.data() + done.last, true}, {nullptr}, done.last - done.first, system.n - done.last, system.n},
        rows_(team, std::vector<double*>(system.n - done.first)) {
    system_.a = a_.data();
    system_.factors = factors_.data();
    product_.term = TTerm::Subtracted;
    product_.add = true;
    workspaces_ = Workspaces(product_, team);
  }
  TOutside(const TOutside&) = delete;
  TOutside& operator=(const TOutside&) = delete;

  void Eliminate(TRange columns, std::size_t thread) {
    if (columns.first >= columns.last || done_.first == done_.last) return;
    simd::Dispatch(TSubtractTogether{system_, done_, 0, columns, done_.last});
    std::vector<double*>& own = rows_[thread];
    for (std::size_t i = 0; i < own.size(); ++i) own[i] = a_[done_.first + i] + columns.first;
    TProduct part = product_;
    part.y.rows = own.data();
    part.columns = columns.last - columns.first;
    Multiply(part, {0, product_.rows}, own.data() + product_.inner, workspaces_[thread]);
  }

  // A thread's share of the columns left of `left` and of those right of the panel `next`, which the first one does as
  // well.
  void EliminateShare(std::size_t left, TRange next, std::size_t thread, std::size_t threads) {
    const std::size_t count = left + system_.n - next.last;
    const std::size_t width = next.last - next.first;
    const std::size_t panel = width == 0 ? 0 : width + kPanelWorth;
    const std::size_t even = (count + panel) / threads;
    const std::size_t of_first = threads == 1 ? count : even > panel ? (even - panel) / kCacheLine * kCacheLine : 0;
    const TRange share = thread == 0 ? TRange{0, of_first} : ColumnShare({of_first, count}, thread - 1, threads - 1);
    Eliminate({share.first, std::min(share.last, left)}, thread);
    Eliminate({next.last + std::max(share.first, left) - left, next.last + std::max(share.last, left) - left}, thread);
  }

 private:
  // The time that a panel takes when its last update is done, in columns outside: measured with panels of both widths.
  static constexpr std::size_t kPanelWorth = 160;

  std::vector<double*> a_;
  std::vector<double*> factors_;
  TSystem system_;
  TRange done_;
  TProduct product_;
  std::vector<TWorkspace> workspaces_;
  std::vector<std::vector<double*>> rows_;
};

// Eliminates the columns of a piece of the panel that begins at `panel_first`. Returns the column that it came to,
// which is before the end of the piece when a column has no pivot or the poll stops; `*goes_on` is false then.
std::size_t EliminatePiece(TSystem* system, TRange piece, std::size_t panel_first, bool* goes_on) {
  std::size_t column = piece.first;
  if (column + 1 >= system->n) return column;
  TPivot pivot = FindPivot(system->a, column, system->n);
  while (*goes_on && column < piece.last && column + 1 < system->n) {
    if (system->a[pivot.row][column] == 0.0) {
      *goes_on = false;
      break;
    }
    if (pivot.row != column) {
      std::swap(system->a[pivot.row], system->a[column]);
      std::swap(system->b[pivot.row], system->b[column]);
      std::swap(system->factors[pivot.row], system->factors[column]);
      system->sign = -system->sign;
    }
    simd::Dispatch(TSubtractFromRows{*system, piece, column, column - panel_first, &pivot});
    ++column;
    *goes_on = !Stops(system->poll);
  }
  return column;
}

// Eliminates the columns of a panel, piece by piece. Returns the column that it came to, as `EliminatePiece` does; all
// columns of the panel are then as far as the loops that take one column at a time.
std::size_t EliminatePanel(TSystem* system, TRange panel, bool* goes_on) {
  const bool left = system->left_columns == TLeftColumns::Eliminate;
  std::size_t column = panel.first;
  const std::size_t width = system->n <= kSmallSystem ? kSmallSystem : kPieceColumns;
  for (std::size_t first = panel.first; *goes_on && first < panel.last; first += width) {
    const TRange piece{first, std::min(first + width, panel.last)};
    column = EliminatePiece(system, piece, panel.first, goes_on);
    const TRange done{first, column};
    const std::size_t place = first - panel.first;
    // On one thread: a meeting a piece would cost more than it gives.
    if (left) simd::Dispatch(TSubtractTogether{*system, done, place, {panel.first, first}, system->n});
    simd::Dispatch(TSubtractTogether{*system, done, place, {piece.last, panel.last}, system->n});
  }
  return column;
}

// Eliminates all columns by panels of `width`. While one thread eliminates a panel, the others do what the panel before
// calls for elsewhere (J. Dongarra, P. Luszczek, A. Petitet, "The LINPACK benchmark: past, present and future", 2003,
// doi:10.1002/cpe.728, on looking ahead). Returns false when a column has no pivot or the poll stops; all columns are
// then as far as the loops that take one column at a time. \param spare_factors as the system's: those of one panel are
// made while those of the one before are needed.
bool EliminateAll(TSystem* system, std::size_t width, double** spare_factors) {
  const std::size_t n = system->n;
  bool goes_on = true;
  TRange panel{0, std::min(width, n)};
  std::size_t column = EliminatePanel(system, panel, &goes_on);
  for (;;) {
    const bool is_last = !goes_on || panel.last == n;
    const TRange next{panel.last, is_last ? panel.last : std::min(panel.last + width, n)};
    const std::size_t left = system->left_columns == TLeftColumns::Eliminate ? panel.first : 0;
    if (left == 0 && next.first == n) return goes_on;
    TOutside outside(*system, {panel.first, column}, system->team);
    std::swap(system->factors, spare_factors);
    std::exception_ptr of_poll;
    OnTeamOrAlone(system->team, [&](std::size_t thread, std::size_t threads) {
      if (thread == 0 && !is_last) {
        try {
          outside.Eliminate(next, thread);
          column = EliminatePanel(system, next, &goes_on);
        } catch (...) {
          of_poll = std::current_exception();
        }
      }
      outside.EliminateShare(left, next, thread, threads);
    });
    if (of_poll != nullptr) std::rethrow_exception(of_poll);
    if (is_last) return goes_on;
    panel = next;
  }
}

}  // namespace

double Gauss(double** a, double* b, double* x, std::size_t n, TPoll poll, TLeftColumns left_columns) {
  const std::size_t panel = n <= kSmallSystem || n > kMiddleSystem ? kPanelColumns : kNarrowPanelColumns;
  const WorkMatrix factors(n, std::min(n, panel));
  const WorkMatrix spare_factors(n > panel ? n : 0, panel);
  TSystem system{a, b, n, poll, left_columns, factors.GetRows(), 1.0, SolverTeamSize(n)};
  if (!EliminateAll(&system, panel, spare_factors.GetRows())) return 0.0;
  double determinant = system.sign;
  for (std::size_t i = 0; i < n; ++i) determinant *= a[i][i];
  if (Stops(poll)) return 0.0;
  if (determinant == 0.0) return determinant;
  if (Stops(poll)) return 0.0;
  for (std::size_t i = n; i-- > 0;) {
    x[i] = (b[i] - Dot(a[i] + i + 1, x + i + 1, n - i - 1)) / a[i][i];
    if (i + 1 < n && Stops(poll)) return 0.0;
  }
  return determinant;
}

}  // namespace SatCommonUtils::kernels
