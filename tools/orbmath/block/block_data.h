#pragma once
/// \file
/// What a block adjustment is given at the shell: measurements of any of some forms, and control points.

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "block/block_images.h"
#include "block/block_problem.h"
#include "block/name_table.h"
#include "points/ground_frame.h"

namespace orbmath_tool {

/// A line of a file of control points. What is not there is NaN.
struct ControlRow {
  std::uint32_t point;  ///< number of the point's name
  SatCommonUtils::TBlockPointRole role;
  double lat, lon, height;
  double sigma_horizontal, sigma_vertical;
};

/// Everything that the files hold, by the numbers of points and images.
struct BlockData {
  NameTable points;
  SatCommonUtils::TBlockMeasurements measurements;
  std::vector<ControlRow> control;
  /// Names of images that have no model, with the number of their measurements, which are not among those above.
  std::map<std::string, std::size_t> unknown_images;
  std::vector<std::string> notes;  ///< what readers had to say
};

/// Reads control points: 'point lat lon height [sigma_h sigma_v] [role]'. \param frame how their places are written.
/// \throws Failure, UsageError
void ReadBlockControl(const std::string& path, const GroundFrame& frame, BlockData* data);

}  // namespace orbmath_tool
