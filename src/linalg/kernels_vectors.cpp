// Products of matrices and vectors; elementary. Many sums run side by side, each in index order.

#include <algorithm>

#include "linalg/kernels.h"
#include "linalg/simd.h"

namespace SatCommonUtils::kernels {

namespace {

// Rows whose sums run side by side in MatrixByVector: enough to hide the latency of an addition.
constexpr std::size_t kRowsTogether = 8;

// A strip of columns at a time: its sums stay in registers while the rows go by.
template <TTerm Term>
struct TFactorByVector {
  const TFactor& x;
  const double* w;
  TRange range;
  std::size_t inner;
  const double* v;
  double* y;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    std::size_t j = range.first;
    for (; j + 5 * Width <= range.last; j += 5 * Width) Strip<Width, 5>(j);
    for (; j + Width <= range.last; j += Width) Strip<Width, 1>(j);
    for (; j < range.last; ++j) {
      double sum = 0.0;
      for (std::size_t k = 0; k < inner; ++k) Add(x.rows[k][j], k, &sum);
      y[j] = sum;
    }
  }

  template <int Width, std::size_t Vectors>
  [[gnu::always_inline]] void Strip(std::size_t j) const {
    using TVec = typename simd::TLanes<Width>::TVector;
    using TMemory = typename simd::TLanes<Width>::TUnaligned;
    TVec sums[Vectors] = {};
    for (std::size_t k = 0; k < inner; ++k) {
      const double* const row = x.rows[k] + j;
#pragma GCC unroll 8
      for (std::size_t i = 0; i < Vectors; ++i) {
        const TVec elements = *reinterpret_cast<const TMemory*>(row + i * Width);
        Add(elements, k, &sums[i]);
      }
    }
#pragma GCC unroll 8
    for (std::size_t i = 0; i < Vectors; ++i) *reinterpret_cast<TMemory*>(y + j + i * Width) = sums[i];
  }

  template <class T>
  [[gnu::always_inline]] void Add(const T& element, std::size_t k, T* sum) const {
    const T factor = x.weights == nullptr ? element : element * x.weights[k];
    *sum += Term == TTerm::Times ? factor * v[k] * w[k] : factor * v[k];
  }
};

}  // namespace

double Dot(const double* a, const double* b, std::size_t n) {
  double sum = 0.0;
  for (std::size_t k = 0; k < n; ++k) sum += a[k] * b[k];
  return sum;
}

void MatrixByVector(TConstRows a, std::size_t columns, TRange range, const double* x, double* y) {
  std::size_t i = range.first;
  for (; i + kRowsTogether <= range.last; i += kRowsTogether) {
    double sums[kRowsTogether] = {};
    for (std::size_t k = 0; k < columns; ++k) {
      for (std::size_t r = 0; r < kRowsTogether; ++r) sums[r] += a[i + r][k] * x[k];
    }
    std::copy_n(sums, kRowsTogether, y + i);
  }
  for (; i < range.last; ++i) y[i] = Dot(a[i], x, columns);
}

void FactorByVector(const TFactor& x, TTerm term, const double* weights, TRange range, std::size_t inner,
                    const double* v, double* y) {
  if (term == TTerm::Times) {
    simd::Dispatch(TFactorByVector<TTerm::Times>{x, weights, range, inner, v, y});
  } else {
    simd::Dispatch(TFactorByVector<TTerm::Plain>{x, weights, range, inner, v, y});
  }
}

}  // namespace SatCommonUtils::kernels
