#include "refine/refinement_fit.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "refine/refinement.h"
#include "refine/refinements.h"
#include "rpc/models.h"
#include "support/bits.h"
#include "support/random.h"
#include "support/real_data.h"

using namespace SatCommonUtils;
using orbmath_test::SameBits;
using Type = TRPCRefinementTransformType;

namespace {

/// What exact ties have to be refined to, pixels.
constexpr double kExact = 0.01;
/// Gross error of a bad point, pixels.
constexpr double kGross = 30.0;
constexpr double kTwoPi = 6.283185307179586;

/// Simulated ties of a correction over an image of 12,000 x 7,000 pixels. Sigmas differ; the noise of a tie is its
/// sigma times `noise`.
struct Simulation {
  Simulation(const TRPCRefinementDataBase& truth, std::size_t count, double noise, std::size_t every_bad)
      : random("refinement fit") {
    const auto refinement = CreateRefinementE(truth);
    for (std::size_t i = 0; i < count; ++i) {
      TRefinementTie tie;
      tie.line = random.Uniform(0, 12000);
      tie.sample = random.Uniform(0, 7000);
      tie.sigma = random.Uniform(0.7, 1.3);
      refinement->RawToRefined(tie.line, tie.sample, &tie.measuredLine, &tie.measuredSample, nullptr, nullptr);
      if (noise > 0.0)
        tie.measuredLine += random.Normal(noise * tie.sigma), tie.measuredSample += random.Normal(noise * tie.sigma);
      if (every_bad > 0 && i % every_bad == 0) {
        const double direction = random.Uniform(0, kTwoPi);
        tie.measuredLine += kGross * std::cos(direction);
        tie.measuredSample += kGross * std::sin(direction);
        bad.insert(i);
      }
      ties.push_back(tie);
    }
  }
  std::set<std::size_t> NamedBad(const TRefinementFit& fit) const {
    std::set<std::size_t> named;
    for (std::size_t i = 0; i < fit.points.size(); ++i) {
      if (fit.points[i].isBad) named.insert(i);
    }
    return named;
  }
  orbmath_test::Random random;
  std::vector<TRefinementTie> ties;
  std::set<std::size_t> bad;
};

TRefinementFitOptions Of(Type type) {
  TRefinementFitOptions options;
  options.automatic = false;
  options.type = type;
  return options;
}

}  // namespace

TEST(RefinementFit, ExactAndNoisyTiesWithAndWithoutBadPoints) {
  for (const auto& truth : orbmath_test::OneOfEachKind()) {
    if (truth->type == Type::None) continue;
    for (const double noise : {0.0, 0.3}) {
      for (const std::size_t every_bad : {0u, 5u}) {
        SCOPED_TRACE(::testing::Message() << GetRPCRefinementTransformTypeName(truth->type) << ", noise " << noise
                                          << ", bad points " << (every_bad > 0));
        const Simulation simulation(*truth, 100, noise, every_bad);
        TRefinementFit fit;
        ASSERT_TRUE(FitRefinement(simulation.ties, Of(truth->type), &fit)) << fit.message;
        EXPECT_EQ(simulation.NamedBad(fit), simulation.bad);
        EXPECT_EQ(fit.used, 100 - simulation.bad.size());
        // Distances of two coordinates of that noise, and room for the chance of a set of eighty.
        EXPECT_LT(fit.rmsAfter, kExact + 1.25 * noise * std::sqrt(2.0));
        EXPECT_GT(fit.rmsBefore, 1.0);
        EXPECT_NEAR(fit.sigmaFactor, noise, 0.25 * noise + 1e-6);
        TRefinementFit automatic;
        ASSERT_TRUE(FitRefinement(simulation.ties, TRefinementFitOptions(), &automatic));
        EXPECT_EQ(automatic.type, truth->type) << automatic.message;
      }
    }
  }
}

TEST(RefinementFit, TheTestsOfTheKindsHaveTheFiguresOfTheirFits) {
  // Ties of unit sigma, none of them bad: a drift of a third of a pixel at the border, noise of 0.2 pixels.
  orbmath_test::Random random("kinds");
  std::vector<TRefinementTie> ties;
  for (int i = 0; i < 20; ++i) {
    TRefinementTie tie{random.Uniform(0, 1000), random.Uniform(0, 1000), 0.0, 0.0, 1.0};
    tie.measuredLine = tie.line + 3.0 + 3e-4 * tie.sample + random.Normal(0.2);
    tie.measuredSample = tie.sample - 5.0 + random.Normal(0.2);
    ties.push_back(tie);
  }
  TRefinementFit chosen;
  ASSERT_TRUE(FitRefinement(ties, TRefinementFitOptions(), &chosen));
  ASSERT_EQ(chosen.used, ties.size());
  ASSERT_GE(chosen.kinds.size(), 2u);
  EXPECT_TRUE(chosen.kinds[0].type == Type::Shift && chosen.kinds[0].taken);
  double squares[2];
  for (int i = 0; i < 2; ++i) {
    TRefinementFitOptions options;
    options.automatic = false;
    options.type = i == 0 ? Type::Shift : Type::Affine;
    TRefinementFit fit;
    ASSERT_TRUE(FitRefinement(ties, options, &fit));
    EXPECT_TRUE(fit.kinds.empty());
    squares[i] = 20.0 * fit.rmsAfter * fit.rmsAfter;
  }
  const TRefinementKindTest& affine = chosen.kinds[1];
  ASSERT_EQ(affine.type, Type::Affine);
  EXPECT_EQ(affine.numerator, 4u);
  EXPECT_EQ(affine.denominator, 34u);
  constexpr double kFloorOfNoise = 1e-4;  // relative: a thousandth of a pixel is added to what is left
  EXPECT_NEAR(affine.ratio * (squares[1] / 34.0) / ((squares[0] - squares[1]) / 4.0), 1.0, kFloorOfNoise);
  EXPECT_EQ(affine.taken, affine.probability < kRefinementKindLevel);
  EXPECT_EQ(chosen.type == Type::Shift, !affine.taken);
}

TEST(RefinementFit, TheSameTiesGiveTheSameBits) {
  const Simulation simulation(orbmath_test::Projective(), 60, 0.5, 4);
  TRefinementFit first, second;
  ASSERT_TRUE(FitRefinement(simulation.ties, Of(Type::Projective), &first));
  ASSERT_TRUE(FitRefinement(simulation.ties, Of(Type::Projective), &second));
  std::vector<double> a, b;
  first.data->GetParametersValues(&a);
  second.data->GetParametersValues(&b);
  EXPECT_TRUE(SameBits(a.data(), b.data(), 9));
}

TEST(RefinementFit, KeptBadPointsAreStillNamed) {
  const Simulation simulation(orbmath_test::Shift(3, -2), 20, 0.1, 5);
  TRefinementFitOptions options = Of(Type::Shift);
  options.keepAll = true;
  TRefinementFit fit;
  ASSERT_TRUE(FitRefinement(simulation.ties, options, &fit));
  EXPECT_EQ(simulation.NamedBad(fit), simulation.bad);
  EXPECT_EQ(fit.used, 20u);
  double sum = 0.0, weights = 0.0;  // the weighted mean of all points is what least squares of a shift is
  for (const auto& tie : simulation.ties) {
    sum += (tie.measuredLine - tie.line) / (tie.sigma * tie.sigma);
    weights += 1.0 / (tie.sigma * tie.sigma);
  }
  EXPECT_NEAR(dynamic_cast<const TRPCRefinementDataShift&>(*fit.data).d_line, sum / weights, 1e-9);
}

TEST(RefinementFit, SigmasWeigh) {
  std::vector<TRefinementTie> ties = {{0, 0, 1, 0, 1.0}, {100, 0, 102, 0, 2.0}};
  TRefinementFit fit;
  ASSERT_TRUE(FitRefinement(ties, Of(Type::Shift), &fit));
  EXPECT_NEAR(dynamic_cast<const TRPCRefinementDataShift&>(*fit.data).d_line, (1.0 * 4 + 2.0 * 1) / 5.0, 1e-12);
  EXPECT_NEAR(fit.points[0].lineAfter, -0.2, 1e-12);
  EXPECT_NEAR(fit.points[1].lineBefore, 2.0, 1e-12);
}

TEST(RefinementFit, TheSigmaFactorIsOfTheStatedSigmas) {
  // Stated sigmas a fifth of the true ones, the typical one 0.2 pixels.
  Simulation simulation(orbmath_test::Affine(), 400, 1.0, 0);
  for (TRefinementTie& tie : simulation.ties) tie.sigma *= 0.2;
  TRefinementFit fit;
  ASSERT_TRUE(FitRefinement(simulation.ties, Of(Type::Affine), &fit));
  EXPECT_NEAR(fit.sigmaFactor, 5.0, 0.5);
}

TEST(RefinementFit, ATieIsTestedAgainstTheOthersAlone) {
  Simulation simulation(orbmath_test::Shift(3, -2), 7, 1.0, 0);
  for (TRefinementTie& tie : simulation.ties) tie.sigma = 1.0;
  TRefinementFit fit;
  ASSERT_TRUE(FitRefinement(simulation.ties, Of(Type::Shift), &fit));
  ASSERT_EQ(fit.used, 7u);
  for (std::size_t i = 0; i < 7; ++i) {
    double mean[2] = {0.0, 0.0}, squares = 0.0;
    for (std::size_t k = 0; k < 7; ++k) {
      if (k == i) continue;
      mean[0] += fit.points[k].lineBefore / 6.0;
      mean[1] += fit.points[k].sampleBefore / 6.0;
    }
    const auto off = [&](std::size_t k) {
      const double line = fit.points[k].lineBefore - mean[0], sample = fit.points[k].sampleBefore - mean[1];
      return line * line + sample * sample;
    };
    for (std::size_t k = 0; k < 7; ++k) squares += k == i ? 0.0 : off(k);
    // Twelve observations less two unknowns; the prediction adds the variance of a mean of six.
    EXPECT_NEAR(fit.points[i].standardized, std::sqrt(off(i) / (1.0 + 1.0 / 6.0) / (squares / 10.0)), 1e-3);
  }
}

TEST(RefinementFit, TheCornersAreThoseOfTheImage) {
  // Points all over an image of 12,000 lines and 7,000 samples bear an affine map of it, not of one that lies across.
  const Simulation simulation(orbmath_test::Affine(), 12, 0.01, 0);
  TRefinementFitOptions options = Of(Type::Affine);
  options.lines = 12000, options.samples = 7000;
  TRefinementFit along, across;
  ASSERT_TRUE(FitRefinement(simulation.ties, options, &along));
  std::swap(options.lines, options.samples);
  ASSERT_TRUE(FitRefinement(simulation.ties, options, &across));
  EXPECT_LT(along.cornerFactor, 1.5);
  EXPECT_GT(across.cornerFactor, 1.2 * along.cornerFactor);
}

TEST(RefinementFit, DegenerateSetsAreRefusedWithAReason) {
  const std::vector<TRefinementTie> line = {
      {0, 0, 1, 1}, {1000, 1000, 1001, 1001}, {2000, 2000, 2001, 2001}, {3000, 3000, 3001, 3001}, {7, 7, 8, 8}};
  std::vector<TRefinementTie> along_samples = line, one_place(6), not_finite = line, no_sigma = line;
  for (TRefinementTie& tie : along_samples) tie.line = tie.measuredLine = 5.0;
  for (std::size_t i = 0; i < one_place.size(); ++i) one_place[i].measuredLine = 0.1 * static_cast<double>(i);
  const std::vector<TRefinementTie> copies(6, line[1]);
  not_finite[2].measuredSample = INFINITY;
  no_sigma[3].sigma = 0.0;
  const struct {
    std::vector<TRefinementTie> ties;
    Type type;
    const char* reason;
  } rows[] = {{{}, Type::Shift, "there are no points"},
              {{line[0], line[1]}, Type::Affine, "the kind Affine needs at least 3 points, there are 2"},
              {{line[0], line[1], line[2]}, Type::Projective, "needs at least 4 points, there are 3"},
              {line, Type::None, "a refinement of the kind None cannot be fitted"},
              {line, Type::Affine, "near to one line"},
              {line, Type::Projective, "near to one line"},
              {along_samples, Type::Affine, "near to one line"},
              {one_place, Type::Affine, "at one place"},
              {copies, Type::Affine, "needs at least 3 points, there are 1; copies of points, not counted: 5"},
              {{{0, 0, 1, 1}, {0, 9, 1e200, 1}}, Type::Shift, "point 2: a number is beyond 1e+60, or its sigma below"},
              {{{0, 0, 1, 1, 1e-90}}, Type::Shift, "point 1: a number is beyond 1e+60, or its sigma below"},
              {not_finite, Type::Shift, "point 3: a number is not finite"},
              {no_sigma, Type::Shift, "point 4: a number is not finite, or its sigma is not above 0"}};
  for (const auto& row : rows) {
    TRefinementFit fit;
    EXPECT_FALSE(FitRefinement(row.ties, Of(row.type), &fit)) << row.reason;
    EXPECT_NE(fit.message.find(row.reason), std::string::npos) << fit.message;
    EXPECT_FALSE(fit.success || fit.data || !fit.points.empty());
  }
  TRefinementFit fit;
  ASSERT_TRUE(FitRefinement(line, TRefinementFitOptions(), &fit));
  EXPECT_EQ(fit.type, Type::Shift) << "what such points bear";
}

// Most of the small sets that a fit starts from hold such points twice or thrice, and no map goes by them.
TEST(RefinementFit, PointsMeasuredManyTimesDoNotHideTheOthers) {
  for (const auto& truth : orbmath_test::OneOfEachKind()) {
    if (truth->type == Type::None) continue;
    const auto refinement = CreateRefinementE(*truth);
    Simulation simulation(*truth, 60, 0.0, 0);
    for (int trial = 0; trial < 30; ++trial) {
      TRefinementTie place = simulation.ties[5];
      place.line = simulation.random.Uniform(0, 12000), place.sample = simulation.random.Uniform(0, 7000);
      refinement->RawToRefined(place.line, place.sample, &place.measuredLine, &place.measuredSample, nullptr, nullptr);
      for (std::size_t i = 0; i < simulation.ties.size(); ++i) {
        if (i % 5 != 0) simulation.ties[i] = place;
      }
      TRefinementFit fit;
      ASSERT_TRUE(FitRefinement(simulation.ties, Of(truth->type), &fit)) << fit.message;
      EXPECT_EQ(fit.used + fit.copies, simulation.ties.size()) << fit.message;
    }
  }
}

// Files that were joined twice say what they said once: no point is bad because copies of others agree to the last bit.
TEST(RefinementFit, CopiesOfPointsDoNotCount) {
  for (const auto& truth : orbmath_test::OneOfEachKind()) {
    for (const std::size_t count : {5u, 9u, 40u}) {
      Simulation simulation(*orbmath_test::OneOfEachKind()[1], count, 0.3, 0);
      TRefinementFitOptions options = Of(truth->type);
      options.automatic = truth->type == Type::None;
      TRefinementFit once, joined;
      ASSERT_TRUE(FitRefinement(simulation.ties, options, &once)) << once.message;
      std::vector<TRefinementTie> ties = simulation.ties;
      for (int copy = 0; copy < 3; ++copy) ties.insert(ties.end(), simulation.ties.rbegin(), simulation.ties.rend());
      ASSERT_TRUE(FitRefinement(ties, options, &joined));
      std::vector<double> a, b;
      once.data->GetParametersValues(&a), joined.data->GetParametersValues(&b);
      EXPECT_TRUE(a.size() == b.size() && SameBits(a.data(), b.data(), a.size()));
      EXPECT_EQ(joined.used, once.used);
      EXPECT_EQ(joined.copies, 3 * count);
      EXPECT_EQ(joined.message, once.message + "; copies of points, not counted: " + std::to_string(3 * count));
      ASSERT_EQ(joined.points.size(), ties.size());
      for (std::size_t i = 0; i < count; ++i) {
        EXPECT_TRUE(SameBits(joined.points[2 * count - 1 - i].standardized, once.points[i].standardized));
        EXPECT_EQ(joined.points[2 * count - 1 - i].isBad, once.points[i].isBad);
      }
    }
  }
}

// Most ties come from one small place, as of a matcher that found texture there only, and whatever passes by it has a
// small median: what a map is elsewhere the others say, of which some are bad.
TEST(RefinementFit, ManyPointsAtOnePlaceDoNotOutvoteTheOthers) {
  const struct {
    std::size_t count, others;
    double width;  ///< of the place, pixels
    double noise;  ///< pixels
    Type type;     ///< wanted; None: chosen
    Type expected;
  } rows[] = {
      {300, 60, 0.0, 0.2, Type::Projective, Type::Projective}, {300, 15, 0.0, 0.2, Type::Affine, Type::Affine},
      {300, 15, 0.01, 0.2, Type::None, Type::Affine},          {2000, 30, 3.0, 0.2, Type::Projective, Type::Projective},
      {2000, 8, 3.0, 0.2, Type::Affine, Type::Affine},         {2000, 8, 0.0, 0.2, Type::Affine, Type::Affine},
      {2000, 8, 0.0, 0.2, Type::None, Type::Affine},           {300, 8, 30.0, 0.02, Type::None, Type::Affine}};
  for (const auto& row : rows) {
    for (int corner = 0; corner < 5; ++corner) {
      SCOPED_TRACE(::testing::Message() << row.others << " of " << row.count << " elsewhere, " << corner);
      const auto truth = CreateRefinementE(orbmath_test::Affine());
      Simulation simulation(orbmath_test::Affine(), row.count, row.noise, 0);
      for (std::size_t i = 0; i < row.count; ++i) {
        TRefinementTie& tie = simulation.ties[i];
        const double errors[] = {simulation.random.Normal(row.noise), simulation.random.Normal(row.noise)};
        if (i >= row.others) {
          tie.line = 1500.0 + 2250.0 * corner + row.width * simulation.random.Uniform(-1, 1);
          tie.sample = 875.0 * corner + row.width * simulation.random.Uniform(-1, 1);
        }
        truth->RawToRefined(tie.line, tie.sample, &tie.measuredLine, &tie.measuredSample, nullptr, nullptr);
        tie.measuredLine += errors[0] + (i % 7 == 5 && i < row.others ? kGross : 0.0), tie.measuredSample += errors[1];
        if (i % 7 == 5 && i < row.others) simulation.bad.insert(i);
      }
      TRefinementFitOptions options = Of(row.type);
      options.automatic = row.type == Type::None;
      TRefinementFit fit;
      ASSERT_TRUE(FitRefinement(simulation.ties, options, &fit)) << fit.message;
      EXPECT_EQ(fit.type, row.expected) << fit.message;
      const std::set<std::size_t> named = simulation.NamedBad(fit);
      for (const std::size_t i : simulation.bad) EXPECT_EQ(named.count(i), 1u) << i;
      EXPECT_LE(named.size(), simulation.bad.size() + 1) << fit.message;
    }
  }
}

// Wrong ground coordinates lead models far off, beside which the good points lie at one place: these still know better.
TEST(RefinementFit, FewPointsFarOffDoNotMakeACrowdOfTheOthers) {
  for (const std::size_t wrong : {1u, 3u, 6u, 10u}) {
    for (const Type type : {Type::Affine, Type::None}) {
      for (const double far : {1e5, 1e7}) {
        SCOPED_TRACE(::testing::Message() << wrong << " up to " << far << " pixels off");
        Simulation simulation(orbmath_test::Affine(), 50, 0.3, 0);
        for (std::size_t i = 0; i < wrong; ++i) {
          simulation.ties[4 * i].line = simulation.random.Uniform(-far, far);
          simulation.ties[4 * i].sample = simulation.random.Uniform(-far, far);
          simulation.bad.insert(4 * i);
        }
        TRefinementFitOptions options = Of(type);
        options.automatic = type == Type::None;
        TRefinementFit fit;
        ASSERT_TRUE(FitRefinement(simulation.ties, options, &fit)) << fit.message;
        EXPECT_EQ(fit.type, Type::Affine) << fit.message;
        EXPECT_EQ(simulation.NamedBad(fit), simulation.bad) << fit.message;
      }
    }
  }
}

TEST(RefinementFit, PointsInACornerDoNotBearAnAffineMapOfTheImage) {
  Simulation simulation(orbmath_test::Affine(), 40, 0.01, 0);
  for (TRefinementTie& tie : simulation.ties) {  // squeeze the image into its tenth part
    tie.measuredLine += 0.1 * tie.line - tie.line, tie.line *= 0.1;
    tie.measuredSample += 0.1 * tie.sample - tie.sample, tie.sample *= 0.1;
  }
  TRefinementFitOptions options;
  TRefinementFit fit;
  ASSERT_TRUE(FitRefinement(simulation.ties, options, &fit));
  EXPECT_EQ(fit.type, Type::Affine) << "around the points it is well known";
  options.lines = options.samples = 10000;
  ASSERT_TRUE(FitRefinement(simulation.ties, options, &fit));
  EXPECT_EQ(fit.type, Type::Shift);
}

TEST(RefinementFit, RawTiesOfAnAdjustedModel) {
  const TRPCData record = orbmath_test::CameraRecord(1.4);
  const auto shift = orbmath_test::Shift(2, 3);
  const TAdjustedRPC model(&record, &shift);
  const auto raw = RawTies(model, {{10, 20, 30, 40, 0.5}});
  EXPECT_EQ(raw[0].line, 8.0);
  EXPECT_EQ(raw[0].sample, 17.0);
  EXPECT_EQ(raw[0].measuredSample, 40.0);
  const auto control = TiesOfGroundControl(model, {{43.6, 1.41, 100, 7, 8, 0.5}});
  double line, sample;
  TRPC(record, nullptr).CalculateLineSample(43.6, 1.41, 100, &line, &sample, nullptr, nullptr);
  EXPECT_TRUE(SameBits(control[0].line, line));
  EXPECT_TRUE(SameBits(control[0].sample, sample));
  EXPECT_EQ(control[0].sigma, 0.5);
}

class RefinementOfRealModels : public orbmath_test::WithRealData {};

TEST_F(RefinementOfRealModels, GroundControlOfAShiftedModelIsRefined) {
  for (const std::string& name : orbmath_test::RealModelFiles()) {
    const TRPC model = orbmath_test::RealModel(name);
    TRPCData record;
    model.GetRPCData(&record);
    const auto truth_record = orbmath_test::Affine();
    const TAdjustedRPC truth(&record, &truth_record);
    orbmath_test::Random random("ground control");
    std::vector<TGroundControlPoint> points;
    std::set<std::size_t> bad;
    while (points.size() < 40) {
      TGroundControlPoint p;
      p.height = model.GetAverageHeight() + random.Uniform(0, 50);
      if (!truth.CalculateLatLon(random.Uniform(model.GetMinLine(), model.GetMaxLine()),
                                 random.Uniform(model.GetMinSample(), model.GetMaxSample()), p.height, &p.lat,
                                 &p.lon)) {
        continue;
      }
      truth.CalculateLineSample(p.lat, p.lon, p.height, &p.line, &p.sample, nullptr, nullptr);
      if (points.size() % 5 == 0) {
        p.line += kGross;
        bad.insert(points.size());
      }
      points.push_back(p);
    }
    TRefinementFit fit;
    ASSERT_TRUE(FitRefinement(TiesOfGroundControl(model, points), TRefinementFitOptions(), &fit)) << fit.message;
    EXPECT_EQ(fit.type, Type::Affine) << name;
    EXPECT_LT(fit.rmsAfter, kExact) << name;
    for (std::size_t i = 0; i < points.size(); ++i) EXPECT_EQ(fit.points[i].isBad, bad.count(i) > 0) << name << i;
  }
}
