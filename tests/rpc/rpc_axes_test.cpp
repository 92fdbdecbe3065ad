// The value core of a model: its five axes, its twenty terms, its boxes.

#include "rpc/rpc_axes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "rpc/models.h"
#include "rpc/records.h"
#include "rpc/rpc_boxes.h"
#include "rpc/rpc_terms.h"
#include "support/bits.h"
#include "support/random.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::CameraRecord;
using orbmath_test::CountingRecord;
using orbmath_test::Random;
using orbmath_test::SameBits;
using orbmath_test::SameRecord;

constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();

TEST(RPCAxes, NormalisationTravelsThroughARecord) {
  const TRPCData record = CountingRecord();
  TRPCData copy = record;
  for (const TRPCScalarField& field : RPCScalarFields()) copy.*field.value = 0.0;
  TRPCNormalization(record).CopyTo(&copy);
  EXPECT_TRUE(SameRecord(copy, record));
}

TEST(RPCAxes, OnlyFiniteGivenPairsWithAScaleAreUsable) {
  EXPECT_TRUE(TRPCNormalization(CountingRecord()).IsUsable());
  EXPECT_FALSE(TRPCNormalization::None().IsUsable());
  for (const TRPCScalarField& field : RPCScalarFields()) {
    const bool isScale = std::string(field.rpbKey).find("Scale") != std::string::npos;
    for (const double bad : {kNoNumber, kUnsetMark, std::numeric_limits<double>::infinity(), 0.0}) {
      TRPCData record = CountingRecord();
      record.*field.value = bad;
      EXPECT_EQ(TRPCNormalization(record).IsUsable(), bad == 0.0 && !isScale) << field.rpbKey << " " << bad;
    }
  }
}

TEST(RPCAxes, LongitudesCountInTheTurnOfTheModel) {
  const struct {
    double center, lon, near;
  } cases[] = {{170.0, -175.0, 185.0}, {-170.0, 175.0, -185.0}, {10.0, 190.0, 190.0},  {10.0, 190.25, -169.75},
               {0.0, 1080.5, 0.5},     {725.0, 4.0, 724.0},     {10.0, -170.0, -170.0}};
  for (const auto& c : cases) {
    EXPECT_EQ(LongitudeNear(c.center, c.lon), c.near) << c.center << " " << c.lon;
    TRPCData record = CameraRecord(c.center);
    const TRPCNormalization axes(record);
    EXPECT_TRUE(SameBits(axes.Normalize(TGroundPoint{43.0, c.lon, 7.0}).lon, (c.near - c.center) / record.longScale));
    EXPECT_TRUE(SameBits(GroundBoxOf(axes).Remoteness({record.latOffset, c.lon, 7.0}),
                         std::fabs(c.near - c.center) / record.longScale));
  }
  EXPECT_TRUE(std::isnan(LongitudeNear(0.0, kNoNumber)));
  EXPECT_EQ(LongitudeNear(kNoNumber, 700.0), 700.0);
}

TEST(RPCTerms, AreTheProductsOfTheirPowers) {
  Random random("terms");
  for (int run = 0; run < 50; ++run) {
    const TNormalizedGroundPoint point = {random.Uniform(-1.5, 1.5), random.Uniform(-1.5, 1.5),
                                          random.Uniform(-1.5, 1.5)};
    double terms[kRPCTermCount];
    FormRPCTerms(point, terms);
    for (int k = 0; k < kRPCTermCount; ++k) {
      const TRPCTermPowers& powers = kRPCTermPowers[k];
      const double product =
          std::pow(point.lat, powers.lat) * std::pow(point.lon, powers.lon) * std::pow(point.h, powers.h);
      EXPECT_NEAR(terms[k], product, 1e-15 * (1.0 + std::fabs(product))) << k;
    }
    const TRPCData record = CameraRecord(1.4);
    double line, sample;
    TRPC(record).CalculateLineSampleNormalized(point.lat, point.lon, point.h, &line, &sample, nullptr, nullptr);
    EXPECT_TRUE(SameBits(SumRPCTerms(record.lineNumCoef, terms) / SumRPCTerms(record.lineDenCoef, terms), line));
    EXPECT_TRUE(SameBits(SumRPCTerms(record.sampNumCoef, terms) / SumRPCTerms(record.sampDenCoef, terms), sample));
  }
}

// The record says lines -100 to 14100 and samples -50 to 12050; the raster, when it is known, 300 lines of 200 samples.
TEST(RPCBoxes, ImageIsTheRasterOrElseTheBox) {
  TRPC model(CameraRecord(1.4));
  const struct {
    double line, sample;
    bool inBox, onPixels, betweenCentres;
    double distance;  // to the pixels
  } cases[] = {{-0.5, 199.5, true, true, false, 0.0},
               {0.0, 199.0, true, true, true, 0.0},
               {299.5, 0.0, true, true, false, 0.0},
               {299.75, 0.0, true, false, false, 0.25},
               {302.5, 203.5, true, false, false, 5.0},
               {-0.5625, 10.0, true, false, false, 0.0625},
               {150.0, 250.0, true, false, false, 50.5},
               {250.0, 150.0, true, true, true, 0.0},
               {14100.0, 0.0, true, false, false, 13800.5},
               {14100.1, 0.0, false, false, false, 13800.6},
               {0.0, 12050.5, false, false, false, 11851.0},
               {kNoNumber, 0.0, false, false, false, kNoNumber},
               {0.0, kNoNumber, false, false, false, kNoNumber}};
  const TImageBox box = ImageBoxOf(model);
  ASSERT_TRUE(model.SetRasterDims(200, 300));
  const TImageBox pixels = ImageBoxOf(model);
  const TImageBox centres = ImageBoxOf(model, TRasterBounds::PixelCentres);
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.line << " " << c.sample);
    const TImagePoint point = {c.line, c.sample};
    EXPECT_EQ(box.Contains(point), c.inBox);
    EXPECT_EQ(pixels.Contains(point), c.onPixels);
    EXPECT_EQ(centres.Contains(point), c.betweenCentres);
    if (std::isnan(c.distance)) {
      EXPECT_TRUE(std::isnan(pixels.Distance(point)));
    } else {
      EXPECT_NEAR(pixels.Distance(point), c.distance, 1e-9);
    }
  }
}

TEST(RPCBoxes, GroundIsWhatTheRecordNormalises) {
  const TRPCData record = CameraRecord(179.9);
  const TGroundBox box = GroundBoxOf(TRPC(record));
  const double lat = record.latOffset, h = record.heightOffset;
  EXPECT_TRUE(box.Contains({lat, -180.1 + 0.5 * record.longScale, h}));
  EXPECT_FALSE(box.Contains({lat, -180.1 + 1.5 * record.longScale, h}));
  EXPECT_NEAR(box.Remoteness({lat - 2.5 * record.latScale, 179.9, h}), 2.5, 1e-12);
  EXPECT_NEAR(box.HeightRemoteness(h - 3.0 * record.heightScale), 3.0, 1e-12);
  EXPECT_FALSE(box.Contains({lat, 179.9, h + 1.5 * record.heightScale}));
  EXPECT_FALSE(box.Contains({kNoNumber, 179.9, h}));
  EXPECT_FALSE(box.Contains({lat, 179.9, kNoNumber}));
  EXPECT_FALSE(GroundBoxOf(orbmath_test::OpenModel()).Contains({lat, 179.9, h}));
}

TEST(RPCBoxes, GridsReachTheEdgesOrLieInTheMiddles) {
  const TGroundBox box = GroundBoxOf(TRPC(CameraRecord(1.4)));
  const auto ends = box.Grid(3, 2, 4, TGridNodes::Ends);
  ASSERT_EQ(ends.size(), 24u);
  EXPECT_TRUE(SameBits(ends.front().lat, 43.6 - 0.065));
  EXPECT_TRUE(SameBits(ends[3].h, 740.0));
  EXPECT_TRUE(SameBits(ends[4].lon, 1.4 + 0.085));
  EXPECT_TRUE(SameBits(ends[8].lat, 43.6));
  TRPC model(CameraRecord(1.4));
  ASSERT_TRUE(model.SetRasterDims(200, 300));
  const auto middles = ImageBoxOf(model).Grid(3, 2, TGridNodes::Middles);
  ASSERT_EQ(middles.size(), 6u);
  EXPECT_DOUBLE_EQ(middles[0].line, 49.5);
  EXPECT_DOUBLE_EQ(middles[0].sample, 49.5);
  EXPECT_DOUBLE_EQ(middles[1].sample, 149.5);
  EXPECT_DOUBLE_EQ(middles[5].line, 249.5);
}

}  // namespace
}  // namespace SatCommonUtils
