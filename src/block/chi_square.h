#pragma once
// Quantiles of the chi-square distribution, and the test of a residual of two coordinates.

#include <cmath>
#include <limits>

namespace SatCommonUtils::block {

/// Deviates of the normal distribution that are exceeded upwards with probability `share`: bisection of erfc.
inline double NormalDeviate(double share) {
  double low = -40.0;
  double high = 40.0;
  for (int step = 0; step < 80; ++step) {
    const double middle = 0.5 * (low + high);
    (0.5 * std::erfc(middle * 0.70710678118654752) > share ? low : high) = middle;
  }
  return high;
}

/// What a chi-square of that many degrees of freedom exceeds with probability `share`: exact for one and two, else E.
/// Wilson and M. Hilferty 1931, doi:10.1073/pnas.17.12.684.
inline double ChiSquareLimit(double share, int freedom) {
  if (freedom == 2) return -2.0 * std::log(share);
  if (freedom == 1) {
    const double deviate = NormalDeviate(0.5 * share);
    return deviate * deviate;
  }
  const double part = 2.0 / (9.0 * freedom);
  return freedom * std::pow(1.0 - part + NormalDeviate(share) * std::sqrt(part), 3.0);
}

/// v' Q^-1 v of a residual over the directions that can show an error, and their number.
struct TResidualTest {
  double square = 0.0;
  int freedom = 0;
};

/// \param v two numbers. \param q upper triangle of their covariance: 00, 01, 11. \param floor variances up to this are
/// rounding: errors in their direction do not show.
inline TResidualTest TestOf(const double* v, const double* q, double floor) {
  const double mean = 0.5 * (q[0] + q[2]);
  const double half = 0.5 * (q[0] - q[2]);
  const double radius = std::sqrt(half * half + q[1] * q[1]);
  // The eigenvector of the larger variance; any direction serves for a circle.
  const double angle = 0.5 * std::atan2(q[1], half);
  const double c = std::cos(angle);
  const double s = std::sin(angle);
  const double along = c * v[0] + s * v[1];
  const double across = c * v[1] - s * v[0];
  TResidualTest test;
  if (mean + radius > floor) {
    test.square += along * along / (mean + radius);
    ++test.freedom;
  }
  if (mean - radius > floor) {
    test.square += across * across / (mean - radius);
    ++test.freedom;
  }
  return test;
}

}  // namespace SatCommonUtils::block
