#pragma once
// Maps of the plane seen from other coordinates: with S(x) = scale x + center on both axes, a map A is S A S^-1.

#include <cstddef>

namespace SatCommonUtils::refine {

/// S, and what it makes of the elements of matrices for (x, y, 1).
struct TPlaneSimilarity {
  double scale = 1.0;
  double center[2] = {0.0, 0.0};

  /// What element `to` of S A S^-1 gains when element `from` of A grows by one: element (a, i) of S times (j, b) of
  /// S^-1. Elements count by rows.
  double Step(std::size_t to, std::size_t from) const noexcept {
    const double forward[3][3] = {{scale, 0.0, center[0]}, {0.0, scale, center[1]}, {0.0, 0.0, 1.0}};
    const double back[3][3] = {
        {1.0 / scale, 0.0, -center[0] / scale}, {0.0, 1.0 / scale, -center[1] / scale}, {0.0, 0.0, 1.0}};
    return forward[to / 3][from / 3] * back[from % 3][to % 3];
  }
};

}  // namespace SatCommonUtils::refine
