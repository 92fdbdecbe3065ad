// Solutions with their status: flags, retries, residuals, covariance.

#include "rpc/ground_solution.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

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

TRPCCoordsDataItem Measured(const TRPC& model, double lat, double lon, double h) {
  TRPCCoordsDataItem item;
  item.model = &model;
  model.CalculateLineSample(lat, lon, h, &item.line, &item.sample, nullptr, nullptr);
  return item;
}

TEST(GroundSolution, IsThePlainResultWhereThatIsGood) {
  const TRPC model = CameraModel();
  const TRPCCoordsDataItem item = Measured(model, 43.62, 1.41, 300.0);
  const TGroundSolution solution = SolveLatLon(model, item.line, item.sample, 300.0);
  double lat, lon;
  ASSERT_TRUE(model.CalculateLatLon(item.line, item.sample, 300.0, &lat, &lon));
  EXPECT_TRUE(solution);
  EXPECT_TRUE(SameBits(solution.lat, lat));
  EXPECT_TRUE(SameBits(solution.lon, lon));
  EXPECT_EQ(solution.h, 300.0);
  EXPECT_EQ(solution.method, TGroundMethod::Iteration);
  EXPECT_LT(solution.residual, kPixels);
  EXPECT_GE(solution.status.iterations, 1);
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
    EXPECT_LE(solution.status.iterations, 11) << "searched for another point than the image point calls for";
    EXPECT_EQ(solution.outsideImage, c.image) << item.line << " " << item.sample;
    EXPECT_EQ(solution.outsideHeight, c.height);
    EXPECT_EQ(solution.outsideGround, c.ground) << c.lat << " " << c.lon;
    EXPECT_EQ(solution.outsideMargin, c.margin) << item.line << " " << item.sample;
  }
}

/// A model whose plain iteration gets lost for some points: strong curvature over a box that is far too large.
TRPCData CurvedRecord() {
  TRPCData record = CameraRecord(1.4);
  for (double* const c : {record.lineNumCoef, record.lineDenCoef, record.sampNumCoef, record.sampDenCoef}) {
    for (int k = 1; k < 20; ++k) c[k] = 0.0;
    c[0] = 0.0;
  }
  record.lineDenCoef[0] = record.sampDenCoef[0] = 1.0;
  record.lineNumCoef[2] = 0.02;
  record.lineNumCoef[15] = 30.0;
  record.lineNumCoef[4] = 2.0;
  record.sampNumCoef[1] = 0.02;
  record.sampNumCoef[11] = 30.0;
  record.sampDenCoef[7] = 60.0;
  record.latScale = record.longScale = 1.0;
  return record;
}

TEST(GroundSolution, RetriesWhereThePlainIterationGetsLost) {
  const TRPC model(CurvedRecord(), nullptr);
  int lost = 0;
  int found = 0;
  int silent = 0;
  for (int i = -20; i <= 20; ++i) {
    for (int j = -20; j <= 20; ++j) {
      const TRPCCoordsDataItem item = Measured(model, 43.6 + 0.01 * i, 1.4 + 0.01 * j, 240.0);
      double lat, lon, line, sample;
      const bool plain = model.CalculateLatLon(item.line, item.sample, 240.0, &lat, &lon);
      model.CalculateLineSample(lat, lon, 240.0, &line, &sample, nullptr, nullptr);
      const bool good = plain && std::hypot(line - item.line, sample - item.sample) < 1e-3;
      if (!good) ++lost;
      if (!good && plain) ++silent;
      const TGroundSolution solution = SolveLatLon(model, item.line, item.sample, 240.0);
      if (solution) {
        ++found;
        model.CalculateLineSample(solution.lat, solution.lon, 240.0, &line, &sample, nullptr, nullptr);
        EXPECT_NEAR(line, item.line, 2e-5);
        EXPECT_NEAR(sample, item.sample, 2e-5);
      }
    }
  }
  EXPECT_GT(silent, 0) << "the model is meant to be one on which the plain iteration fails without saying so";
  EXPECT_EQ(found, 41 * 41) << lost << " were lost to the plain iteration";
}

TEST(GroundSolution, SaysSoWhenThereIsNoPoint) {
  TRPCData record = CameraRecord(1.4);
  for (double& c : record.lineNumCoef) c = 0.0;
  record.lineNumCoef[8] = 1.0;  // the line is the square of the latitude: never below the offset
  const TRPC model(record, nullptr);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const double line : {-5000.0, nan, std::numeric_limits<double>::infinity()}) {
    const TGroundSolution solution = SolveLatLon(model, line, 6000.0, 240.0);
    EXPECT_FALSE(solution) << line;
    EXPECT_FALSE(solution.residual < 1.0);
  }
  EXPECT_TRUE(SolveLatLon(model, 8000.0, 6000.0, 240.0));
  EXPECT_STREQ(DescribeGroundState(TGroundState::NotConverged), "the iteration did not converge");
}

TEST(GroundSolution, ManyPointsAreSinglePoints) {
  const TRPC model(CurvedRecord(), nullptr);
  Random random("solutions");
  constexpr std::size_t kCount = 200;
  std::vector<double> line(kCount), sample(kCount), h(kCount, 240.0);
  for (std::size_t i = 0; i < kCount; ++i) {
    const TRPCCoordsDataItem item =
        Measured(model, 43.6 + random.Uniform(-0.2, 0.2), 1.4 + random.Uniform(-0.2, 0.2), 240.0);
    line[i] = item.line;
    sample[i] = item.sample;
  }
  std::vector<TGroundSolution> solutions(kCount);
  EXPECT_EQ(SolveLatLonArray(model, kCount, line.data(), sample.data(), h.data(), solutions.data()), kCount);
  for (std::size_t i = 0; i < kCount; ++i) {
    const TGroundSolution one = SolveLatLon(model, line[i], sample[i], 240.0);
    EXPECT_TRUE(SameBits(one.lat, solutions[i].lat) && SameBits(one.lon, solutions[i].lon)) << i;
    EXPECT_EQ(one.method, solutions[i].method);
    EXPECT_EQ(one.status.iterations, solutions[i].status.iterations);
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
  EXPECT_TRUE(SameBits(solution.lat, lat) && SameBits(solution.lon, lon) && SameBits(solution.h, h));
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
