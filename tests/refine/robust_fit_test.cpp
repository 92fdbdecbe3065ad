#include "refine/robust_fit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "fitted_models.h"

namespace {

using namespace SatCommonUtils;
using namespace orbmath_test;

// Pixels: what the fit promises for points without noise.
constexpr double kExact = 1e-4;

struct TDraws {
  std::vector<double> rms;
  double largest = 0.0;
};

// Fits to `draws` sets of random points, measured against the source over other points.
TDraws FitDraws(const TRPCData& source, std::size_t points, double noise, int draws) {
  Random random("FitDraws");
  TDraws result;
  for (int draw = 0; draw < draws; ++draw) {
    const TRPCEstimationDataSet data{RandomPoints(source, points, noise, &random), false};
    TRPCData fitted;
    TRPCFitReport report;
    EXPECT_TRUE(FitRPC(data, TRPCFitOptions(), &fitted, &report)) << report.message;
    const TRPCFitStatistics distance = Distance(source, fitted);
    result.rms.push_back(distance.rms);
    result.largest = std::max(result.largest, distance.maximum);
  }
  std::sort(result.rms.begin(), result.rms.end());
  return result;
}

TEST(FitRPC, FindsAModelWithoutNoiseFromAnyPoints) {
  for (const std::size_t points : {40, 100, 400}) {
    EXPECT_LT(FitDraws(PushbroomRecord(), points, 0.0, 20).largest, kExact) << points;
    EXPECT_LT(FitDraws(CurvedRecord(), points, 0.0, 20).largest, kExact) << points;
  }
  // More points than the fit factors directly.
  EXPECT_LT(FitDraws(PushbroomRecord(), 6000, 0.0, 1).largest, kExact);
}

TEST(FitRPC, AveragesNoise) {
  const TDraws few = FitDraws(PushbroomRecord(), 100, 0.1, 40);
  EXPECT_LT(few.rms[20], 0.1);
  EXPECT_LT(few.rms.back(), 0.2);
  // An order below the noise, 0.3 pixels in each of two directions.
  EXPECT_LT(FitDraws(PushbroomRecord(), 10000, 0.3, 2).rms.back(), 0.042);
}

// Forty noisy points hardly determine 39 unknowns: the fit may be off, but not away.
TEST(FitRPC, DoesNotBlowUpOnTheFewestPoints) {
  const TDraws draws = FitDraws(PushbroomRecord(), 40, 0.1, 40);
  EXPECT_LT(draws.rms[35], 1.0);
  EXPECT_LT(draws.rms.back(), 30.0);
}

TEST(FitRPC, TakesPointsOnALineWithoutBlowingUp) {
  const TRPC model(PushbroomRecord(), nullptr);
  TRPCEstimationDataSet data;
  Random random("OnALine");
  for (int i = 0; i < 100; ++i) {
    const double t = 0.02 * i - 1.0;
    data.Points.push_back(PointAt(model, t, 0.5 * t, -t));
    data.Points.back().Line += random.Normal(0.1);
  }
  TRPCData fitted;
  TRPCFitReport report;
  ASSERT_TRUE(FitRPC(data, TRPCFitOptions(), &fitted, &report));
  EXPECT_LT(report.fitted.distance.rms, 0.2);
  EXPECT_LT(report.coverage, 0.5);
  EXPECT_NE(report.message.find("fill only"), std::string::npos) << report.message;
  // Away from the line the model is a guess, but a finite and modest one.
  EXPECT_LT(Distance(PushbroomRecord(), fitted).maximum, 50000.0);
}

TEST(FitRPC, LeavesHeightsOutWhenAllPointsShareOne) {
  TRPCEstimationDataSet data;
  const TRPC model(PushbroomRecord(), nullptr);
  Random random("OneHeight");
  for (int i = 0; i < 100; ++i) data.Points.push_back(PointAt(model, random.Uniform(-1, 1), random.Uniform(-1, 1), 0));
  TRPCData fitted;
  TRPCFitReport report;
  ASSERT_TRUE(FitRPC(data, TRPCFitOptions(), &fitted, &report));
  EXPECT_TRUE(report.flat);
  EXPECT_LT(report.fitted.distance.maximum, kExact);
  EXPECT_EQ(fitted.lineNumCoef[3], 0.0);
}

TEST(FitRPC, ChoosesTheDegreeThatThePointsHave) {
  TRPCData affine = PushbroomRecord();
  for (int k = 0; k < 20; ++k) {
    if (k >= 4) affine.lineNumCoef[k] = affine.sampNumCoef[k] = 0.0;
    if (k >= 1) affine.lineDenCoef[k] = affine.sampDenCoef[k] = 0.0;
  }
  Random random("Degree");
  TRPCData fitted;
  TRPCFitReport report;
  ASSERT_TRUE(FitRPC({RandomPoints(affine, 300, 0.1, &random), false}, TRPCFitOptions(), &fitted, &report));
  EXPECT_EQ(report.line.order, 1);
  EXPECT_EQ(report.sample.order, 1);
  ASSERT_TRUE(FitRPC({RandomPoints(CurvedRecord(), 300, 0.1, &random), false}, TRPCFitOptions(), &fitted, &report));
  EXPECT_EQ(report.line.order, 3);
  EXPECT_EQ(report.line.unknowns, 39);
  EXPECT_EQ(report.line.rank, 39);
}

TEST(FitRPC, TakesDegreeAndRidgeFromTheCaller) {
  Random random("Given");
  const TRPCEstimationDataSet data{RandomPoints(PushbroomRecord(), 200, 0.0, &random), false};
  double previous = 0.0;
  for (const double ridge : {1e-12, 1e-6, 1.0}) {
    TRPCFitOptions options;
    options.order = 2;
    options.ridge = ridge;
    TRPCData fitted;
    TRPCFitReport report;
    ASSERT_TRUE(FitRPC(data, options, &fitted, &report));
    EXPECT_EQ(report.sample.order, 2);
    EXPECT_NEAR(report.sample.ridge / ridge, 1.0, 1e-3);
    EXPECT_EQ(fitted.lineNumCoef[11], 0.0);
    EXPECT_GT(report.fitted.distance.rms, previous) << "a larger ridge fits less closely";
    previous = report.fitted.distance.rms;
  }
}

TEST(FitRPC, CountsAPointAsItsWeightSays) {
  Random random("Weights");
  TRPCEstimationDataSet data{RandomPoints(PushbroomRecord(), 300, 0.0, &random), false};
  TRPCFitOptions options;
  options.weights.assign(300, 2.5);
  for (const std::size_t bad : {3u, 77u, 200u}) {
    data.Points[bad].Line += 1000.0;
    options.weights[bad] = 0.0;
  }
  TRPCData fitted;
  TRPCFitReport report;
  ASSERT_TRUE(FitRPC(data, options, &fitted, &report));
  EXPECT_EQ(report.fitted.count, 297u);
  EXPECT_LT(Distance(PushbroomRecord(), fitted).maximum, kExact);

  // With a weight of 1e-12 a bad point moves the model by little, with 1 by much.
  options.weights.assign(300, 1.0);
  for (const std::size_t bad : {3u, 77u, 200u}) options.weights[bad] = 1e-12;
  ASSERT_TRUE(FitRPC(data, options, &fitted));
  EXPECT_LT(Distance(PushbroomRecord(), fitted).maximum, 0.01);
  options = TRPCFitOptions();
  options.badPoints = TRPCBadPoints::NotSought;
  ASSERT_TRUE(FitRPC(data, options, &fitted));
  EXPECT_GT(Distance(PushbroomRecord(), fitted).maximum, 1.0);

  // Two opinions on every line, a pixel apart: the one that weighs four times as much counts for four fifths.
  options.order = 1;
  data.Points = RandomPoints(PushbroomRecord(), 300, 0.0, &random);
  TRPCData alone, both;
  ASSERT_TRUE(FitRPC(data, options, &alone));
  const TPoints once = data.Points;
  options.weights.assign(300, 1.0);
  for (TRPCEstimationPoint point : once) {
    point.Line += 1.0;
    data.Points.push_back(point);
    options.weights.push_back(4.0);
  }
  ASSERT_TRUE(FitRPC(data, options, &both));
  double shift = 0.0;
  for (const TRPCEstimationPoint& p : once) {
    double line[2], sample;
    TRPC(alone, nullptr).CalculateLineSample(p.Lat, p.Lon, p.Height, &line[0], &sample, nullptr, nullptr);
    TRPC(both, nullptr).CalculateLineSample(p.Lat, p.Lon, p.Height, &line[1], &sample, nullptr, nullptr);
    shift += (line[1] - line[0]) / 300.0;
  }
  EXPECT_NEAR(shift, 0.8, 0.01);
}

// Only ratios of weights count, to the bit, even where their sum is beyond all numbers or below them; all the same,
// they are none. The order is given, so that no choice hides a difference.
TEST(FitRPC, TheScaleOfTheWeightsDoesNotCount) {
  Random random("ScaleOfWeights");
  const TRPCEstimationDataSet data{RandomPoints(PushbroomRecord(), 60, 0.2, &random), false};
  std::vector<double> uneven(60);
  for (double& weight : uneven) weight = random.Uniform(0.5, 3.5);
  const std::vector<double> even(60, 0.3);
  const auto fit = [&](const std::vector<double>& weights, double scale) {
    TRPCFitOptions options;
    options.order = 3;
    options.weights = weights;
    for (double& weight : options.weights) weight *= scale;
    TRPCData fitted;
    TRPCFitReport report;
    EXPECT_TRUE(FitRPC(data, options, &fitted, &report)) << report.message;
    return fitted;
  };
  const TRPCData weighted = fit(uneven, 1.0), plain = fit({}, 1.0);
  for (const double scale : {0x1p-1000, 0x1p-3, 0x1p1021}) {
    EXPECT_TRUE(SameRecord(fit(uneven, scale), weighted)) << scale;
    EXPECT_TRUE(SameRecord(fit(even, scale), plain)) << scale;
  }
  EXPECT_FALSE(SameRecord(weighted, plain));
}

TEST(FitRPC, ChecksItselfOnPointsThatItHasNotSeen) {
  Random random("HeldOut");
  TRPCEstimationDataSet data{RandomPoints(PushbroomRecord(), 400, 0.1, &random), false};
  for (std::size_t i = 9; i < 400; i += 10) data.Points[i].Sample += 7.0;
  TRPCFitOptions options;
  options.holdOut = 10;
  options.checkPoints = RandomPoints(PushbroomRecord(), 5, 0.0, &random);
  TRPCData fitted;
  TRPCFitReport report;
  ASSERT_TRUE(FitRPC(data, options, &fitted, &report));
  EXPECT_EQ(report.fitted.count, 360u);
  EXPECT_EQ(report.check.count, 45u);
  EXPECT_LT(report.fitted.sample.maximum, 1.0);
  EXPECT_NEAR(report.check.sample.percentile95, 7.0, 0.5);
  EXPECT_LT(report.check.line.maximum, 1.0);
  EXPECT_TRUE(report.success && report.line.converged && report.sample.converged);
}

TEST(FitRPC, FitsOntoRoundedOffsetsAndScales) {
  Random random("Rounded");
  const TRPCEstimationDataSet data{RandomPoints(PushbroomRecord(), 200, 0.0, &random), false};
  TRPCData fitted = PushbroomRecord();
  fitted.lineOffset = 8000.0, fitted.lineScale = 8100.0, fitted.latOffset = 47.3, fitted.latScale = 0.07;
  fitted.longOffset = 8.5, fitted.heightOffset = 390.0, fitted.heightScale = -450.0;
  const TRPCData given = fitted;
  TRPCFitOptions options;
  options.keepNormalization = true;
  ASSERT_TRUE(FitRPC(data, options, &fitted));
  EXPECT_TRUE(SameBits(&fitted.lineOffset, &given.lineOffset, 10));
  EXPECT_LT(Distance(PushbroomRecord(), fitted).maximum, kExact);
}

TEST(FitRPC, CrossesTheLineOfTheDate) {
  TRPCData source = PushbroomRecord();
  source.longOffset = 179.99;
  Random random("Date");
  TRPCEstimationDataSet data{RandomPoints(source, 200, 0.0, &random), false};
  std::size_t beyond = 0;
  for (TRPCEstimationPoint& point : data.Points) {
    if (point.Lon <= 180.0) continue;
    point.Lon -= 360.0;
    ++beyond;
  }
  ASSERT_GT(beyond, 50u);
  TRPCData fitted;
  ASSERT_TRUE(FitRPC(data, TRPCFitOptions(), &fitted));
  EXPECT_LT(Distance(source, fitted).maximum, kExact);
  EXPECT_LE(std::fabs(fitted.longOffset), 180.0);
}

TEST(FitRPC, RefusesWhatItCannotUseAndSaysWhy) {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  using TSpoil = std::function<void(TRPCEstimationDataSet*, TRPCFitOptions*)>;
  struct {
    const char* reason;
    TSpoil spoil;
  } const cases[] = {
      {"39 points", [](auto* data, auto* o) { data->Points.resize(39), o->order = 3; }},
      {"7 points", [](auto* data, auto*) { data->Points.resize(7); }},
      {"19 points", [](auto* data, auto* o) { data->Points.resize(38), o->order = 2, o->holdOut = 2; }},
      {"not finite", [](auto* data, auto*) { data->Points[5].Height = kNaN; }},
      {"not finite",
       [](auto*, auto* o) {
         o->checkPoints.push_back({0.0, kNaN, 0.0, 0.0, 0.0});
       }},
      {"share",
       [](auto* data, auto*) {
         for (auto& p : data->Points) p.Lon = 8.0;
       }},
      {"order", [](auto*, auto* o) { o->order = 4; }},
      {"ridge", [](auto*, auto* o) { o->ridge = kNaN; }},
      {"weights",
       [](auto*, auto* o) {
         o->weights = {1.0, 2.0};
       }},
      {"weight", [](auto*, auto* o) { o->weights.assign(100, 1.0), o->weights[8] = -1.0; }},
      {"5 points to fit, at least 8",
       [](auto*, auto* o) {
         o->weights.assign(100, 1.0);
         for (std::size_t i = 5; i < 100; ++i) o->weights[i] = 1e-30;
       }},
      {"7 points to fit (93 copies of them do not count), at least 8",
       [](auto* d, auto*) {
         for (std::size_t i = 7; i < 100; ++i) d->Points[i] = d->Points[i % 7];
       }},
      {"beyond 1e+60", [](auto* d, auto*) { d->Points[3].Height = -1e200; }},
      {"most latitudes are beyond 90 degrees",
       [](auto* d, auto*) {
         for (auto& point : d->Points) point.Lon += 100.0, std::swap(point.Lat, point.Lon);
       }},
      {"of the lines and",
       [](auto* d, auto*) {  // a column of other points
         for (std::size_t i = 0; i < 100; ++i) d->Points[i].Line = d->Points[i * 37 % 100].Height;
       }},
      {"explains only 0 % of the lines and 100 % of the samples",
       [](auto* d, auto*) {
         for (auto& point : d->Points) point.Line *= 1e-300;
       }},
      {"held out", [](auto*, auto* o) { o->holdOut = 1; }},
      {"offsets and scales", [](auto*, auto* o) { o->keepNormalization = true; }},
  };
  Random random("Refused");
  const TPoints points = RandomPoints(PushbroomRecord(), 100, 0.0, &random);
  for (const auto& test : cases) {
    TRPCEstimationDataSet data{points, false};
    TRPCFitOptions options;
    test.spoil(&data, &options);
    TRPCData fitted = PoisonedRecord();
    fitted.heightScale = 0.0;
    const TRPCData before = fitted;
    TRPCFitReport report;
    EXPECT_FALSE(FitRPC(data, options, &fitted, &report)) << test.reason;
    EXPECT_NE(report.message.find(test.reason), std::string::npos) << test.reason << ": " << report.message;
    EXPECT_FALSE(report.success);
    EXPECT_TRUE(SameRecord(fitted, before)) << test.reason;
  }
  EXPECT_EQ(TRPCFitReport().message, "not run");
}

// Copies are no measurements: of each point's the largest weight counts, and a bad one is named with its copies.
TEST(FitRPC, CountsCopiesOfPointsOnce) {
  Random random("Copies");
  TRPCEstimationDataSet once{RandomPoints(PushbroomRecord(), 60, 0.2, &random), false};
  TRPCFitOptions options;
  for (std::size_t i = 0; i < 60; ++i) options.weights.push_back(random.Uniform(1.0, 2.0));
  once.Points[4].Line += 40.0;
  TRPCEstimationDataSet joined = once;
  TRPCFitOptions of_joined = options;
  for (std::size_t i = 60; i-- > 0;) {
    joined.Points.push_back(once.Points[i]);
    of_joined.weights.push_back(i % 2 == 0 ? options.weights[i] : 0.5);
  }
  TRPCData a, b;
  TRPCFitReport of_once, report;
  ASSERT_TRUE(FitRPC(once, options, &a, &of_once));
  ASSERT_TRUE(FitRPC(joined, of_joined, &b, &report));
  EXPECT_TRUE(SameRecord(a, b));
  EXPECT_EQ(of_once.bad, (std::vector<std::size_t>{4}));
  EXPECT_EQ(report.bad, (std::vector<std::size_t>{4, 115}));
  EXPECT_EQ(report.copies, 60u);
  EXPECT_EQ(report.fitted.count, 59u);
  EXPECT_NE(report.message.find("; copies of points, not counted: 60"), std::string::npos) << report.message;
}

// A model of points that do not fill space holds where they lie, and the sentence says so.
TEST(FitRPC, SaysWhereThePointsLie) {
  const TRPC model(PushbroomRecord(), nullptr);
  const struct {
    double of_lat, of_lon, thickness;  ///< the height's share of each, and how far it is from that
    bool plane, flat;                  ///< what is said when they do not lie on a line
  } rows[] = {{0.3, 0.4, 0.0, true, false},
              {0.3, 0.4, 1e-4, true, false},
              {0.3, 0.4, 0.1, false, false},
              {0.0, 0.0, 0.0, false, true},
              {0.3, 0.0, 0.0, true, false}};
  Random random("Where");
  for (const auto& row : rows) {
    for (const bool on_a_line : {false, true}) {
      TRPCEstimationDataSet data;
      for (int i = 0; i < 100; ++i) {
        const double P = random.Uniform(-1, 1), L = on_a_line ? 0.5 * P - 0.1 : random.Uniform(-1, 1);
        const double H = row.of_lat * P + row.of_lon * L + row.thickness * random.Uniform(-1, 1);
        data.Points.push_back(PointAt(model, P, L, H));
      }
      TRPCData fitted;
      TRPCFitReport report;
      ASSERT_TRUE(FitRPC(data, TRPCFitOptions(), &fitted, &report)) << report.message;
      const auto says = [&](const char* what) { return report.message.find(what) != std::string::npos; };
      const bool plane = on_a_line && row.thickness > 0.01;  // the line's vertical one
      EXPECT_EQ(says("one line on the ground"), on_a_line && !plane) << report.message;
      EXPECT_EQ(says("one plane on the ground"), plane || (!on_a_line && row.plane)) << report.message;
      EXPECT_EQ(says("one height"), row.flat) << report.message;
    }
  }
}

class TStopAt : public TZxProgressHandler {
 public:
  explicit TStopAt(int call) : call_(call) {}
  bool Progress(double fraction) override {
    EXPECT_GE(fraction, last);
    EXPECT_LE(fraction, 1.0);
    last = fraction;
    return ++calls != call_;
  }
  double last = 0.0;
  int calls = 0;

 private:
  int call_;
};

TEST(FitRPC, TellsItsProgressAndCanBeStopped) {
  Random random("Progress");
  TRPCFitOptions options;
  TRPCData fitted;
  // Few points are fitted in two ways, many with a start from some of them.
  TStopAt few(-1);
  options.progress = &few;
  ASSERT_TRUE(FitRPC({RandomPoints(PushbroomRecord(), 45, 0.1, &random), false}, options, &fitted));
  EXPECT_EQ(few.last, 1.0);
  const TRPCEstimationDataSet data{RandomPoints(PushbroomRecord(), 5000, 0.1, &random), false};
  TStopAt never(-1);
  options.progress = &never;
  ASSERT_TRUE(FitRPC(data, options, &fitted));
  EXPECT_EQ(never.last, 1.0);
  for (const int call : {1, never.calls / 2, never.calls}) {
    TStopAt stop(call);
    options.progress = &stop;
    fitted = PoisonedRecord();
    EXPECT_FALSE(FitRPC(data, options, &fitted));
    EXPECT_EQ(stop.calls, call);
    EXPECT_TRUE(SameRecord(fitted, PoisonedRecord()));
  }
}

TEST(RenormalizeRPC, GivesTheSameModelWithOtherNumbers) {
  TRPCData moved = PushbroomRecord();
  moved.lineOffset += 12.25, moved.lineScale *= 1.5, moved.sampScale *= -1.0, moved.latOffset -= 0.02;
  moved.longScale *= 0.75, moved.heightOffset = 0.0, moved.heightScale = 1000.0;
  ASSERT_TRUE(RenormalizeRPC(PushbroomRecord(), &moved));
  EXPECT_EQ(moved.lineDenCoef[0], 1.0);
  EXPECT_LT(Distance(PushbroomRecord(), moved).maximum, 1e-8);

  TRPCData same = PushbroomRecord();
  ASSERT_TRUE(RenormalizeRPC(PushbroomRecord(), &same));
  EXPECT_TRUE(SameRecord(same, PushbroomRecord()));
}

TEST(RenormalizeRPC, LeavesTheRecordAloneWhenItCannot) {
  TRPCData unset = PushbroomRecord();
  unset.sampOffset = TRPCData().sampOffset;
  TRPCData flat = PushbroomRecord();
  flat.latScale = 0.0;
  // A denominator 1 + P that is 0 where the new origin lies.
  TRPCData pole = PushbroomRecord();
  std::fill_n(pole.lineDenCoef + 1, 19, 0.0);
  pole.lineDenCoef[2] = 1.0;
  TRPCData at_pole = pole;
  at_pole.latOffset = pole.latOffset - pole.latScale;
  for (const auto& [from, to] : {std::pair(unset, pole), std::pair(pole, flat), std::pair(pole, at_pole)}) {
    TRPCData result = to;
    EXPECT_FALSE(RenormalizeRPC(from, &result));
    EXPECT_TRUE(SameRecord(result, to));
  }
}

TEST(ResidualsOfRPC, CountsWhatItSees) {
  TPoints points;
  const TRPC model(PushbroomRecord(), nullptr);
  for (int i = 1; i <= 40; ++i) {
    points.push_back(PointAt(model, 0.01 * i, -0.01 * i, 0.0));
    points.back().Line += i % 2 == 0 ? i : -i;
    points.back().Lon += 360.0;
  }
  const TRPCFitResiduals residuals = ResidualsOfRPC(PushbroomRecord(), points, false);
  EXPECT_EQ(residuals.count, 40u);
  EXPECT_NEAR(residuals.line.rms, std::sqrt(41.0 * 81.0 / 6.0), 1e-6);  // mean of the first 40 squares
  EXPECT_NEAR(residuals.line.percentile95, 38.0, 1e-6);
  EXPECT_NEAR(residuals.line.maximum, 40.0, 1e-6);
  EXPECT_LT(residuals.sample.maximum, 1e-6);
  EXPECT_EQ(ResidualsOfRPC(PushbroomRecord(), {}, false).distance.rms, 0.0);
}

}  // namespace
