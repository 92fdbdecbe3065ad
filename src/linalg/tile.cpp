// Tiles of sums and the panels that feed them: the micro-kernel and packing of K. Goto, R. A. van de Geijn, Anatomy of
// high-performance matrix multiplication, 2008, doi:10.1145/1356052.1356053.

#include "linalg/tile.h"

#include <algorithm>

#include "linalg/simd.h"
#include "linalg/tile_kernel.h"

namespace SatCommonUtils::kernels {

namespace {

// How far packing reads ahead, in rows.
constexpr std::size_t kRowsAhead = 12;

struct TShapeKernel {
  TShape* shape;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    using TStatic = TStaticShape<Width>;
    *shape = {Width, TStatic::kRows, TStatic::kPanel};
  }
};

template <TTerm Term>
struct TTileKernel {
  TTileTask task;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    constexpr std::size_t kVectors = TStaticShape<Width>::kVectors;
    static_assert(kVectors == 2 || kVectors == 3);
    if (task.vectors == 1) return Add<Width, 1>();
    if constexpr (kVectors == 3) {
      if (task.vectors == 2) return Add<Width, 2>();
    }
    Add<Width, kVectors>();
  }

  template <int Width, std::size_t Vectors>
  [[gnu::always_inline]] void Add() const {
    using TVec = typename simd::TLanes<Width>::TVector;
    using TMemory = typename simd::TLanes<Width>::TUnaligned;
    constexpr std::size_t kRows = TStaticShape<Width>::kRows;
    constexpr std::size_t kPanel = TStaticShape<Width>::kPanel;
    TVec sums[kRows][Vectors];
#pragma GCC unroll 8
    for (std::size_t r = 0; r < kRows; ++r) {
#pragma GCC unroll 4
      for (std::size_t v = 0; v < Vectors; ++v) {
        sums[r][v] = task.fresh ? TVec{} : TVec(*reinterpret_cast<const TMemory*>(task.c[r] + v * Width));
      }
    }
    const double* const* const ahead = task.ahead;
    const std::size_t ahead_place = task.ahead_place;
    const double* x = task.x;
    const double* y = task.y;
    for (std::size_t k = 0; k < task.inner; ++k, x += kPanel, y += kPanel) {
      if (ahead != nullptr) __builtin_prefetch(ahead[k] + ahead_place, 0, 2);
      for (std::size_t v = 0; v < Vectors; ++v) __builtin_prefetch(y + kTermsAhead * kPanel + v * Width);
      __builtin_prefetch(x + kTermsAhead * kPanel);
      TVec row[Vectors];
#pragma GCC unroll 4
      for (std::size_t v = 0; v < Vectors; ++v) row[v] = *reinterpret_cast<const TVec*>(y + v * Width);
#pragma GCC unroll 8
      for (std::size_t r = 0; r < kRows; ++r) {
        const TVec factor = x[r] - TVec{};  // the number in every lane
#pragma GCC unroll 4
        for (std::size_t v = 0; v < Vectors; ++v) {
          if constexpr (Term == TTerm::Plain) sums[r][v] += factor * row[v];
          if constexpr (Term == TTerm::Subtracted) sums[r][v] -= factor * row[v];
          if constexpr (Term == TTerm::Times) sums[r][v] += factor * row[v] * task.w[k];
          if constexpr (Term == TTerm::Divided) sums[r][v] += factor * row[v] / task.w[k];
        }
      }
    }
#pragma GCC unroll 8
    for (std::size_t r = 0; r < kRows; ++r) {
#pragma GCC unroll 4
      for (std::size_t v = 0; v < Vectors; ++v) *reinterpret_cast<TMemory*>(task.c[r] + v * Width) = sums[r][v];
    }
  }
};

// Columns are the matrix's columns: rows are copied piece by piece.
template <bool Weighted>
struct TPackRows {
  const TFactor& factor;
  TRange inner;
  TRange columns;
  double* panel;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    constexpr std::size_t kPanel = TStaticShape<Width>::kPanel;
    // Tiles read whole vectors of one panel and whole tile heights of the other.
    constexpr std::size_t kRead = std::max<std::size_t>(Width, TStaticShape<Width>::kRows);
    const std::size_t count = columns.last - columns.first;
    double* to = panel;
    for (std::size_t k = inner.first; k < inner.last; ++k, to += kPanel) {
      // Rows are memory blocks of their own, which the processor does not foresee.
      const double* const ahead = factor.rows[std::min(k + kRowsAhead, inner.last - 1)] + columns.first;
      for (std::size_t i = 0; i < count; i += kCacheLine) __builtin_prefetch(ahead + i);
      const double* const from = factor.rows[k] + columns.first;
      std::size_t i = 0;
      for (; i + Width <= count; i += Width) CopyPiece<Width>(from + i, k, to + i);
      if constexpr (Width > 4) {
        if (i + 4 <= count) {
          CopyPiece<4>(from + i, k, to + i);
          i += 4;
        }
      }
      for (; i < count; ++i) to[i] = Weighted ? from[i] * factor.weights[k] : from[i];
      for (; i % kRead != 0; ++i) to[i] = 0.0;
    }
  }

  template <int Width>
  [[gnu::always_inline]] void CopyPiece(const double* from, std::size_t k, double* to) const {
    using TMemory = typename simd::TLanes<Width>::TUnaligned;
    const TMemory piece = *reinterpret_cast<const TMemory*>(from);
    *reinterpret_cast<TMemory*>(to) = Weighted ? piece * factor.weights[k] : piece;
  }
};

// Columns are the rows of the stored matrix. They are read a cache line of each at a time, so that the part of the
// panel that is written stays near.
void PackTransposed(const TFactor& factor, TRange inner, TRange columns, std::size_t panel_width, double* panel) {
  const std::size_t count = columns.last - columns.first;
  const double* from[kWidestPanel];
  for (std::size_t i = 0; i < count; ++i) from[i] = factor.rows[columns.first + i];
  for (std::size_t k = inner.first; k < inner.last; k += kCacheLine) {
    const std::size_t last = std::min(k + kCacheLine, inner.last);
    double* const to = panel + (k - inner.first) * panel_width;
    for (std::size_t i = 0; i < count; ++i) {
      for (std::size_t l = k; l < last; ++l) to[(l - k) * panel_width + i] = from[i][l];
    }
    for (std::size_t i = count; i < panel_width; ++i) {
      for (std::size_t l = k; l < last; ++l) to[(l - k) * panel_width + i] = 0.0;
    }
  }
}

}  // namespace

TShape ShapeOfLevel() {
  TShape shape{};
  simd::Dispatch(TShapeKernel{&shape});
  return shape;
}

void PackPanel(const TFactor& factor, TRange inner, TRange columns, double* panel) {
  if (factor.transposed) {
    PackTransposed(factor, inner, columns, ShapeOfLevel().panel, panel);
  } else if (factor.weights != nullptr) {
    simd::Dispatch(TPackRows<true>{factor, inner, columns, panel});
  } else {
    simd::Dispatch(TPackRows<false>{factor, inner, columns, panel});
  }
}

void AddToTile(TTerm term, const TTileTask& task) {
  switch (term) {
    case TTerm::Plain:
      return simd::Dispatch(TTileKernel<TTerm::Plain>{task});
    case TTerm::Subtracted:
      return simd::Dispatch(TTileKernel<TTerm::Subtracted>{task});
    case TTerm::Times:
      return simd::Dispatch(TTileKernel<TTerm::Times>{task});
    case TTerm::Divided:
      return simd::Dispatch(TTileKernel<TTerm::Divided>{task});
  }
}

}  // namespace SatCommonUtils::kernels
