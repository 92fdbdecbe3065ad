// Times of acquisition and the sun's place.

#include "stereo/acquisition_time.h"

#include <cmath>
#include <string_view>

#include "frame/zxstd/number_text.h"

namespace SatCommonUtils {

namespace {

constexpr double kRadian = 0.017453292519943295;

/// Takes a whole number of `digits` digits off the front. \return -1 when there is none.
int TakeDigits(std::string_view* text, std::size_t digits) {
  if (text->size() < digits) return -1;
  int value = 0;
  for (std::size_t i = 0; i < digits; ++i) {
    const char c = (*text)[i];
    if (c < '0' || c > '9') return -1;
    value = 10 * value + (c - '0');
  }
  text->remove_prefix(digits);
  return value;
}

bool Take(std::string_view* text, char first, char second) {
  if (text->empty() || (text->front() != first && text->front() != second)) return false;
  text->remove_prefix(1);
  return true;
}

/// Days from 1 January 2000 to a day of the Gregorian calendar, counted from 1 March so that a leap day comes last.
long long DaysOf(int year, int month, int day) {
  const long long y = year - (month < 3 ? 1 : 0);
  const long long shifted = month + (month < 3 ? 9 : -3);
  const long long days = 365 * y + y / 4 - y / 100 + y / 400 + (153 * shifted + 2) / 5 + day - 1;
  constexpr long long kOfYear2000 = 730425;  // the same number for 1 January 2000
  return days - kOfYear2000;
}

double Turned(double degrees, double turn) {
  const double rest = std::fmod(degrees, turn);
  return rest < 0.0 ? rest + turn : rest;
}

}  // namespace

std::optional<double> ParseAcquisitionTime(const std::string& text) {
  std::string_view rest = text;
  while (!rest.empty() && (rest.front() == ' ' || rest.front() == '"')) rest.remove_prefix(1);
  const int year = TakeDigits(&rest, 4);
  if (year < 1600 || !Take(&rest, '-', '/')) return std::nullopt;
  const int month = TakeDigits(&rest, 2);
  if (month < 1 || month > 12 || !Take(&rest, '-', '/')) return std::nullopt;
  const int day = TakeDigits(&rest, 2);
  const bool in_month = day >= 1 && DaysOf(year, month, day) < DaysOf(year + month / 12, month % 12 + 1, 1);
  if (!in_month || !Take(&rest, 'T', ' ')) return std::nullopt;
  const int hour = TakeDigits(&rest, 2);
  if (hour < 0 || hour > 24 || !Take(&rest, ':', ':')) return std::nullopt;
  const int minute = TakeDigits(&rest, 2);
  if (minute < 0 || minute > 59) return std::nullopt;
  double second = 0.0;
  if (Take(&rest, ':', ':') && (ParseDoublePrefix(rest, &second) == 0 || !(second >= 0.0 && second < 61.0))) {
    return std::nullopt;
  }
  if (hour == 24 && (minute > 0 || second > 0.0)) return std::nullopt;
  return static_cast<double>(DaysOf(year, month, day)) + (hour - 12.0) / 24.0 + minute / 1440.0 + second / 86400.0;
}

TSunPosition SunAt(double days, double lat, double lon) noexcept {
  const double anomaly = (357.528 + 0.9856003 * days) * kRadian;
  const double longitude =
      (280.460 + 0.9856474 * days + 1.915 * std::sin(anomaly) + 0.020 * std::sin(2.0 * anomaly)) * kRadian;
  const double obliquity = (23.439 - 0.0000004 * days) * kRadian;
  const double ascension = std::atan2(std::cos(obliquity) * std::sin(longitude), std::cos(longitude)) / kRadian;
  const double declination = std::asin(std::sin(obliquity) * std::sin(longitude));
  // Sidereal time at Greenwich, in hours, from the noon of the epoch.
  const double sidereal = Turned(18.697374558 + 24.06570982441908 * days, 24.0);
  const double hourAngle = (15.0 * sidereal + lon - ascension) * kRadian;
  const double sinLat = std::sin(lat * kRadian), cosLat = std::cos(lat * kRadian);
  const double up = sinLat * std::sin(declination) + cosLat * std::cos(declination) * std::cos(hourAngle);
  const double north = cosLat * std::sin(declination) - sinLat * std::cos(declination) * std::cos(hourAngle);
  const double east = -std::cos(declination) * std::sin(hourAngle);
  return {Turned(std::atan2(east, north) / kRadian, 360.0), std::atan2(up, std::hypot(east, north)) / kRadian};
}

}  // namespace SatCommonUtils
