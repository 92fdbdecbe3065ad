// Allocation and filling of raw arrays.

#include "linalg/raw_arrays.h"

#include <algorithm>
#include <memory>

namespace SatCommonUtils {

double** CreateMatrix(std::size_t columns, std::size_t rows) {
  struct TRelease {
    std::size_t rows;
    void operator()(double** m) const { ReleaseMatrix(m, rows); }
  };
  // The pointers are null at first, so that a failure half-way releases what is there.
  std::unique_ptr<double*[], TRelease> matrix(
      new double* [rows](), TRelease { rows });
  for (std::size_t i = 0; i < rows; ++i) matrix[i] = CreateVector(columns);
  return matrix.release();
}

double** CreateMatrix(std::size_t n) {
  double** const matrix = CreateMatrix(n, n);
  for (std::size_t i = 0; i < n; ++i) matrix[i][i] = 1.0;
  return matrix;
}

double* CreateVector(std::size_t n) { return new double[n](); }

void ReleaseMatrix(double** m, std::size_t rows) {
  if (m == nullptr) return;
  for (std::size_t i = 0; i < rows; ++i) ReleaseVector(m[i]);
  delete[] m;
}

void ReleaseVector(double* v) { delete[] v; }

void SetToZero(double* v, std::size_t n) { std::fill_n(v, n, 0.0); }

void SetToZero(double** m, std::size_t columns, std::size_t rows) {
  for (std::size_t i = 0; i < rows; ++i) SetToZero(m[i], columns);
}

}  // namespace SatCommonUtils
