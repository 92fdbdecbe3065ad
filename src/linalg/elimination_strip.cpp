// Strips of an elimination: blocks of G. H. Golub, C. F. Van Loan, Matrix Computations, 4th ed., 2013, 3.4.7, whose
// upper ones are solved in registers. Every element takes its terms in the order of the columns.

#include "linalg/elimination_strip.h"

#include <algorithm>
#include <type_traits>

#include "linalg/simd.h"
#include "linalg/tile_kernel.h"

namespace SatCommonUtils::kernels {

namespace {

struct TTakeEliminated {
  const TWaitingColumns& waiting;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    constexpr std::size_t kVectors = TStaticShape<Width>::kVectors;
    for (std::size_t j = waiting.columns.first; j < waiting.columns.last; j += kVectors * Width) {
      const std::size_t vectors = (waiting.columns.last - j + Width - 1) / Width;
      if (vectors == 1) Tiles<Width, 1>(j);
      if (vectors == 2 || (kVectors == 2 && vectors > 2)) Tiles<Width, 2>(j);
      if constexpr (kVectors == 3) {
        if (vectors > 2) Tiles<Width, 3>(j);
      }
    }
  }

  // The tiles of some vectors of columns, from the top.
  template <int Width, std::size_t Vectors>
  [[gnu::always_inline]] void Tiles(std::size_t column) const {
    constexpr std::size_t kRows = TStaticShape<Width>::kRows;
    for (std::size_t row = waiting.done.first; row < waiting.n; row += kRows) {
      double* c[kRows];
      for (std::size_t r = 0; r < kRows; ++r) c[r] = waiting.strip + waiting.rows[row + r] + column;
      // The rows of the tile that are among those whose terms are taken.
      const std::size_t own = row < waiting.done.last ? std::min(waiting.done.last - row, kRows) : 0;
      if (row + kRows < waiting.n) {
        for (std::size_t r = kRows; r < 2 * kRows; ++r) {
          for (std::size_t j = 0; j < Vectors * Width; j += kCacheLine) {
            __builtin_prefetch(waiting.strip + waiting.rows[row + r] + column + j, 1);
          }
        }
      }
      Tile<Width, Vectors>(row, own == kRows, c);
      if (0 < own && own < kRows) TakeOwnTerms<Width, Vectors>(row, own, c);
    }
  }

  template <int Width>
  [[gnu::always_inline]] const double* Factors(std::size_t row) const {
    return waiting.factors.Of(row) + (waiting.done.first - waiting.factors.first) * TStaticShape<Width>::kRows;
  }

  // \param upper the rows of the tile are among those whose terms are taken.
  template <int Width, std::size_t Vectors>
  [[gnu::always_inline]] void Tile(std::size_t row, bool upper, TRows c) const {
    constexpr std::size_t kRows = TStaticShape<Width>::kRows;
    const std::size_t inner = std::min(row, waiting.done.last) - waiting.done.first;
    const double* const x = Factors<Width>(row);
    TSums<Width, Vectors> sums;
    LoadSums<Width, Vectors>(c, 0, sums);
    TakeTerms<TTerm::Subtracted, kRows, Width, Vectors>(x, waiting.packed, inner, sums);
    if (upper) {
#pragma GCC unroll 8
      for (std::size_t k = 0; k + 1 < kRows; ++k) {
        TakeOwnTerm<TTerm::Subtracted, kRows, Width, Vectors>(x + inner * kRows, k, sums);
      }
      PackSums<Width, Vectors>(sums, waiting.packed + inner * TStaticShape<Width>::kPanel);
    }
    StoreSums<Width, Vectors>(sums, 0, c);
  }

  // A tile in which the eliminated columns end: `own` of its rows are among them.
  template <int Width, std::size_t Vectors>
  [[gnu::always_inline]] void TakeOwnTerms(std::size_t row, std::size_t own, TRows c) const {
    constexpr std::size_t kRows = TStaticShape<Width>::kRows;
    const std::size_t inner = row - waiting.done.first;
    const double* const x = Factors<Width>(row) + inner * kRows;
    for (std::size_t k = 0; k < own; ++k) {
      std::copy_n(c[k], Vectors * Width, waiting.packed + (inner + k) * TStaticShape<Width>::kPanel);
      for (std::size_t r = k + 1; r < kRows; ++r) {
        for (std::size_t j = 0; j < Vectors * Width; ++j) c[r][j] -= x[k * kRows + r] * c[k][j];
      }
    }
  }
};

// Rows of a strip that are as long as it is wide, to it or from it.
template <bool To>
struct TCopyWholeRows {
  TRange rows;
  std::conditional_t<To, TConstRows, TRows> a;
  std::size_t column;
  double* strip;  // the first of these rows

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    using TMemory = typename simd::TLanes<Width>::TUnaligned;
    double* row = strip;
    for (std::size_t i = rows.first; i < rows.last; ++i, row += kStripColumns) {
#pragma GCC unroll 12
      for (std::size_t j = 0; j < kStripColumns; j += Width) {
        typename simd::TLanes<Width>::TVector values;
        simd::Load(To ? a[i] + column + j : row + j, values);
        if constexpr (To) {
          *reinterpret_cast<TMemory*>(row + j) = values;
        } else {
          *reinterpret_cast<TMemory*>(a[i] + column + j) = values;
        }
      }
    }
  }
};

}  // namespace

TStripMatrix::TStripMatrix(std::size_t n)
    : n_(n),
      rows_((n + kMostTileRows - 1) / kMostTileRows * kMostTileRows),
      values_(Strips() * rows_.size() * kStripColumns) {
  for (std::size_t i = 0; i < rows_.size(); ++i) rows_[i] = i * kStripColumns;
}

void TStripMatrix::Load(std::size_t strip, TRange rows, TConstRows a) {
  const std::size_t first = strip * kStripColumns;
  double* to = Strip(strip) + rows.first * kStripColumns;
  if (first + kStripColumns <= n_) {
    simd::Dispatch(TCopyWholeRows<true>{rows, a, first, to});
  } else {
    for (std::size_t i = rows.first; i < rows.last; ++i, to += kStripColumns) {
      std::fill(std::copy(a[i] + first, a[i] + n_, to), to + kStripColumns, 0.0);
    }
  }
  if (rows.last == n_) std::fill_n(Strip(strip) + n_ * kStripColumns, (rows_.size() - n_) * kStripColumns, 0.0);
}

void TStripMatrix::Store(std::size_t strip, TRange rows, TRows a) const {
  const std::size_t first = strip * kStripColumns;
  double* from = Strip(strip) + rows.first * kStripColumns;
  if (first + kStripColumns <= n_) return simd::Dispatch(TCopyWholeRows<false>{rows, a, first, from});
  for (std::size_t i = rows.first; i < rows.last; ++i, from += kStripColumns) {
    std::copy_n(from, n_ - first, a[i] + first);
  }
}

double TStripMatrix::DotRightOfDiagonal(std::size_t row, const double* x) const {
  // The next row above: its pieces lie where the processor does not foresee them.
  for (std::size_t k = row / kStripColumns * kStripColumns; row > 0 && k < n_; k += kCacheLine) {
    __builtin_prefetch(Strip(k / kStripColumns) + rows_[row - 1] + k % kStripColumns);
  }
  double sum = 0.0;
  for (std::size_t k = row + 1; k < n_;) {
    const double* const elements = Strip(k / kStripColumns) + rows_[row];
    const std::size_t first = k % kStripColumns, last = std::min(kStripColumns, n_ - (k - first));
    for (std::size_t j = first; j < last; ++j, ++k) sum += elements[j] * x[k];
  }
  return sum;
}

void TakeEliminated(const TWaitingColumns& waiting) {
  if (waiting.done.first >= waiting.done.last || waiting.columns.first >= waiting.columns.last) return;
  simd::Dispatch(TTakeEliminated{waiting});
}

}  // namespace SatCommonUtils::kernels
