// Elimination with partial pivoting by panels of columns: G. H. Golub, C. F. Van Loan, Matrix Computations, 4th ed.,
// 2013, 3.4.7 (blocked form). Every element takes its terms one by one in the order of the columns, as in the plain
// loops.

#include <algorithm>
#include <cmath>
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

// Does in `columns`, which are outside the panel, what the panel's eliminated columns call for. The columns are
// independent of each other: every thread does some of them.
void EliminateOutside(const TSystem& system, TRange panel, TRange columns) {
  const std::size_t below = system.n - panel.last;
  if (columns.first == columns.last || panel.first == panel.last) return;
  TProduct product{
      {system.factors + panel.last, true}, {nullptr}, panel.last - panel.first, below, columns.last - columns.first};
  product.term = TTerm::Subtracted;
  product.add = true;
  const std::vector<TWorkspace> workspaces = Workspaces(product, system.team);
  std::vector<std::vector<double*>> rows(system.team, std::vector<double*>(system.n - panel.first));
  OnTeamOrAlone(system.team, [&](std::size_t thread, std::size_t threads) {
    const TRange share = ColumnShare(columns, thread, threads);
    if (share.first == share.last) return;
    simd::Dispatch(TSubtractTogether{system, panel, 0, share, panel.last});
    std::vector<double*>& own = rows[thread];
    for (std::size_t i = 0; i < own.size(); ++i) own[i] = system.a[panel.first + i] + share.first;
    TProduct part = product;
    part.y.rows = own.data();
    part.columns = share.last - share.first;
    Multiply(part, {0, below}, own.data() + product.inner, workspaces[thread]);
  });
}

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

// Eliminates the columns of a panel, piece by piece. Returns false when a column has no pivot or the poll stops; all
// columns are then as far as the loops that take one column at a time.
bool EliminatePanel(TSystem* system, TRange panel) {
  const bool left = system->left_columns == TLeftColumns::Eliminate;
  bool goes_on = true;
  std::size_t column = panel.first;
  const std::size_t width = system->n <= kSmallSystem ? kSmallSystem : kPieceColumns;
  for (std::size_t first = panel.first; goes_on && first < panel.last; first += width) {
    const TRange piece{first, std::min(first + width, panel.last)};
    column = EliminatePiece(system, piece, panel.first, &goes_on);
    const TRange done{first, column};
    const std::size_t place = first - panel.first;
    // On one thread: a meeting a piece would cost more than it gives.
    if (left) simd::Dispatch(TSubtractTogether{*system, done, place, {panel.first, first}, system->n});
    simd::Dispatch(TSubtractTogether{*system, done, place, {piece.last, panel.last}, system->n});
  }
  const TRange done{panel.first, column};
  if (left) EliminateOutside(*system, done, {0, panel.first});
  EliminateOutside(*system, done, {panel.last, system->n});
  return goes_on;
}

}  // namespace

double Gauss(double** a, double* b, double* x, std::size_t n, TPoll poll, TLeftColumns left_columns) {
  const std::size_t panel = n <= kSmallSystem || n > kMiddleSystem ? kPanelColumns : kNarrowPanelColumns;
  const WorkMatrix factors(n, std::min(n, panel));
  TSystem system{a, b, n, poll, left_columns, factors.GetRows(), 1.0, SolverTeamSize(n)};
  for (std::size_t first = 0; first < n; first += panel) {
    if (!EliminatePanel(&system, {first, std::min(first + panel, n)})) return 0.0;
  }
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
