// J. R. Wertz, ed., Spacecraft Attitude Determination and Control, 1978, DOI 10.1007/978-94-009-9907-7: appendix E for
// the matrix of the 3-2-1 sequence, section 16.1 for its kinematics. Changed against it: the angles come back through
// arc tangents of all elements instead of single ratios, so that nothing is lost near gimbal lock.

#include "geometry/attitude.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "frame/zxstd/unset_mark.h"
#include "geometry/rotation.h"
#include "geometry/vector3.h"

namespace SatCommonUtils {
namespace {

using Elementary = void (*)(const double&, TMatrix*);

TMatrix Make(Elementary function, double angle) {
  TMatrix matrix(3, 3);
  function(angle, &matrix);
  return matrix;
}

/// Rows of unit length at right angles to each other, and right-handed.
bool IsRotation(const TMatrix& m) {
  if (m.GetWidth() != 3 || m.GetHeight() != 3) return false;
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t j = i; j < 3; ++j) {
      const double expected = i == j ? 1.0 : 0.0;
      if (!(std::fabs(m[i] * m[j] - expected) <= kRotationTolerance)) return false;
    }
  }
  return (m[0] ^ m[1]) * m[2] > 0.0;
}

bool IsUnset(double value) { return value == kUnsetMark; }

TMatrix RateOf(const TAttitudeAngles& angles, const TAttitudeAngles& rates) {
  TMatrix by_roll, by_pitch, by_yaw;
  angles.GetMatrixDerivatives(nullptr, &by_roll, &by_pitch, &by_yaw);
  return by_roll * rates.roll + by_pitch * rates.pitch + by_yaw * rates.yaw;
}

}  // namespace

TAttitudeAngles::TAttitudeAngles(double roll_angle, double pitch_angle, double yaw_angle)
    : roll(roll_angle), pitch(pitch_angle), yaw(yaw_angle) {}

void TAttitudeAngles::Reset() { *this = TAttitudeAngles(); }

void TAttitudeAngles::Invalidate() { *this = TAttitudeAngles(kUnsetMark, kUnsetMark, kUnsetMark); }

TAttitudeAngles::operator bool() const { return !IsUnset(roll) && !IsUnset(pitch) && !IsUnset(yaw); }

TMatrix TAttitudeAngles::GetMatrix() const {
  TMatrix matrix(3, 3);
  RzyxGetR(-roll, -pitch, -yaw, &matrix);
  return matrix;
}

void TAttitudeAngles::GetMatrixDerivatives(TMatrix* matrix, TMatrix* by_roll, TMatrix* by_pitch,
                                           TMatrix* by_yaw) const {
  const TMatrix x = Make(RzyxGetRx, -roll);
  const TMatrix y = Make(RzyxGetRy, -pitch);
  const TMatrix z = Make(RzyxGetRz, -yaw);
  if (matrix != nullptr) *matrix = GetMatrix();
  // The minus is that of the angles in the elementary matrices.
  if (by_roll != nullptr) *by_roll = -(Make(RzyxGet_dRx_dalpha, -roll) * y * z);
  if (by_pitch != nullptr) *by_pitch = -(x * Make(RzyxGet_dRy_dbeta, -pitch) * z);
  if (by_yaw != nullptr) *by_yaw = -(x * y * Make(RzyxGet_dRz_dgamma, -yaw));
}

bool TAttitudeAngles::SetMatrix(const TMatrix& matrix) {
  if (!IsRotation(matrix)) return false;
  const double cos_pitch_sin_roll = matrix(1, 2);
  const double cos_pitch_cos_roll = matrix(2, 2);
  const double cos_pitch = std::hypot(cos_pitch_sin_roll, cos_pitch_cos_roll);
  pitch = std::atan2(-matrix(0, 2), cos_pitch);
  roll = cos_pitch == 0.0 ? 0.0 : std::atan2(cos_pitch_sin_roll, cos_pitch_cos_roll);
  // Yaw from the matrix with that roll taken out, whose second row is (-sin yaw, cos yaw, 0) whatever pitch is: near
  // gimbal lock it absorbs the error of roll.
  const double s = std::sin(roll);
  const double c = std::cos(roll);
  yaw = std::atan2(s * matrix(2, 0) - c * matrix(1, 0), c * matrix(1, 1) - s * matrix(2, 1));
  return true;
}

TQuaternion TAttitudeAngles::GetQuaternion() const {
  const TQuaternion about_x(std::cos(roll / 2.0), std::sin(roll / 2.0), 0.0, 0.0);
  const TQuaternion about_y(std::cos(pitch / 2.0), 0.0, std::sin(pitch / 2.0), 0.0);
  const TQuaternion about_z(std::cos(yaw / 2.0), 0.0, 0.0, std::sin(yaw / 2.0));
  return about_z * about_y * about_x;
}

bool TAttitudeAngles::SetQuaternion(const TQuaternion& quaternion) {
  // Scaled first, so that the squares neither overflow nor underflow.
  const double largest = std::max(
      {std::fabs(quaternion(0)), std::fabs(quaternion(1)), std::fabs(quaternion(2)), std::fabs(quaternion(3))});
  if (!(largest > 0.0) || std::isinf(largest)) return false;
  const TQuaternion scaled = quaternion / largest;
  return SetMatrix(!(scaled / std::sqrt(scaled.Norma())).R());
}

bool operator==(const TAttitudeAngles& a, const TAttitudeAngles& b) {
  return a.roll == b.roll && a.pitch == b.pitch && a.yaw == b.yaw;
}

bool operator!=(const TAttitudeAngles& a, const TAttitudeAngles& b) { return !(a == b); }

TVector GetBodyRates(const TAttitudeAngles& angles, const TAttitudeAngles& angle_rates) {
  const double sr = std::sin(angles.roll), cr = std::cos(angles.roll);
  const double sp = std::sin(angles.pitch), cp = std::cos(angles.pitch);
  return {angle_rates.roll - angle_rates.yaw * sp, angle_rates.pitch * cr + angle_rates.yaw * cp * sr,
          angle_rates.yaw * cp * cr - angle_rates.pitch * sr};
}

bool GetAngleRates(const TAttitudeAngles& angles, const TVector& body_rates, TAttitudeAngles* angle_rates) {
  if (!AreVectors3(body_rates)) return false;
  const double sr = std::sin(angles.roll), cr = std::cos(angles.roll);
  const double cp = std::cos(angles.pitch);
  if (!(std::fabs(cp) > kSmallestCosineOfPitch)) return false;
  const double yaw_rate = (body_rates(1) * sr + body_rates(2) * cr) / cp;
  *angle_rates = TAttitudeAngles(body_rates(0) + yaw_rate * std::sin(angles.pitch),
                                 body_rates(1) * cr - body_rates(2) * sr, yaw_rate);
  return true;
}

TAttitudePolynomials::TAttitudePolynomials(double epoch_time, TPolynome roll_angle, TPolynome pitch_angle,
                                           TPolynome yaw_angle)
    : epoch(epoch_time), roll(std::move(roll_angle)), pitch(std::move(pitch_angle)), yaw(std::move(yaw_angle)) {}

TAttitudePolynomials::operator bool() const { return roll && pitch && yaw && !IsUnset(epoch); }

TAttitudeAngles TAttitudePolynomials::GetAngles(double time) const {
  const double t = time - epoch;
  return {roll.GetValue(t), pitch.GetValue(t), yaw.GetValue(t)};
}

TAttitudeAngles TAttitudePolynomials::GetAngleRates(double time) const {
  const double t = time - epoch;
  return {roll.Derivative().GetValue(t), pitch.Derivative().GetValue(t), yaw.Derivative().GetValue(t)};
}

TVector TAttitudePolynomials::GetBodyRates(double time) const {
  return SatCommonUtils::GetBodyRates(GetAngles(time), GetAngleRates(time));
}

TMatrix TAttitudePolynomials::GetMatrixRate(double time) const { return RateOf(GetAngles(time), GetAngleRates(time)); }

bool operator==(const TAttitudePolynomials& a, const TAttitudePolynomials& b) {
  return a.epoch == b.epoch && a.roll == b.roll && a.pitch == b.pitch && a.yaw == b.yaw;
}

bool operator!=(const TAttitudePolynomials& a, const TAttitudePolynomials& b) { return !(a == b); }

bool GetOrbitalFrame(const TVector& position, const TVector& velocity, TMatrix* frame) {
  if (!AreVectors3(position, velocity)) return false;
  const TVector up = position.GetNormalized();
  const TVector normal = up ^ velocity.GetNormalized();
  const double sine = normal.Norma();
  if (!(sine >= kSmallestSineOfOrbit)) return false;
  const TVector z = -up;
  const TVector y = -(normal / sine);
  TMatrix axes(3, 3);
  axes.SetRow(0, y ^ z);
  axes.SetRow(1, y);
  axes.SetRow(2, z);
  *frame = axes;
  return true;
}

}  // namespace SatCommonUtils
