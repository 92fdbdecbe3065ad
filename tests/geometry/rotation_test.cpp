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
  } cases[] = {{0.0, 0.0, 0.0},
               {0.5, -0.1, kPi - kPi / 6.0},
               {-0.5, -0.1, kPi + kPi / 6.0},
               {-0.5, 0.1, -kPi / 6.0},
               {1.0, -1.0, kPi / 2.0},
               {-1.0, -0.0, -kPi / 2.0},
               {-1.0, -1e-300, 1.5 * kPi},
               {1.2, -1.0, kPi / 2.0},
               {-1.2, -1.0, -kPi / 2.0},
               {std::nextafter(1.0, 2.0), 7.0, kPi / 2.0},
               {0.0, -1.0, kPi}};
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
      for (std::size_t i = 0; i < 9; ++i) {
        const auto element = [&](double a) {
          elementary[axis](a, &probe);
          return probe(i / 3, i % 3);
        };
        EXPECT_NEAR(d(i / 3, i % 3), CentralDifference(element, angle[axis], kStep), kDifferenceTolerance);
      }
    }
    EXPECT_TRUE(Near(R(angle[0], angle[1], angle[2]), m[0] * m[1] * m[2]));
  }
}

TEST(Rotation, AnglesComeBack) {
  orbmath_test::Random random("Rotation.Angles");
  double alpha, beta, gamma;
  for (int run = 0; run < 500; ++run) {
    const double a = random.Uniform(-kPi / 2, 1.5 * kPi), g = random.Uniform(-kPi / 2, 1.5 * kPi);
    const double b = random.Uniform(-1.5, 1.5);
    RzyxGetAlphaBetaGamma(R(a, b, g), &alpha, &beta, &gamma);
    // An arc sine keeps half the digits near ±1, and the cosine of beta, down to 0.07 here, divides them.
    EXPECT_TRUE(Near(TVector(alpha, beta, gamma), TVector(a, b, g), 1e-6));
  }
  for (const double b : {kPi / 2, -kPi / 2}) {
    const TMatrix lock = R(0.7, b, 0.4);
    RzyxGetAlphaBetaGamma(lock, &alpha, &beta, &gamma);
    EXPECT_TRUE(alpha == 0.0 && beta == b && Near(R(alpha, beta, gamma), lock, 1e-7)) << "gimbal lock";
  }
}

TEST(Rotation, SmallerMatricesAreRefused) {
  TMatrix narrow(2, 3), low(3, 2), empty;
  double alpha, beta, gamma;
  for (TMatrix* m : {&narrow, &low, &empty}) {
    EXPECT_THROW(RzyxGetR(0.1, 0.2, 0.3, m), std::runtime_error);
    EXPECT_THROW(RzyxGetAlphaBetaGamma(*m, &alpha, &beta, &gamma), std::runtime_error);
  }
}

}  // namespace
}  // namespace SatCommonUtils
