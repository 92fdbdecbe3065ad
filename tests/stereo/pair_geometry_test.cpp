// Pairs: angles and precisions that can be written down, criteria, and the search against what can be counted.

#include "stereo/pair_geometry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <random>

#include "frame/zxstd/threads.h"
#include "rpc/ground_solution.h"
#include "rpc/rpc_file.h"
#include "rpc/viewing_geometry.h"
#include "stereo/flat_images.h"
#include "support/real_data.h"

namespace orbmath_test {

namespace {

using namespace SatCommonUtils;
using Params = StereopairsByOverlap::TStereopairsByOverlapParams;

constexpr double kRadian = 3.14159265358979323846 / 180.0;
constexpr double kAngle = 2e-3;  // degrees: the meridians converge over the overlap

TStereoImage ImageOf(const TRPC& model, const std::string& sensor = "", const std::string& time = "") {
  TStereoImage image;
  image.model = &model;
  image.sensor = sensor;
  image.acquisitionTime = time;
  return image;
}

TEST(PairGeometry, OfImagesThatCanBeWrittenDown) {
  // Lines of sight in the plane towards east, leaning by 0.2 and 0.5 metres a metre to either side.
  const TRPC west = FlatImage(45.0, 7.0, 0.2 / kSampleSize), east = FlatImage(45.0, 7.1, -0.5 / kSampleSize);
  TStereoPairOptions options;
  options.height = 0.0;
  options.matchingSigma = 0.7;
  options.overlaps = true;
  const TStereoPair pair = LookAtPair(ImageOf(west), ImageOf(east), options);
  ASSERT_TRUE(pair);
  EXPECT_NEAR(pair.overlapPercent, 75.0, 1e-6);
  ASSERT_EQ(pair.overlap.size(), 1u);
  EXPECT_NEAR(pair.overlap[0].GetSignedArea(), 0.3 * 0.1, 1e-9);
  EXPECT_NEAR(pair.overlapArea, EllipsoidArea(pair.overlap[0]), 1.0);
  EXPECT_NEAR(pair.overlapPixels, 0.75 * 2000.0 * 4000.0, 4e3);
  EXPECT_NEAR(pair.place.lon, 7.05, 1e-9);

  const double a = std::atan(0.2) / kRadian, b = std::atan(0.5) / kRadian;
  EXPECT_NEAR(pair.convergence, a + b, kAngle);
  EXPECT_NEAR(pair.bisectorElevation, 90.0 - 0.5 * (b - a), kAngle);
  EXPECT_NEAR(pair.asymmetry, 0.5 * (b - a), kAngle);
  EXPECT_NEAR(pair.baseToHeight, 0.7, 1e-4);
  // The height is the difference of two samples divided by 0.7 / size of a sample.
  EXPECT_NEAR(pair.heightSigma, 0.7 * std::sqrt(2.0) * kSampleSize / 0.7, 1e-3);
  EXPECT_NEAR(pair.gsdDifference, 0.0, 1e-9);
  EXPECT_NEAR(pair.quality, 0.75 * (90.0 - a - b) / 55.0, 1e-4);

  // Higher ground is seen apart: 1,000 m of height take 700 m of the 0.3 degrees.
  options.height = 1000.0;
  EXPECT_NEAR(LookAtPair(ImageOf(west), ImageOf(east), options).overlapPercent,
              75.0 - 100.0 * 700.0 / (0.4 * kDegreeEast), 0.01);

  const TStereoPair same = LookAtPair(ImageOf(west), ImageOf(west));
  EXPECT_NEAR(same.overlapPercent, 100.0, 1e-9);
  EXPECT_LT(same.convergence, 1e-6);
  EXPECT_GT(same.heightSigma, 1e6);
  EXPECT_EQ(LookAtPair(ImageOf(west), ImageOf(FlatImage(46.0, 7.0, 0.0))).state, TStereoPairState::Apart);
  EXPECT_EQ(LookAtPair(ImageOf(west), TStereoImage()).state, TStereoPairState::NoFootprint);
}

TEST(PairGeometry, TestsEveryCriterion) {
  const TRPC west = FlatImage(45.0, 7.0, 0.02), east = FlatImage(45.0, 7.1, -0.02);
  const TStereoImage first = ImageOf(west, "SAT1", "2020-03-01T23:00:00Z");
  const TStereoPair pair = LookAtPair(first, ImageOf(east, "SAT2", "2020-03-02T01:00:00.5Z; "));
  const TStereoPair unknown = LookAtPair(first, ImageOf(east));
  EXPECT_NEAR(pair.timeGap, (2.0 + 0.5 / 3600.0) / 24.0, 1e-9);
  EXPECT_EQ(pair.dateGap, 1.0);
  EXPECT_TRUE(FailedCriteria(pair, Params()).empty());

  using C = TPairCriterion;
  const struct {
    C criterion;
    std::function<void(Params&)> strict, lenient;
    bool Params::*reject;
    bool is_known;  ///< also of images that nothing is known of but their models
  } cases[] = {
      {C::OverlapPercentage, [](Params& p) { p.CheckOverlapPercentage = true, p.MinOverlapPercentage = 80; },
       [](Params& p) { p.MinOverlapPercentage = 60; }, &Params::RejectUndefOverlapPercentage, true},
      {C::OverlapPixels, [](Params& p) { p.CheckOverlapPixels = true, p.MinOverlapPixels = 7e6; },
       [](Params& p) { p.MinOverlapPixels = 5e6; }, &Params::RejectUndefOverlapPixels, true},
      {C::ConvergenceAngle, [](Params& p) { p.CheckConvergenceAngle = true, p.MinConvergenceAngle = 30; },
       [](Params& p) { p.MinConvergenceAngle = 10; }, &Params::RejectUndefConvergenceAngle, true},
      {C::Sensor, [](Params& p) { p.TheSameSensor = true; }, [](Params& p) { p.TheSameSensor = false; },
       &Params::RejectUndefSensor, false},
      {C::TimeGap, [](Params& p) { p.CheckTimeGap = true, p.MinTimeGap = 0.09; }, [](Params& p) { p.MinTimeGap = 0; },
       &Params::RejectUndefTimeGap, false},
      {C::DateGap, [](Params& p) { p.CheckDateGap = true, p.MaxDateGap = 0; }, [](Params& p) { p.MaxDateGap = 1; },
       &Params::RejectUndefDateGap, false},
      {C::Gsd, [](Params& p) { p.CheckGSD = true, p.MaxGSDPercentDiff = 0; },
       [](Params& p) { p.MaxGSDPercentDiff = 1; }, &Params::RejectUndefGSD, true},
      {C::SunAzimuth, [](Params& p) { p.CheckSunAzimuthDiff = true, p.MaxSunAzimuthDiff = 20; },
       [](Params& p) { p.MaxSunAzimuthDiff = 60; }, &Params::RejectUndefSunAzimuthDiff, false},
      {C::SunElevation, [](Params& p) { p.CheckSunElevationDiff = true, p.MaxSunElevationDiff = 1; },
       [](Params& p) { p.MaxSunElevationDiff = 30; }, &Params::RejectUndefSunElevationDiff, false},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(PairCriterionName(test.criterion));
    Params params;
    test.strict(params);
    // Equal models have equal pixels: nothing is stricter than that.
    if (test.criterion != C::Gsd) {
      EXPECT_EQ(FailedCriteria(pair, params), std::vector<C>{test.criterion});
    }
    if (!test.is_known) {
      EXPECT_EQ(FailedCriteria(unknown, params), std::vector<C>{test.criterion});
      params.*test.reject = false;
      EXPECT_TRUE(FailedCriteria(unknown, params).empty());
    }
    test.lenient(params);
    EXPECT_TRUE(FailedCriteria(pair, params).empty());
  }
}

TEST(PairSearch, FindsEveryPairThatOverlaps) {
  std::vector<TRPC> models;
  models.reserve(60);
  std::mt19937 random(5);
  std::uniform_real_distribution<double> lat(-0.3, 0.3), lon(-0.8, 0.8), lean(-0.05, 0.05);
  // Around the 180th meridian, in three turns.
  for (int i = 0; i < 60; ++i)
    models.push_back(FlatImage(45.0 + lat(random), 180.0 + lon(random) - 360.0 * (i % 3 == 0), lean(random)));
  std::vector<TStereoImage> images;
  images.reserve(models.size() + 1);
  for (const TRPC& model : models) images.push_back(ImageOf(model));
  images.push_back(TStereoImage());

  Params criteria;
  criteria.CheckConvergenceAngle = true;
  const TPairSearch search = FindStereoPairs(images, criteria);
  ASSERT_TRUE(search) << search.message;
  EXPECT_EQ(search.unseen, std::vector<std::size_t>{60});
  EXPECT_LT(search.candidates, 60u * 59u / 2u * 2u / 3u) << "boxes leave pairs out";

  // At the common height, 0, footprints are 0.1 degrees high and 0.4 wide around their middles.
  std::size_t overlapping = 0;
  for (std::size_t i = 0; i < models.size(); ++i) {
    for (std::size_t k = i + 1; k < models.size(); ++k) {
      const double north = models[i].GetCenterLatitude() - models[k].GetCenterLatitude();
      const double east = models[i].GetCenterLongitude() - models[k].GetCenterLongitude();
      overlapping += std::abs(north) < 0.1 && std::abs(std::remainder(east, 360.0)) < 0.4 ? 1 : 0;
    }
  }
  EXPECT_GT(overlapping, 100u);
  EXPECT_EQ(search.pairs.size(), overlapping);
  EXPECT_GT(search.accepted, 0u);
  EXPECT_LT(search.accepted, overlapping);
  for (std::size_t i = 0; i < search.pairs.size(); ++i) {
    const TStereoPair& pair = search.pairs[i];
    EXPECT_LT(pair.first, pair.second);
    EXPECT_EQ(FailedCriteria(pair, criteria).empty(), i < search.accepted);
    if (i > 0 && i != search.accepted) {
      EXPECT_LE(pair.quality, search.pairs[i - 1].quality);
    }
    const TStereoPair alone = LookAtPair(images[pair.first], images[pair.second]);
    EXPECT_EQ(pair.heightSigma, alone.heightSigma);
    EXPECT_EQ(pair.overlapArea, alone.overlapArea);
  }
  const TZxThreadsScope seven(7);
  const TPairSearch again = FindStereoPairs(images, criteria);
  ASSERT_EQ(again.pairs.size(), search.pairs.size());
  for (std::size_t i = 0; i < again.pairs.size(); ++i)
    EXPECT_EQ(again.pairs[i].convergence, search.pairs[i].convergence);

  criteria.MaxConvergenceAngle = 5.0;
  EXPECT_EQ(FindStereoPairs(images, criteria).state, TPairSearchState::BadCriteria);
  EXPECT_EQ(TPairSearch().message, "not run");
}

TEST(PairSearch, PairsOfUnknownConvergenceComeLast) {
  const TRPC models[] = {FlatImage(45.0, 7.0, 0.05), FlatImage(45.01, 7.02, 0.0), FlatImage(45.0, 7.03, 0.01),
                         FlatImage(44.99, 7.01, -0.05)};
  std::vector<TStereoImage> images;
  for (const TRPC& model : models) images.push_back(ImageOf(model));
  images[1].radar = true;  // its lines and samples stay along the plumb line: no direction to the sensor follows
  const TPairSearch search = FindStereoPairs(images);
  ASSERT_EQ(search.pairs.size(), 6u);
  for (std::size_t i = 0; i < 6; ++i) {
    const TStereoPair& pair = search.pairs[i];
    const bool known = pair.first != 1 && pair.second != 1;
    EXPECT_EQ(std::isnan(pair.convergence), !known);
    EXPECT_EQ(i < 3, known) << i;
    if (!known) {
      EXPECT_EQ(pair.quality, 0.0);
    }
  }
}

class RealPairs : public WithRealData {};

// The same angles by two lines of sight, each through two heights of one image point, and the same precision by the
// intersection of one point.
TEST_F(RealPairs, AgreeWithViewsAndIntersections) {
  TRPCFile left, right;
  ASSERT_TRUE(ReadRPCFile(RealDataPath("wv02_toulouse_left.RPB"), &left, nullptr));
  ASSERT_TRUE(ReadRPCFile(RealDataPath("wv02_toulouse_right_RPC.TXT"), &right, nullptr));
  const TRPC models[2] = {TRPC(left.record, nullptr), TRPC(right.record, nullptr)};
  const TStereoPair pair = LookAtPair(ImageOf(models[0]), ImageOf(models[1]));
  ASSERT_TRUE(pair);

  TViewingGeometry views[2];
  std::vector<TRPCCoordsDataItem> items(2);
  for (int i = 0; i < 2; ++i) {
    items[i].model = &models[i];
    models[i].CalculateLineSample(pair.place.lat, pair.place.lon, pair.place.h, &items[i].line, &items[i].sample,
                                  nullptr, nullptr);
    views[i] = ViewingGeometryAt(models[i], items[i].line, items[i].sample, pair.place.h);
    EXPECT_NEAR(pair.gsd[i], views[i].gsd, 1e-6);
  }
  const double cosine = views[0].east * views[1].east + views[0].north * views[1].north + views[0].up * views[1].up;
  EXPECT_NEAR(pair.convergence, std::acos(cosine) / kRadian, 0.01);
  const TGroundIntersection point = SolveLatLonH(items);
  double sigmas[3];
  GroundSigmas(point.lat, point.h, point.covariance, sigmas);
  EXPECT_NEAR(pair.heightSigma, 0.5 * sigmas[2], 1e-6);
  EXPECT_GE(pair.planSigma, 0.5 * std::max(sigmas[0], sigmas[1]));
}

}  // namespace

}  // namespace orbmath_test
