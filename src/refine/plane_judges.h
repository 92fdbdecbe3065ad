#pragma once
// The ties by which the starts of a resistant fit are judged: hundreds of maps, each by its median residual.

#include <array>
#include <cstddef>
#include <vector>

#include "refine/plane_fit.h"

namespace SatCommonUtils::refine {

/// Ties that judge maps, one array for each of their numbers, in whole vectors. Made once for the fits of all kinds.
class TPlaneJudges {
 public:
  explicit TPlaneJudges(const std::vector<TPlaneTie>& ties);

  /// Ties that judge: all of a few thousand, of more a share that is spread over them.
  std::size_t Count() const { return count_; }

  /// The squared residual of the given rank under a map; `least` where it is not below that. Most maps end so, when
  /// too many residuals are not below. \param squares room to work in, of any size.
  double SquareOfRank(const TPlaneMap& map, std::size_t rank, double least, std::vector<double>* squares) const;

 private:
  double Slack(const TPlaneMap& map, double least) const;

  std::size_t count_;
  std::array<std::vector<double>, 5> values_;  ///< from, to, root of the weight
  /// Largest of a coordinate where ties come from, of a weighted one where they go to, and of the roots.
  double from_ = 0.0, weighted_to_ = 0.0, root_weight_ = 0.0;
};

}  // namespace SatCommonUtils::refine
