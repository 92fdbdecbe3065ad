#pragma once
/// \file
/// Quaternions for rotations in space.

#include <string>

#include "../frame/api.h"
#include "../linalg/matrix.h"
#include "../linalg/vector.h"

namespace SatCommonUtils {

/// A quaternion: the scalar part w first, then the vector part x, y, z.
///
/// **What surprises.** `Norma` is the *squared* length. `Normalize`, `GetNormalized` and the rotation matrices divide
/// by that square, so only a unit quaternion keeps its length and gives an orthonormal matrix; divide by the square
/// root of `Norma` to get a unit quaternion from another one. A plain value: const operations are safe from several
/// threads.
struct ORBMATH_API TQuaternion {
  double w = 0.0;  ///< Scalar part.
  double x = 0.0;  ///< Vector part.
  double y = 0.0;  ///< Vector part.
  double z = 0.0;  ///< Vector part.

  /// (0, 0, 0, 0).
  TQuaternion() = default;
  /// The components in their order.
  TQuaternion(const double& scalar, const double& i, const double& j, const double& k);
  /// \param v vector part; its first three elements count. \throws std::runtime_error
  /// "double& TVector::operator[] (size_t index)" when it has fewer.
  TQuaternion(const double& scalar, const TVector& v);
  /// \param src four values in the order w, x, y, z.
  explicit TQuaternion(const double* src);
  TQuaternion(const TQuaternion&) = default;
  TQuaternion& operator=(const TQuaternion&) = default;
  ~TQuaternion() = default;

  /// Becomes (s, 0, 0, 0).
  TQuaternion& operator=(const double& s);
  /// Becomes (0, v[0], v[1], v[2]). \throws std::runtime_error when `v` has fewer elements, as the constructor; this
  /// quaternion stays as it was then.
  TQuaternion& operator=(const TVector& v);

  /// The conjugate (w, -x, -y, -z).
  TQuaternion operator!() const;
  /// The inverse: the conjugate divided by the squared length; (0, 0, 0, 0) for the zero quaternion.
  TQuaternion operator~() const;
  /// All four components negated: for a unit quaternion the same rotation.
  TQuaternion operator-() const;

  /// Adds component by component.
  TQuaternion& operator+=(const TQuaternion& other);
  /// Subtracts component by component.
  TQuaternion& operator-=(const TQuaternion& other);
  /// Multiplies every component.
  TQuaternion& operator*=(double factor);
  /// A true division of each component; zero is not tested for.
  TQuaternion& operator/=(double divisor);

  /// True when any component is non-zero or NaN.
  explicit operator bool() const;
  /// Component 0 is w, 1 to 3 are x, y, z; the index is not checked.
  double& operator[](int index) { return index == 0 ? w : index == 1 ? x : index == 2 ? y : z; }
  /// A component to read: 0 is w, 1 to 3 are x, y, z; the index is not checked.
  double operator()(int index) const { return index == 0 ? w : index == 1 ? x : index == 2 ? y : z; }
  /// The scalar part w.
  double scal() const { return w; }
  /// The vector part (x, y, z).
  TVector vect() const;

  /// The *squared* length w² + x² + y² + z².
  double Norma() const;
  /// Divides all components by `Norma()` when that is greater than 0: a length of l becomes 1 / l.
  TQuaternion& Normalize();
  /// A copy, normalised likewise.
  TQuaternion GetNormalized() const;

  /// The 3 x 3 matrix of the rotation v -> q v q⁻¹ that a unit quaternion applies to column vectors. The components are
  /// first divided by `Norma()`; a zero quaternion gives NaN.
  TMatrix R() const;
  /// The transpose of `R()`, its diagonal written with four squares; equal to it for unit quaternions only.
  TMatrix AltR() const;
  /// `R()` with the diagonal written as 2 (w² + x²) - 1 and so on; equal to it for unit quaternions only.
  TMatrix cnesR() const;

  /// "(w;x;y;z)", each as printed by "%9.4f".
  std::string Output() const;
  /// Sends `Output()` and "\n" to the debug print.
  void DebugOutput() const;
  /// Sends the name, a blank, `Output()` and "\n" to the debug print. A null name counts as empty.
  void DebugOutput(const char* name) const;
  /// Sends the name, a blank, `Output()` and "\n" to the debug print.
  void DebugOutput(const std::string& name) const;
};

/// Component by component.
ORBMATH_API TQuaternion operator+(TQuaternion p, const TQuaternion& q);
/// The difference, component by component.
ORBMATH_API TQuaternion operator-(TQuaternion p, const TQuaternion& q);
/// Every component times the factor.
ORBMATH_API TQuaternion operator*(TQuaternion q, double factor);
/// Every component times the factor.
ORBMATH_API TQuaternion operator*(double factor, TQuaternion q);
/// Every component divided, a true division; zero is not tested for.
ORBMATH_API TQuaternion operator/(TQuaternion q, double divisor);
/// The Hamilton product: the rotation q followed by the rotation p.
ORBMATH_API TQuaternion operator*(const TQuaternion& p, const TQuaternion& q);

/// Exact equality of all four components.
ORBMATH_API bool operator==(const TQuaternion& p, const TQuaternion& q);
ORBMATH_API bool operator!=(const TQuaternion& p, const TQuaternion& q);
/// Equal when w is the number and x, y, z are exactly 0.
ORBMATH_API bool operator==(const TQuaternion& q, double s);
/// Equal when w is the number and x, y, z are exactly 0.
ORBMATH_API bool operator==(double s, const TQuaternion& q);
/// Equal when w is exactly 0 and x, y, z are the first three elements; a shorter vector equals none.
ORBMATH_API bool operator==(const TQuaternion& q, const TVector& v);
/// Equal when w is exactly 0 and x, y, z are the first three elements; a shorter vector equals none.
ORBMATH_API bool operator==(const TVector& v, const TQuaternion& q);

/// A weighted sum k1 q1 + k2 q2 that does **not** follow the great arc between two rotations: the angle in its weights
/// is 0 when the product q1 q2 is non-zero and a right angle when it is zero. Hence the result is q1 for every t
/// whenever both are non-zero; otherwise the weights are sin((1 - t) π/2) and sin(t π/2). Kept for hosts that rely on
/// it; `InterpolateRotation` is what the name promises.
/// \param t 0 to 1, dimensionless.
ORBMATH_API TQuaternion SLERP(const TQuaternion& q1, const TQuaternion& q2, const double& t);

/// The rotation a share t of the way from q1 to q2 along the shorter great arc, at constant angular rate (K. Shoemake,
/// Animating rotation with quaternion curves, 1985, DOI 10.1145/325165.325242).
/// \param q1, q2 unit quaternions; q and -q are the same rotation.
/// \param t 0 gives q1, 1 gives q2 or -q2.
ORBMATH_API TQuaternion InterpolateRotation(const TQuaternion& q1, const TQuaternion& q2, const double& t);

}  // namespace SatCommonUtils
