#pragma once
/// \file
/// The options of commands that make maps.

#include <optional>
#include <string>
#include <vector>

#include "commands/command_line.h"
#include "raster/map_frame.h"

namespace orbmath_tool {

/// `--crs`, `--resolution`, `--bounds`, `--like`.
class MapFrameChoice {
 public:
  void Declare(CommandLine& line);
  bool IsGiven() const { return !crs_.empty() || !like_.empty() || resolution_ || !bounds_.empty(); }
  /// \throws UsageError for what excludes each other.
  SatCommonUtils::TMapFrameOptions Options() const;

 private:
  std::string crs_;
  std::optional<double> resolution_;
  std::vector<double> bounds_;
  std::string like_;
};

}  // namespace orbmath_tool
