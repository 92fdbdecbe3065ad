#pragma once
// Similarities of space and points that they relate, for the tests of their fits.

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "support/random.h"
#include "transform/seven_params.h"

namespace orbmath_test {

inline ::testing::AssertionResult Near(const SatCommonUtils::T7Params& a, const SatCommonUtils::T7Params& b,
                                       double tolerance) {
  for (int i = 0; i < 7; ++i) {
    const double x = (&a.Alpha)[i], y = (&b.Alpha)[i];
    if (!(std::fabs(x - y) <= tolerance)) {
      return ::testing::AssertionFailure() << "parameter " << i << ": " << x << " and " << y;
    }
  }
  return ::testing::AssertionSuccess();
}

/// Angles up to `angle`, and everything else different along every axis.
inline SatCommonUtils::T7Params RandomParams(Random& random, double angle) {
  return {random.Uniform(-angle, angle), random.Uniform(-angle, angle), random.Uniform(-angle, angle),
          random.Uniform(-0.1, 0.2),     random.Uniform(-500, 100),     random.Uniform(200, 900),
          random.Uniform(-50, 40)};
}

/// Points of a box of unequal sides, not about the origin, and their images plus noise of `sigma` in each coordinate.
inline std::vector<SatCommonUtils::T7ParamsSourceDataItem> PointsOf(const SatCommonUtils::T7Params& params,
                                                                    std::size_t count, Random& random,
                                                                    double sigma = 0.0) {
  const SatCommonUtils::T7ParamsTransform transform(params);
  std::vector<SatCommonUtils::T7ParamsSourceDataItem> points(count);
  for (SatCommonUtils::T7ParamsSourceDataItem& p : points) {
    p = {random.Uniform(-300, 1000), random.Uniform(-700, -100), random.Uniform(-50, 250), 0, 0, 0};
    transform.DirectTransform(p.Xfrom, p.Yfrom, p.Zfrom, &p.Xto, &p.Yto, &p.Zto);
    for (double* value : {&p.Xto, &p.Yto, &p.Zto}) *value += sigma == 0.0 ? 0.0 : random.Normal(sigma);
  }
  return points;
}

}  // namespace orbmath_test
