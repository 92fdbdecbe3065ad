#include <cmath>
#include <utility>

#include "linalg/kernels.h"

namespace SatCommonUtils::kernels {

namespace {

bool Stops(TPoll poll) { return poll != nullptr && poll() != 0; }

// The row at or below `column` with the largest element of that column, the uppermost of equals.
std::size_t PivotRow(TConstRows a, std::size_t column, std::size_t n) {
  std::size_t pivot = column;
  for (std::size_t row = column + 1; row < n; ++row) {
    if (std::fabs(a[row][column]) > std::fabs(a[pivot][column])) pivot = row;
  }
  return pivot;
}

}  // namespace

double Gauss(double** a, double* b, double* x, std::size_t n, TPoll poll, TLeftColumns left_columns) {
  double determinant = 1.0;
  for (std::size_t column = 0; column + 1 < n; ++column) {
    const std::size_t pivot = PivotRow(a, column, n);
    if (std::fabs(a[pivot][column]) == 0.0) return 0.0;
    if (pivot != column) {
      std::swap(a[pivot], a[column]);
      std::swap(b[pivot], b[column]);
      determinant = -determinant;
    }
    const double* const upper = a[column];
    const std::size_t first = left_columns == TLeftColumns::Skip ? column + 1 : 0;
    for (std::size_t row = column + 1; row < n; ++row) {
      const double factor = a[row][column] / upper[column];
      for (std::size_t j = first; j < n; ++j) a[row][j] -= factor * upper[j];
      b[row] -= factor * b[column];
    }
    if (Stops(poll)) return 0.0;
  }
  double product = 1.0;
  for (std::size_t i = 0; i < n; ++i) product *= a[i][i];
  determinant *= product;
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
