// The pattern of the reduced normal equations: pairs of rays sorted by the groups that they join, by counting.

#include "block/pattern.h"

#include <Eigen/OrderingMethods>
#include <Eigen/SparseCore>
#include <algorithm>
#include <numeric>
#include <utility>

namespace SatCommonUtils::block {
namespace {

struct TKeyedPair {
  std::uint32_t row;
  std::uint32_t column;
  TRayPair rays;
};

/// Sorts by `key`, below `count`; what is equal keeps its order.
template <class Key>
void SortByKey(std::size_t count, const Key& key, std::vector<TKeyedPair>* pairs) {
  std::vector<std::size_t> next(count + 1, 0);
  for (const TKeyedPair& pair : *pairs) ++next[key(pair) + 1];
  std::partial_sum(next.begin(), next.end(), next.begin());
  std::vector<TKeyedPair> sorted(pairs->size());
  for (const TKeyedPair& pair : *pairs) sorted[next[key(pair)]++] = pair;
  pairs->swap(sorted);
}

bool MayTakePart(const TNetwork& network, std::size_t ray) {
  return network.rayState[ray] != TBlockMeasurementState::Repeated &&
         network.groupOf[network.rays[ray].image] != kNobody;
}

std::vector<TKeyedPair> PairsOf(const TNetwork& network) {
  std::vector<TKeyedPair> pairs;
  for (std::size_t j = 0; j < network.PointCount(); ++j) {
    for (std::size_t a = network.first[j]; a < network.first[j + 1]; ++a) {
      if (!MayTakePart(network, a)) continue;
      const std::uint32_t groupA = network.groupOf[network.rays[a].image];
      for (std::size_t b = a; b < network.first[j + 1]; ++b) {
        if (!MayTakePart(network, b)) continue;
        const std::uint32_t groupB = network.groupOf[network.rays[b].image];
        TKeyedPair pair{groupA, groupB, {static_cast<std::uint32_t>(a), static_cast<std::uint32_t>(b)}};
        if (groupB < groupA) {
          std::swap(pair.row, pair.column);
          std::swap(pair.rays.a, pair.rays.b);
        }
        pairs.push_back(pair);
      }
    }
  }
  // A group without rays has its diagonal block all the same.
  return pairs;
}

}  // namespace

TPattern::TPattern(const TNetwork& network) {
  const std::size_t groups = network.groups.size();
  std::vector<TKeyedPair> sorted = PairsOf(network);
  SortByKey(
      groups, [](const TKeyedPair& pair) { return pair.column; }, &sorted);
  SortByKey(
      groups, [](const TKeyedPair& pair) { return pair.row; }, &sorted);
  pairs.reserve(sorted.size());
  std::size_t next = 0;
  for (std::uint32_t row = 0; row < groups; ++row) {
    rowFirst.push_back(column.size());
    column.push_back(row);
    pairFirst.push_back(pairs.size());
    for (; next < sorted.size() && sorted[next].row == row; ++next) {
      if (sorted[next].column != column.back()) {
        column.push_back(sorted[next].column);
        pairFirst.push_back(pairs.size());
      }
      pairs.push_back(sorted[next].rays);
    }
  }
  rowFirst.push_back(column.size());
  pairFirst.push_back(pairs.size());
}

std::vector<std::uint32_t> EliminationOrder(const TPattern& pattern) {
  const auto rows = static_cast<int>(pattern.Rows());
  if (rows <= 0) return {};
  std::vector<Eigen::Triplet<double>> entries;
  for (int row = 0; row < rows; ++row) {
    for (std::size_t n = pattern.rowFirst[row]; n < pattern.rowFirst[row + 1]; ++n) {
      entries.emplace_back(static_cast<int>(pattern.column[n]), row, 1.0);
    }
  }
  Eigen::SparseMatrix<double> graph(rows, rows);
  graph.setFromTriplets(entries.begin(), entries.end());
  Eigen::PermutationMatrix<Eigen::Dynamic, Eigen::Dynamic, int> permutation;
  Eigen::AMDOrdering<int>()(graph.selfadjointView<Eigen::Lower>(), permutation);
  std::vector<std::uint32_t> order(pattern.Rows());
  for (int n = 0; n < rows; ++n) order[n] = static_cast<std::uint32_t>(permutation.indices()(n));
  return order;
}

}  // namespace SatCommonUtils::block
