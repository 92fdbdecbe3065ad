// Distances between words. Source: Damerau, A technique for computer detection and correction of spelling errors
// (1964), doi:10.1145/363958.363994, in its restricted form, by dynamic programming.

#include "commands/did_you_mean.h"

#include <algorithm>

namespace orbmath_tool {

namespace {

std::size_t Distance(const std::string& a, const std::string& b) {
  std::vector<std::vector<std::size_t>> cost(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
  for (std::size_t i = 0; i <= a.size(); ++i) {
    for (std::size_t k = 0; k <= b.size(); ++k) {
      if (i == 0 || k == 0) {
        cost[i][k] = i + k;
        continue;
      }
      const std::size_t changed = cost[i - 1][k - 1] + (a[i - 1] == b[k - 1] ? 0 : 1);
      cost[i][k] = std::min({cost[i - 1][k] + 1, cost[i][k - 1] + 1, changed});
      const bool exchanged = i > 1 && k > 1 && a[i - 1] == b[k - 2] && a[i - 2] == b[k - 1];
      if (exchanged) cost[i][k] = std::min(cost[i][k], cost[i - 2][k - 2] + 1);
    }
  }
  return cost.back().back();
}

}  // namespace

std::string DidYouMean(const std::string& given, const std::vector<std::string>& known) {
  constexpr std::size_t kLongestWord = 40;
  if (given.size() > kLongestWord) return std::string();
  std::size_t least = std::max<std::size_t>(given.size() / 3, 1) + 1;
  std::string nearest;
  for (const std::string& word : known) {
    const std::size_t distance = Distance(given, word);
    if (distance >= least) continue;
    least = distance;
    nearest = word;
  }
  return nearest.empty() ? std::string() : ", did you mean '" + nearest + "'?";
}

}  // namespace orbmath_tool
