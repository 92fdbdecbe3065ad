#pragma once
/// \file
/// Tie points: the observations from which the plane transforms are fitted.

#include <vector>

#include "../frame/api.h"

namespace SatCommonUtils {

/// One point known in two plane coordinate systems. The units are those of the systems, pixels for images.
struct T2DTransformParamsSourceDataItem {
  double Xfrom = 0.0;  ///< x in the source system.
  double Yfrom = 0.0;  ///< y in the source system.
  double Xto = 0.0;    ///< x in the target system.
  double Yto = 0.0;    ///< y in the target system.
};

/// Sends one debug message a point, in order: "Xfrom=... Yfrom=... Xto=... Yto=..." with three digits after the point
/// in fields of 20 characters; a message ends after 127 characters.
ORBMATH_API void DebugOutput(const std::vector<T2DTransformParamsSourceDataItem>& points);

}  // namespace SatCommonUtils
