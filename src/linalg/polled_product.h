#pragma once
// Products that tell their caller how far they are.

#include <algorithm>
#include <cstddef>

#include "linalg/kernels.h"

namespace SatCommonUtils::kernels {

/// Rows of a product that are made before they are polled for: enough that packing the other factor again for the next
/// ones does not matter.
inline constexpr std::size_t kRowsBetweenPolls = 576;

/// `Multiply`, and one call of `poll`, which must not be null, for each row that is done.
inline void MultiplyAndPoll(const TProduct& product, TRange range, TRows c, const TWorkspace& workspace, TPoll poll) {
  for (std::size_t first = range.first; first < range.last; first += kRowsBetweenPolls) {
    const TRange rows{first, std::min(first + kRowsBetweenPolls, range.last)};
    Multiply(product, rows, c, workspace);
    for (std::size_t i = rows.first; i < rows.last; ++i) poll();
  }
}

}  // namespace SatCommonUtils::kernels
