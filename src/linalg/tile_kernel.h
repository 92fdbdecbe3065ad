#pragma once
// The sums of a tile in registers, and what ends a tile on the diagonal: the micro-kernel of K. Goto, R. A. van de
// Geijn, Anatomy of high-performance matrix multiplication, 2008, doi:10.1145/1356052.1356053. Everything here is
// inlined into kernels of simd.h.

#include <algorithm>
#include <cstddef>

#include "linalg/kernels.h"
#include "linalg/simd.h"
#include "linalg/tile.h"

namespace SatCommonUtils::kernels {

/// How far a tile asks for its factors ahead, in terms: a panel may be longer than the first cache.
inline constexpr std::size_t kTermsAhead = 8;

/// The tile of sums, one row of factors and their product fill the registers: 32 of them at width 8, otherwise 16.
template <int Width>
struct TStaticShape {
  static constexpr std::size_t kRows = Width == 8 ? 8 : 4;
  static constexpr std::size_t kVectors = Width == 8 ? 3 : 2;
  static constexpr std::size_t kPanel = kVectors * Width;
  static_assert(kWidestPanel % kPanel == 0 && kPanel % kRows == 0 && kMostTileRows % kRows == 0);
};

/// The sums of a tile.
template <int Width, std::size_t Vectors>
using TSums = typename simd::TLanes<Width>::TVector[TStaticShape<Width>::kRows][Vectors];

/// Sums that go on from what the rows `c` hold.
template <int Width, std::size_t Vectors>
[[gnu::always_inline]] inline void LoadSums(TRows c, std::size_t column, TSums<Width, Vectors>& sums) {
#pragma GCC unroll 8
  for (std::size_t r = 0; r < TStaticShape<Width>::kRows; ++r) {
#pragma GCC unroll 4
    for (std::size_t v = 0; v < Vectors; ++v) simd::Load(c[r] + column + v * Width, sums[r][v]);
  }
}

template <int Width, std::size_t Vectors>
[[gnu::always_inline]] inline void StoreSums(const TSums<Width, Vectors>& sums, std::size_t column, TRows c) {
  using TMemory = typename simd::TLanes<Width>::TUnaligned;
#pragma GCC unroll 8
  for (std::size_t r = 0; r < TStaticShape<Width>::kRows; ++r) {
#pragma GCC unroll 4
    for (std::size_t v = 0; v < Vectors; ++v) *reinterpret_cast<TMemory*>(c[r] + column + v * Width) = sums[r][v];
  }
}

/// The sums take `inner` terms ± x(k, r)·y(k, j) of packed factors.
/// \tparam Stride of x: how far apart the factors of two terms are.
template <TTerm Term, std::size_t Stride, int Width, std::size_t Vectors>
[[gnu::always_inline]] inline void TakeTerms(const double* x, const double* y, std::size_t inner,
                                             TSums<Width, Vectors>& sums) {
  using TVec = typename simd::TLanes<Width>::TVector;
  constexpr std::size_t kPanel = TStaticShape<Width>::kPanel;
  for (std::size_t k = 0; k < inner; ++k, x += Stride, y += kPanel) {
    for (std::size_t v = 0; v < Vectors; ++v) __builtin_prefetch(y + kTermsAhead * kPanel + v * Width);
    __builtin_prefetch(x + kTermsAhead * Stride);
    TVec row[Vectors];
#pragma GCC unroll 4
    for (std::size_t v = 0; v < Vectors; ++v) row[v] = *reinterpret_cast<const TVec*>(y + v * Width);
#pragma GCC unroll 8
    for (std::size_t r = 0; r < TStaticShape<Width>::kRows; ++r) {
      const TVec factor = x[r] - TVec{};  // the number in every lane
#pragma GCC unroll 4
      for (std::size_t v = 0; v < Vectors; ++v) {
        static_assert(Term == TTerm::Plain || Term == TTerm::Subtracted);
        if constexpr (Term == TTerm::Plain) sums[r][v] += factor * row[v];
        if constexpr (Term == TTerm::Subtracted) sums[r][v] -= factor * row[v];
      }
    }
  }
}

/// Rows of a tile are the ones that its last terms come from: each takes those of the rows above it.
/// \param x the factors of these terms, x(k, r) for k below r.
template <TTerm Term, std::size_t Stride, int Width, std::size_t Vectors>
[[gnu::always_inline]] inline void TakeOwnTerm(const double* x, std::size_t k, TSums<Width, Vectors>& sums) {
  using TVec = typename simd::TLanes<Width>::TVector;
#pragma GCC unroll 8
  for (std::size_t r = 0; r < TStaticShape<Width>::kRows; ++r) {
    if (r <= k) continue;
    const TVec factor = x[k * Stride + r] - TVec{};
#pragma GCC unroll 4
    for (std::size_t v = 0; v < Vectors; ++v) {
      if constexpr (Term == TTerm::Plain) sums[r][v] += factor * sums[k][v];
      if constexpr (Term == TTerm::Subtracted) sums[r][v] -= factor * sums[k][v];
    }
  }
}

/// Rows of a tile that are made, in the form in which other tiles read them.
template <int Width, std::size_t Vectors>
[[gnu::always_inline]] inline void PackSums(const TSums<Width, Vectors>& sums, double* packed) {
  using TVec = typename simd::TLanes<Width>::TVector;
#pragma GCC unroll 8
  for (std::size_t r = 0; r < TStaticShape<Width>::kRows; ++r) {
#pragma GCC unroll 4
    for (std::size_t v = 0; v < Vectors; ++v) {
      *reinterpret_cast<TVec*>(packed + r * TStaticShape<Width>::kPanel + v * Width) = sums[r][v];
    }
  }
}

}  // namespace SatCommonUtils::kernels
