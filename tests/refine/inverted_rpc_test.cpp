// The inverse of a model, by both fits.

#include <gtest/gtest.h>

#include "fitted_models.h"

namespace {

using namespace SatCommonUtils;
using namespace orbmath_test;

// Degrees: 0.1 mm on the ground, a five-thousandth of a pixel of the model.
constexpr double kGroundAccuracy = 1e-9;

// Largest distance, degrees, of the inverse from the model over the middles of a grid of the image.
double InverseError(const TRPC& model, const TRPCData& inverse) {
  const TRPC inverted(inverse, nullptr);
  double error = 0.0;
  for (double i = -0.9; i < 1.0; i += 0.2) {
    for (double j = -0.9; j < 1.0; j += 0.2) {
      for (double k = -0.75; k < 1.0; k += 0.5) {
        double lat, lon, found_lat, found_lon;
        const double line = model.GetLineNormalization()->Normalized2Initial(i);
        const double sample = model.GetSampleNormalization()->Normalized2Initial(j);
        const double height = model.GetHeightNormalization()->Normalized2Initial(k);
        EXPECT_TRUE(model.CalculateLatLon(line, sample, height, &lat, &lon));
        inverted.CalculateLineSampleNormalized(i, j, k, &found_lat, &found_lon, nullptr, nullptr);
        found_lat = model.GetLatitudeNormalization()->Normalized2Initial(found_lat);
        found_lon = model.GetLongitudeNormalization()->Normalized2Initial(found_lon);
        error = std::max({error, std::fabs(found_lat - lat), std::fabs(found_lon - lon)});
      }
    }
  }
  return error;
}

void ExpectExchangedNormalisation(const TRPCData& inverse, const TRPCData& source) {
  EXPECT_TRUE(SameBits(&inverse.lineOffset, &source.latOffset, 4));
  EXPECT_TRUE(SameBits(&inverse.latOffset, &source.lineOffset, 4));
  EXPECT_TRUE(SameBits(&inverse.heightOffset, &source.heightOffset, 2));
}

TEST(EstimateInvertedRPC, GivesLatitudeAndLongitudeInTheSlotsOfLineAndSample) {
  const TRPC model(PushbroomRecord(), nullptr);
  TRPCData inverse;
  ASSERT_TRUE(EstimateInvertedRPC(model, &inverse, 10, nullptr));
  ExpectExchangedNormalisation(inverse, PushbroomRecord());
  // The grid of ground nodes leaves corners of the image out: the plain inverse is a little off there.
  EXPECT_LT(InverseError(model, inverse), 100.0 * kGroundAccuracy);
}

TEST(EstimateInvertedRPC, FailsForGridsThatAreTooSmall) {
  const TRPC model(PushbroomRecord(), nullptr);
  // At most 27 nodes: the offsets and scales are there, the coefficients untouched.
  for (const int size : {2, 0, -1}) {
    TRPCData inverse = PoisonedRecord();
    EXPECT_FALSE(EstimateInvertedRPC(model, &inverse, size, nullptr));
    ExpectExchangedNormalisation(inverse, PushbroomRecord());
    EXPECT_TRUE(SameBits(inverse.lineNumCoef, PoisonedRecord().lineNumCoef, 80));
  }
}

TEST(FitInvertedRPC, HoldsUpToTheCornersOfTheImage) {
  const TRPC model(PushbroomRecord(), nullptr);
  TRPCData inverse;
  TRPCFitReport report;
  ASSERT_TRUE(FitInvertedRPC(model, &inverse, 8, nullptr, &report)) << report.message;
  ExpectExchangedNormalisation(inverse, PushbroomRecord());
  EXPECT_LT(InverseError(model, inverse), kGroundAccuracy);
  EXPECT_EQ(report.coverage, 1.0);
}

TEST(FitInvertedRPC, LeavesTheRecordAloneWhenItFails) {
  const TRPC model(PushbroomRecord(), nullptr);
  for (const int size : {0, 2, 201}) {
    TRPCData inverse = PoisonedRecord();
    TRPCFitReport report;
    EXPECT_FALSE(FitInvertedRPC(model, &inverse, size, nullptr, &report));
    EXPECT_TRUE(SameRecord(inverse, PoisonedRecord()));
    EXPECT_NE(report.message, "not run");
  }
}

class OpenRPC : public TRPC {
 public:
  using TRPC::CreateInvertedRPC;
  using TRPC::TRPC;
};

TEST(CreateInvertedRPC, TellsWhetherThereIsAnInverse) {
  const OpenRPC model(PushbroomRecord(), nullptr);
  EXPECT_TRUE(model.CreateInvertedRPC(6));
  EXPECT_FALSE(model.CreateInvertedRPC(0));
}

}  // namespace
