#pragma once
// Points, directions and segments: sides, orders and common points, decided without rounding error, and distances.
//
// "Exact" holds as long as no product of coordinates (of four of them for `CrossingOrder`) overflows or underflows.

#include "frame/zxstd/xy.h"

namespace SatCommonUtils {

/// A segment with a sense, or the direction from one point to another.
struct TSegment {
  xy_d from;
  xy_d to;
};

/// Sense of the triangle a, b, c: 1 counter-clockwise (c lies left of the line from a to b), -1 clockwise, 0 for
/// three points on one line. Exact; 0 when a coordinate is NaN.
int Orientation(const xy_d& a, const xy_d& b, const xy_d& c);

/// Sense of the turn from the direction of a to that of b by less than half a turn: 1 to the left, -1 to the right, 0
/// when they agree or oppose each other. Exact.
int Turn(const TSegment& a, const TSegment& b);

/// Whether two directions of one line agree; to be asked where `Turn` is 0. Exact.
bool HaveOneSense(const TSegment& a, const TSegment& b);

/// Whether p lies on the closed segment from a to b. Exact. A segment of no length is a point.
bool IsOnSegment(const xy_d& p, const xy_d& a, const xy_d& b);

/// Whether the closed segments a b and c d have a point in common. Exact.
bool SegmentsMeet(const xy_d& a, const xy_d& b, const xy_d& c, const xy_d& d);

/// Whether two segments cross in one point that is no end of either. Exact.
bool SegmentsCross(const TSegment& a, const TSegment& b);

/// Which of two segments that cross `edge` crosses it first: -1 the first, 1 the second, 0 both in one point. Exact.
int CrossingOrder(const TSegment& edge, const TSegment& first, const TSegment& second);

/// The point where two segments cross that do, within some units in the last place of the coordinates, however flat
/// their angle.
xy_d Crossing(const TSegment& a, const TSegment& b);

/// Distance from p to the closed segment from a to b; exact zero at both ends.
double DistanceToSegment(const xy_d& p, const xy_d& a, const xy_d& b);

}  // namespace SatCommonUtils
