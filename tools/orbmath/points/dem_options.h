#pragma once
/// \file
/// The options of commands that take heights from a DEM.

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "commands/command_line.h"
#include "terrain/height_surface.h"

namespace orbmath_tool {

/// `--dem` and what goes with it.
class DemChoice {
 public:
  void Declare(CommandLine& line);
  bool IsGiven() const { return !files_.empty(); }
  const std::vector<std::string>& Files() const { return files_; }
  /// The value of `--geoid` where no DEM is given, for a command that has another use for it; `Open` then does not
  /// mind.
  std::string TakeGeoid() { return IsGiven() ? std::string() : std::exchange(geoid_, std::string()); }
  /// Opens the DEM; null when none was given. \param cache_bytes memory for its posts. \throws UsageError for options
  /// that need one. \throws Failure
  std::shared_ptr<const SatCommonUtils::THeightSurface> Open(std::size_t cache_bytes = std::size_t(256) << 20) const;

 private:
  std::vector<std::string> files_;
  std::string geoid_;
  std::string void_height_;
  int interpolation_ = 0;
};

/// What an error line says of a point without a height.
extern const char* const kNoTerrainHeight;

}  // namespace orbmath_tool
