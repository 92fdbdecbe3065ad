#pragma once
// Observations that stand in a list more than once, as after joining overlapping files: a copy is no second
// measurement.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace SatCommonUtils::estimation {

/// For each of `count` rows of numbers the first row that is equal to it, itself where there is none before; empty when
/// no row is a copy. By a table of hashes, linear in time. \param row_of gives row i as an array of doubles.
template <class RowOf>
std::vector<std::size_t> FirstOfCopies(std::size_t count, const RowOf& row_of) {
  const auto hash_of = [&](std::size_t i) {
    std::uint64_t hash = 0x9e3779b97f4a7c15u;
    for (const double value : row_of(i)) {
      const double one_zero = value + 0.0;  // of both signs
      std::uint64_t bits;
      std::memcpy(&bits, &one_zero, sizeof bits);
      // The finaliser of SplitMix64 (G. Steele, D. Lea and C. Flood, 2014, doi:10.1145/2660193.2660195) between values.
      hash = (hash ^ bits) * 0xbf58476d1ce4e5b9u;
      hash ^= hash >> 29;
    }
    return hash * 0x94d049bb133111ebu;
  };
  std::size_t bits = 4;
  while ((std::size_t{1} << bits) < 2 * count) ++bits;
  struct TSlot {
    std::uint32_t tag;         ///< bits of the hash that the slot's place does not say
    std::uint32_t row_plus_1;  ///< 0: the slot is free
  };
  std::vector<TSlot> table(std::size_t{1} << bits, TSlot{0, 0});
  std::vector<std::size_t> first;
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint64_t hash = hash_of(i);
    const std::uint32_t tag = static_cast<std::uint32_t>(hash);
    std::size_t at = static_cast<std::size_t>(hash >> (64 - bits));
    std::size_t equal = i;
    for (; table[at].row_plus_1 != 0; at = (at + 1) & (table.size() - 1)) {
      if (table[at].tag != tag || row_of(table[at].row_plus_1 - 1) != row_of(i)) continue;
      equal = table[at].row_plus_1 - 1;
      break;
    }
    if (equal == i) {
      table[at] = {tag, static_cast<std::uint32_t>(i + 1)};
    } else if (first.empty()) {
      first.resize(count);
      for (std::size_t k = 0; k < i; ++k) first[k] = k;
    }
    if (!first.empty()) first[i] = equal;
  }
  return first;
}

}  // namespace SatCommonUtils::estimation
