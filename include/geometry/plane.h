#pragma once
/// \file
/// Planes in space, by coefficients or by a normal and a point, and a plane through points.

#include <vector>

#include "../frame/api.h"
#include "../linalg/vector.h"

namespace SatCommonUtils {

/// The plane A x + B y + C z + D = 0. The normal (A, B, C) may have any length.
struct ORBMATH_API TPlaneCoefs {
  double A = 0.0;  ///< first component of the normal
  double B = 0.0;  ///< second component of the normal
  double C = 0.0;  ///< third component of the normal
  double D = 0.0;  ///< minus the normal's product with any point of the plane

  /// All coefficients 0: no plane.
  TPlaneCoefs() = default;
  /// The coefficients in their order.
  TPlaneCoefs(double a, double b, double c, double d);
  /// All coefficients 0.
  void Reset();
  /// True when A, B or C is non-zero (a NaN counts as non-zero).
  explicit operator bool() const;
};

/// A plane by its unit normal and one of its points.
struct ORBMATH_API TPlaneVectors {
  TVector n;  ///< Unit normal, three elements.
  TVector p;  ///< A point of the plane, three elements.

  /// Both vectors empty: no plane.
  TPlaneVectors() = default;
  /// Stores the normalised `n` and `p`.
  /// \param n a normal of any length but 0.
  /// \throws std::runtime_error "TPlaneVectors::TPlaneVectors(const TVector& n, const TVector& p)" unless both have
  /// three elements and `n` a length.
  TPlaneVectors(const TVector& n, const TVector& p);
  /// Both vectors empty.
  void Reset();
  /// True when both have three elements and the length of `n` is not 0.
  explicit operator bool() const;

  /// The normal divided by its length.
  /// \param out three elements already; shorter ones throw `std::runtime_error`.
  /// \return false, `*out` untouched, when the length is not above 0 or `n` has fewer than three elements.
  bool GetUnityPlaneNormal(TVector* out) const;
  /// Another point of the plane.
  /// \param distance how far from `p`, in the unit of `p`; the direction is a fixed one in the plane, its opposite for
  /// negative distances.
  /// \return false, `*out` untouched, when the plane is not valid.
  bool GetAlternativePlanePoint(const double& distance, TVector* out) const;
};

/// Equal members, exactly: two descriptions of one plane differ when their numbers do.
ORBMATH_API bool operator==(const TPlaneCoefs& a, const TPlaneCoefs& b);
ORBMATH_API bool operator!=(const TPlaneCoefs& a, const TPlaneCoefs& b);
/// Equal vectors, exactly; vectors of different sizes differ.
ORBMATH_API bool operator==(const TPlaneVectors& a, const TPlaneVectors& b);
ORBMATH_API bool operator!=(const TPlaneVectors& a, const TPlaneVectors& b);
/// Equal when `PlaneVectorsToCoefs` of the vectors gives exactly these coefficients (no plane equals no plane).
ORBMATH_API bool operator==(const TPlaneCoefs& a, const TPlaneVectors& b);
ORBMATH_API bool operator!=(const TPlaneCoefs& a, const TPlaneVectors& b);
/// Equal when `PlaneVectorsToCoefs` of the vectors gives exactly these coefficients.
ORBMATH_API bool operator==(const TPlaneVectors& a, const TPlaneCoefs& b);
ORBMATH_API bool operator!=(const TPlaneVectors& a, const TPlaneCoefs& b);

/// A plane through points; their mean and largest distances from it go to the debug print.
///
/// - Three points: the plane through them, with a unit normal along (p1 - p0) x (p2 - p0).
/// - **Four points and more give the zero plane**, unless four of four are on one plane: the right-hand side of the
///   system A x + B y + C z + D = 0 is zero, and so is its least-squares solution. Kept for hosts that rely on it. For
///   exactly four points on one plane the system is singular and the result is false; for more the solver's remains
///   count.
///
/// \param out all coefficients 0 whenever the result is false.
/// \return false for fewer than three points and when a point has not three finite elements.
/// \throws std::runtime_error "TPlaneVectors::TPlaneVectors(const TVector& n, const TVector& p)" for three points on
/// one line; `*out` stays untouched.
ORBMATH_API bool EstimatePlaneCoefs(const std::vector<TVector>& points, TPlaneCoefs* out);

/// \param out both vectors empty when A, B and C are all 0; otherwise the unit normal and the point where one axis, the
/// first that can, meets the plane (the origin when D is 0).
/// \return whether `*out` is a valid plane.
ORBMATH_API bool PlaneCoefsToVectors(const TPlaneCoefs& coefs, TPlaneVectors* out);
/// \param out (A, B, C) is the normal and D minus its product with the point; all 0 when `vectors` is not valid.
/// \return whether A, B or C is non-zero.
ORBMATH_API bool PlaneVectorsToCoefs(const TPlaneVectors& vectors, TPlaneCoefs* out);

}  // namespace SatCommonUtils
