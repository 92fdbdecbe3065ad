#pragma once
// The WGS84 ellipsoid: places in space, directions on the ground, areas. Source of the formulas: J. P. Snyder, "Map
// Projections - A Working Manual", USGS Professional Paper 1395 (1987), doi:10.3133/pp1395.

#include <cmath>
#include <cstddef>

#include "rpc/rpc_axes.h"

namespace SatCommonUtils::ellipsoid {

constexpr double kAxis = 6378137.0;  ///< semi-major axis, metres
constexpr double kEccentricity2 = 6.69437999014e-3;
constexpr double kRadian = 0.017453292519943295;  ///< of a degree

/// Radii of curvature, metres: of the prime vertical and of the meridian.
struct TRadii {
  double primeVertical, meridian;
};

inline TRadii RadiiAt(double lat) noexcept {
  const double sine = std::sin(lat * kRadian);
  const double w2 = 1.0 - kEccentricity2 * sine * sine;
  const double primeVertical = kAxis / std::sqrt(w2);
  return {primeVertical, primeVertical * (1.0 - kEccentricity2) / w2};
}

/// Metres on the ground of a degree of latitude and of longitude, at a height.
struct TDegree {
  double north, east;
};

inline TDegree DegreeAt(double lat, double h) noexcept {
  const TRadii radii = RadiiAt(lat);
  return {(radii.meridian + h) * kRadian, (radii.primeVertical + h) * std::cos(lat * kRadian) * kRadian};
}

struct TVector {
  double x, y, z;
};

inline TVector operator-(const TVector& a, const TVector& b) noexcept { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
inline TVector operator+(const TVector& a, const TVector& b) noexcept { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
inline TVector operator*(double factor, const TVector& a) noexcept {
  return {factor * a.x, factor * a.y, factor * a.z};
}
inline double Dot(const TVector& a, const TVector& b) noexcept { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline TVector Cross(const TVector& a, const TVector& b) noexcept {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline double Length(const TVector& a) noexcept { return std::sqrt(Dot(a, a)); }

/// The place of a ground point in the frame that turns with the earth, metres.
inline TVector PlaceOf(const TGroundPoint& point) noexcept {
  const double n = RadiiAt(point.lat).primeVertical;
  const double cosine = std::cos(point.lat * kRadian);
  return {(n + point.h) * cosine * std::cos(point.lon * kRadian),
          (n + point.h) * cosine * std::sin(point.lon * kRadian),
          (n * (1.0 - kEccentricity2) + point.h) * std::sin(point.lat * kRadian)};
}

/// A direction of that frame in its parts towards east (x), north (y) and up (z) at a ground point.
inline TVector AtGround(const TGroundPoint& point, const TVector& v) noexcept {
  const double sinLat = std::sin(point.lat * kRadian), cosLat = std::cos(point.lat * kRadian);
  const double sinLon = std::sin(point.lon * kRadian), cosLon = std::cos(point.lon * kRadian);
  return {-sinLon * v.x + cosLon * v.y, -sinLat * (cosLon * v.x + sinLon * v.y) + cosLat * v.z,
          cosLat * (cosLon * v.x + sinLon * v.y) + sinLat * v.z};
}

/// The northing, metres, of the cylindrical projection that keeps areas, whose easting is the axis times the longitude
/// in radians (equations 3-12 and 10-15 of the source).
inline double EqualAreaNorthing(double lat) noexcept {
  static const double e = std::sqrt(kEccentricity2);
  const double sine = std::sin(lat * kRadian);
  return 0.5 * kAxis * (1.0 - kEccentricity2) *
         (sine / (1.0 - kEccentricity2 * sine * sine) + std::atanh(e * sine) / e);
}

}  // namespace SatCommonUtils::ellipsoid
