// Elementary quaternion algebra; the products as in W. R. Hamilton's table.

#include "geometry/quaternion.h"

#include <cmath>

#include "frame/zxstd/debug_output.h"
#include "frame/zxstd/text.h"
#include "geometry/matrix3.h"
#include "linalg/checked_access.h"

namespace SatCommonUtils {
namespace {

TMatrix Rotation(const TQuaternion& q) {
  const auto [w, x, y, z] = q;
  return MakeMatrix3({{{1.0 - 2.0 * y * y - 2.0 * z * z, 2.0 * x * y - 2.0 * w * z, 2.0 * w * y + 2.0 * x * z},
                       {2.0 * w * z + 2.0 * x * y, 1.0 - 2.0 * x * x - 2.0 * z * z, 2.0 * y * z - 2.0 * w * x},
                       {2.0 * x * z - 2.0 * w * y, 2.0 * w * x + 2.0 * y * z, 1.0 - 2.0 * x * x - 2.0 * y * y}}});
}

TMatrix TransposedRotation(const TQuaternion& q) {
  const auto [w, x, y, z] = q;
  return MakeMatrix3({{{w * w + x * x - y * y - z * z, 2.0 * x * y + 2.0 * w * z, 2.0 * x * z - 2.0 * w * y},
                       {2.0 * x * y - 2.0 * w * z, w * w - x * x + y * y - z * z, 2.0 * y * z + 2.0 * w * x},
                       {2.0 * x * z + 2.0 * w * y, 2.0 * y * z - 2.0 * w * x, w * w - x * x - y * y + z * z}}});
}

}  // namespace

TQuaternion::TQuaternion(const double& scalar, const double& i, const double& j, const double& k)
    : w(scalar), x(i), y(j), z(k) {}

TQuaternion::TQuaternion(const double& scalar, const TVector& v) {
  if (v.GetSize() < 3) ThrowIndexError();
  *this = TQuaternion(scalar, v(0), v(1), v(2));
}

TQuaternion::TQuaternion(const double* src) : TQuaternion(src[0], src[1], src[2], src[3]) {}

TQuaternion& TQuaternion::operator=(const double& s) { return *this = TQuaternion(s, 0.0, 0.0, 0.0); }

TQuaternion& TQuaternion::operator=(const TVector& v) { return *this = TQuaternion(0.0, v); }

TQuaternion TQuaternion::operator!() const { return {w, -x, -y, -z}; }

TQuaternion TQuaternion::operator~() const {
  const double n = Norma();
  return n == 0.0 ? TQuaternion() : !*this / n;
}

TQuaternion TQuaternion::operator-() const { return {-w, -x, -y, -z}; }

TQuaternion& TQuaternion::operator+=(const TQuaternion& other) {
  return *this = TQuaternion(w + other.w, x + other.x, y + other.y, z + other.z);
}

TQuaternion& TQuaternion::operator-=(const TQuaternion& other) {
  return *this = TQuaternion(w - other.w, x - other.x, y - other.y, z - other.z);
}

TQuaternion& TQuaternion::operator*=(double factor) {
  return *this = TQuaternion(w * factor, x * factor, y * factor, z * factor);
}

TQuaternion& TQuaternion::operator/=(double divisor) {
  return *this = TQuaternion(w / divisor, x / divisor, y / divisor, z / divisor);
}

TQuaternion::operator bool() const { return w != 0.0 || x != 0.0 || y != 0.0 || z != 0.0; }

TVector TQuaternion::vect() const { return {x, y, z}; }

double TQuaternion::Norma() const { return w * w + x * x + y * y + z * z; }

TQuaternion& TQuaternion::Normalize() {
  const double n = Norma();
  if (n > 0.0) *this /= n;
  return *this;
}

TQuaternion TQuaternion::GetNormalized() const { return TQuaternion(*this).Normalize(); }

TMatrix TQuaternion::R() const { return Rotation(*this / Norma()); }

TMatrix TQuaternion::AltR() const { return TransposedRotation(*this / Norma()); }

TMatrix TQuaternion::cnesR() const {
  const TQuaternion q = *this / Norma();
  TMatrix m = Rotation(q);
  m.SetElement(0, 0, 2.0 * (q.w * q.w + q.x * q.x) - 1.0);
  m.SetElement(1, 1, 2.0 * (q.w * q.w + q.y * q.y) - 1.0);
  m.SetElement(2, 2, 2.0 * (q.w * q.w + q.z * q.z) - 1.0);
  return m;
}

std::string TQuaternion::Output() const { return Zentarix::ssprintf("(%9.4f;%9.4f;%9.4f;%9.4f)", w, x, y, z); }

void TQuaternion::DebugOutput() const { ZxPrintDbgMsg(Output() + "\n"); }

void TQuaternion::DebugOutput(const char* name) const { DebugOutput(std::string(name == nullptr ? "" : name)); }

void TQuaternion::DebugOutput(const std::string& name) const { ZxPrintDbgMsg(name + " " + Output() + "\n"); }

TQuaternion operator+(TQuaternion p, const TQuaternion& q) { return p += q; }

TQuaternion operator-(TQuaternion p, const TQuaternion& q) { return p -= q; }

TQuaternion operator*(TQuaternion q, double factor) { return q *= factor; }

TQuaternion operator*(double factor, TQuaternion q) { return q *= factor; }

TQuaternion operator/(TQuaternion q, double divisor) { return q /= divisor; }

TQuaternion operator*(const TQuaternion& p, const TQuaternion& q) {
  return {p.w * q.w - p.x * q.x - p.y * q.y - p.z * q.z, p.w * q.x + p.x * q.w + p.y * q.z - p.z * q.y,
          p.w * q.y - p.x * q.z + p.y * q.w + p.z * q.x, p.w * q.z + p.x * q.y - p.y * q.x + p.z * q.w};
}

bool operator==(const TQuaternion& p, const TQuaternion& q) {
  return p.w == q.w && p.x == q.x && p.y == q.y && p.z == q.z;
}

bool operator!=(const TQuaternion& p, const TQuaternion& q) { return !(p == q); }

bool operator==(const TQuaternion& q, double s) { return q == TQuaternion(s, 0.0, 0.0, 0.0); }

bool operator==(double s, const TQuaternion& q) { return q == s; }

bool operator==(const TQuaternion& q, const TVector& v) { return v.GetSize() >= 3 && q == TQuaternion(0.0, v); }

bool operator==(const TVector& v, const TQuaternion& q) { return q == v; }

TQuaternion SLERP(const TQuaternion& q1, const TQuaternion& q2, const double& t) {
  const double c = q1 * q2 ? 1.0 : 0.0;
  const double omega = std::acos(c);  // 0 or a right angle
  const double s = std::sin(omega);   // which would divide by zero at 0
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
