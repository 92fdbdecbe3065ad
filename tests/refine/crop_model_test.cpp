// Models of windows: exact maps, every kind of refinement, what has none.

#include "refine/crop_model.h"

#include <gtest/gtest.h>

#include "refine/adjusted_rpc.h"
#include "refine/fitted_models.h"
#include "refine/refinements.h"

namespace SatCommonUtils {
namespace {

// Of image points of thousands of pixels: offsets and scales are rounded once each.
constexpr double kRounding = 1e-9;

TEST(CropModel, TheFirstPixelOfTheWindowBeginsTheResult) {
  // Pixel 100 covers 99.5 to 100.5. At a zoom of 4 these are the pixels 0 to 3, which cover -0.5 to 3.5.
  const TImageWindow window{100.0, 40.0, 4.0};
  EXPECT_EQ(window.MapLine(99.5), -0.5);
  EXPECT_EQ(window.MapLine(100.5), 3.5);
  EXPECT_EQ(window.MapSample(40.0), 1.5);
  // Four pixels become one, whose centre is the centre of the four.
  const TImageWindow coarse{0.0, 0.0, 0.25};
  EXPECT_EQ(coarse.MapLine(1.5), 0.0);
}

TEST(CropModel, GivesThePointsOfTheWindowForEveryRefinement) {
  const TRPCData record = orbmath_test::PushbroomRecord();
  for (const TImageWindow& window :
       {TImageWindow{1234.0, 567.0, 1.0}, TImageWindow{-30.0, 2000.5, 0.25}, TImageWindow{300.0, 0.0, 4.0}}) {
    for (const auto& refinement : orbmath_test::OneOfEachKind()) {
      const TAdjustedRPC model(&record, refinement.get());
      const var_a<TRPC*> cropped = CropModel(model, window);
      ASSERT_TRUE(cropped);
      for (const double at : {-0.7, 0.1, 0.8}) {
        const double lat = record.latOffset + at * record.latScale;
        const double lon = record.longOffset - 0.6 * at * record.longScale;
        const double h = record.heightOffset + 0.3 * at * record.heightScale;
        double line, sample, cropped_line, cropped_sample;
        model.CalculateLineSample(lat, lon, h, &line, &sample, nullptr, nullptr);
        cropped->CalculateLineSample(lat, lon, h, &cropped_line, &cropped_sample, nullptr, nullptr);
        EXPECT_NEAR(cropped_line, window.MapLine(line), kRounding * (1.0 + window.zoom));
        EXPECT_NEAR(cropped_sample, window.MapSample(sample), kRounding * (1.0 + window.zoom));
      }
    }
  }
}

TEST(CropModel, RefusesWhatIsNoWindow) {
  const TRPC model(orbmath_test::PushbroomRecord(), nullptr);
  for (const TImageWindow& window : {TImageWindow{0.0, 0.0, 0.0}, TImageWindow{0.0, 0.0, -1.0},
                                     TImageWindow{std::nan(""), 0.0, 1.0}, TImageWindow{0.0, 0.0, HUGE_VAL}}) {
    EXPECT_FALSE(CropModel(model, window));
  }
  EXPECT_FALSE(CropRefinement(TRPCRefinementDataAffine(), TImageWindow()));
}

}  // namespace
}  // namespace SatCommonUtils
