#pragma once
/// \file
/// Circles that hold a share of normally distributed errors whose standard deviations differ with the direction, by
/// the exact distribution: circular errors CE90 and CE95, linear errors LE90 and LE95.
///
/// A circular error is often taken as a factor times the mean of both axes; that is off by up to a fifth for long
/// ellipses, as those of steep slopes and narrow pairs are.
///
/// Source of the distribution: H. L. Harter, "Circular error probabilities" (1960), doi:10.1080/01621459.1960.10483374;
/// of the names: C. R. Greenwalt and M. E. Shultz, "Principles of error theory and cartographic applications" (1962).
/// All functions are pure and thread safe, and give the same bits on every machine but for the direction of an ellipse.

#include "../frame/api.h"

namespace SatCommonUtils {

/// Linear errors in standard deviations.
constexpr double kLinearError90 = 1.6448536269514722;  ///< 90 % of normally distributed errors are below
constexpr double kLinearError95 = 1.9599639845400545;  ///< 95 % are
/// Circular errors of equal axes, in standard deviations of one axis.
constexpr double kCircularError90 = 2.1459660262893474;  ///< sqrt(-2 ln 0.1)
constexpr double kCircularError95 = 2.4477468306808166;  ///< sqrt(-2 ln 0.05)

/// Covariance of two errors of one unit: both variances and what they share.
struct TPlaneCovariance {
  double xx = 0.0;  ///< variance of the first
  double xy = 0.0;  ///< covariance of both
  double yy = 0.0;  ///< variance of the second
};

/// Half axes of the ellipse of standard deviations.
struct TErrorEllipse {
  double major = 0.0;      ///< standard deviation along the long axis
  double minor = 0.0;      ///< along the short one
  double direction = 0.0;  ///< of the long axis, radians from x towards y, above -pi/2 and at most pi/2
};

/// The ellipse of a covariance. A variance that is below zero by rounding counts as zero; NaN for what is no
/// covariance.
ORBMATH_API TErrorEllipse ErrorEllipseOf(const TPlaneCovariance& covariance) noexcept;

/// The share of errors whose length is at most `radius`, within 1e-10; of radii below 2e-4 of the long axis, where the
/// short one is shorter still, within 1e-6. \param radius in the unit of the errors.
/// \return 0 to 1; NaN for what is no covariance.
ORBMATH_API double ProbabilityWithin(const TPlaneCovariance& covariance, double radius) noexcept;

/// The radius that a share of the errors keeps, within 1e-10 of itself: the circular error; with `yy = xy = 0` the
/// linear error of x. \param probability from 0.01 to below 1. \return NaN outside of that.
ORBMATH_API double CircularError(const TPlaneCovariance& covariance, double probability) noexcept;

/// The two circular errors that accuracies are stated by, in the unit of the errors.
struct TCircularErrors {
  double ce90 = 0.0;  ///< the radius that 90 % keep
  double ce95 = 0.0;  ///< the radius that 95 % keep
};

/// `CircularError` at 0.90 and 0.95, some hundred times faster, within 1e-11 of themselves. The first call makes a
/// table, which takes some milliseconds.
ORBMATH_API TCircularErrors CircularErrorsOf(const TPlaneCovariance& covariance) noexcept;

}  // namespace SatCommonUtils
