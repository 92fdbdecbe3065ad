// Strips of an elimination: tiles of G. H. Golub, C. F. Van Loan, Matrix Computations, 4th ed., 2013, 3.4.7, whose
// upper ones are solved in registers. Every element takes its terms in the order of the columns.

#include "linalg/elimination_strip.h"

#include <algorithm>

#include "linalg/simd.h"
#include "linalg/tile.h"
#include "linalg/tile_kernel.h"

namespace SatCommonUtils::kernels {

namespace {

struct TStripKernel {
  const TStrip& strip;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    constexpr std::size_t kPanel = TStaticShape<Width>::kPanel;
    for (std::size_t j = strip.columns.first; j < strip.columns.last; j += kPanel) {
      const TRange columns{j, std::min(j + kPanel, strip.columns.last)};
      const std::size_t vectors = (columns.last - columns.first + Width - 1) / Width;
      static_assert(kPanel <= 3 * Width);
      if constexpr (kPanel == 3 * Width) {
        if (vectors == 3) Tiles<Width, 3>(columns);
      }
      if (vectors == 2) Tiles<Width, 2>(columns);
      if (vectors == 1) Tiles<Width, 1>(columns);
    }
  }

  // The tiles of one panel of columns, from the top.
  template <int Width, std::size_t Vectors>
  [[gnu::always_inline]] void Tiles(TRange columns) const {
    constexpr std::size_t kRows = TStaticShape<Width>::kRows;
    const bool whole_width = strip.padded || columns.last - columns.first == Vectors * Width;
    for (std::size_t row = strip.done.first; row < strip.n; row += kRows) {
      const std::size_t own = row < strip.done.last ? std::min(strip.done.last - row, kRows) : 0;
      if (whole_width && row + kRows <= strip.n && (own == 0 || own == kRows)) {
        Prefetch<Width>(row + kRows, columns);
        Tile<Width, Vectors>(row, own != 0, strip.rows + row, columns.first);
      } else {
        EdgeTile<Width, Vectors>(row, own, columns);
      }
    }
  }

  template <int Width>
  [[gnu::always_inline]] void Prefetch(std::size_t row, TRange columns) const {
    for (std::size_t i = row; i < std::min(row + TStaticShape<Width>::kRows, strip.n); ++i) {
      for (std::size_t j = columns.first; j < columns.last; j += kCacheLine) __builtin_prefetch(strip.rows[i] + j, 1);
    }
  }

  // \param upper the rows of the tile are among those whose terms are taken.
  template <int Width, std::size_t Vectors>
  [[gnu::always_inline]] void Tile(std::size_t row, bool upper, TRows c, std::size_t column) const {
    constexpr std::size_t kRows = TStaticShape<Width>::kRows;
    constexpr std::size_t kPanel = TStaticShape<Width>::kPanel;
    const std::size_t inner = std::min(row, strip.done.last) - strip.done.first;
    const double* const x = strip.factors.Of(row) + (strip.done.first - strip.factors.first) * kRows;
    TSums<Width, Vectors> sums;
    LoadSums<Width, Vectors>(c, column, sums);
    TakeTerms<TTerm::Subtracted, kRows, Width, Vectors>(x, strip.packed, inner, sums);
    if (upper) {
#pragma GCC unroll 8
      for (std::size_t k = 0; k + 1 < kRows; ++k) {
        TakeOwnTerm<TTerm::Subtracted, kRows, Width, Vectors>(x + inner * kRows, k, sums);
      }
      PackSums<Width, Vectors>(sums, strip.packed + inner * kPanel);
    }
    StoreSums<Width, Vectors>(sums, column, c);
  }

  // A tile at the edge of the matrix, or one in which the eliminated columns end, by way of a whole one.
  // \param own rows of it whose terms are taken.
  template <int Width, std::size_t Vectors>
  [[gnu::always_inline]] void EdgeTile(std::size_t row, std::size_t own, TRange columns) const {
    constexpr std::size_t kRows = TStaticShape<Width>::kRows;
    constexpr std::size_t kPanel = TStaticShape<Width>::kPanel;
    const std::size_t height = std::min(kRows, strip.n - row);
    const std::size_t width = columns.last - columns.first;
    alignas(64) double whole[kRows][kPanel] = {};
    double* whole_rows[kRows];
    for (std::size_t r = 0; r < kRows; ++r) {
      whole_rows[r] = whole[r];
      if (r < height) std::copy_n(strip.rows[row + r] + columns.first, width, whole[r]);
    }
    Tile<Width, Vectors>(row, own == kRows, whole_rows, 0);
    if (own < kRows) {
      const std::size_t inner = std::min(row, strip.done.last) - strip.done.first;
      const double* const x = strip.factors.Of(row) + (strip.done.first - strip.factors.first + inner) * kRows;
      for (std::size_t r = 1; r < height; ++r) {
        for (std::size_t k = 0; k < std::min(r, own); ++k) {
          for (std::size_t j = 0; j < width; ++j) whole[r][j] -= x[k * kRows + r] * whole[k][j];
        }
      }
      for (std::size_t k = 0; k < own; ++k) std::copy_n(whole[k], kPanel, strip.packed + (inner + k) * kPanel);
    }
    for (std::size_t r = 0; r < height; ++r) std::copy_n(whole[r], width, strip.rows[row + r] + columns.first);
  }
};

}  // namespace

void EliminateStrip(const TStrip& strip) {
  if (strip.done.first >= strip.done.last || strip.columns.first >= strip.columns.last) return;
  simd::Dispatch(TStripKernel{strip});
}

}  // namespace SatCommonUtils::kernels
