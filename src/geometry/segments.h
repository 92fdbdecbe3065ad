#pragma once
// Points and segments: sides and common points, decided without rounding error, and distances.

#include "frame/zxstd/xy.h"

namespace SatCommonUtils {

/// Sense of the triangle a, b, c: 1 counter-clockwise (c lies left of the line from a to b), -1 clockwise, 0 for
/// three points on one line. Exact unless a product of coordinates overflows or underflows; 0 when one is NaN.
int Orientation(const xy_d& a, const xy_d& b, const xy_d& c);

/// Whether p lies on the closed segment from a to b, exactly. A segment of no length is a point.
bool IsOnSegment(const xy_d& p, const xy_d& a, const xy_d& b);

/// Whether the closed segments a b and c d have a point in common, exactly.
bool SegmentsMeet(const xy_d& a, const xy_d& b, const xy_d& c, const xy_d& d);

/// Distance from p to the closed segment from a to b; exact zero at both ends.
double DistanceToSegment(const xy_d& p, const xy_d& a, const xy_d& b);

}  // namespace SatCommonUtils
