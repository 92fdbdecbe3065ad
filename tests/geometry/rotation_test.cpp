#include "geometry/rotation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

#include "geometry/matchers.h"
#include "support/differences.h"
#include "support/random.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::CentralDifference;
using orbmath_test::IsRotation;
using orbmath_test::kRounding;
using orbmath_test::Near;

constexpr double kPi = 3.14159265358979323846;

TMatrix R(double alpha, double beta, double gamma) {
  TMatrix matrix(3, 3);
  RzyxGetR(alpha, beta, gamma, &matrix);
  return matrix;
}

TEST(Rotation, SinCosToAngleHasItsOwnRange) {
  const struct {
    double sine, cosine, angle;
  } cases[] = {
      {0.0, 0.0, 0.0},
      {0.5, -0.1, kPi - kPi / 6.0},
      {-0.5, -0.1, kPi + kPi / 6.0},
      {-0.5, 0.1, -kPi / 6.0},
      {1.0, -1.0, kPi / 2.0},
      {-1.0, -0.0, -kPi / 2.0},
      {-1.0, -1e-300, 1.5 * kPi},
      {1.2, -1.0, kPi / 2.0},
      {-1.2, -1.0, -kPi / 2.0},
      {std::nextafter(1.0, 2.0), 7.0, kPi / 2.0},
      {0.0, -1.0, kPi},
  };
  for (const auto& c : cases) EXPECT_NEAR(SinCosToAngle(c.sine, c.cosine), c.angle, 1e-15) << c.sine << ' ' << c.cosine;
  EXPECT_TRUE(std::isnan(SinCosToAngle(NAN, 1.0)));
}

TEST(Rotation, TurnsCounterClockwiseAboutEachAxis) {
  const TVector x(1, 0, 0), y(0, 1, 0), z(0, 0, 1);
  EXPECT_TRUE(Near(R(kPi / 2, 0, 0) * y, z));
  EXPECT_TRUE(Near(R(0, kPi / 2, 0) * z, x));
  EXPECT_TRUE(Near(R(0, 0, kPi / 2) * x, y));
}

TEST(Rotation, ProductOfTheElementaryMatricesAndTheirDerivatives) {
  using Elementary = void (*)(const double&, TMatrix*);
  const Elementary elementary[3] = {RzyxGetRx, RzyxGetRy, RzyxGetRz};
  const Elementary derivative[3] = {RzyxGet_dRx_dalpha, RzyxGet_dRy_dbeta, RzyxGet_dRz_dgamma};
  // The step balances its square against rounding.
  constexpr double kStep = 1e-5;
  constexpr double kDifferenceTolerance = 1e-9;
  orbmath_test::Random random("Rotation.Product");
  for (int run = 0; run < 20; ++run) {
    double angle[3];
    TMatrix m[3] = {TMatrix(3, 3), TMatrix(3, 3), TMatrix(3, 3)};
    for (int axis = 0; axis < 3; ++axis) {
      angle[axis] = random.Uniform(-4, 4);
      elementary[axis](angle[axis], &m[axis]);
      EXPECT_TRUE(IsRotation(m[axis]));
      TMatrix d(3, 3), probe(3, 3);
      derivative[axis](angle[axis], &d);
      for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column) {
          const auto element = [&](double a) {
            elementary[axis](a, &probe);
            return probe(row, column);
          };
          EXPECT_NEAR(d(row, column), CentralDifference(element, angle[axis], kStep), kDifferenceTolerance);
        }
      }
    }
    EXPECT_TRUE(Near(R(angle[0], angle[1], angle[2]), m[0] * m[1] * m[2]));
  }
}

TEST(Rotation, AnglesComeBack) {
  orbmath_test::Random random("Rotation.Angles");
  for (int run = 0; run < 500; ++run) {
    const double a = random.Uniform(-kPi / 2, 1.5 * kPi);
    const double b = random.Uniform(-1.5, 1.5);
    const double g = random.Uniform(-kPi / 2, 1.5 * kPi);
    double alpha, beta, gamma;
    RzyxGetAlphaBetaGamma(R(a, b, g), &alpha, &beta, &gamma);
    // An arc sine keeps half the digits near ±1, and the cosine of beta, down to 0.07 here, divides them.
    EXPECT_NEAR(alpha, a, 1e-6);
    EXPECT_NEAR(beta, b, 1e-13);
    EXPECT_NEAR(gamma, g, 1e-6);
    EXPECT_TRUE(Near(R(alpha, beta, gamma), R(a, b, g), 2e-6));
  }
}

TEST(Rotation, GimbalLock) {
  for (const double sign : {1.0, -1.0}) {
    for (const double a : {0.0, 0.7, 3.0}) {
      TMatrix m = R(a, sign * kPi / 2, 0.4);
      double alpha = 9, beta = 9, gamma = 9;
      RzyxGetAlphaBetaGamma(m, &alpha, &beta, &gamma);
      EXPECT_EQ(alpha, 0.0);
      EXPECT_EQ(beta, sign * kPi / 2);
      EXPECT_TRUE(Near(R(alpha, beta, gamma), m, 1e-7));
    }
  }
}

TEST(Rotation, SmallerMatricesAreRefused) {
  TMatrix narrow(2, 3), low(3, 2), empty;
  for (TMatrix* m : {&narrow, &low, &empty}) {
    EXPECT_THROW(RzyxGetR(0.1, 0.2, 0.3, m), std::runtime_error);
    EXPECT_THROW(RzyxGetRx(0.1, m), std::runtime_error);
  }
}

}  // namespace
}  // namespace SatCommonUtils
