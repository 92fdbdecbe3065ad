#pragma once
// Whole turns of longitude.

#include <cmath>

namespace SatCommonUtils::rpc {

/// The number of turns of 360 degrees that brings `lon` to within 180 degrees of `center`: 0 when it is there, or when
/// one of the two is NaN.
inline double LongitudeTurns(double center, double lon) {
  if (center > lon + 180.0) return std::ceil((center - 180.0 - lon) / 360.0);
  if (lon > center + 180.0) return -std::ceil((lon - center - 180.0) / 360.0);
  return 0.0;
}

/// `lon` moved by that number of turns.
inline double LongitudeInTurn(double center, double lon) { return lon + 360.0 * LongitudeTurns(center, lon); }

}  // namespace SatCommonUtils::rpc
