// Circular errors against closed forms and against a table of another way to compute them.

#include "accuracy/ellipse_probability.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace SatCommonUtils {
namespace {

/// What the header promises, relative.
constexpr double kPromised = 1e-10;
constexpr double kPromisedOfTables = 1e-11;

struct TRow {
  double probability;
  double radii[6];
};
constexpr double kAxes[6] = {0.0, 0.1, 0.25, 0.5, 0.8, 1.0};
/// Radii for axes 1 and those above: SciPy 1.x, adaptive quadrature of the density across times the error function
/// along, and bisection; twelve digits.
constexpr TRow kTable[] = {
    {0.50, {0.674489750196, 0.681985088272, 0.725434382183, 0.870417428244, 1.057692582255, 1.177410022515}},
    {0.90, {1.644853626951, 1.647911606242, 1.664605797064, 1.737079934274, 1.947158100441, 2.145966026289}},
    {0.95, {1.959963984540, 1.962529596762, 1.976505063948, 2.035858720286, 2.230287285655, 2.447746830681}},
    {0.99, {2.575829303549, 2.577780944500, 2.588389970375, 2.632566755018, 2.790691309073, 3.034854258770}}};

/// The covariance of axes `major` and `minor`, the long one turned by `angle` from x.
TPlaneCovariance Turned(double major, double minor, double angle) {
  const double c = std::cos(angle), s = std::sin(angle), a = major * major, b = minor * minor;
  return {a * c * c + b * s * s, (a - b) * c * s, a * s * s + b * c * c};
}

TEST(CircularError, AgreesWithAnIndependentTableInEveryDirection) {
  constexpr double kDigits = 1e-12;
  for (const TRow& row : kTable) {
    for (int i = 0; i < 6; ++i) {
      for (const double angle : {0.0, 0.7, 2.1}) {
        const TPlaneCovariance covariance = Turned(3.0, 3.0 * kAxes[i], angle);
        // Turned by rounding numbers, a thin ellipse is as thin as rounding lets it be.
        const double radius = CircularError(covariance, row.probability);
        EXPECT_NEAR(radius, 3.0 * row.radii[i], 3.0 * (kPromised * row.radii[i] + kDigits)) << kAxes[i];
        EXPECT_NEAR(ProbabilityWithin(covariance, radius), row.probability, kPromised);
      }
    }
  }
}

TEST(CircularError, KnowsTheClosedForms) {
  EXPECT_NEAR(CircularError({4.0, 0.0, 4.0}, 0.9), 2.0 * kCircularError90, kPromised);
  EXPECT_NEAR(CircularError({4.0, 0.0, 4.0}, 0.95), 2.0 * kCircularError95, kPromised);
  EXPECT_NEAR(CircularError({0.0, 0.0, 9.0}, 0.9), 3.0 * kLinearError90, kPromised);
  EXPECT_NEAR(CircularError({9.0, 9.0, 9.0}, 0.95), std::sqrt(18.0) * kLinearError95, kPromised);
  EXPECT_EQ(CircularError({0.0, 0.0, 0.0}, 0.9), 0.0);
  for (const double radius : {0.01, 0.5, 3.0}) {
    EXPECT_NEAR(ProbabilityWithin({1.0, 0.0, 0.0}, radius), std::erf(radius / std::sqrt(2.0)), kPromised);
    EXPECT_NEAR(ProbabilityWithin({4.0, 0.0, 4.0}, radius), 1.0 - std::exp(-radius * radius / 8.0), kPromised);
  }
}

TEST(CircularError, TheFastOnesAreTheExactOnes) {
  for (int i = 0; i <= 400; ++i) {
    const TPlaneCovariance covariance = Turned(2.0, i / 200.0, 0.3);
    const double exact[] = {CircularError(covariance, 0.9), CircularError(covariance, 0.95)};
    EXPECT_NEAR(CircularErrorsOf(covariance).ce90, exact[0], kPromisedOfTables * exact[0]) << i;
    EXPECT_NEAR(CircularErrorsOf(covariance).ce95, exact[1], kPromisedOfTables * exact[1]) << i;
  }
}

TEST(CircularError, RefusesWhatIsNoCovariance) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const TPlaneCovariance& covariance : {TPlaneCovariance{1.0, 2.0, 1.0}, TPlaneCovariance{-1.0, 0.0, 1.0},
                                             TPlaneCovariance{nan, 0.0, 1.0}, TPlaneCovariance{HUGE_VAL, 0.0, 1.0}}) {
    EXPECT_TRUE(std::isnan(CircularError(covariance, 0.9)));
    EXPECT_TRUE(std::isnan(CircularErrorsOf(covariance).ce90));
    EXPECT_TRUE(std::isnan(ProbabilityWithin(covariance, 1.0)));
  }
  for (const double probability : {0.0, 1.0, -0.5, nan}) {
    EXPECT_TRUE(std::isnan(CircularError({1.0, 0.0, 1.0}, probability)));
  }
  EXPECT_EQ(ProbabilityWithin({1.0, 0.0, 1.0}, -1.0), 0.0);
}

TEST(ErrorEllipse, HasAxesAndADirection) {
  const TErrorEllipse ellipse = ErrorEllipseOf(Turned(3.0, 0.5, 0.7));
  EXPECT_NEAR(ellipse.major, 3.0, 1e-12);
  EXPECT_NEAR(ellipse.minor, 0.5, 1e-12);
  EXPECT_NEAR(ellipse.direction, 0.7, 1e-12);
  EXPECT_GT(ErrorEllipseOf({1.0, -0.0, 2.0}).direction, 0.0) << "pi/2, not the other end of the same axis";
}

}  // namespace
}  // namespace SatCommonUtils
