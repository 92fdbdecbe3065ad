#pragma once
/// \file
/// Tables of ground control: where points lie on the ground and where they were measured in an image.

#include <string>
#include <vector>

#include "points/ground_frame.h"
#include "points/point_table.h"
#include "terrain/height_surface.h"

namespace orbmath_tool {

/// Points of a table with their ground and image coordinates, one of each row.
struct ControlTable {
  PointTable table;            ///< names and places of the rows; its numbers are used up
  GroundPoints ground;         ///< all with a height
  std::vector<double> line;    ///< pixels, 0 at the centre of the first one
  std::vector<double> sample;  ///< pixels
  std::vector<double> sigma;   ///< standard deviation of either image coordinate, pixels
  std::vector<bool> is_check;  ///< says "check" in a column of roles
};

/// Takes the points that check out of a table. Without any, nothing is copied.
ControlTable TakeChecks(ControlTable* control);

/// Reads ground control. Without names the columns stand in the order of the place, height, line, sample and sigma, or,
/// where points may do without a height, place, line, sample, sigma and height.
/// \param columns the option `--columns`. \param shift where line and sample count from.
/// \param terrain null, or what gives heights to points without one.
/// \throws UsageError, Failure naming rows that are no usable control.
ControlTable ReadControl(const std::string& file, const std::string& columns, const GroundFrame& frame, double shift,
                         const SatCommonUtils::THeightSurface* terrain);

}  // namespace orbmath_tool
