#include "poly/interpolation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "support/random.h"

namespace SatCommonUtils {
namespace {

TEST(Interpolation, LineThroughThreePoints) {
  double x[] = {0, 1, 2}, y[] = {1, 3, 5};
  TLeastSquaresPolynomialApproximation fit(1);
  EXPECT_EQ(fit.GetValue(4), 0.0) << "before any Build";
  EXPECT_TRUE(fit.Build(3, x, y));
  // The scaled rows hold 3 / 5, which rounds.
  EXPECT_TRUE(fit.GetPolynome().ApproximatelyEqual(TPolynome("(2;1)"), 1e-15));
  fit.Destroy();
  EXPECT_DOUBLE_EQ(fit.GetValue(4), 9.0) << "Destroy keeps it";
}

TEST(Interpolation, RecoversAPolynomialAndLeavesOrthogonalResiduals) {
  orbmath_test::Random random("Interpolation");
  std::vector<double> x, exact, noisy;
  const TPolynome truth("(0.5;-2;0.25;1;-3)");
  for (int i = 0; i < 400; ++i) {
    x.push_back(random.Uniform(-1, 1));
    exact.push_back(truth.GetValue(x.back()));
    noisy.push_back(exact.back() + random.Normal(0.1));
  }
  const std::unique_ptr<TInterpolation> fit = std::make_unique<TLeastSquaresPolynomialApproximation>(4);
  ASSERT_TRUE(fit->Build(x.size(), x.data(), exact.data()));
  // The condition of the normal equations at order 4 is some 1e4.
  EXPECT_NEAR(fit->GetValue(0.3), truth.GetValue(0.3), 1e-11);
  ASSERT_TRUE(fit->Build(x.size(), x.data(), noisy.data()));
  for (int k = 0; k <= 4; ++k) {
    double sum = 0.0;
    for (std::size_t i = 0; i < x.size(); ++i) sum += (noisy[i] - fit->GetValue(x[i])) * std::pow(x[i], k);
    EXPECT_NEAR(sum, 0.0, 1e-10) << k;
  }
}

TEST(Interpolation, TooFewDistinctSamplesThrowTheDeterminant) {
  double same[] = {2, 2, 2, 2}, zero[] = {0, 0, 0, 0}, y[] = {1, 2, 3, 4};
  const struct {
    int order;
    std::size_t count;
    double* x;
    const char* what;
  } cases[] = {{1, 4, same, "one x"}, {1, 4, zero, "every x 0"}, {0, 0, same, "no sample"}, {2, 1, same, "one sample"}};
  for (const auto& c : cases) {
    TLeastSquaresPolynomialApproximation fit(c.order);
    try {
      fit.Build(c.count, c.x, y);
      FAIL() << c.what;
    } catch (double determinant) {
      EXPECT_EQ(determinant, 0.0) << c.what;
    }
    EXPECT_EQ(fit.GetPolynome(), TPolynome(c.order, nullptr)) << c.what;
  }
  EXPECT_THROW(TLeastSquaresPolynomialApproximation(-1), const char*);
}

}  // namespace
}  // namespace SatCommonUtils
