#pragma once
/// \file
/// Attitude of a satellite: roll, pitch and yaw against its orbital frame.
///
/// **Frames** (J. R. Wertz, ed., Spacecraft Attitude Determination and Control, 1978, section 2.2.1, DOI
/// 10.1007/978-94-009-9907-7). The orbital frame follows the satellite: z (yaw) points to the centre of the Earth, y
/// (pitch) against the orbit normal, and x (roll) completes them to a right-handed frame, so that it points along the
/// velocity in a circular orbit. The body frame is that of the satellite; with all three angles 0 the two agree.
///
/// **Order of rotation.** Yaw about z first, then pitch about the turned y, then roll about the turned x (the sequence
/// 3-2-1 of Wertz, appendix E). The direction-cosine matrix takes components in the orbital frame to components in the
/// body frame: A = A1(roll) A2(pitch) A3(yaw), with frames turned counter-clockwise, seen from the tip of the axis. In
/// terms of `RzyxGetR`, which turns vectors instead of frames, A = R(-roll, -pitch, -yaw).
///
/// Angles are radians. Matrices are 3 x 3. Everything here is a plain value or a pure function: const operations are
/// safe from several threads.

#include <string>

#include "../frame/api.h"
#include "../linalg/matrix.h"
#include "../linalg/vector.h"
#include "../poly/polynome.h"
#include "quaternion.h"

namespace SatCommonUtils {

class TZxXIniReader;
class TZxXIniWriter;

/// How far products of rows of a matrix may be from those of unit vectors for it to count as a rotation, dimensionless.
inline constexpr double kRotationTolerance = 1e-6;
/// Angle rates are defined where the cosine of pitch is greater than this in size.
inline constexpr double kSmallestCosineOfPitch = 1e-8;
/// Position and velocity span an orbital plane where the sine of the angle between them is no smaller than this.
inline constexpr double kSmallestSineOfOrbit = 1e-12;

/// Roll, pitch and yaw, radians.
struct ORBMATH_API TAttitudeAngles {
  double roll = 0.0;   ///< Radians.
  double pitch = 0.0;  ///< Radians.
  double yaw = 0.0;    ///< Radians.

  /// All angles 0: the body frame is the orbital frame.
  TAttitudeAngles() = default;
  /// The three angles, radians.
  TAttitudeAngles(double roll_angle, double pitch_angle, double yaw_angle);
  /// All angles 0.
  void Reset();
  /// All angles unset.
  void Invalidate();
  /// True when no angle equals the unset mark.
  explicit operator bool() const;

  /// The direction-cosine matrix A, from orbital to body frame; its transpose goes back.
  TMatrix GetMatrix() const;
  /// A and its derivatives by the three angles. Each pointer may be null; the matrices are resized.
  void GetMatrixDerivatives(TMatrix* matrix, TMatrix* by_roll, TMatrix* by_pitch, TMatrix* by_yaw) const;
  /// The angles of a direction-cosine matrix: pitch in [-π/2, π/2], roll and yaw in [-π, π].
  ///
  /// When pitch is ±π/2 (gimbal lock: only the sum or difference of roll and yaw is defined), roll is 0 and yaw
  /// reproduces the matrix. Close to that every matrix is reproduced up to rounding, although the two angles are not
  /// each well defined.
  /// \return false, the angles untouched, when `matrix` is not 3 x 3 or not a rotation: a product of rows differs by
  /// more than `kRotationTolerance` from that of unit vectors, or the determinant is not positive.
  bool SetMatrix(const TMatrix& matrix);

  /// The unit quaternion whose `R()` takes body components to orbital components, the transpose of `GetMatrix`.
  TQuaternion GetQuaternion() const;
  /// The angles of a quaternion of any length but 0; ranges and gimbal lock as for `SetMatrix`.
  /// \return false, the angles untouched, when its length is 0, infinite or NaN.
  bool SetQuaternion(const TQuaternion& quaternion);

  /// "(roll;pitch;yaw)", radians, with as many digits as it takes to come back bit for bit.
  std::string GetString() const;
  /// Reads the text form: three numbers, blanks allowed around them.
  /// \return false, the angles untouched, otherwise.
  bool InitializeFromText(const std::string& text);
  /// Writes the items "Roll", "Pitch" and "Yaw" into the current section.
  /// \return whether the writer took them.
  bool SaveToXML(TZxXIniWriter* writer) const;
  /// Reads them.
  /// \return false, the angles untouched, when one is missing or no number.
  bool InitializeFromXML(TZxXIniReader* reader);
  /// Both within a child section `key`; false also when there is no such section.
  bool SaveToXML(TZxXIniWriter* writer, const std::string& key) const;
  /// Reads the items of the child section `key`. \return false, the angles untouched, also when there is none.
  bool InitializeFromXML(TZxXIniReader* reader, const std::string& key);
};

/// Exactly equal angles.
ORBMATH_API bool operator==(const TAttitudeAngles& a, const TAttitudeAngles& b);
ORBMATH_API bool operator!=(const TAttitudeAngles& a, const TAttitudeAngles& b);

/// Angular velocity of the body frame against the orbital frame, in body components (x, y, z), radians per second, from
/// the angles and their rates (radians per second). With its cross-product matrix W, dA/dt = -W A.
ORBMATH_API TVector GetBodyRates(const TAttitudeAngles& angles, const TAttitudeAngles& angle_rates);
/// The angle rates that belong to an angular velocity in body components: the inverse of `GetBodyRates`.
/// \param body_rates three elements, radians per second.
/// \param angle_rates radians per second.
/// \return false, `*angle_rates` untouched, when the cosine of pitch is at most `kSmallestCosineOfPitch` in size, so
/// near to ±π/2 that they are not defined, and when `body_rates` has not three elements.
ORBMATH_API bool GetAngleRates(const TAttitudeAngles& angles, const TVector& body_rates, TAttitudeAngles* angle_rates);

/// Roll, pitch and yaw as polynomials of the time since an epoch.
struct ORBMATH_API TAttitudePolynomials {
  double epoch = 0.0;  ///< Seconds on the host's time scale.
  TPolynome roll;      ///< Radians over seconds since the epoch.
  TPolynome pitch;     ///< Radians over seconds since the epoch.
  TPolynome yaw;       ///< Radians over seconds since the epoch.

  /// Invalid.
  TAttitudePolynomials() = default;
  /// \param epoch_time seconds on the host's time scale; the polynomials give radians over seconds since then.
  TAttitudePolynomials(double epoch_time, TPolynome roll_angle, TPolynome pitch_angle, TPolynome yaw_angle);
  /// True when all three polynomials are valid and the epoch is set.
  explicit operator bool() const;

  /// The angles at a time, radians.
  /// \param time seconds on the scale of the epoch.
  TAttitudeAngles GetAngles(double time) const;
  /// Their rates, radians per second.
  TAttitudeAngles GetAngleRates(double time) const;
  /// Angular velocity against the orbital frame in body components, radians per second; see `GetBodyRates`.
  TVector GetBodyRates(double time) const;
  /// Derivative of the direction-cosine matrix by time, per second.
  TMatrix GetMatrixRate(double time) const;

  /// Writes the section `key`: "Epoch" and the sections "Roll", "Pitch" and "Yaw" in the form of `TPolynome`.
  /// \return false when it is not valid (nothing is written) or the writer could not write.
  bool SaveToXML(TZxXIniWriter* writer, const std::string& key) const;
  /// Reads them.
  /// \return false, the object untouched, when anything is missing or not readable.
  /// \throws const char* as `TPolynome::InitializeFromXML` for an order below 0; the object is untouched then too.
  bool InitializeFromXML(TZxXIniReader* reader, const std::string& key);
};

/// Exactly equal epochs and polynomials.
ORBMATH_API bool operator==(const TAttitudePolynomials& a, const TAttitudePolynomials& b);
ORBMATH_API bool operator!=(const TAttitudePolynomials& a, const TAttitudePolynomials& b);

/// The orbital frame of a position and a velocity: a matrix whose rows are its axes x, y, z in the frame of the
/// arguments, so that it takes components of that frame to orbital components.
/// \param position, velocity three elements each, from the centre of the Earth in an inertial frame (metres, metres per
/// second); for an Earth-fixed position add the cross product of the Earth's rotation with it to the velocity first.
/// \param frame resized to 3 x 3.
/// \return false, `*frame` untouched, when the two do not span a plane (one is 0, or the sine of the angle between them
/// is below `kSmallestSineOfOrbit`), and when one has not three elements.
ORBMATH_API bool GetOrbitalFrame(const TVector& position, const TVector& velocity, TMatrix* frame);

}  // namespace SatCommonUtils
