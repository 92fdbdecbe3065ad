#pragma once
// Which corrections meet in the reduced normal equations, through which rays, and in which order to eliminate them.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "block/network.h"

namespace SatCommonUtils::block {

/// Two rays of one point, which bring something to the block of their groups.
struct TRayPair {
  std::uint32_t a;
  std::uint32_t b;
};

/// The blocks on and above the diagonal, by rows. Block n is that of row a when rowFirst[a] <= n < rowFirst[a + 1], and
/// of column column[n] >= a; each row begins with its diagonal block.
struct TPattern {
  /// Of all rays that may take part, used at present or not.
  explicit TPattern(const TNetwork& network);

  std::size_t Rows() const { return rowFirst.size() - 1; }

  std::vector<std::size_t> rowFirst;
  std::vector<std::uint32_t> column;
  std::vector<std::size_t> pairFirst;  ///< Pairs of block n: from pairFirst[n] up to and without pairFirst[n + 1].
  std::vector<TRayPair> pairs;         ///< The first ray is of the row's group.
};

/// The groups in an order that leaves few blocks to fill in: approximate minimum degree (P. Amestoy, T. Davis and
/// I. Duff 1996, doi:10.1137/S0895479894278952).
std::vector<std::uint32_t> EliminationOrder(const TPattern& pattern);

}  // namespace SatCommonUtils::block
