#pragma once
// A tile of a matrix product in registers: many sums side by side, each in index order.

#include <cstddef>

#include "linalg/kernels.h"
#include "linalg/simd.h"

namespace SatCommonUtils::kernels {

/// The register tile of a vector width: `kRows` x `kVectors` vectors of sums, one row of factors and their product fill
/// the registers (32 of them at width 8, otherwise 16). Factors are packed in panels of `kPanel` columns.
template <int Width>
struct TTileShape {
  static constexpr std::size_t kRows = Width == 8 ? 8 : 4;
  static constexpr std::size_t kVectors = Width == 8 ? 3 : 2;
  static constexpr std::size_t kPanel = kVectors * Width;
};

/// c[r][j] += Σ x[k·kPanel + r]·y[k·kPanel + j], k below `inner`, for r below kRows and j below `Vectors`·`Width`.
/// \param x, y panels; `y` aligned to a vector. \param w weights of the terms, if they have any.
/// \param c the rows of the tile. \param fresh the sums start at 0.0 instead of at what `c` holds.
template <int Width, std::size_t Vectors, TTerm Term>
[[gnu::always_inline]] inline void AddToTile(const double* __restrict x, const double* __restrict y,
                                             const double* __restrict w, std::size_t inner, double* const* c,
                                             bool fresh) {
  using TShape = TTileShape<Width>;
  using TVec = typename simd::TLanes<Width>::TVector;
  using TMemory = typename simd::TLanes<Width>::TUnaligned;
  TVec sums[TShape::kRows][Vectors];
#pragma GCC unroll 8
  for (std::size_t r = 0; r < TShape::kRows; ++r) {
#pragma GCC unroll 4
    for (std::size_t v = 0; v < Vectors; ++v) {
      sums[r][v] = fresh ? TVec{} : TVec(*reinterpret_cast<const TMemory*>(c[r] + v * Width));
    }
  }
  for (std::size_t k = 0; k < inner; ++k) {
    TVec row[Vectors];
#pragma GCC unroll 4
    for (std::size_t v = 0; v < Vectors; ++v)
      row[v] = *reinterpret_cast<const TVec*>(y + k * TShape::kPanel + v * Width);
#pragma GCC unroll 8
    for (std::size_t r = 0; r < TShape::kRows; ++r) {
      const TVec factor = x[k * TShape::kPanel + r] - TVec{};  // the number in every lane
#pragma GCC unroll 4
      for (std::size_t v = 0; v < Vectors; ++v) {
        if constexpr (Term == TTerm::Plain) sums[r][v] += factor * row[v];
        if constexpr (Term == TTerm::Subtracted) sums[r][v] -= factor * row[v];
        if constexpr (Term == TTerm::Times) sums[r][v] += factor * row[v] * w[k];
        if constexpr (Term == TTerm::Divided) sums[r][v] += factor * row[v] / w[k];
      }
    }
  }
#pragma GCC unroll 8
  for (std::size_t r = 0; r < TShape::kRows; ++r) {
#pragma GCC unroll 4
    for (std::size_t v = 0; v < Vectors; ++v) *reinterpret_cast<TMemory*>(c[r] + v * Width) = sums[r][v];
  }
}

}  // namespace SatCommonUtils::kernels
