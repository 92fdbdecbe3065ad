// Elementary quaternion algebra; the products as in W. R. Hamilton's table.

#include "geometry/quaternion.h"

#include <algorithm>
#include <cmath>

#include "frame/zxstd/debug_output.h"
#include "frame/zxstd/text.h"
#include "geometry/matrix3.h"

namespace SatCommonUtils {

TQuaternion::TQuaternion(const double& w, const double& x, const double& y, const double& z)
    : components_{w, x, y, z} {}

TQuaternion::TQuaternion(const double& w, const TVector& v) : components_{w, v(0), v(1), v(2)} {}

TQuaternion::TQuaternion(const double* src) : components_{src[0], src[1], src[2], src[3]} {}

TQuaternion& TQuaternion::operator=(const double& s) { return *this = TQuaternion(s, 0.0, 0.0, 0.0); }

TQuaternion& TQuaternion::operator=(const TVector& v) { return *this = TQuaternion(0.0, v); }

TQuaternion TQuaternion::operator!() const {
  return {components_[0], -components_[1], -components_[2], -components_[3]};
}

TQuaternion TQuaternion::operator~() const {
  const double n = Norma();
  return n == 0.0 ? TQuaternion() : !*this / n;
}

TQuaternion TQuaternion::operator-() const {
  return {-components_[0], -components_[1], -components_[2], -components_[3]};
}

TQuaternion& TQuaternion::operator+=(const TQuaternion& other) {
  for (int i = 0; i < 4; ++i) components_[i] += other.components_[i];
  return *this;
}

TQuaternion& TQuaternion::operator-=(const TQuaternion& other) {
  for (int i = 0; i < 4; ++i) components_[i] -= other.components_[i];
  return *this;
}

TQuaternion& TQuaternion::operator*=(double factor) {
  for (double& c : components_) c *= factor;
  return *this;
}

TQuaternion& TQuaternion::operator/=(double divisor) {
  for (double& c : components_) c /= divisor;
  return *this;
}

TQuaternion::operator bool() const {
  return std::any_of(components_, components_ + 4, [](double c) { return !(c == 0.0); });
}

TVector TQuaternion::vect() const { return {components_[1], components_[2], components_[3]}; }

double TQuaternion::Norma() const {
  return components_[0] * components_[0] + components_[1] * components_[1] + components_[2] * components_[2] +
         components_[3] * components_[3];
}

TQuaternion& TQuaternion::Normalize() {
  const double n = Norma();
  if (n > 0.0) *this /= n;
  return *this;
}

TQuaternion TQuaternion::GetNormalized() const { return TQuaternion(*this).Normalize(); }

TMatrix TQuaternion::R() const {
  const TQuaternion q = *this / Norma();
  const double w = q(0), x = q(1), y = q(2), z = q(3);
  return MakeMatrix3({{{1.0 - 2.0 * y * y - 2.0 * z * z, 2.0 * x * y - 2.0 * w * z, 2.0 * w * y + 2.0 * x * z},
                       {2.0 * w * z + 2.0 * x * y, 1.0 - 2.0 * x * x - 2.0 * z * z, 2.0 * y * z - 2.0 * w * x},
                       {2.0 * x * z - 2.0 * w * y, 2.0 * w * x + 2.0 * y * z, 1.0 - 2.0 * x * x - 2.0 * y * y}}});
}

TMatrix TQuaternion::AltR() const {
  const TQuaternion q = *this / Norma();
  const double w = q(0), x = q(1), y = q(2), z = q(3);
  return MakeMatrix3({{{w * w + x * x - y * y - z * z, 2.0 * x * y + 2.0 * w * z, 2.0 * x * z - 2.0 * w * y},
                       {2.0 * x * y - 2.0 * w * z, w * w - x * x + y * y - z * z, 2.0 * y * z + 2.0 * w * x},
                       {2.0 * x * z + 2.0 * w * y, 2.0 * y * z - 2.0 * w * x, w * w - x * x - y * y + z * z}}});
}

TMatrix TQuaternion::cnesR() const {
  const TQuaternion q = *this / Norma();
  const double w = q(0), x = q(1), y = q(2), z = q(3);
  TMatrix m = R();
  m.SetElement(0, 0, 2.0 * (w * w + x * x) - 1.0);
  m.SetElement(1, 1, 2.0 * (w * w + y * y) - 1.0);
  m.SetElement(2, 2, 2.0 * (w * w + z * z) - 1.0);
  return m;
}

std::string TQuaternion::Output() const {
  return Zentarix::ssprintf("(%9.4f;%9.4f;%9.4f;%9.4f)", components_[0], components_[1], components_[2],
                            components_[3]);
}

void TQuaternion::DebugOutput() const { ZxPrintDbgMsg(Output() + "\n"); }

void TQuaternion::DebugOutput(const char* name) const { DebugOutput(std::string(name == nullptr ? "" : name)); }

void TQuaternion::DebugOutput(const std::string& name) const { ZxPrintDbgMsg(name + " " + Output() + "\n"); }

TQuaternion operator+(TQuaternion p, const TQuaternion& q) { return p += q; }

TQuaternion operator-(TQuaternion p, const TQuaternion& q) { return p -= q; }

TQuaternion operator*(TQuaternion q, double factor) { return q *= factor; }

TQuaternion operator*(double factor, TQuaternion q) { return q *= factor; }

TQuaternion operator/(TQuaternion q, double divisor) { return q /= divisor; }

TQuaternion operator*(const TQuaternion& p, const TQuaternion& q) {
  return {p(0) * q(0) - p(1) * q(1) - p(2) * q(2) - p(3) * q(3), p(0) * q(1) + p(1) * q(0) + p(2) * q(3) - p(3) * q(2),
          p(0) * q(2) - p(1) * q(3) + p(2) * q(0) + p(3) * q(1), p(0) * q(3) + p(1) * q(2) - p(2) * q(1) + p(3) * q(0)};
}

bool operator==(const TQuaternion& p, const TQuaternion& q) {
  return p(0) == q(0) && p(1) == q(1) && p(2) == q(2) && p(3) == q(3);
}

bool operator!=(const TQuaternion& p, const TQuaternion& q) { return !(p == q); }

bool operator==(const TQuaternion& q, double s) { return q == TQuaternion(s, 0.0, 0.0, 0.0); }

bool operator==(double s, const TQuaternion& q) { return q == s; }

bool operator==(const TQuaternion& q, const TVector& v) { return v.GetSize() >= 3 && q == TQuaternion(0.0, v); }

bool operator==(const TVector& v, const TQuaternion& q) { return q == v; }

TQuaternion SLERP(const TQuaternion& q1, const TQuaternion& q2, const double& t) {
  const double c = q1 * q2 ? 1.0 : 0.0;
  const double omega = std::acos(c);
  const double s = std::sin(omega);
  double k1 = 1.0;
  double k2 = 0.0;
  if (s != 0.0) {
    k1 = std::sin((1.0 - t) * omega) / s;
    k2 = std::sin(t * omega) / s;
  }
  return k1 * q1 + k2 * q2;
}

TQuaternion InterpolateRotation(const TQuaternion& q1, const TQuaternion& q2, const double& t) {
  // The rotation from q1 to q2; its half angle comes from both sine and cosine, so that small and large ones are exact.
  TQuaternion turn = !q1 * q2;
  if (turn.scal() < 0.0) turn = -turn;
  const TVector axis = turn.vect();
  const double sine = axis.Norma();
  if (sine == 0.0) return q1;
  const double half_angle = std::atan2(sine, turn.scal());
  return q1 * TQuaternion(std::cos(t * half_angle), axis * (std::sin(t * half_angle) / sine));
}

}  // namespace SatCommonUtils
