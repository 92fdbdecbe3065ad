// Symbolic factorisation: T. Davis, "Direct Methods for Sparse Linear Systems" (2006), doi:10.1137/1.9780898718881,
// chapter 4; the full rest takes the place of supernodes.

#include <algorithm>

#include "block/block_factor.h"

namespace SatCommonUtils::block {
namespace {

/// What an operation on small blocks costs, in operations of the full rest, which run in wide vectors; measured.
constexpr double kBlockCost = 6.0;

using TColumns = std::vector<std::vector<std::uint32_t>>;

/// The rows below the diagonal of every column of the factor.
TColumns FillIn(const TPattern& pattern, const std::vector<std::uint32_t>& place) {
  const std::size_t count = pattern.Rows();
  TColumns columns(count);
  for (std::uint32_t a = 0; a < count; ++a) {
    for (std::size_t n = pattern.rowFirst[a] + 1; n < pattern.rowFirst[a + 1]; ++n) {
      const std::uint32_t p = place[a];
      const std::uint32_t q = place[pattern.column[n]];
      columns[std::min(p, q)].push_back(std::max(p, q));
    }
  }
  // Each column passes its rows on to its parent, the first of them.
  for (std::uint32_t j = 0; j < count; ++j) {
    std::vector<std::uint32_t>& rows = columns[j];
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    if (rows.size() > 1) columns[rows[0]].insert(columns[rows[0]].end(), rows.begin() + 1, rows.end());
  }
  return columns;
}

/// The place from which on a full matrix costs less than blocks.
std::size_t FirstOfRest(const TColumns& columns) {
  const std::size_t count = columns.size();
  double best = 0.0;
  double blocks = 0.0;
  std::size_t place = 0;
  for (std::size_t j = 0; j <= count; ++j) {
    const auto rest = static_cast<double>(count - j);
    const double cost = blocks + rest * rest * rest / 6.0;
    if (j == 0 || cost < best) {
      best = cost;
      place = j;
    }
    if (j == count) break;
    const auto rows = static_cast<double>(columns[j].size()) + 1.0;
    blocks += kBlockCost * rows * rows / 2.0;
  }
  return place;
}

void Add(std::size_t level, std::uint32_t column, std::vector<std::vector<std::uint32_t>>* levels) {
  if (levels->size() <= level) levels->resize(level + 1);
  (*levels)[level].push_back(column);
}

}  // namespace

TFactorPattern::TFactorPattern(const TPattern& pattern) : order(EliminationOrder(pattern)), place(order.size()) {
  const std::size_t count = order.size();
  for (std::uint32_t p = 0; p < count; ++p) place[order[p]] = p;
  const TColumns columns = FillIn(pattern, place);
  dense = FirstOfRest(columns);

  rowFirst.assign(count + 1, 0);
  columnFirst.push_back(0);
  for (std::size_t j = 0; j < dense; ++j) {
    row.insert(row.end(), columns[j].begin(), columns[j].end());
    columnFirst.push_back(row.size());
    for (const std::uint32_t i : columns[j]) ++rowFirst[i + 1];
  }
  for (std::size_t i = 0; i < count; ++i) rowFirst[i + 1] += rowFirst[i];
  left.resize(row.size());
  leftColumn.resize(row.size());
  std::vector<std::size_t> next(rowFirst.begin(), rowFirst.end() - 1);
  std::vector<std::size_t> level(dense, 0);
  for (std::uint32_t j = 0; j < dense; ++j) {
    Add(level[j], j, &levels);
    for (std::size_t n = columnFirst[j]; n < columnFirst[j + 1]; ++n) {
      leftColumn[next[row[n]]] = j;
      left[next[row[n]]++] = n;
      if (row[n] < dense) level[row[n]] = std::max(level[row[n]], level[j] + 1);
    }
  }
  std::vector<std::size_t> depth(dense, 0);
  for (std::size_t j = dense; j-- > 0;) {
    const bool inner = columnFirst[j] < columnFirst[j + 1] && row[columnFirst[j]] < dense;
    if (inner) depth[j] = depth[row[columnFirst[j]]] + 1;
    Add(depth[j], static_cast<std::uint32_t>(j), &depths);
  }
}

}  // namespace SatCommonUtils::block
