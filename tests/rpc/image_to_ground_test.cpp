// Ground points from several images.

#include "rpc/image_to_ground.h"

#include <gtest/gtest.h>

#include <cmath>

#include "frame/zxstd/message.h"
#include "linalg/linear_systems.h"
#include "rpc/models.h"
#include "support/bits.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::CameraModel;
using orbmath_test::CameraRecord;
using orbmath_test::GridOf;
using orbmath_test::Ground;
using orbmath_test::kPoison;
using orbmath_test::OpenModel;
using orbmath_test::SameBits;

using Items = std::vector<TRPCCoordsDataItem>;

// Of solutions from exact measurements: degrees, metres.
constexpr double kDegrees = 1e-11;
constexpr double kMetres = 1e-6;

/// One exact measurement of `ground` in each model.
Items ItemsOf(const std::vector<const TRPC*>& models, const Ground& ground) {
  Items items;
  for (const TRPC* const model : models) {
    TRPCCoordsDataItem item;
    item.model = model;
    model->CalculateLineSample(ground[0], ground[1], ground[2], &item.line, &item.sample, nullptr, nullptr);
    items.push_back(item);
  }
  return items;
}

const TRPC kLeft = CameraModel(1.4, -0.3);
const TRPC kRight = CameraModel(1.42, 0.3);
const TRPC kNadir = CameraModel(1.41, 0.0);
const Ground kPoint = {43.615, 1.425, 310.0};

TEST(ImageToGround, FindsThePointThatWasMeasured) {
  for (const auto& models :
       {std::vector<const TRPC*>{&kLeft, &kRight}, std::vector<const TRPC*>{&kLeft, &kNadir, &kRight}}) {
    for (const Ground& ground : GridOf(kNadir, {5, 5, 4}, 0.9)) {
      const Items items = ItemsOf(models, ground);
      double lat, lon, h;
      ASSERT_TRUE(CalculateLatLonH(items, &lat, &lon, &h));
      EXPECT_NEAR(lat, ground[0], kDegrees);
      EXPECT_NEAR(lon, ground[1], kDegrees);
      EXPECT_NEAR(h, ground[2], kMetres);
      ASSERT_TRUE(CalculateLatLon(items, ground[2], &lat, &lon));
      EXPECT_NEAR(lat, ground[0], kDegrees);
      EXPECT_NEAR(lon, ground[1], kDegrees);
      double rough_lat, rough_lon, rough_h;
      TRPC::CalculateLatLonHApproximately(*models[0], items[0].line, items[0].sample, *models[1], items[1].line,
                                          items[1].sample, &rough_lat, &rough_lon, &rough_h);
      EXPECT_NEAR(rough_lat, ground[0], 1e-3);
      EXPECT_NEAR(rough_lon, ground[1], 1e-3);
      EXPECT_NEAR(rough_h, ground[2], 30.0);
    }
  }
}

TEST(ImageToGround, AnObservedHeightCountsByItsVariance) {
  const Items items = ItemsOf({&kLeft, &kRight}, kPoint);
  double lat, lon, h;
  ASSERT_TRUE(CalculateLatLonH(items, kPoint[2] + 50.0, 1e-12, &lat, &lon, &h));
  EXPECT_NEAR(h, kPoint[2] + 50.0, kMetres);  // pinned
  double fixed_lat, fixed_lon;
  ASSERT_TRUE(CalculateLatLon(items, kPoint[2] + 50.0, &fixed_lat, &fixed_lon));
  EXPECT_NEAR(lat, fixed_lat, 1e-9);
  EXPECT_NEAR(lon, fixed_lon, 1e-9);
  ASSERT_TRUE(CalculateLatLonH(items, kPoint[2] + 50.0, 1e12, &lat, &lon, &h));
  EXPECT_NEAR(h, kPoint[2], kMetres);  // free
}

/// One more Gauss-Newton step at the point, its weighted rows solved by the general solver, moves nothing.
TEST(ImageToGround, ItsPointMinimisesTheResiduals) {
  Items items = ItemsOf({&kLeft, &kNadir, &kRight}, kPoint);
  items[0].line += 0.7;
  items[1].sample -= 0.4;
  items[2].sample += 1.1;
  const double h_observed = 320.0;
  const double variance = 25.0;
  double ground[3];
  ASSERT_TRUE(CalculateLatLonH(items, h_observed, variance, &ground[0], &ground[1], &ground[2]));
  TMatrix design(3, 7);
  TVector residuals(7);
  TVector weights = TVector(7) + 1.0;
  for (std::size_t i = 0; i < 3; ++i) {
    double line, sample, dLine[3], dSample[3];
    items[i].model->CalculateLineSample(ground[0], ground[1], ground[2], &line, &sample, dLine, dSample);
    for (std::size_t c = 0; c < 3; ++c) {
      design[2 * i][c] = dSample[c];
      design[2 * i + 1][c] = dLine[c];
    }
    residuals[2 * i] = items[i].sample - sample;
    residuals[2 * i + 1] = items[i].line - line;
  }
  design[6][2] = 1.0;
  residuals[6] = h_observed - ground[2];
  weights[6] = 1.0 / variance;
  TVector step;
  TOverdefinedLinearSystem(design, residuals, weights).Solution(step);
  EXPECT_NEAR(step[0], 0.0, kDegrees);
  EXPECT_NEAR(step[1], 0.0, kDegrees);
  EXPECT_NEAR(step[2], 0.0, kMetres);
}

TEST(ImageToGround, TheStartIsTheLeastSquaresSolutionOfTheApproximationsBitForBit) {
  const Items items = ItemsOf({&kLeft, &kRight}, kPoint);
  TMatrix design(3, 5);
  TVector right(5);
  TVector weights = TVector(5) + 1.0;
  for (std::size_t i = 0; i < 2; ++i) {
    double A[4], B[4], C[4], D[4];
    ASSERT_TRUE(items[i].model->GetApproximation(A, B, C, D));
    for (std::size_t c = 0; c < 3; ++c) {
      design[2 * i][c] = C[c] - items[i].sample * D[c];
      design[2 * i + 1][c] = A[c] - items[i].line * B[c];
    }
    right[2 * i] = -(C[3] - items[i].sample * D[3]);
    right[2 * i + 1] = -(A[3] - items[i].line * B[3]);
  }
  design[4][2] = 1.0;
  right[4] = 300.0;
  weights[4] = 1.0 / 16.0;
  TVector x;
  TOverdefinedLinearSystem(design, right, weights).Solution(x);
  double ground[3];
  ASSERT_TRUE(CalculateLatLonHApproximatelyH(items, 300.0, 16.0, &ground[0], &ground[1], &ground[2]));
  EXPECT_TRUE(SameBits(ground, x.GetData(), 3));
}

TEST(ImageToGround, SevenTwentyDegreesAwayAndAcrossTheMeridianItIsTheSamePoint) {
  struct Case {
    double left, right, lon;
  };
  for (const Case& c : {Case{1.4, 361.42, 1.425}, Case{1.4, -718.58, 1.425}, Case{179.99, -179.99, 180.01},
                        Case{-179.99, 179.99, -180.01}, Case{179.99, 180.01, 180.01}}) {
    const TRPC left = CameraModel(c.left, -0.3);
    const TRPC right = CameraModel(c.right, 0.3);
    const Items items = ItemsOf({&left, &right}, {43.615, c.lon, 310.0});
    double lat, lon, h;
    ASSERT_TRUE(CalculateLatLonH(items, &lat, &lon, &h));
    EXPECT_NEAR(lat, 43.615, kDegrees);
    EXPECT_NEAR(lon, c.lon, kDegrees) << "in the turn of the first model";
    EXPECT_NEAR(h, 310.0, kMetres);
    ASSERT_TRUE(CalculateLatLonApproximately(items, 310.0, &lat, &lon));
    EXPECT_NEAR(lon, c.lon, 1e-3);
    TRPC::CalculateLatLonHApproximately(left, items[0].line, items[0].sample, right, items[1].line, items[1].sample,
                                        &lat, &lon, &h);
    EXPECT_NEAR(lon, c.lon, 1e-3);
  }
}

TEST(ImageToGround, WithoutTwoImagesNothingIsWritten) {
  const Items one = ItemsOf({&kLeft}, kPoint);
  for (const Items& items : {Items(), one, Items(2)}) {
    double lat = kPoison;
    double lon = kPoison;
    double h = kPoison;
    EXPECT_FALSE(CalculateLatLon(items, 310.0, &lat, &lon));
    EXPECT_FALSE(CalculateLatLonH(items, &lat, &lon, &h));
    EXPECT_FALSE(CalculateLatLonH(items, 310.0, 1.0, &lat, &lon, &h));
    EXPECT_EQ(lat, kPoison);
    EXPECT_EQ(lon, kPoison);
    EXPECT_EQ(h, kPoison);
  }
  double lat = kPoison;
  double lon = kPoison;
  EXPECT_TRUE(CalculateLatLonApproximately(one, 310.0, &lat, &lon)) << "one image gives two equations";
  double h = kPoison;
  for (const Items& items : {Items(), Items(2)}) {
    lat = lon = kPoison;
    EXPECT_FALSE(CalculateLatLonApproximately(items, 310.0, &lat, &lon));
    EXPECT_FALSE(CalculateLatLonHApproximately(items, &lat, &lon, &h));
    EXPECT_FALSE(CalculateLatLonHApproximatelyH(items, 310.0, 1.0, &lat, &lon, &h));
    EXPECT_TRUE(lat == kPoison && lon == kPoison && h == kPoison);
  }
}

TEST(ImageToGround, ModelsWithoutAnApproximationArePassedOverInTheStart) {
  const OpenModel empty;
  Items items = ItemsOf({&kLeft, &kRight}, kPoint);
  double lat, lon, lat1, lon1;
  ASSERT_TRUE(CalculateLatLonApproximately(items, 310.0, &lat, &lon));
  items.push_back({&empty, 1.0, 1.0});
  ASSERT_TRUE(CalculateLatLonApproximately(items, 310.0, &lat1, &lon1));
  EXPECT_TRUE(SameBits(lat, lat1));
  EXPECT_TRUE(SameBits(lon, lon1));
}

TEST(ImageToGround, TwoImagesThatDoNotDetermineAPointThrow) {
  TRPCData record = CameraRecord(1.4);
  record.lineScale = record.sampScale = 0.0;
  const TRPC flat(record, nullptr);
  double lat, lon, h;
  try {
    TRPC::CalculateLatLonH(flat, 7000.0, 6000.0, flat, 7000.0, 6000.0, &lat, &lon, &h);
    ADD_FAILURE();
  } catch (const TZxMessage& message) {
    EXPECT_STREQ(message.what(), "TRPC::CalculateLatLonH");
  }
  const Items items = ItemsOf({&kLeft, &kRight}, kPoint);
  TRPC::CalculateLatLonH(kLeft, items[0].line, items[0].sample, kRight, items[1].line, items[1].sample, &lat, &lon, &h);
  EXPECT_NEAR(h, kPoint[2], kMetres);
}

}  // namespace
}  // namespace SatCommonUtils
