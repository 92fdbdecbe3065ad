// The stopping rule of the iterative fit: it ends in exactly the round that the rule names. Points with large errors
// make the iteration converge slowly, so that every round more or less would show.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "geometry/rotation.h"
#include "linalg/linear_systems.h"
#include "transform/similarities.h"

namespace orbmath_test {
namespace {

using namespace SatCommonUtils;

using Points = std::vector<T7ParamsSourceDataItem>;

/// What a round changes, and the root mean square misfit before it.
struct Round {
  T7Params increment;
  double error;
};

TMatrix Made(void (*make)(const double&, TMatrix*), double angle) {
  TMatrix m(3, 3);
  make(angle, &m);
  return m;
}

/// One step of Gauss and Newton from `state`, whose dm holds the scale factor itself.
Round Step(const Points& points, const T7Params& state) {
  const TMatrix x = Made(RzyxGetRx, state.Alpha), y = Made(RzyxGetRy, state.Beta), z = Made(RzyxGetRz, state.Gamma);
  const TMatrix parts[] = {z * y * Made(RzyxGet_dRx_dalpha, state.Alpha), z * Made(RzyxGet_dRy_dbeta, state.Beta) * x,
                           Made(RzyxGet_dRz_dgamma, state.Gamma) * y * x, z * y * x};
  TMatrix design(7, 3 * points.size());
  TVector misfit(3 * points.size());
  double squares = 0.0;
  for (std::size_t i = 0; i < points.size(); ++i) {
    const TVector source(points[i].Xfrom, points[i].Yfrom, points[i].Zfrom);
    const TVector target(points[i].Xto, points[i].Yto, points[i].Zto);
    const TVector miss = target - state.dm * (parts[3] * source) - TVector(state.dX, state.dY, state.dZ);
    squares += miss * miss;
    for (std::size_t k = 0; k < 3; ++k) {
      for (std::size_t j = 0; j < 4; ++j) {
        design[3 * i + k][j] = (j == 3 ? 1.0 : state.dm) * (parts[j].GetRow(k) * source);
      }
      design[3 * i + k][4 + k] = 1.0;
      misfit[3 * i + k] = miss(k);
    }
  }
  TVector s;
  TOverdefinedLinearSystem(design, misfit).Solution(s);
  return {{s[0], s[1], s[2], s[3], s[4], s[5], s[6]}, std::sqrt(squares / static_cast<double>(points.size()))};
}

/// The parameters after each round, and the round after which the rule stops.
std::vector<T7Params> Rounds(const Points& points, std::size_t* last) {
  constexpr std::size_t kMost = 20;
  constexpr double kHundredthOfArcSecond = 3.14159265358979323846 / 180.0 / 3600.0 / 100.0;
  const double limits[7] = {
      kHundredthOfArcSecond, kHundredthOfArcSecond, kHundredthOfArcSecond, 1e-7, 1e-4, 1e-4, 1e-4};
  std::vector<T7Params> after;
  T7Params state;
  state.dm = 1.0;
  double previous = 1e300;
  *last = kMost - 1;
  for (std::size_t round = 0; round < kMost + 1; ++round) {
    const Round step = Step(points, state);
    bool small = true;
    for (int i = 0; i < 7; ++i) {
      (&state.Alpha)[i] += (&step.increment.Alpha)[i];
      small = small && std::fabs((&step.increment.Alpha)[i]) < limits[i];
    }
    after.push_back(state);
    after.back().dm -= 1.0;
    if (!small || *last < kMost - 1) continue;
    if (step.error < 1e-5 || std::fabs(previous - step.error) < 1e-6) *last = std::min(round, kMost - 1);
    previous = step.error;
  }
  return after;
}

/// The same in units of the coordinates.
T7Params InUnits(T7Params params, double unit) {
  for (double* shift : {&params.dX, &params.dY, &params.dZ}) *shift /= unit;
  return params;
}

/// Few points with errors up to the size of the cloud. Their unit moves what the limits of shifts and of the misfit
/// mean; where sources lie about their mean, the shifts come to rest at once and the other limits decide.
Points PointsOfRun(int run, double unit, Random* random) {
  Points points = PointsOf(RandomParams(*random, 0.3), 4 + run % 3, *random, 20.0 * (run % 12));
  TVector mean(3);
  for (const auto& p : points) mean += TVector(p.Xfrom, p.Yfrom, p.Zfrom) / static_cast<double>(points.size());
  for (auto& p : points) {
    if (run % 2 == 0) p.Xfrom -= mean(0), p.Yfrom -= mean(1), p.Zfrom -= mean(2);
    for (double* value = &p.Xfrom; value <= &p.Zto; ++value) *value *= unit;
  }
  return points;
}

TEST(SevenParamsFit, EndsInTheRoundThatTheRuleNames) {
  // Rounding of some rounds and of their reference; that of all twenty of a slow run adds up.
  constexpr double kSame = 4e-10, kSameAtTheLimit = 1e-8;
  Random random("seven parameters, rounds");
  bool seen[20] = {};
  int told_apart = 0;
  for (int run = 0; run < 1944; ++run) {
    const double unit = std::pow(10.0, (run / 12 % 27) / 2.0 - 7.0);
    const Points points = PointsOfRun(run, unit, &random);
    std::size_t last;
    std::vector<T7Params> rounds = Rounds(points, &last);
    for (T7Params& params : rounds) params = InUnits(params, unit);
    // Far from a solution the rounds jump about, and rounding grows tenfold with each.
    const auto jumps = [](const T7Params& p) {
      return std::fabs(p.Alpha) + std::fabs(p.Beta) + std::fabs(p.Gamma) > 2;
    };
    if (std::any_of(rounds.begin(), rounds.end(), jumps)) continue;
    T7Params found;
    ASSERT_TRUE(Calculate7Params(points, &found));
    ASSERT_TRUE(Near(InUnits(found, unit), rounds[last], last < 19 ? kSame : kSameAtTheLimit))
        << "run " << run << ", round " << last;
    seen[last] = true;
    told_apart +=
        !Near(rounds[last - 1], rounds[last], 10 * kSame) && !Near(rounds[last + 1], rounds[last], 10 * kSame);
  }
  EXPECT_GT(std::count(seen, seen + 20, true), 5) << "counts of rounds";
  EXPECT_TRUE(seen[19]) << "the limit of rounds";
  EXPECT_GT(told_apart, 100) << "a round more or less would show";
}

}  // namespace
}  // namespace orbmath_test
