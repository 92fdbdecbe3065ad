#include "transform/seven_params_fit.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "geometry/attitude.h"
#include "geometry/quaternion.h"
#include "support/bits.h"
#include "transform/similarities.h"

namespace orbmath_test {
namespace {

using namespace SatCommonUtils;

using Points = std::vector<T7ParamsSourceDataItem>;

/// Rounding of sums over coordinates near 1e3, which three points that nearly lie on one line enlarge.
constexpr double kRounding = 1e-8;

/// The similarity with the rotation of a quaternion of length 1.
T7Params WithRotation(const TQuaternion& q, T7Params params) {
  TAttitudeAngles angles;
  EXPECT_TRUE(angles.SetQuaternion(q));
  params.Alpha = angles.roll, params.Beta = angles.pitch, params.Gamma = angles.yaw;
  return params;
}

/// Root mean square distance of images and targets.
double Misfit(const Points& points, const T7Params& params) {
  const T7ParamsTransform transform(params);
  double sum = 0.0;
  for (const T7ParamsSourceDataItem& p : points) {
    double x, y, z;
    transform.DirectTransform(p.Xfrom, p.Yfrom, p.Zfrom, &x, &y, &z);
    sum += (p.Xto - x) * (p.Xto - x) + (p.Yto - y) * (p.Yto - y) + (p.Zto - z) * (p.Zto - z);
  }
  return std::sqrt(sum / static_cast<double>(points.size()));
}

// All rotations alike, half turns and gimbal lock among them, from three points on.
TEST(SevenParamsClosedForm, FindsEveryRotation) {
  Random random("seven parameters, closed form");
  for (int run = 0; run < 2000; ++run) {
    TQuaternion q(random.Normal(1), random.Normal(1), random.Normal(1), random.Normal(1));
    if (run % 5 == 0) q[0] = 0.0;                                // a half turn
    if (run % 7 == 0) q = TQuaternion(q(1), q(2), q(1), -q(2));  // pitch of a quarter
    if (run % 100 == 0) q = TQuaternion(1, 0, 0, 0);
    const T7Params truth = WithRotation(q / std::sqrt(q.Norma()), RandomParams(random, 0.0));
    const Points points = PointsOf(truth, 3 + run % 5, random);
    const T7ParamsFit fit = Fit7Params(points);
    ASSERT_TRUE(fit) << fit.sentence;
    ASSERT_LT(fit.rms, kRounding) << run;
    ASSERT_NEAR(fit.params.dm, truth.dm, kRounding);
    ASSERT_LT(Misfit(points, fit.params), kRounding) << "the angles are those of the transform";
  }
}

TEST(SevenParamsClosedForm, MinimisesAndReportsTheMisfit) {
  Random random("seven parameters, noise");
  for (int run = 0; run < 50; ++run) {
    const T7Params truth = RandomParams(random, 0.3);
    Points points = PointsOf(truth, 12, random, 2.0);
    points[7].Zto += 100.0;
    const T7ParamsFit fit = Fit7Params(points);
    ASSERT_TRUE(fit);
    EXPECT_EQ(fit.largest_at, 7u);
    EXPECT_GT(fit.largest, 20.0);
    EXPECT_NEAR(fit.rms, Misfit(points, fit.params), kRounding);
    T7Params iterated;
    ASSERT_TRUE(Calculate7Params(points, &iterated));
    EXPECT_TRUE(Near(fit.params, iterated, 1e-5)) << "what the iteration's limits leave";
    for (int i = 0; i < 7; ++i) {
      for (const double step : {-1e-4, 1e-4}) {
        T7Params beside = fit.params;
        (&beside.Alpha)[i] += step;
        EXPECT_GT(Misfit(points, beside), fit.rms) << "parameter " << i;
      }
    }
  }
}

// Centimetres between points of a scene in coordinates of the Earth.
TEST(SevenParamsClosedForm, KeepsItsDigitsFarFromTheOrigin) {
  Random random("seven parameters, far");
  Points points = PointsOf(RandomParams(random, 1.0), 10, random);
  for (T7ParamsSourceDataItem& p : points) p.Xfrom += 4e6, p.Yfrom -= 3e6, p.Zto += 4e6;
  const T7ParamsFit fit = Fit7Params(points);
  ASSERT_TRUE(fit);
  EXPECT_LT(fit.rms, 1e-8) << "some units in the last place of 4e6";
}

// Three points, the third beside the line of the others by a share of their distance: the two best rotations differ by
// about its square.
TEST(SevenParamsClosedForm, TakesPointsThatHardlyDetermineTheRotation) {
  for (const double factor : {0.1, 10.0}) {
    const double beside = factor * std::sqrt(kSmallestRotationGap);
    Points points = {{-1, 0, 0, -1, 0, 0}, {1, 0, 0, 1, 0, 0}, {0, beside, 0, 0, beside, 0}};
    EXPECT_EQ(Fit7Params(points).state, factor > 1.0 ? T7ParamsFitState::Done : T7ParamsFitState::Undetermined);
  }
}

TEST(SevenParamsClosedForm, SaysWhyThereIsNone) {
  Random random("seven parameters, none");
  const Points good = PointsOf(RandomParams(random, 1.0), 6, random);
  Points line = good, place = good, wide = good, mirrored, nan = good, crowded = good;
  for (std::size_t i = 0; i < good.size(); ++i) {
    const double t = static_cast<double>(i * i);
    line[i].Xfrom = 3 * t, line[i].Yfrom = -t + 5, line[i].Zfrom = 7 * t;
    place[i].Xfrom = place[i].Yfrom = place[i].Zfrom = 1.0;
    wide[i].Yfrom *= 1e160;
    crowded[i].Xto = 5.0 + 1e-15 * static_cast<double>(i % 2), crowded[i].Yto = 6.0, crowded[i].Zto = 7.0;
  }
  nan[3].Yto = NAN;
  for (int i = 0; i < 6; ++i) {
    T7ParamsSourceDataItem p;
    (&p.Xfrom)[i % 3] = i < 3 ? 1.0 : -1.0;
    p.Xto = -p.Xfrom, p.Yto = -p.Yfrom, p.Zto = -p.Zfrom;
    mirrored.push_back(p);
  }
  EXPECT_EQ(T7ParamsFit().state, T7ParamsFitState::NotRun);
  const struct {
    const char* what;
    Points points;
    T7ParamsFitState state;
  } cases[] = {{"two", {good[0], good[1]}, T7ParamsFitState::TooFewPoints},
               {"line", line, T7ParamsFitState::Undetermined},
               {"place", place, T7ParamsFitState::Undetermined},
               {"crowded", crowded, T7ParamsFitState::Undetermined},
               {"mirrored", mirrored, T7ParamsFitState::Undetermined},
               {"nan", nan, T7ParamsFitState::NotFinite},
               {"wide", wide, T7ParamsFitState::NotFinite}};
  for (const auto& one : cases) {
    const T7ParamsFit fit = Fit7Params(one.points);
    EXPECT_EQ(fit.state, one.state) << one.what << ": " << fit.sentence;
    EXPECT_FALSE(static_cast<bool>(fit));
    EXPECT_NE(fit.sentence, T7ParamsFit().sentence);
  }
}

}  // namespace
}  // namespace orbmath_test
