// Rotation matrices about the axes, their derivatives and the angles back; elementary.

#include "geometry/rotation.h"

#include <cmath>

#include "geometry/matrix3.h"
#include "linalg/checked_access.h"

namespace SatCommonUtils {
namespace {

constexpr double kPi = 3.14159265358979323846;

}  // namespace

double SinCosToAngle(const double& sinValue, const double& cosValue) {
  if (sinValue > 1.0) return kPi / 2.0;
  if (sinValue < -1.0) return -kPi / 2.0;
  // The sine carries the digits, and halves them near ±1; the cosine says which half of the circle.
  const double angle = std::asin(sinValue);
  return cosValue < 0.0 ? kPi - angle : angle;
}

void RzyxGetRx(const double& alpha, TMatrix* M) {
  const double c = std::cos(alpha);
  const double s = std::sin(alpha);
  FillMatrix3({{{1.0, 0.0, 0.0}, {0.0, c, -s}, {0.0, s, c}}}, M);
}

void RzyxGetRy(const double& beta, TMatrix* M) {
  const double c = std::cos(beta);
  const double s = std::sin(beta);
  FillMatrix3({{{c, 0.0, s}, {0.0, 1.0, 0.0}, {-s, 0.0, c}}}, M);
}

void RzyxGetRz(const double& gamma, TMatrix* M) {
  const double c = std::cos(gamma);
  const double s = std::sin(gamma);
  FillMatrix3({{{c, -s, 0.0}, {s, c, 0.0}, {0.0, 0.0, 1.0}}}, M);
}

void RzyxGet_dRx_dalpha(const double& alpha, TMatrix* M) {
  const double c = std::cos(alpha);
  const double s = std::sin(alpha);
  FillMatrix3({{{0.0, 0.0, 0.0}, {0.0, -s, -c}, {0.0, c, -s}}}, M);
}

void RzyxGet_dRy_dbeta(const double& beta, TMatrix* M) {
  const double c = std::cos(beta);
  const double s = std::sin(beta);
  FillMatrix3({{{-s, 0.0, c}, {0.0, 0.0, 0.0}, {-c, 0.0, -s}}}, M);
}

void RzyxGet_dRz_dgamma(const double& gamma, TMatrix* M) {
  const double c = std::cos(gamma);
  const double s = std::sin(gamma);
  FillMatrix3({{{-s, -c, 0.0}, {c, -s, 0.0}, {0.0, 0.0, 0.0}}}, M);
}

void RzyxGetR(const double& alpha, const double& beta, const double& gamma, TMatrix* M) {
  const double sa = std::sin(alpha), ca = std::cos(alpha);
  const double sb = std::sin(beta), cb = std::cos(beta);
  const double sg = std::sin(gamma), cg = std::cos(gamma);
  FillMatrix3({{{cg * cb, -sg * cb, sb},
                {cg * sb * sa + sg * ca, cg * ca - sg * sb * sa, -cb * sa},
                {sg * sa - cg * sb * ca, sg * sb * ca + cg * sa, cb * ca}}},
              M);
}

void RzyxGetAlphaBetaGamma(const TMatrix& M, double* alpha, double* beta, double* gamma) {
  // The matrix itself checks columns only.
  if (M.GetHeight() < 3) ThrowIndexError();
  const double sb = M(0, 2);
  // From ±1 on the cosine of beta, which divides below, is 0: only the sum or difference of the others is defined.
  if (std::fabs(sb) < 1.0) {
    *beta = std::asin(sb);
    const double cb = std::cos(*beta);
    *gamma = SinCosToAngle(-M(0, 1) / cb, M(0, 0) / cb);
    *alpha = SinCosToAngle(-M(1, 2) / cb, M(2, 2) / cb);
  } else {
    *alpha = 0.0;
    *beta = sb >= 1.0 ? kPi / 2.0 : -kPi / 2.0;
    *gamma = SinCosToAngle(M(1, 0), M(1, 1));
  }
}

}  // namespace SatCommonUtils
