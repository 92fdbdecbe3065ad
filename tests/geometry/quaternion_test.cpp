#include "geometry/quaternion.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

#include "geometry/matchers.h"
#include "support/debug_capture.h"
#include "support/random.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::IsRotation;
using orbmath_test::kRounding;
using orbmath_test::Near;

TQuaternion RandomUnit(orbmath_test::Random* random) {
  TQuaternion q(random->Normal(1), random->Normal(1), random->Normal(1), random->Normal(1));
  return q / std::sqrt(q.Norma());
}

/// Largest difference of components.
double Distance(const TQuaternion& p, const TQuaternion& q) {
  double largest = 0.0;
  for (int i = 0; i < 4; ++i) largest = std::fmax(largest, std::fabs(p(i) - q(i)));
  return largest;
}

TEST(Quaternion, HoldsScalarFirst) {
  const double values[4] = {1, 2, 3, 4};
  TQuaternion q(values);
  EXPECT_EQ(q, TQuaternion(1, TVector(2, 3, 4)));
  EXPECT_TRUE(Near(q.vect(), TVector(2, 3, 4), 0.0));
  q[3] = 5;
  EXPECT_EQ(q.Output(), "(   1.0000;   2.0000;   3.0000;   5.0000)");
  orbmath_test::DebugCapture debug;
  q.DebugOutput();
  q.DebugOutput("attitude");
  EXPECT_EQ(debug.messages, (std::vector<std::string>{q.Output() + "\n", "attitude " + q.Output() + "\n"}));
  EXPECT_EQ(q = 7.0, TQuaternion(7, 0, 0, 0));
  EXPECT_EQ(q = TVector(1, 2, 3), TQuaternion(0, 1, 2, 3));
  for (const TVector& too_short : {TVector(), TVector(2)}) {
    EXPECT_THROW(TQuaternion(1, too_short), std::runtime_error);
    EXPECT_THROW(q = too_short, std::runtime_error);
  }
  EXPECT_EQ(q, TQuaternion(0, 1, 2, 3));
}

TEST(Quaternion, HamiltonsTable) {
  const TQuaternion one(1, 0, 0, 0), i(0, 1, 0, 0), j(0, 0, 1, 0), k(0, 0, 0, 1);
  EXPECT_EQ(i * j, k);
  EXPECT_EQ(j * k, i);
  EXPECT_EQ(k * i, j);
  EXPECT_EQ(j * i, -k);
  for (const TQuaternion& q : {i, j, k}) EXPECT_EQ(q * q, -one);
  EXPECT_EQ(2.0 * (i + j) - (i + j) * 2.0, TQuaternion());
  EXPECT_EQ((one - k) / 2.0, TQuaternion(0.5, 0, 0, -0.5));
  EXPECT_EQ(TQuaternion(1, 2, 3, 4) * TQuaternion(5, 6, 7, 8), TQuaternion(-60, 12, 30, 24));
}

TEST(Quaternion, ComparisonsAndTruth) {
  EXPECT_TRUE(TQuaternion(3, 0, -0.0, 0) == 3.0 && 3.0 == TQuaternion(3, 0, 0, 0));
  EXPECT_TRUE(TQuaternion(0, 1, 2, 3) == TVector(1, 2, 3) && TVector(1, 2, 3) == TQuaternion(0, 1, 2, 3));
  EXPECT_FALSE(TQuaternion(3, 0, 0, 1e-300) == 3.0 || TQuaternion(1, 1, 2, 3) == TVector(1, 2, 3));
  EXPECT_FALSE(TQuaternion() == TVector(2)) << "too short";
  EXPECT_TRUE(TQuaternion(0, 0, 0, 5e-324) && TQuaternion(0, NAN, 0, 0));
  EXPECT_FALSE(static_cast<bool>(TQuaternion(0, -0.0, 0, 0)));
}

// Length 2: divided by 4, the length is 1/2, and the three matrices part.
TEST(Quaternion, NormaIsSquaredAndDividedBy) {
  EXPECT_EQ(TQuaternion(1, 2, 3, 4).Norma(), 30);
  TQuaternion q(2, 0, 0, 0);
  EXPECT_TRUE(Near(q.R(), TMatrix(3), 0.0));
  EXPECT_TRUE(Near(q.cnesR(), TMatrix(TVector(-0.5, -0.5, -0.5)), 0.0));
  EXPECT_TRUE(Near(q.AltR(), TMatrix(TVector(0.25, 0.25, 0.25)), 0.0));
  EXPECT_EQ(q.Normalize(), 0.5);
  EXPECT_EQ(q.GetNormalized(), 2.0);
  EXPECT_TRUE(TQuaternion().GetNormalized() == 0.0 && ~TQuaternion() == 0.0);
  EXPECT_EQ(~TQuaternion(0, 2, 0, 0), TQuaternion(0, -0.5, 0, 0));
}

TEST(Quaternion, RotatesVectorsAndComposes) {
  orbmath_test::Random random("Quaternion.Rotates");
  for (int run = 0; run < 100; ++run) {
    const TQuaternion p = RandomUnit(&random);
    const TQuaternion q = RandomUnit(&random);
    const TVector v(random.Normal(1), random.Normal(1), random.Normal(1));
    EXPECT_TRUE(IsRotation(q.R()));
    EXPECT_TRUE(Near(q.R() * v, (q * TQuaternion(0, v) * ~q).vect()));
    EXPECT_TRUE(Near((p * q).R(), p.R() * q.R()));
    EXPECT_TRUE(Near(q.AltR(), !q.R()));
    EXPECT_TRUE(Near(q.cnesR(), q.R()));
    EXPECT_TRUE(Near((-q).R(), q.R()));
    EXPECT_LT(Distance(q * ~q, TQuaternion(1, 0, 0, 0)), kRounding);
  }
}

TEST(Quaternion, SlerpIsWhatItIs) {
  const TQuaternion p(1, 2, 3, 4), q(0, 1, 0, 0), zero;
  for (const double t : {0.0, 0.5, 1.0}) {
    EXPECT_EQ(SLERP(p, q, t), p) << t;
    const double angle = t * std::acos(0.0);
    EXPECT_LT(Distance(SLERP(zero, q, t), std::sin(angle) * q), kRounding) << t;
    EXPECT_LT(Distance(SLERP(q, zero, t), std::cos(angle) * q), kRounding) << t;
  }
}

TEST(Quaternion, InterpolationTurnsAtConstantRateTheShortWay) {
  orbmath_test::Random random("Quaternion.Interpolation");
  for (int run = 0; run < 50; ++run) {
    const TQuaternion p = RandomUnit(&random);
    const double half = random.Uniform(0.0, 1.5);
    const TQuaternion step(std::cos(half / 4), std::sin(half / 4) * TVector(0.6, 0, 0.8));
    const TQuaternion end = p * step * step * step * step;
    EXPECT_LT(Distance(InterpolateRotation(p, end, 0.25), p * step), kRounding);
    EXPECT_LT(Distance(InterpolateRotation(p, -end, 0.75), p * step * step * step), kRounding) << "same rotation";
    EXPECT_LT(Distance(InterpolateRotation(p, end, 1.0), end), kRounding);
    EXPECT_LT(Distance(InterpolateRotation(p, p, 0.3), p), kRounding);
  }
}

}  // namespace
}  // namespace SatCommonUtils
