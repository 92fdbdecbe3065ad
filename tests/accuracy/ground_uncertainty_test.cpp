// Stated uncertainties of located and intersected points against simulated errors.

#include "accuracy/ground_uncertainty.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "accuracy/simulation.h"
#include "frame/zxstd/threads.h"
#include "rpc/ground_solution.h"
#include "rpc/models.h"
#include "support/bits.h"
#include "support/random.h"
#include "terrain/scenes.h"
#include "terrain/terrain_locator.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::Coverage;
using orbmath_test::ErrorOf;
using orbmath_test::kPoints;
using orbmath_test::Random;

struct TGround {
  double lat, lon, h;
};

struct TPixel {
  double line, sample;
};

TPixel Project(const TRPC& model, const TGround& ground) {
  TPixel pixel;
  model.CalculateLineSample(ground.lat, ground.lon, ground.h, &pixel.line, &pixel.sample, nullptr, nullptr);
  return pixel;
}

/// An error of an image on the ground, metres.
struct TShift {
  double east = 0.0, north = 0.0;
};

TShift DrawShift(Random* random, double sigma) { return {random->Normal(sigma), random->Normal(sigma)}; }

/// Where an image that lies off by `bias` has a ground point, measured with its errors: on the ground the model puts it
/// off by the bias and the random error.
TPixel Measure(const TRPC& model, const TImageErrors& errors, const TGround& ground, const TShift& bias,
               Random* random) {
  const TGroundScale scale = GroundScaleAt(ground.lat, ground.h);
  const TShift own = DrawShift(random, errors.random);
  TPixel pixel = Project(model, {ground.lat + (bias.north + own.north) / scale.north,
                                 ground.lon + (bias.east + own.east) / scale.east, ground.h});
  pixel.line += random->Normal(errors.sigma);
  pixel.sample += random->Normal(errors.sigma);
  return pixel;
}

TGround Draw(const TRPC& model, Random* random, double size) {
  return {
      model.GetCenterLatitude() + random->Uniform(-size, size) * (model.GetMaxLatitude() - model.GetCenterLatitude()),
      model.GetCenterLongitude() +
          random->Uniform(-size, size) * (model.GetMaxLongitude() - model.GetCenterLongitude()),
      model.GetAverageHeight() + random->Uniform(-200.0, 200.0)};
}

TImageErrors Errors(double sigma, double bias, double random_error) { return {sigma, bias, random_error, nullptr}; }

TEST(LocateUncertainty, HoldsErrorsAtAHeightWithASigma) {
  // Steep: one metre of height moves the point by a tenth of a metre; shallow: by a metre and a half.
  for (const double tilt : {0.1, 1.5}) {
    SCOPED_TRACE(tilt);
    const TRPC model = orbmath_test::TiltedModel(tilt, 1e-3);
    const TImageErrors errors = Errors(1.3, 1.1, 0.6);
    constexpr double kHeightSigma = 1.7;
    Random random("locate at a height");
    Coverage points, distances;
    for (std::size_t i = 0; i < kPoints; ++i) {
      const TShift bias = DrawShift(&random, errors.bias);
      const TGround first = Draw(model, &random, 0.9);
      const TGround pair[] = {first, {first.lat + 1e-4, first.lon - 2e-4, first.h + 5.0}};
      orbmath_test::GroundError off[2];
      TGroundUncertainty stated[2];
      for (int k = 0; k < 2; ++k) {
        const TPixel pixel = Measure(model, errors, pair[k], bias, &random);
        const TGroundSolution at =
            SolveLatLon(model, pixel.line, pixel.sample, pair[k].h + random.Normal(kHeightSigma));
        stated[k] = LocateUncertainty(model, errors, at.lat, at.lon, at.h, kHeightSigma);
        off[k] = ErrorOf(at.lat, at.lon, at.h, pair[k].lat, pair[k].lon, pair[k].h);
      }
      points.Add(off[0], stated[0]);
      // What is not shared is what a distance suffers from.
      const TGroundCovariance &a = stated[0].covariance, &b = stated[0].shared;
      const TPlaneCovariance plane = {2.0 * (a.eastEast - b.eastEast), 2.0 * (a.eastNorth - b.eastNorth),
                                      2.0 * (a.northNorth - b.northNorth)};
      distances.Add({off[1].east - off[0].east, off[1].north - off[0].north, off[1].up - off[0].up},
                    CircularErrorsOf(plane), kLinearError90 * std::sqrt(2.0 * (a.upUp - b.upUp)));
    }
    points.Expect(true);
    distances.Expect(true);
  }
}

TEST(TerrainUncertainty, HoldsErrorsOnLevelAndOnSteepGround) {
  struct TScene {
    const char* name;
    double tilt;
    double toward;  ///< slope towards north-east, which the line of sight leaves by `tilt`
    bool mountain;
  };
  // On the slope of 0.6 that falls away from the sensor errors of the height count two and a half fold.
  constexpr TScene kScenes[] = {{"level", 0.2, 0.0, false},
                                {"facing", 1.0, -0.6, false},
                                {"falling away", 1.0, 0.6, false},
                                {"mountain", 0.4, 0.0, true}};
  for (const TScene& scene : kScenes) {
    SCOPED_TRACE(scene.name);
    const TRPC model = orbmath_test::TiltedModel(scene.tilt);
    const TImageErrors errors = Errors(1.2, 0.9, 0.4);
    const TTerrainErrors terrain = {1.5, 0.0};
    THeightGridFrame frame = orbmath_test::Frame();
    frame.interpolation = THeightInterpolation::Bicubic;
    const auto plane = [&](double lat, double lon) {
      return 900.0 + scene.toward * std::sqrt(0.5) * orbmath_test::kMetresPerDegree *
                         ((lat - 45.0) + (lon - 7.0) * std::sqrt(0.5));
    };
    const THeightGrid surface(
        frame, scene.mountain ? orbmath_test::Posts(frame, orbmath_test::Mountain) : orbmath_test::Posts(frame, plane));
    const TTerrainLocator locator(model, surface);
    Random random("locate on a terrain");
    Coverage points;
    std::vector<double> lines, samples;
    std::vector<TGround> truths;
    while (truths.size() < kPoints) {
      TGround ground = Draw(model, &random, 0.8);
      ground.h = surface.GetHeight(ground.lat, ground.lon);
      if (scene.mountain && locator.GetVisibility(ground.lat, ground.lon, ground.h + 5.0) != TVisibility::Visible)
        continue;
      ground.h += random.Normal(terrain.sigma);
      const TPixel pixel = Measure(model, errors, ground, DrawShift(&random, errors.bias), &random);
      lines.push_back(pixel.line);
      samples.push_back(pixel.sample);
      truths.push_back(ground);
    }
    std::vector<TTerrainSolution> solutions(kPoints);
    ASSERT_EQ(locator.LocateArray(kPoints, lines.data(), samples.data(), solutions.data()), kPoints);
    for (std::size_t i = 0; i < kPoints; ++i) {
      const TTerrainSolution& at = solutions[i];
      points.Add(ErrorOf(at.lat, at.lon, at.h, truths[i].lat, truths[i].lon, truths[i].h),
                 TerrainUncertainty(model, errors, surface, terrain, at.lat, at.lon, at.h));
    }
    points.Expect(true);
  }
}

TEST(TerrainUncertainty, SaysWhereTheGroundGivesNoAnswer) {
  const TRPC model = orbmath_test::TiltedModel(1.0);
  const TImageErrors errors = Errors(1.0, 0.0, 0.0);
  const auto along = [](double slope) {
    return orbmath_test::Formula(
        [slope](double lat, double lon) {
          return slope * std::sqrt(0.5) * orbmath_test::kMetresPerDegree *
                 ((lat - 45.0) + (lon - 7.0) * std::sqrt(0.5));
        },
        1e6);
  };
  const auto state = [&](const THeightSurface& surface) {
    return TerrainUncertainty(model, errors, surface, {1.0, 0.0}, 45.0, 7.0, 0.0).state;
  };
  EXPECT_EQ(state(along(0.8)), TUncertaintyState::Known);
  EXPECT_EQ(state(along(0.99)), TUncertaintyState::Grazing);
  EXPECT_EQ(state(along(1.5)), TUncertaintyState::Grazing);
  const orbmath_test::Formula cliff([](double, double lon) { return lon > 7.0 ? orbmath_test::kNaN : 0.0; }, 0.0);
  EXPECT_EQ(state(cliff), TUncertaintyState::Known);
  EXPECT_EQ(state(orbmath_test::Formula([](double, double) { return orbmath_test::kNaN; }, 0.0)),
            TUncertaintyState::NoSlope);
}

struct TPair {
  const char* name;
  double across[2];
  TIntersectionHeight height;
};

TEST(IntersectionUncertainty, HoldsErrorsOfImagesThatShareTheirBias) {
  // The sidewards tilts give bases of about one and of a fifth of the height.
  constexpr TPair kPairs[] = {{"wide", {0.07, -0.05}, TIntersectionHeight::Free},
                              {"narrow", {0.02, -0.01}, TIntersectionHeight::Free},
                              {"narrow, height observed", {0.02, -0.01}, TIntersectionHeight::Observed},
                              {"height held", {0.07, -0.05}, TIntersectionHeight::Known}};
  constexpr double kHeightSigma = 2.0;
  const std::vector<TImageErrors> errors = {Errors(0.4, 2.0, 0.3), Errors(1.1, 3.5, 0.5)};
  for (const TPair& pair : kPairs) {
    SCOPED_TRACE(pair.name);
    const TRPC left = orbmath_test::CameraModel(1.4, pair.across[0]);
    const TRPC right = orbmath_test::CameraModel(1.41, pair.across[1]);
    TIntersectionErrors together;
    together.height = pair.height;
    together.biasCorrelation = 0.6;
    // The weight that a solution gives to a height need not be the right one.
    if (pair.height != TIntersectionHeight::Free) together.heightSigma = kHeightSigma;
    if (pair.height == TIntersectionHeight::Observed) together.heightVariance = 3.0;
    Random random("intersect");
    std::vector<double> lats, lons, heights;
    std::vector<TGround> truths;
    for (std::size_t i = 0; i < kPoints; ++i) {
      const TGround ground = Draw(left, &random, 0.7);
      const TShift common = DrawShift(&random, 1.0);
      std::vector<TRPCCoordsDataItem> items;
      for (int m = 0; m < 2; ++m) {
        const TRPC* const model = m == 0 ? &left : &right;
        const TShift lone = DrawShift(&random, errors[m].bias * std::sqrt(1.0 - together.biasCorrelation));
        const double share = errors[m].bias * std::sqrt(together.biasCorrelation);
        const TShift bias = {lone.east + share * common.east, lone.north + share * common.north};
        const TPixel pixel = Measure(*model, errors[m], ground, bias, &random);
        items.push_back({model, pixel.line, pixel.sample, 1.0, 1.0});
      }
      const double h = ground.h + random.Normal(kHeightSigma);
      const TGroundIntersection at = pair.height == TIntersectionHeight::Free ? SolveLatLonH(items)
                                     : pair.height == TIntersectionHeight::Known
                                         ? SolveLatLon(items, h)
                                         : SolveLatLonH(items, h, together.heightVariance);
      ASSERT_TRUE(at) << DescribeGroundState(at.status.state);
      lats.push_back(at.lat), lons.push_back(at.lon), heights.push_back(at.h);
      truths.push_back(ground);
    }
    std::vector<TGroundUncertainty> stated(kPoints);
    ASSERT_EQ(IntersectionUncertaintyArray({&left, &right}, errors, together, kPoints, lats.data(), lons.data(),
                                           heights.data(), stated.data()),
              kPoints);
    Coverage points;
    for (std::size_t i = 0; i < kPoints; ++i) {
      points.Add(ErrorOf(lats[i], lons[i], heights[i], truths[i].lat, truths[i].lon, truths[i].h), stated[i]);
    }
    points.Expect(true);
    // One point alone has the bits of the array.
    const TGroundUncertainty alone =
        IntersectionUncertainty({&left, &right}, errors, together, lats[77], lons[77], heights[77]);
    EXPECT_TRUE(orbmath_test::SameBits(&alone.covariance.eastEast, &stated[77].covariance.eastEast, 6));
  }
}

TEST(IntersectionUncertainty, AgreesWithTheSolutionsOwnCovariance) {
  const TRPC left = orbmath_test::CameraModel(1.4, 0.05);
  const TRPC right = orbmath_test::CameraModel(1.4, -0.04);
  std::vector<TRPCCoordsDataItem> items;
  for (const TRPC* const model : {&left, &right}) {
    const TPixel pixel = Project(*model, {43.61, 1.39, 300.0});
    items.push_back({model, pixel.line, pixel.sample, 1.0, 1.0});
  }
  const TGroundIntersection at = SolveLatLonH(items);
  double sigmas[3];
  GroundSigmas(at.lat, at.h, at.covariance, sigmas);
  const TGroundUncertainty stated = IntersectionUncertainty(
      {&left, &right}, {Errors(0.3, 0.0, 0.0), Errors(0.3, 0.0, 0.0)}, {}, at.lat, at.lon, at.h);
  EXPECT_NEAR(std::sqrt(stated.covariance.eastEast), 0.3 * sigmas[0], 1e-9);
  EXPECT_NEAR(std::sqrt(stated.covariance.northNorth), 0.3 * sigmas[1], 1e-9);
  EXPECT_NEAR(stated.le90, 0.3 * sigmas[2] * kLinearError90, 1e-9);
  // A bias that all images have alike moves the point with them, and its height not at all.
  TIntersectionErrors together;
  together.biasCorrelation = 1.0;
  const TGroundUncertainty moved = IntersectionUncertainty(
      {&left, &right}, {Errors(0.0, 5.0, 0.0), Errors(0.0, 5.0, 0.0)}, together, at.lat, at.lon, at.h);
  EXPECT_NEAR(moved.ce90, 5.0 * kCircularError90, 1e-6);
  EXPECT_NEAR(moved.le90, 0.0, 1e-6);
}

TEST(GroundUncertainty, SaysWhyThereIsNone) {
  const TRPC model = orbmath_test::CameraModel();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const auto locate = [&](const TImageErrors& errors, double lat, double sigma) {
    const TGroundUncertainty result = LocateUncertainty(model, errors, lat, 1.4, 0.0, sigma);
    EXPECT_TRUE(std::isnan(result.ce90));
    return result.state;
  };
  EXPECT_EQ(locate(Errors(1, 0, 0), nan, 1.0), TUncertaintyState::NoPoint);
  EXPECT_EQ(locate(Errors(1, 0, 0), 43.6, -1.0), TUncertaintyState::BadErrors);
  EXPECT_EQ(locate(Errors(nan, 0, 0), 43.6, 1.0), TUncertaintyState::BadErrors);
  EXPECT_EQ(locate({1.0, 0.0, 0.0, std::make_shared<const TRefinementCovariance>()}, 43.6, 1.0),
            TUncertaintyState::BadErrors);
  // Two images of one place see no height.
  EXPECT_EQ(IntersectionUncertainty({&model, &model}, {Errors(1, 0, 0), Errors(1, 0, 0)}, {}, 43.6, 1.4, 0.0).state,
            TUncertaintyState::Singular);
  EXPECT_EQ(IntersectionUncertainty({&model}, {}, {}, 43.6, 1.4, 0.0).state, TUncertaintyState::BadErrors);
}

TEST(GroundUncertainty, WhatASurfaceThrowsReachesTheCallerFromEveryThread) {
  class Thrower : public THeightSurface {
   public:
    void GetHeights(std::size_t, const double*, const double*, double*) const override {
      throw std::runtime_error("no heights today");
    }
    THeightRange GetRange(const TTerrainBox&) const override { return {}; }
  };
  const TZxThreadsScope threads(3);
  const std::vector<double> lat(9000, 43.6), lon(9000, 1.4), h(9000, 300.0);
  std::vector<TGroundUncertainty> results(lat.size());
  EXPECT_THROW(TerrainUncertaintyArray(orbmath_test::CameraModel(), {}, Thrower(), {}, lat.size(), lat.data(),
                                       lon.data(), h.data(), results.data()),
               std::runtime_error);
}

}  // namespace
}  // namespace SatCommonUtils
