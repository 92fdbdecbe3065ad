#pragma once
/// \file
/// How commands that compute ground points mark those outside of what a model was made for, and refuse lost ones.

#include <cstddef>
#include <string>
#include <vector>

#include "points/line_block.h"
#include "rpc/ground_solution.h"

namespace orbmath_tool {

/// The words of a status column: "ok", or "outside-" and what the point lies outside of, e.g. "outside-image+height",
/// behind the name of what makes it doubtful, if anything, e.g. "far-out+outside-ground".
const std::vector<std::string>& StatusWords();
/// The number of the word that fits a solution.
int StatusOf(const SatCommonUtils::TGroundSolution& solution);
/// Whether the solution is to be given: it is one, or it is doubtful and `extrapolate` asks for it all the same.
bool IsGiven(const SatCommonUtils::TGroundSolution& solution, bool extrapolate);
/// Why there is no ground point, for an error line.
std::string WhyLost(const SatCommonUtils::TGroundSolution& solution);

/// True when a latitude and a longitude, degrees, can be those of a ground point; the longitude in any of three turns.
bool IsGround(double lat, double lon);
/// Why they cannot, for an error line.
std::string WhyNoGround(double lat, double lon);
/// The number of the word that fits a ground point: whether it lies outside of the model's ground box and heights.
int StatusOf(const SatCommonUtils::TRPC& model, double lat, double lon, double height);

/// How many points of `block`, with latitudes and longitudes as its first columns and marked, lie outside of the
/// model's ground but would lie inside with the two exchanged.
std::size_t CountExchanged(const SatCommonUtils::TRPC& model, const LineBlock& block);

/// Counts marked points, for the note in the end.
class MarkCounter {
 public:
  /// Counts the points of `block` that have a result, by their marks.
  void Add(const LineBlock& block);
  /// Says on standard error how many found ground points were marked, if any.
  void Report() const;
  /// Says on standard error how many given ground points were marked, if any.
  void ReportGiven() const;

 private:
  std::size_t image_ = 0;
  std::size_t height_ = 0;
  std::size_t ground_ = 0;
  std::size_t margin_ = 0;
  std::size_t doubtful_ = 0;
};

}  // namespace orbmath_tool
