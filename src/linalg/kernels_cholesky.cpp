#include <algorithm>
#include <cmath>

#include "linalg/kernels.h"

namespace SatCommonUtils::kernels {

namespace {

// A pivot at or below this means that the matrix is not positive definite.
constexpr double kSmallestPivot = 1e-20;

bool Stops(TPoll poll) { return poll != nullptr && poll() != 0; }

}  // namespace

// Row by row. While row i is made, u(i, j) collects the sum over k of u(k, i)·u(k, j), for all j at once.
bool CholeskyFactor(TConstRows a, std::size_t n, TPoll poll, TRows u) {
  for (std::size_t i = 0; i < n; ++i) {
    double* const row = u[i];
    std::fill_n(row, n, 0.0);
    for (std::size_t k = 0; k < i; ++k) {
      const double factor = u[k][i];
      for (std::size_t j = i; j < n; ++j) row[j] += factor * u[k][j];
    }
    const double pivot = a[i][i] - row[i];
    if (pivot <= kSmallestPivot) return false;
    const double root = std::sqrt(pivot);
    row[i] = root;
    for (std::size_t j = i + 1; j < n; ++j) row[j] = (a[i][j] - row[j]) / root;
    if (Stops(poll)) return false;
  }
  return true;
}

bool CholeskySolve(TConstRows u, const double* b, std::size_t n, TPoll poll, double* y, double* x) {
  bool complete = true;
  std::fill_n(y, n, 0.0);  // y(i) collects its sum until its turn comes
  for (std::size_t i = 0; i < n; ++i) {
    const double value = (b[i] - y[i]) / u[i][i];
    y[i] = value;
    for (std::size_t j = i + 1; j < n; ++j) y[j] += u[i][j] * value;
    if (Stops(poll)) {
      std::fill(y + i + 1, y + n, 0.0);
      complete = false;
      break;
    }
  }
  for (std::size_t i = n; i-- > 0;) {
    x[i] = (y[i] - Dot(u[i] + i + 1, x + i + 1, n - i - 1)) / u[i][i];
    if (Stops(poll)) return false;
  }
  return complete;
}

}  // namespace SatCommonUtils::kernels
