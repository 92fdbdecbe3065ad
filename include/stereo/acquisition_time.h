#pragma once
/// \file
/// When an image was taken, and where the sun stood.

#include <optional>
#include <string>

#include "../frame/api.h"

namespace SatCommonUtils {

/// Days since noon of 1 January 2000, UTC, of a text such as "2012-02-12T05:33:43.088646Z", as model files give it: a
/// date in the order year, month, day, then perhaps "T" or a blank and a time of day. Fractions of seconds, a "Z" and
/// what follows it do not matter. \return nothing for any other text; a date without a time has none either.
ORBMATH_API std::optional<double> ParseAcquisitionTime(const std::string& text);

/// A direction to the sun, degrees.
struct TSunPosition {
  double azimuth = 0.0;    ///< clockwise from north, 0 to 360
  double elevation = 0.0;  ///< above the horizon, without refraction
};

/// The sun over a place. Within 0.02 degrees between 1950 and 2050.
/// \param days as `ParseAcquisitionTime` gives them. \param lat, lon degrees.
///
/// Source: J. J. Michalsky, "The Astronomical Almanac's algorithm for approximate solar position (1950-2050)" (1988),
/// doi:10.1016/0038-092X(88)90045-X.
ORBMATH_API TSunPosition SunAt(double days, double lat, double lon) noexcept;

}  // namespace SatCommonUtils
