// Elementary: quadratic equations along a ray, and the latitude by one step with the radius of curvature at the
// latitude that the point would have without its height.

#include "geometry/ray.h"

#include <algorithm>
#include <cmath>

#include "geometry/vector3.h"

namespace SatCommonUtils {
namespace {

constexpr double kPi = 3.14159265358979323846;

/// A sine or cosine that rounding may have pushed past ±1. A NaN stays one.
double ClampToUnit(double value) { return std::clamp(value, -1.0, 1.0); }

}  // namespace

void ray_and_ellipsoid_intersection_cartesian(const double& a, const double& b, const double& h, const TVector& origin,
                                              const TVector& direction, double* X, double* Y, double* Z) {
  CheckVectors3(origin, direction);
  const double px = origin(0), py = origin(1), pz = origin(2);
  const double dx = direction(0), dy = direction(1), dz = direction(2);
  const double a2 = (a + h) * (a + h);
  const double b2 = (b + h) * (b + h);
  const double qa = (dx * dx + dy * dy) / a2 + dz * dz / b2;
  const double qb = 2.0 * ((dx * px + dy * py) / a2 + dz * pz / b2);
  const double qc = (px * px + py * py) / a2 + pz * pz / b2 - 1.0;
  double discriminant = qb * qb - 4.0 * qa * qc;
  if (discriminant < 0.0) discriminant = 0.0;  // a miss: the nearest approach in the metric of the ellipsoid
  const double t = (-std::sqrt(discriminant) - qb) / (2.0 * qa);
  *X = px + t * dx;
  *Y = py + t * dy;
  *Z = pz + t * dz;
}

void ray_and_ellipsoid_intersection(const double& a, const double& b, const double& h, const TVector& origin,
                                    const TVector& direction, double* lat, double* lon, double* geocentricLat) {
  double x, y, z;
  ray_and_ellipsoid_intersection_cartesian(a, b, h, origin, direction, &x, &y, &z);
  *lon = std::atan2(y, x);
  const double e2 = (a * a - b * b) / (a * a);
  const double rho2 = x * x + y * y;
  // Tangent of the geocentric latitude, as a quotient: through an arc sine it would lose half its digits at the poles.
  const double tangent = z / std::sqrt(rho2);
  // Squared sine of the latitude that h = 0 would give, whose tangent is tangent / (1 - e2).
  const double s2 = z * z / (z * z + (1.0 - e2) * (1.0 - e2) * rho2);
  const double w = std::sqrt(1.0 - e2 * s2);
  *lat = std::atan2(tangent, 1.0 - e2 / (w * h / a + 1.0));
  if (geocentricLat != nullptr) *geocentricLat = std::atan(tangent);
}

void ray_and_sphere_intersection(const double& R, const TVector& origin, const TVector& direction, double* X, double* Y,
                                 double* Z) {
  CheckVectors3(origin, direction);
  const double k = origin * direction;
  const double t = -k - std::sqrt(R * R + k * k - origin * origin);
  *X = origin(0) + t * direction(0);
  *Y = origin(1) + t * direction(1);
  *Z = origin(2) + t * direction(2);
}

TVector ray_and_plane_intersection(const TVector& origin, const TVector& direction, const TVector& planePoint,
                                   const TVector& planeNormal) {
  CheckVectors3(origin, direction, planePoint, planeNormal);
  const double q = direction * planeNormal;
  if (q == 0.0) return TVector();  // parallel, also when the ray lies in the plane
  const double t = (planePoint - origin) * planeNormal / q;
  if (t < 0.0) return TVector();
  return origin + t * direction;
}

void point_to_ray_normal(const TVector& point, const TVector& origin, const TVector& direction, TVector* out) {
  CheckVectors3(point, origin, direction);
  const TVector w = point - origin;
  const double k = (w * direction) / (direction * direction);
  *out = k * direction - w;
}

bool plane_and_sector_intersection(const TVector& planePoint, const TVector& planeNormal, const TVector& apex,
                                   const TVector& direction1, const TVector& direction2, TVector* hit1,
                                   TVector* chord) {
  if (!AreVectors3(planePoint, planeNormal, apex, direction1, direction2)) return false;
  const TVector first = ray_and_plane_intersection(apex, direction1, planePoint, planeNormal);
  const TVector second = ray_and_plane_intersection(apex, direction2, planePoint, planeNormal);
  if (!first || !second) return false;
  *hit1 = first;
  *chord = second - first;
  return true;
}

double GetConvergenceAngle(const double& az1, const double& el1, const double& az2, const double& el2) {
  const double x1 = std::sin(az1) * std::cos(el1), y1 = std::cos(az1) * std::cos(el1), z1 = std::sin(el1);
  const double x2 = std::sin(az2) * std::cos(el2), y2 = std::cos(az2) * std::cos(el2), z2 = std::sin(el2);
  return std::acos(ClampToUnit(x1 * x2 + y1 * y2 + z1 * z2));
}

double angle_of_convergence(const double& az1, const double& el1, const double& az2Degrees, const double& el2) {
  const double az2 = az2Degrees * (kPi / 180.0);
  return std::acos(ClampToUnit(std::cos(az1 - az2) * std::cos(el2) * std::cos(el1) + std::sin(el2) * std::sin(el1)));
}

}  // namespace SatCommonUtils
