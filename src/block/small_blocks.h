#pragma once
// Square blocks of Q x Q numbers by rows: the few operations that a block factorisation is made of.

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace SatCommonUtils::block {

template <int Q>
void Transpose(const double* a, double* t) {
  for (int i = 0; i < Q; ++i) {
    for (int j = 0; j < Q; ++j) t[j * Q + i] = a[i * Q + j];
  }
}

/// c -= a * b.
template <int Q>
void SubtractProduct(const double* __restrict a, const double* __restrict b, double* __restrict c) {
  for (int i = 0; i < Q; ++i) {
    double sums[Q] = {};
    for (int k = 0; k < Q; ++k) {
      for (int j = 0; j < Q; ++j) sums[j] += a[i * Q + k] * b[k * Q + j];
    }
    for (int j = 0; j < Q; ++j) c[i * Q + j] -= sums[j];
  }
}

/// c -= a' * b.
template <int Q>
void SubtractTransposedProduct(const double* __restrict a, const double* __restrict b, double* __restrict c) {
  for (int i = 0; i < Q; ++i) {
    double sums[Q] = {};
    for (int k = 0; k < Q; ++k) {
      for (int j = 0; j < Q; ++j) sums[j] += a[k * Q + i] * b[k * Q + j];
    }
    for (int j = 0; j < Q; ++j) c[i * Q + j] -= sums[j];
  }
}

/// Cholesky's lower factor in place of the lower triangle; zeros above. \return false when it is not positive.
template <int Q>
bool FactorBlock(double* a) {
  for (int j = 0; j < Q; ++j) {
    double pivot = a[j * Q + j];
    const double scale = pivot;
    for (int k = 0; k < j; ++k) pivot -= a[j * Q + k] * a[j * Q + k];
    // What rounding alone can leave is no pivot.
    if (!(pivot > 1e-15 * scale)) return false;
    a[j * Q + j] = std::sqrt(pivot);
    for (int i = j + 1; i < Q; ++i) {
      double sum = a[i * Q + j];
      for (int k = 0; k < j; ++k) sum -= a[i * Q + k] * a[j * Q + k];
      a[i * Q + j] = sum / a[j * Q + j];
    }
    std::fill(a + j * Q + j + 1, a + (j + 1) * Q, 0.0);
  }
  return true;
}

/// a = a * L'^-1: each row takes a forward pass.
template <int Q>
void DivideByTransposedLower(const double* l, double* a) {
  for (int i = 0; i < Q; ++i) {
    for (int j = 0; j < Q; ++j) {
      double sum = a[i * Q + j];
      for (int k = 0; k < j; ++k) sum -= a[i * Q + k] * l[j * Q + k];
      a[i * Q + j] = sum / l[j * Q + j];
    }
  }
}

/// a = a * L^-1: each row takes a backward pass.
template <int Q>
void DivideByLower(const double* l, double* a) {
  for (int i = 0; i < Q; ++i) {
    for (int j = Q - 1; j >= 0; --j) {
      double sum = a[i * Q + j];
      for (int k = j + 1; k < Q; ++k) sum -= a[i * Q + k] * l[k * Q + j];
      a[i * Q + j] = sum / l[j * Q + j];
    }
  }
}

/// The inverse of L L'.
template <int Q>
void InverseOfLower(const double* l, double* inverse) {
  std::fill(inverse, inverse + Q * Q, 0.0);
  for (int i = 0; i < Q; ++i) inverse[i * Q + i] = 1.0;
  DivideByTransposedLower<Q>(l, inverse);
  DivideByLower<Q>(l, inverse);
}

}  // namespace SatCommonUtils::block
