#pragma once
/// \file
/// Viewing rays in space: where they meet an ellipsoid, a sphere or a plane, and the angle between them.
///
/// A ray is an origin and a direction, vectors of three elements in the same frame and unit (metres, say). A vector of
/// another size, such as the empty one that a missed ray gives, throws `std::runtime_error`
/// "double& TVector::operator[] (size_t index)", or makes the result false where there is one. A function whose results
/// go to pointers wants them non-null unless it says otherwise. Everything here is safe from any thread.
/// Sources: elementary, but for the geodetic latitude, see there.

#include "../frame/api.h"
#include "../linalg/vector.h"

namespace SatCommonUtils {

/// Where a ray meets the ellipsoid of revolution (x² + y²) / (a + h)² + z² / (b + h)² = 1, which is not quite the
/// surface of constant height h: for the Earth it lies up to 1.5e-6 h above it (14 mm for 10 km).
///
/// The root of the smaller parameter along the direction is taken, also when it lies behind the origin; a ray that
/// misses gives the point of the line where the ellipsoid, blown up, would touch it.
/// \param a equatorial semi-axis.
/// \param b polar semi-axis.
/// \param h what is added to both; the unit of the frame.
/// \param direction of any length but 0, for which the result is NaN.
/// \param X, Y, Z the point, in that unit.
ORBMATH_API void ray_and_ellipsoid_intersection_cartesian(const double& a, const double& b, const double& h,
                                                          const TVector& origin, const TVector& direction, double* X,
                                                          double* Y, double* Z);

/// The same point as geodetic coordinates on the ellipsoid a, b.
///
/// Longitude is in [-π, π]. Latitude is in [-π/2, π/2] and in closed form, from the tangent T of the geocentric one:
/// tan(lat) = T / (1 - e² N / (N + h)), the radius of curvature N taken at the latitude that h = 0 would give. It is
/// exact up to rounding on the ellipsoid itself (h = 0); for the Earth its error stays below 1e-11 rad up to 10 km of
/// height and 2e-10 rad (1.3 mm) up to 1,000 km.
/// \param lat, lon radians.
/// \param geocentricLat radians; may be null.
ORBMATH_API void ray_and_ellipsoid_intersection(const double& a, const double& b, const double& h,
                                                const TVector& origin, const TVector& direction, double* lat,
                                                double* lon, double* geocentricLat);

/// The nearer point of a sphere of radius R about the origin of the frame. A ray that misses gives NaN.
/// \param direction of length 1; not checked.
/// \param X, Y, Z the point.
ORBMATH_API void ray_and_sphere_intersection(const double& R, const TVector& origin, const TVector& direction,
                                             double* X, double* Y, double* Z);

/// Where a ray meets a plane; the ray's own origin counts.
/// \param planePoint a point of the plane.
/// \param planeNormal of any length.
/// \return the point; an empty vector when the ray runs parallel to the plane or points away from it.
ORBMATH_API TVector ray_and_plane_intersection(const TVector& origin, const TVector& direction,
                                               const TVector& planePoint, const TVector& planeNormal);

/// The vector from a point to the foot of its perpendicular on the line of a ray, also when that lies behind the
/// origin.
/// \param direction of any length but 0.
ORBMATH_API void point_to_ray_normal(const TVector& point, const TVector& origin, const TVector& direction,
                                     TVector* out);

/// Where two rays from one apex meet a plane.
/// \param hit1 where the first does.
/// \param chord from there to where the second does.
/// \return false, outputs untouched, when one of them does not (see `ray_and_plane_intersection`) and for a vector that
/// has not three elements.
ORBMATH_API bool plane_and_sector_intersection(const TVector& planePoint, const TVector& planeNormal,
                                               const TVector& apex, const TVector& direction1,
                                               const TVector& direction2, TVector* hit1, TVector* chord);

/// Angle between two directions, given by azimuth (from north, clockwise) and elevation above the horizon.
/// \param az1, el1, az2, el2 radians.
/// \return 0 to π; directions that agree or oppose each other up to rounding give exactly 0 or π, never NaN.
ORBMATH_API double GetConvergenceAngle(const double& az1, const double& el1, const double& az2, const double& el2);

/// The same angle by the cosine rule of the sphere. **The third argument is in degrees**, the others are radians.
/// \param az1, el1, el2 radians.
/// \param az2Degrees degrees.
/// \return 0 to π, as `GetConvergenceAngle`.
ORBMATH_API double angle_of_convergence(const double& az1, const double& el1, const double& az2Degrees,
                                        const double& el2);

}  // namespace SatCommonUtils
