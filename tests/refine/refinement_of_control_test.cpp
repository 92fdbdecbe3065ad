// Control points that cannot be meant as they stand.

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "refine/refinement_fit.h"
#include "refine/refinements.h"
#include "rpc/models.h"
#include "support/random.h"

using namespace SatCommonUtils;

namespace {

const TRPCData kRecord = orbmath_test::CameraRecord(1.4);

/// Points over the image, with a third of a pixel of noise, of a model that is off by a few pixels.
std::vector<TGroundControlPoint> Control(std::size_t count) {
  const auto affine = orbmath_test::Affine();
  const TAdjustedRPC truth(&kRecord, &affine);
  orbmath_test::Random random("control");
  std::vector<TGroundControlPoint> points;
  while (points.size() < count) {
    TGroundControlPoint p;
    p.line = random.Uniform(truth.GetMinLine(), truth.GetMaxLine());
    p.sample = random.Uniform(truth.GetMinSample(), truth.GetMaxSample());
    p.height = random.Uniform(100, 300);
    if (!truth.CalculateLatLon(p.line, p.sample, p.height, &p.lat, &p.lon)) continue;
    p.line += random.Normal(0.3);
    p.sample += random.Normal(0.2);
    points.push_back(p);
  }
  return points;
}

}  // namespace

TEST(RefinementOfControl, NamesTheColumnsThatAreExchanged) {
  const TRPC model(kRecord, nullptr);
  const struct {
    bool ground, image;
    const char* cause;
  } rows[] = {{false, false, ""},
              {true, false, "; latitude and longitude seem to be exchanged"},
              {false, true, "; line and sample seem to be exchanged"},
              {true, true, "; latitude and longitude as well as line and sample seem to be exchanged"}};
  for (const std::size_t count : {1u, 5u, 40u}) {
    for (const auto& row : rows) {
      std::vector<TGroundControlPoint> points = Control(count);
      for (TGroundControlPoint& point : points) {
        if (row.ground) std::swap(point.lat, point.lon);
        if (row.image) std::swap(point.line, point.sample);
      }
      TRefinementFit fit;
      // A single point fits with line and sample exchanged, too.
      const bool straight = *row.cause == '\0' || (count == 1 && !row.ground);
      EXPECT_EQ(FitGroundControl(model, points, TRefinementFitOptions(), &fit), straight) << fit.message;
      EXPECT_EQ(static_cast<bool>(fit.data), straight);
      EXPECT_EQ(fit.outside.size() == count, row.ground) << count;
      if (count == 1) continue;
      EXPECT_NE(fit.message.find(row.cause), std::string::npos) << count << ": " << fit.message;
    }
  }
}

TEST(RefinementOfControl, NamesExchangedColumnsOfTies) {
  const TRPC model(kRecord, nullptr);
  const std::vector<TRefinementTie> ties = TiesOfGroundControl(model, Control(30));
  for (const bool measured : {false, true}) {
    std::vector<TRefinementTie> exchanged = ties;
    for (TRefinementTie& tie : exchanged) {
      if (measured) {
        std::swap(tie.measuredLine, tie.measuredSample);
      } else {
        std::swap(tie.line, tie.sample);
      }
    }
    TRefinementFitOptions options;
    options.automatic = false;
    options.type = TRPCRefinementTransformType::Shift;
    TRefinementFit fit;
    EXPECT_FALSE(FitImageTies(model, exchanged, options, &fit));
    EXPECT_NE(fit.message.find("line and sample, computed or measured, seem to be exchanged"), std::string::npos)
        << fit.message;
    EXPECT_TRUE(FitImageTies(model, ties, options, &fit)) << fit.message;
  }
}

TEST(RefinementOfControl, AMisfitBeyondReasonIsTheCallersToAccept) {
  const TRPC model(kRecord, nullptr);
  std::vector<TGroundControlPoint> points = Control(40);
  orbmath_test::Random random("misfit");
  for (TGroundControlPoint& point : points) {
    point.line += random.Normal(300);
    point.sample += random.Normal(200);
  }
  TRefinementFit fit;
  EXPECT_FALSE(FitGroundControl(model, points, TRefinementFitOptions(), &fit));
  EXPECT_NE(fit.message.find("beyond reason; is it the right model?"), std::string::npos) << fit.message;
  TRefinementFitOptions options;
  options.largestMisfit = 1000.0;
  EXPECT_TRUE(FitGroundControl(model, points, options, &fit)) << fit.message;
  options.largestMisfit = INFINITY;
  EXPECT_TRUE(FitGroundControl(model, points, options, &fit)) << fit.message;
}

TEST(RefinementOfControl, NamesPointsOutsideTheBox) {
  const TRPC model(kRecord, nullptr);
  std::vector<TGroundControlPoint> points = Control(20);
  points[3].lat += 1.0;
  points[7].height += 5000.0;
  points[11].line = model.GetMaxLine() + 2000.0;
  TRefinementFit fit;
  ASSERT_TRUE(FitGroundControl(model, points, TRefinementFitOptions(), &fit)) << fit.message;
  EXPECT_EQ(fit.outside, (std::vector<std::size_t>{3, 7, 11}));
  EXPECT_NE(fit.message.find("3 points outside the model's box"), std::string::npos) << fit.message;
  // They are named where there is no fit at all, too: one of them may be why.
  points[5].sigma = 0.0;
  EXPECT_FALSE(FitGroundControl(model, points, TRefinementFitOptions(), &fit));
  EXPECT_EQ(fit.outside, (std::vector<std::size_t>{3, 7, 11}));
}
