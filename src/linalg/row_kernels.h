#pragma once
// Combining rows: the inner loops of factorisations. Everything here is inlined into kernels of simd.h.

#include <cstddef>

#include "linalg/kernels.h"
#include "linalg/simd.h"

namespace SatCommonUtils::kernels {

/// The most vectors of a row that are combined at a time.
constexpr std::size_t kStripVectors = 6;

/// `Vectors` vectors of a row at a time: their sums stay in registers while the other rows go by.
template <int Width, std::size_t Vectors, TTerm Term>
[[gnu::always_inline]] inline void CombineStrip(const double* factors, TConstRows rows, std::size_t count,
                                                std::size_t column, double* to) {
  using TVec = typename simd::TLanes<Width>::TVector;
  using TMemory = typename simd::TLanes<Width>::TUnaligned;
  TVec sums[Vectors];
#pragma GCC unroll 8
  for (std::size_t v = 0; v < Vectors; ++v) sums[v] = *reinterpret_cast<const TMemory*>(to + column + v * Width);
  for (std::size_t k = 0; k < count; ++k) {
    const double* const row = rows[k] + column;
    const double factor = factors[k];
#pragma GCC unroll 8
    for (std::size_t v = 0; v < Vectors; ++v) {
      const TVec product = factor * TVec(*reinterpret_cast<const TMemory*>(row + v * Width));
      if constexpr (Term == TTerm::Subtracted) {
        sums[v] -= product;
      } else {
        sums[v] += product;
      }
    }
  }
#pragma GCC unroll 8
  for (std::size_t v = 0; v < Vectors; ++v) *reinterpret_cast<TMemory*>(to + column + v * Width) = sums[v];
}

/// to(j) takes ± factors(k)·rows(k, j) for k below `count`, in order, for the columns j of `columns`.
template <int Width, TTerm Term>
[[gnu::always_inline]] inline void CombineRows(const double* factors, TConstRows rows, std::size_t count,
                                               TRange columns, double* to) {
  std::size_t j = columns.first;
  for (; j + kStripVectors * Width <= columns.last; j += kStripVectors * Width) {
    CombineStrip<Width, kStripVectors, Term>(factors, rows, count, j, to);
  }
  const std::size_t left = (columns.last - j) / Width;
  switch (left) {
    case 5:
      CombineStrip<Width, 5, Term>(factors, rows, count, j, to);
      break;
    case 4:
      CombineStrip<Width, 4, Term>(factors, rows, count, j, to);
      break;
    case 3:
      CombineStrip<Width, 3, Term>(factors, rows, count, j, to);
      break;
    case 2:
      CombineStrip<Width, 2, Term>(factors, rows, count, j, to);
      break;
    case 1:
      CombineStrip<Width, 1, Term>(factors, rows, count, j, to);
      break;
    default:
      break;
  }
  for (j += left * Width; j < columns.last; ++j) {
    double sum = to[j];
    for (std::size_t k = 0; k < count; ++k) {
      if constexpr (Term == TTerm::Subtracted) {
        sum -= factors[k] * rows[k][j];
      } else {
        sum += factors[k] * rows[k][j];
      }
    }
    to[j] = sum;
  }
}

/// to(j) takes ± factor·row(j) for the columns of `columns`.
template <int Width, TTerm Term>
[[gnu::always_inline]] inline void AddRow(double factor, const double* row, TRange columns, double* to) {
  using TVec = typename simd::TLanes<Width>::TVector;
  using TMemory = typename simd::TLanes<Width>::TUnaligned;
  std::size_t j = columns.first;
  for (; j + Width <= columns.last; j += Width) {
    const TVec product = factor * TVec(*reinterpret_cast<const TMemory*>(row + j));
    const TVec sum = *reinterpret_cast<const TMemory*>(to + j);
    *reinterpret_cast<TMemory*>(to + j) = Term == TTerm::Subtracted ? sum - product : sum + product;
  }
  if constexpr (Width > 2) {
    if (j < columns.last) AddRow<Width / 2, Term>(factor, row, {j, columns.last}, to);
  } else {
    for (; j < columns.last; ++j) {
      const double product = factor * row[j];
      to[j] = Term == TTerm::Subtracted ? to[j] - product : to[j] + product;
    }
  }
}

/// to(j) = (from(j) − to(j)) / divisor for the columns of `columns`.
template <int Width>
[[gnu::always_inline]] inline void SubtractAndDivide(const double* from, double divisor, TRange columns, double* to) {
  using TVec = typename simd::TLanes<Width>::TVector;
  using TMemory = typename simd::TLanes<Width>::TUnaligned;
  std::size_t j = columns.first;
  for (; j + Width <= columns.last; j += Width) {
    const TVec minuend = *reinterpret_cast<const TMemory*>(from + j);
    const TVec sum = *reinterpret_cast<const TMemory*>(to + j);
    *reinterpret_cast<TMemory*>(to + j) = (minuend - sum) / divisor;
  }
  for (; j < columns.last; ++j) to[j] = (from[j] - to[j]) / divisor;
}

}  // namespace SatCommonUtils::kernels
