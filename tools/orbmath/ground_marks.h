#pragma once
/// \file
/// How commands that compute ground points mark those outside of what a model was made for, and refuse lost ones.

#include <cstddef>
#include <string>
#include <vector>

#include "point_block.h"
#include "rpc/ground_solution.h"

namespace orbmath_tool {

/// The words of a status column: "ok", or "outside-" and what the point lies outside of, e.g. "outside-image+height".
const std::vector<std::string>& StatusWords();
/// The number of the word that fits a solution.
int StatusOf(const SatCommonUtils::TGroundSolution& solution);
/// Why there is no ground point, for an error line.
std::string WhyLost(const SatCommonUtils::TGroundSolution& solution);

/// Counts marked points, for the note in the end.
class MarkCounter {
 public:
  /// Counts the points of `block` that have a result, by their marks.
  void Add(const PointBlock& block);
  /// Says on standard error how many points were marked, if any.
  void Report() const;

 private:
  std::size_t image_ = 0;
  std::size_t height_ = 0;
};

}  // namespace orbmath_tool
