#include <algorithm>

#include "linalg/kernels.h"

namespace SatCommonUtils::kernels {

namespace {

double Element(const TFactor& factor, std::size_t k, std::size_t i) {
  if (factor.transposed) return factor.rows[i][k];
  const double value = factor.rows[k][i];
  return factor.weights == nullptr ? value : value * factor.weights[k];
}

double Term(TTerm term, double product, const double* weights, std::size_t k) {
  if (term == TTerm::Times) return product * weights[k];
  if (term == TTerm::Divided) return product / weights[k];
  return product;
}

}  // namespace

double Dot(const double* a, const double* b, std::size_t n) {
  double sum = 0.0;
  for (std::size_t k = 0; k < n; ++k) sum += a[k] * b[k];
  return sum;
}

void MatrixByVector(TConstRows a, std::size_t columns, TRange range, const double* x, double* y) {
  for (std::size_t i = range.first; i < range.last; ++i) y[i] = Dot(a[i], x, columns);
}

void TransposedByVector(TConstRows a, std::size_t rows, TRange range, const double* x, double* y) {
  std::fill(y + range.first, y + range.last, 0.0);
  for (std::size_t k = 0; k < rows; ++k) {
    for (std::size_t j = range.first; j < range.last; ++j) y[j] += a[k][j] * x[k];
  }
}

void FactorByVector(const TFactor& a, TTerm term, const double* weights, std::size_t inner, std::size_t columns,
                    const double* x, double* y) {
  std::fill_n(y, columns, 0.0);
  for (std::size_t k = 0; k < inner; ++k) {
    for (std::size_t j = 0; j < columns; ++j) y[j] += Term(term, Element(a, k, j) * x[k], weights, k);
  }
}

void Multiply(const TFactor& x, const TFactor& y, std::size_t inner, std::size_t columns, TRange range, TRows c) {
  for (std::size_t i = range.first; i < range.last; ++i) {
    std::fill_n(c[i], columns, 0.0);
    for (std::size_t k = 0; k < inner; ++k) {
      const double factor = Element(x, k, i);
      for (std::size_t j = 0; j < columns; ++j) c[i][j] += factor * Element(y, k, j);
    }
  }
}

void MultiplyUpper(const TNormalProduct& product, TRange range, TRows c) {
  for (std::size_t i = range.first; i < range.last; ++i) {
    std::fill(c[i] + i, c[i] + product.size, 0.0);
    for (std::size_t k = 0; k < product.inner; ++k) {
      const double factor = Element(product.x, k, i);
      for (std::size_t j = i; j < product.size; ++j) {
        c[i][j] += Term(product.term, factor * Element(product.y, k, j), product.weights, k);
      }
    }
  }
}

void MirrorUpper(TRange range, TRows c) {
  for (std::size_t i = range.first; i < range.last; ++i) {
    for (std::size_t j = 0; j < i; ++j) c[i][j] = c[j][i];
  }
}

}  // namespace SatCommonUtils::kernels
