// Solutions with their status: flags, retries, residuals, covariance.

#include "rpc/ground_solution.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <vector>

#include "frame/zxstd/threads.h"
#include "rpc/image_to_ground.h"
#include "rpc/models.h"
#include "support/bits.h"
#include "support/random.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::CameraModel;
using orbmath_test::CameraRecord;
using orbmath_test::Random;
using orbmath_test::SameBits;

using Items = std::vector<TRPCCoordsDataItem>;

constexpr double kPixels = 1e-6;
constexpr double kDegrees = 1e-11;

TRPCCoordsDataItem Measured(const TRPC& model, double lat, double lon, double h) {
  TRPCCoordsDataItem item;
  item.model = &model;
  model.CalculateLineSample(lat, lon, h, &item.line, &item.sample, nullptr, nullptr);
  return item;
}

TEST(GroundSolution, FindsThePointThatWasMeasured) {
  const TRPC model = CameraModel();
  const TRPCCoordsDataItem item = Measured(model, 43.62, 1.41, 300.0);
  const TGroundSolution solution = SolveLatLon(model, item.line, item.sample, 300.0);
  EXPECT_TRUE(solution);
  EXPECT_NEAR(solution.lat, 43.62, kDegrees);
  EXPECT_NEAR(solution.lon, 1.41, kDegrees);
  EXPECT_EQ(solution.h, 300.0);
  EXPECT_EQ(solution.method, TGroundMethod::Iteration);
  EXPECT_LT(solution.residual, 1e-8) << "a pair of steps leaves less than rounding";
  EXPECT_EQ(solution.status.iterations, 3);
  EXPECT_FALSE(solution.outsideImage || solution.outsideHeight || solution.outsideGround || solution.outsideMargin);
}

TEST(GroundSolution, SaysWhatLiesOutside) {
  struct Case {
    double lat, lon, h;
    bool image, height, ground, margin;
  };
  TRPC model = CameraModel();
  const TPolygon margin(std::vector<xy_d>{{1000.0, 1000.0}, {11000.0, 1000.0}, {11000.0, 13000.0}, {1000.0, 13000.0}});
  model.SetMargin(margin);
  model.SetRasterDims(12000, 14000);
  for (const Case& c :
       {Case{43.60, 1.40, 240.0, false, false, false, false}, Case{43.60, 1.40, 900.0, false, true, false, false},
        Case{43.66, 1.40, 240.0, false, false, false, true}, Case{43.68, 1.40, 240.0, true, false, true, true},
        Case{43.60, 1.50, 240.0, true, false, true, true}, Case{43.60, 1.75, 240.0, true, false, true, true}}) {
    const TRPCCoordsDataItem item = Measured(model, c.lat, c.lon, c.h);
    const TGroundSolution solution = SolveLatLon(model, item.line, item.sample, c.h);
    EXPECT_TRUE(solution);
    EXPECT_NEAR(solution.lat, c.lat, 1e-10);
    EXPECT_LE(solution.status.iterations, 16) << "searched for another point than the image point calls for";
    EXPECT_EQ(solution.outsideImage, c.image) << item.line << " " << item.sample;
    EXPECT_EQ(solution.outsideHeight, c.height);
    EXPECT_EQ(solution.outsideGround, c.ground) << c.lat << " " << c.lon;
    EXPECT_EQ(solution.outsideMargin, c.margin) << item.line << " " << item.sample;
  }
}

/// Records that change within their box into what means nothing: a denominator crosses zero, or the mapping folds over.
/// `reach` is up to where, in normalised latitude, the centre's branch is whole.
struct IllCase {
  const char* name;
  TRPCData record;
  double reach;
};

std::vector<IllCase> IllCases() {
  std::vector<IllCase> cases;
  const auto add = [&cases](const char* name, double reach) -> TRPCData& {
    cases.push_back({name, CameraRecord(1.4, 0.2), reach});
    return cases.back().record;
  };
  add("line has a pole", 0.7).lineDenCoef[2] = -1.3;    // at P = 0.77
  add("sample has a pole", 0.7).sampDenCoef[8] = -1.6;  // at P = +-0.79
  TRPCData& fold = add("line folds", 0.6);              // at P = 0.66
  fold.lineNumCoef[8] = 0.8;
  TRPCData& high = add("pole at some heights", 1.0);  // at P = 1 from H = 0.72 on
  high.lineDenCoef[6] = -1.4;
  TRPCData& small = add("scene of a fiftieth of the box", 0.03);
  small.latScale = small.longScale = 5.0;
  for (double* const c : {small.lineNumCoef, small.sampNumCoef}) {
    for (int k = 1; k < 20; ++k) c[k] *= k == 3 || k == 9 || k == 19 ? 1.0 : 60.0;
  }
  small.lineNumCoef[15] = 6000.0;  // folds where 18000 P^2 = 63, P = 0.06
  small.sampDenCoef[1] = 9.0;      // pole at L = -0.11
  return cases;
}

/// The signs of both denominators and of the determinant, from the record alone.
std::array<bool, 3> Sides(const TRPC& model, const TRPCData& record, double lat, double lon, double h) {
  const double P = (lat - record.latOffset) / record.latScale, L = (lon - record.longOffset) / record.longScale;
  const double H = (h - record.heightOffset) / record.heightScale;
  const double terms[] = {1.0,       L,         P,         H,         L * P,     L * H,     P * H,
                          L * L,     P * P,     H * H,     P * L * H, L * L * L, L * P * P, L * H * H,
                          L * L * P, P * P * P, P * H * H, L * L * H, P * P * H, H * H * H};
  double den[2] = {}, x, dLine[3], dSample[3];
  for (int k = 0; k < 20; ++k) {
    den[0] += record.lineDenCoef[k] * terms[k];
    den[1] += record.sampDenCoef[k] * terms[k];
  }
  model.CalculateLineSampleNormalized(P, L, H, &x, &x, dLine, dSample);
  return {den[0] > 0.0, den[1] > 0.0, dLine[0] * dSample[1] - dLine[1] * dSample[0] > 0.0};
}

/// Laws 1, 2, 4 and 6: a point over the image and half its width around is right, on the centre's branch, or refused.
TEST(GroundSolution, StaysOnTheBranchOfTheCentre) {
  for (const IllCase& c : IllCases()) {
    SCOPED_TRACE(c.name);
    const TRPCData& r = c.record;
    const TRPC model(r, nullptr);
    const orbmath_test::OpenModel derived(r);
    const auto center = Sides(model, r, r.latOffset, r.longOffset, r.heightOffset);
    std::map<TGroundState, int> states;
    for (const double H : {-0.8, 0.1, 0.9}) {
      const double h = r.heightOffset + H * r.heightScale;
      for (int i = -20; i <= 20; ++i) {
        for (int j = -20; j <= 20; ++j) {
          const double line = r.lineOffset + r.lineScale * i / 10.0, sample = r.sampOffset + r.sampScale * j / 10.0;
          const TGroundSolution solution = SolveLatLon(model, line, sample, h);
          ++states[solution.status.state];
          EXPECT_LE(solution.status.iterations, 220);
          // A solver of another kind, through the virtual projection, comes to the same end.
          const TGroundSolution other = SolveLatLon(derived, line, sample, h);
          EXPECT_EQ(bool(solution), bool(other)) << line << " " << sample << " " << h;
          if (solution && other) {
            EXPECT_NEAR(solution.lat, other.lat, 1e-9);
            EXPECT_NEAR(solution.lon, other.lon, 1e-9);
          }
          if (solution || HasDoubtfulPoint(solution.status.state)) {
            const TRPCCoordsDataItem back = Measured(model, solution.lat, solution.lon, h);
            EXPECT_LT(std::hypot(back.line - line, back.sample - sample), 1.1 * kPixels);
          }
          if (!solution) continue;
          EXPECT_EQ(Sides(model, r, solution.lat, solution.lon, h), center) << line << " " << sample << " " << h;
        }
      }
      // Law 2 the other way round: what lies on the branch is found there.
      for (int i = -10; i <= 10; ++i) {
        for (int j = -10; j <= 10; ++j) {
          const double lat = r.latOffset + 0.1 * i * c.reach * r.latScale;
          const double lon = r.longOffset + 0.1 * j * std::fmin(c.reach, 0.9) * r.longScale;
          const TRPCCoordsDataItem item = Measured(model, lat, lon, h);
          const TGroundSolution solution = SolveLatLon(model, item.line, item.sample, h);
          if (Sides(model, r, lat, lon, h) != center) continue;
          EXPECT_TRUE(solution) << i << " " << j << " " << h << DescribeGroundState(solution.status.state);
          EXPECT_NEAR(solution.lat, lat, 1e-9);
          EXPECT_NEAR(solution.lon, lon, 1e-9);
        }
      }
    }
    EXPECT_GT(states[TGroundState::Converged], 1000);
    EXPECT_EQ(states.size() > 1, c.reach > 0.1) << "the case is meant to have points without an answer";
  }
}

/// Law 3: an image point in the frame whose ground lies far out, on the centre's branch.
TEST(GroundSolution, RefusesWhatLiesFarOut) {
  TRPCData record = CameraRecord(1.4);
  record.lineNumCoef[2] = -0.3;  // the image's border is 3.3 boxes away
  const TRPC model(record, nullptr);
  const TRPCCoordsDataItem near = Measured(model, 43.6 - 1.9 * 0.065, 1.4, 240.0);
  const TRPCCoordsDataItem far = Measured(model, 43.6 - 2.1 * 0.065, 1.4, 240.0);
  EXPECT_TRUE(SolveLatLon(model, near.line, near.sample, 240.0));
  const TGroundSolution solution = SolveLatLon(model, far.line, far.sample, 240.0);
  EXPECT_EQ(solution.status.state, TGroundState::FarOut);
  EXPECT_NEAR(solution.lat, 43.6 - 2.1 * 0.065, kDegrees) << "the point is told all the same";
  EXPECT_TRUE(solution.outsideGround);
  // A height or an image point that is as far out asks for it.
  const TRPCCoordsDataItem high = Measured(model, 43.6 - 2.1 * 0.065, 1.4, 240.0 + 1.1 * 500.0);
  EXPECT_TRUE(SolveLatLon(model, high.line, high.sample, 240.0 + 1.1 * 500.0));
  // Off the globe.
  for (const bool polar : {false, true}) {
    TRPCData edge = CameraRecord(polar ? 0.0 : 539.99);
    if (polar) edge.latOffset = 89.99;
    const TRPC border(edge, nullptr);
    for (const double step : {-0.02, 0.02}) {
      const TRPCCoordsDataItem item =
          Measured(border, edge.latOffset + (polar ? step : 0.0), edge.longOffset + (polar ? 0.0 : step), 240.0);
      EXPECT_EQ(SolveLatLon(border, item.line, item.sample, 240.0).status.state,
                step > 0.0 ? TGroundState::FarOut : TGroundState::Converged);
    }
  }
}

TEST(GroundSolution, SaysSoWhenThereIsNoPoint) {
  TRPCData record = CameraRecord(1.4);
  for (double& c : record.lineNumCoef) c = 0.0;
  record.lineNumCoef[2] = 0.6;
  record.lineNumCoef[8] = 1.0;  // lowest, -0.09, at P = -0.3
  const TRPC model(record, nullptr);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const double line : {-5000.0, nan, std::numeric_limits<double>::infinity()}) {
    const TGroundSolution solution = SolveLatLon(model, line, 6000.0, 240.0);
    EXPECT_EQ(solution.status.state, TGroundState::NotConverged) << line;
    EXPECT_FALSE(solution.residual < 1.0);
  }
  EXPECT_TRUE(SolveLatLon(model, 8000.0, 6000.0, 240.0));
  // A fold through the centre itself leaves no branch at all.
  record.lineNumCoef[2] = 0.0;
  EXPECT_EQ(SolveLatLon(TRPC(record, nullptr), 8000.0, 6000.0, 240.0).status.state, TGroundState::OtherBranch);
  EXPECT_STREQ(DescribeGroundState(TGroundState::NotConverged), "the iteration did not converge");
}

/// Law 5, on the points that take every way through the solver: several thread blocks, all lengths of a rest.
TEST(PointArrays, SolutionsAreThoseOfSinglePoints) {
  constexpr std::size_t kCount = 2 * 2048 + 77;
  for (const IllCase& c : IllCases()) {
    SCOPED_TRACE(c.name);
    const TRPC model(c.record, nullptr);
    Random random("solutions");
    std::vector<double> line(kCount), sample(kCount), h(kCount);
    std::vector<TGroundSolution> expected(kCount);
    std::size_t converged = 0;
    for (std::size_t i = 0; i < kCount; ++i) {
      line[i] = c.record.lineOffset + c.record.lineScale * random.Uniform(-1.5, 1.5);
      sample[i] = c.record.sampOffset + c.record.sampScale * random.Uniform(-1.5, 1.5);
      h[i] = c.record.heightOffset + c.record.heightScale * random.Uniform(-1.2, 1.2);
      expected[i] = SolveLatLon(model, line[i], sample[i], h[i]);
      converged += expected[i] ? 1 : 0;
    }
    const auto same = [](const TGroundSolution& a, const TGroundSolution& b) {
      return SameBits(a.lat, b.lat) && SameBits(a.lon, b.lon) && SameBits(a.residual, b.residual) &&
             a.status.state == b.status.state && a.status.iterations == b.status.iterations && a.method == b.method &&
             a.outsideImage == b.outsideImage && a.outsideGround == b.outsideGround;
    };
    for (int threads = 1; threads <= 3; ++threads) {
      ZxSetThreadsCount(threads);
      std::vector<TGroundSolution> solutions(kCount);
      EXPECT_EQ(SolveLatLonArray(model, kCount, line.data(), sample.data(), h.data(), solutions.data()), converged);
      for (std::size_t i = 0; i < kCount; ++i) ASSERT_TRUE(same(solutions[i], expected[i])) << i;
    }
    ZxSetThreadsCount(0);
    for (std::size_t first = 0; first < 40; ++first) {
      std::vector<TGroundSolution> piece(first);
      SolveLatLonArray(model, first, &line[first], &sample[first], &h[first], piece.data());
      for (std::size_t i = 0; i < first; ++i) ASSERT_TRUE(same(piece[i], expected[first + i])) << first << " " << i;
    }
  }
}

TEST(GroundIntersection, CarriesResidualsAndWhyItFailed) {
  const TRPC left = CameraModel(1.4, -0.3);
  const TRPC right = CameraModel(1.42, 0.3);
  Items items = {Measured(left, 43.615, 1.425, 310.0), Measured(right, 43.615, 1.425, 310.0)};
  items[0].line += 0.5;
  items[1].line -= 0.5;
  const TGroundIntersection solution = SolveLatLonH(items);
  ASSERT_TRUE(solution);
  double lat, lon, h;
  ASSERT_TRUE(CalculateLatLonH(items, &lat, &lon, &h));
  EXPECT_NEAR(solution.lat, lat, 1e-13);
  EXPECT_NEAR(solution.lon, lon, 1e-13);
  EXPECT_NEAR(solution.h, h, 1e-7);
  // Both images look along the lines, so the difference in line is what no point explains.
  ASSERT_EQ(solution.residuals.size(), 2u);
  EXPECT_NEAR(solution.residuals[0].line, 0.5, 0.02);
  EXPECT_NEAR(solution.residuals[1].line, -0.5, 0.02);
  EXPECT_NEAR(solution.residual, 0.5, 0.02);
  EXPECT_FALSE(solution.outsideImage || solution.outsideHeight || solution.outsideGround);

  EXPECT_EQ(SolveLatLonH(Items{items[0]}).status.state, TGroundState::TooFewImages);
  EXPECT_EQ(SolveLatLonH(Items(2)).status.state, TGroundState::NoStart);
  // Twice the same image does not determine a height.
  const TGroundIntersection twice = SolveLatLonH(Items{items[0], items[0]});
  EXPECT_FALSE(twice && twice.covariance[8] < 1e6);
}

/// Law 3, and a variance that is none.
TEST(GroundIntersection, RefusesWhatTheImagesDoNotSee) {
  const TRPC left = CameraModel(1.4, -0.3);
  const TRPC right = CameraModel(1.42, 0.3);
  const Items exact = {Measured(left, 43.615, 1.425, 310.0), Measured(right, 43.615, 1.425, 310.0)};
  for (const double variance : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()}) {
    const TGroundIntersection solution = SolveLatLonH(exact, 310.0, variance);
    EXPECT_EQ(solution.status.state, TGroundState::BadVariance) << variance;
    EXPECT_TRUE(std::isnan(solution.lat) && std::isnan(solution.covariance[0]));
  }
  Items apart = exact;
  apart[0].line += 150.0;
  apart[1].line -= 150.0;
  const TGroundIntersection misfit = SolveLatLonH(apart);
  EXPECT_EQ(misfit.status.state, TGroundState::Misfit);
  EXPECT_NEAR(misfit.residual, 150.0, 5.0) << "the point is told all the same";
  EXPECT_NEAR(misfit.lat, 43.615, 1e-3);
  TIntersectionOptions generous;
  generous.largestRms = 160.0;
  EXPECT_TRUE(SolveLatLonH(apart, generous));
  EXPECT_TRUE(SolveLatLonH(apart, 310.0, 4.0, generous));
  generous.largestRms = 140.0;
  EXPECT_FALSE(SolveLatLonH(apart, generous));
  EXPECT_FALSE(SolveLatLon(apart, 310.0, generous));
}

/// Law 2: what no terrain reaches, and what lies behind a camera whose denominators say so.
TEST(GroundIntersection, RefusesWhatLiesFarUpOrBehind) {
  for (const bool pole : {false, true}) {
    TRPCData records[] = {CameraRecord(1.4, -0.3), CameraRecord(1.42, 0.3)};
    for (TRPCData& record : records) {
      for (double* const c : {record.lineNumCoef, record.lineDenCoef, record.sampNumCoef, record.sampDenCoef}) {
        for (int k = 4; k < 20; ++k) c[k] = 0.0;
      }
      record.lineDenCoef[3] = record.sampDenCoef[3] = pole ? -0.05 : 0.0;  // zero at H = 20
    }
    const TRPC left(records[0], nullptr), right(records[1], nullptr);
    const auto at = [&](double h) {
      return SolveLatLonH(Items{Measured(left, 43.6, 1.41, h), Measured(right, 43.6, 1.41, h)});
    };
    EXPECT_TRUE(at(240.0 + 19.0 * 500.0)) << "nine kilometres up is a mountain";
    const TGroundIntersection far = at(240.0 + 25.0 * 500.0);
    EXPECT_EQ(far.status.state, pole ? TGroundState::BehindSensor : TGroundState::FarHeight);
    EXPECT_NEAR(far.h, 240.0 + 25.0 * 500.0, 1e-3);
  }
}

/// Law 1 where the plain iteration gets lost: strong curvature over boxes that are far too large, on both sides of the
/// antimeridian. An observed height pulls the damped walk too.
TEST(GroundIntersection, RetriesWhereThePlainIterationGetsLost) {
  const auto curved = [](double longOffset, double across) {
    TRPCData record = CameraRecord(longOffset);
    for (double* const c : {record.lineNumCoef, record.lineDenCoef, record.sampNumCoef, record.sampDenCoef}) {
      for (int k = 0; k < 20; ++k) c[k] = 0.0;
    }
    record.lineDenCoef[0] = record.sampDenCoef[0] = 1.0;
    record.lineNumCoef[2] = record.sampNumCoef[1] = 0.3;
    record.lineNumCoef[15] = record.sampNumCoef[11] = 30.0;
    record.sampNumCoef[3] = across;
    record.latScale = record.longScale = 1.0;
    return record;
  };
  const TRPC left(curved(179.95, -0.3), nullptr), right(curved(-179.95, 0.3), nullptr);
  int damped = 0;
  for (const double variance : {0.0, 1e-6}) {
    const double pull = variance > 0.0 ? 20.0 : 0.0;
    for (int i = -10; i <= 10; ++i) {
      for (int j = -10; j <= 10; ++j) {
        const double lat = 43.6 + 0.02 * i, lon = 180.0 + 0.02 * j;
        const Items items = {Measured(left, lat, lon, 300.0), Measured(right, lat, lon, 300.0)};
        const TGroundIntersection solution =
            variance > 0.0 ? SolveLatLonH(items, 300.0 + pull, variance) : SolveLatLonH(items);
        ASSERT_TRUE(solution) << i << " " << j << " " << DescribeGroundState(solution.status.state);
        EXPECT_NEAR(solution.h, 300.0 + pull, 1e-3) << i << " " << j;
        EXPECT_NEAR(solution.lat, lat, 1e-9);
        EXPECT_NEAR(solution.lon, lon, variance > 0.0 ? 0.1 : 1e-9) << "in the turn of the first model";
        damped += solution.method == TGroundMethod::Damped ? 1 : 0;
      }
    }
  }
  EXPECT_GT(damped, 50) << "the models are meant to be such that the plain iteration fails";
}

TEST(GroundIntersection, CovarianceIsWhatNoiseDoes) {
  const TRPC left = CameraModel(1.4, -0.3);
  const TRPC right = CameraModel(1.42, 0.3);
  const Items exact = {Measured(left, 43.615, 1.425, 310.0), Measured(right, 43.615, 1.425, 310.0)};
  struct Mode {
    const char* name;
    int unknowns;
  };
  for (const Mode& mode : {Mode{"known", 2}, Mode{"free", 3}, Mode{"observed", 3}}) {
    SCOPED_TRACE(mode.name);
    const bool observed = std::strcmp(mode.name, "observed") == 0;
    const double sigma = 0.5;
    const double variance = 4.0;  // of the height, in units of the variance of a measurement
    const auto solve = [&](const Items& items, double h_observed) {
      if (mode.unknowns == 2) return SolveLatLon(items, 310.0);
      return observed ? SolveLatLonH(items, h_observed, variance) : SolveLatLonH(items);
    };
    Random random("covariance");
    constexpr int kRuns = 4000;
    double sums[9] = {};
    for (int run = 0; run < kRuns; ++run) {
      Items items = exact;
      for (TRPCCoordsDataItem& item : items) {
        item.line += random.Normal(sigma);
        item.sample += random.Normal(sigma);
      }
      const TGroundIntersection solution = solve(items, 310.0 + random.Normal(sigma * std::sqrt(variance)));
      ASSERT_TRUE(solution);
      const double error[] = {solution.lat - 43.615, solution.lon - 1.425, solution.h - 310.0};
      for (int i = 0; i < 9; ++i) sums[i] += error[i / 3] * error[i % 3] / kRuns;
    }
    const TGroundIntersection solution = solve(exact, 310.0);
    for (int i = 0; i < 9; ++i) {
      const double predicted = sigma * sigma * solution.covariance[i];
      if (i / 3 >= mode.unknowns || i % 3 >= mode.unknowns) {
        EXPECT_EQ(predicted, 0.0);
        continue;
      }
      // A variance from 4000 runs has a relative standard deviation of 2.2 %; a covariance at most that of both.
      const double scale = sigma * sigma * std::sqrt(solution.covariance[i / 3 * 4] * solution.covariance[i % 3 * 4]);
      EXPECT_NEAR(sums[i], predicted, 0.1 * scale) << "element " << i;
    }
  }
}

TEST(GroundIntersection, SigmasAreMetresEastNorthUp) {
  // One arc second is 30.87 m along the equator's meridian mean and 30.92 m along the equator.
  const double second = 1.0 / 3600.0;
  const double covariance[9] = {second * second, 0.0, 0.0, 0.0, second * second, 0.0, 0.0, 0.0, 9.0};
  double sigma[3];
  GroundSigmas(0.0, 0.0, covariance, sigma);
  EXPECT_NEAR(sigma[0], 30.922, 1e-3);
  EXPECT_NEAR(sigma[1], 30.715, 1e-3);  // M(0) = a (1 - e²) = 6 335 439 m
  EXPECT_EQ(sigma[2], 3.0);
  GroundSigmas(60.0, 0.0, covariance, sigma);
  EXPECT_NEAR(sigma[0], 15.500, 1e-3);  // N(60) cos 60 = 3 197 104 m
}

}  // namespace
}  // namespace SatCommonUtils
