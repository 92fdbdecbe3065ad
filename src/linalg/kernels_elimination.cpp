#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "linalg/kernels.h"
#include "linalg/row_kernels.h"
#include "linalg/simd.h"
#include "linalg/work_matrix.h"

namespace SatCommonUtils::kernels {

namespace {

// Columns that are eliminated one by one before the others take all their terms together.
constexpr std::size_t kPanelColumns = 64;

bool Stops(TPoll poll) { return poll != nullptr && poll() != 0; }

// The row at or below `column` with the largest element of that column, the uppermost of equals.
std::size_t PivotRow(TConstRows a, std::size_t column, std::size_t n) {
  std::size_t pivot = column;
  double largest = std::fabs(a[column][column]);
  for (std::size_t row = column + 1; row < n; ++row) {
    const double magnitude = std::fabs(a[row][column]);
    if (magnitude > largest) {
      largest = magnitude;
      pivot = row;
    }
  }
  return pivot;
}

// The state of an elimination.
struct TSystem {
  double** a;
  double* b;
  std::size_t n;
  TPoll poll;
  TLeftColumns left_columns;
  double** factors;  // Row by row, those of the columns of the panel; exchanged with the rows.
  double sign;
};

// Subtracts an upper row, times the row's factor, from every row below it, in the columns of the panel.
struct TSubtractFromRows {
  const TSystem& system;
  TRange panel;
  std::size_t column;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    const double* const upper = system.a[column];
    const bool skip = system.left_columns == TLeftColumns::Skip;
    const TRange columns{skip ? column + 1 : panel.first, panel.last};
    for (std::size_t row = column + 1; row < system.n; ++row) {
      double* const lower = system.a[row];
      const double factor = lower[column] / upper[column];
      system.factors[row][column - panel.first] = factor;
      AddRow<Width, TTerm::Subtracted>(factor, upper, columns, lower);
      system.b[row] -= factor * system.b[column];
    }
  }
};

// Subtracts the rows of the panel from each other in columns outside it.
struct TSubtractWithinPanel {
  const TSystem& system;
  TRange panel;
  TRange columns;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    for (std::size_t row = panel.first + 1; row < panel.last; ++row) {
      CombineRows<Width, TTerm::Subtracted>(system.factors[row], system.a + panel.first, row - panel.first, columns,
                                            system.a[row]);
    }
  }
};

// Does in `columns`, which are outside the panel, what the panel's eliminated columns call for.
void EliminateOutside(const TSystem& system, TRange panel, TRange columns) {
  const std::size_t width = columns.last - columns.first;
  const std::size_t below = system.n - panel.last;
  if (width == 0 || panel.first == panel.last) return;
  simd::Dispatch(TSubtractWithinPanel{system, panel, columns});
  if (below == 0) return;
  std::vector<const double*> upper_rows;
  std::vector<double*> lower_rows;
  for (std::size_t k = panel.first; k < panel.last; ++k) upper_rows.push_back(system.a[k] + columns.first);
  for (std::size_t i = panel.last; i < system.n; ++i) lower_rows.push_back(system.a[i] + columns.first);
  TProduct product{{system.factors + panel.last, true}, {upper_rows.data()}, panel.last - panel.first, below, width};
  product.term = TTerm::Subtracted;
  product.add = true;
  Multiply(product, {0, below}, lower_rows.data(), TWorkspace(product));
}

// Eliminates the columns of a panel. Returns false when a column has no pivot or the poll stops; the columns outside
// are then as far as those within.
bool EliminatePanel(TSystem* system, TRange panel) {
  const std::size_t n = system->n;
  bool goes_on = true;
  std::size_t column = panel.first;
  while (goes_on && column < panel.last && column + 1 < n) {
    const std::size_t pivot = PivotRow(system->a, column, n);
    if (system->a[pivot][column] == 0.0) {
      goes_on = false;
      break;
    }
    if (pivot != column) {
      std::swap(system->a[pivot], system->a[column]);
      std::swap(system->b[pivot], system->b[column]);
      std::swap(system->factors[pivot], system->factors[column]);
      system->sign = -system->sign;
    }
    simd::Dispatch(TSubtractFromRows{*system, panel, column});
    ++column;
    goes_on = !Stops(system->poll);
  }
  // The last column has nothing below it to eliminate.
  const TRange done{panel.first, column};
  if (system->left_columns == TLeftColumns::Eliminate) EliminateOutside(*system, done, {0, panel.first});
  EliminateOutside(*system, done, {panel.last, n});
  return goes_on;
}

}  // namespace

double Gauss(double** a, double* b, double* x, std::size_t n, TPoll poll, TLeftColumns left_columns) {
  const WorkMatrix factors(n, std::min(n, kPanelColumns));
  TSystem system{a, b, n, poll, left_columns, factors.GetRows(), 1.0};
  for (std::size_t first = 0; first < n; first += kPanelColumns) {
    if (!EliminatePanel(&system, {first, std::min(first + kPanelColumns, n)})) return 0.0;
  }
  double determinant = system.sign;
  for (std::size_t i = 0; i < n; ++i) determinant *= a[i][i];
  if (Stops(poll)) return 0.0;
  if (determinant == 0.0) return determinant;
  if (Stops(poll)) return 0.0;
  for (std::size_t i = n; i-- > 0;) {
    x[i] = (b[i] - Dot(a[i] + i + 1, x + i + 1, n - i - 1)) / a[i][i];
    if (Stops(poll)) return 0.0;
  }
  return determinant;
}

}  // namespace SatCommonUtils::kernels
