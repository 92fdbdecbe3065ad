#pragma once
/// \file
/// Rotation matrices about the three axes, their product R = Rx(alpha) Ry(beta) Rz(gamma), and the angles back from it.
///
/// All angles are radians. A matrix rotates column vectors counter-clockwise, seen from the tip of the axis. Every
/// function writes into an existing 3 x 3 matrix, which is not resized.
/// A smaller matrix, also one to read from, throws `std::runtime_error` "double& TVector::operator[] (size_t index)".
/// The functions are safe from any thread. Source: elementary.

#include "../frame/api.h"
#include "../linalg/matrix.h"

namespace SatCommonUtils {

/// The angle of a sine and a cosine, in **[-π/2, 3π/2]**: asin(s), or π - asin(s) when the cosine is below 0. A sine
/// above 1 gives π/2 and one below -1 gives -π/2, whatever the cosine is. The cosine counts by its sign only.
ORBMATH_API double SinCosToAngle(const double& sinValue, const double& cosValue);

/// Rows (1, 0, 0), (0, c, -s), (0, s, c).
ORBMATH_API void RzyxGetRx(const double& alpha, TMatrix* M);
/// Rows (c, 0, s), (0, 1, 0), (-s, 0, c).
ORBMATH_API void RzyxGetRy(const double& beta, TMatrix* M);
/// Rows (c, -s, 0), (s, c, 0), (0, 0, 1).
ORBMATH_API void RzyxGetRz(const double& gamma, TMatrix* M);
/// Derivative of `RzyxGetRx` by alpha.
ORBMATH_API void RzyxGet_dRx_dalpha(const double& alpha, TMatrix* M);
/// Derivative of `RzyxGetRy` by beta.
ORBMATH_API void RzyxGet_dRy_dbeta(const double& beta, TMatrix* M);
/// Derivative of `RzyxGetRz` by gamma.
ORBMATH_API void RzyxGet_dRz_dgamma(const double& gamma, TMatrix* M);

/// The product Rx(alpha) Ry(beta) Rz(gamma): a vector is turned about z first, then about y, then about x.
ORBMATH_API void RzyxGetR(const double& alpha, const double& beta, const double& gamma, TMatrix* M);

/// The angles of a matrix that `RzyxGetR` made: beta in [-π/2, π/2], alpha and gamma in the range of `SinCosToAngle`.
/// When the element (row 0, column 2) is 1 or more in size (gimbal lock: only alpha ± gamma is defined), alpha is 0,
/// beta is ±π/2, and gamma reproduces the matrix.
/// \param M at least 3 x 3.
/// \param alpha, beta, gamma not null.
ORBMATH_API void RzyxGetAlphaBetaGamma(const TMatrix& M, double* alpha, double* beta, double* gamma);

}  // namespace SatCommonUtils
