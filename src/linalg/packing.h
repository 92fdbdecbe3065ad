#pragma once
// Packing factors into panels, the form in which the tiles read them.

#include <cstddef>

#include "linalg/kernels.h"
#include "linalg/simd.h"
#include "linalg/tile.h"

namespace SatCommonUtils::kernels {

/// panel[(k − inner.first)·kPanel + (i − columns.first)] = element (k, i), and zeros beyond the last column.
/// \param columns at most kPanel of them.
template <int Width>
[[gnu::always_inline]] inline void PackPanel(const TFactor& factor, TRange inner, TRange columns, double* panel) {
  using TVec = typename simd::TLanes<Width>::TVector;
  using TMemory = typename simd::TLanes<Width>::TUnaligned;
  constexpr std::size_t kPanel = TTileShape<Width>::kPanel;
  const std::size_t count = columns.last - columns.first;
  if (factor.transposed) {
    for (std::size_t i = 0; i < kPanel; ++i) {
      double* to = panel + i;
      const double* const from = i < count ? factor.rows[columns.first + i] : nullptr;
      for (std::size_t k = inner.first; k < inner.last; ++k, to += kPanel) *to = from == nullptr ? 0.0 : from[k];
    }
    return;
  }
  const double* const weights = factor.weights;
  for (std::size_t k = inner.first; k < inner.last; ++k, panel += kPanel) {
    const double* const from = factor.rows[k] + columns.first;
    std::size_t i = 0;
    if (weights == nullptr) {
      for (; i + Width <= count; i += Width) {
        *reinterpret_cast<TVec*>(panel + i) = *reinterpret_cast<const TMemory*>(from + i);
      }
      for (; i < count; ++i) panel[i] = from[i];
    } else {
      for (; i + Width <= count; i += Width) {
        *reinterpret_cast<TVec*>(panel + i) = *reinterpret_cast<const TMemory*>(from + i) * weights[k];
      }
      for (; i < count; ++i) panel[i] = from[i] * weights[k];
    }
    for (; i < kPanel; ++i) panel[i] = 0.0;
  }
}

}  // namespace SatCommonUtils::kernels
