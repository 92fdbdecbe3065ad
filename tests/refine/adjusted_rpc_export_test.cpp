#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "refine/adjusted_rpc.h"
#include "refine/export_distance.h"
#include "refine/refinements.h"
#include "refine/rpc_estimation.h"
#include "rpc/models.h"
#include "rpc/records.h"

using namespace SatCommonUtils;
using orbmath_test::CameraRecord;
using orbmath_test::SameRecord;
using orbmath_test::WorstDistance;

namespace {

/// A fit of the camera's own model to itself, in the corners that its ground points do not reach, pixels.
constexpr double kRefitted = 1e-3;

}  // namespace

TEST(Export, WithoutItsCorrectionUnlessThatIsUnity) {
  const TRPCData record = CameraRecord(1.4);
  TRPCData out;
  for (const auto& refinement : orbmath_test::OneOfEachKind()) {
    if (refinement->IsUnity()) continue;
    ASSERT_TRUE(TAdjustedRPC(&record, refinement.get()).Export(&out));
    EXPECT_TRUE(SameRecord(out, record));
  }
  ASSERT_TRUE(TAdjustedRPC(&record, nullptr).Export(&out));
  EXPECT_TRUE(SameRecord(out, record));
  const TRPCRefinementDataShift zero;
  ASSERT_TRUE(TAdjustedRPC(&record, &zero).Export(&out));
  EXPECT_TRUE(SameRecord(out, record));
}

struct Ranges {
  double least[3] = {-1.0, -1.0, -1.0}, largest[3] = {1.0, 1.0, 1.0};  // of latitude, longitude, height
};

// What the export samples: latitude and height up to the ends of their ranges, longitude short of its end unless
// `whole`. The ranges become those of the points.
std::vector<TRPCEstimationPoint> Sampled(const TAdjustedRPC& model, bool whole, Ranges* ranges) {
  std::vector<TRPCEstimationPoint> points;
  double step[3];
  for (int i = 0; i < 3; ++i) step[i] = (ranges->largest[i] - ranges->least[i]) / 11.0;
  const Ranges walked = *ranges;
  *ranges = {{9.0, 9.0, 9.0}, {-9.0, -9.0, -9.0}};
  for (double p = walked.least[0]; p <= walked.largest[0]; p += step[0]) {
    for (double l = walked.least[1]; l < walked.largest[1] || (whole && l == walked.largest[1]); l += step[1]) {
      for (double h = walked.least[2]; h <= walked.largest[2]; h += step[2]) {
        double line, sample;
        model.CalculateLineSample(model.GetLatitudeNormalization()->Normalized2Initial(p),
                                  model.GetLongitudeNormalization()->Normalized2Initial(l),
                                  model.GetHeightNormalization()->Normalized2Initial(h), &line, &sample, nullptr,
                                  nullptr);
        line = model.GetLineNormalization()->Initial2Normalized(line);
        sample = model.GetSampleNormalization()->Initial2Normalized(sample);
        if (std::fabs(line) > 1.0 || std::fabs(sample) > 1.0) continue;
        points.push_back({p, l, h, line, sample});
        const double at[3] = {p, l, h};
        for (int i = 0; i < 3; ++i) {
          ranges->least[i] = std::min(ranges->least[i], at[i]);
          ranges->largest[i] = std::max(ranges->largest[i], at[i]);
        }
      }
    }
  }
  return points;
}

TEST(Export, SamplesItsGridShortOfTheLastLongitude) {
  // Images that are small parts of the ground box: the second walk goes over the part where points were found.
  int telling = 0;
  for (double share = 0.2; share < 0.4; share += 0.01) {
    TRPCData record = CameraRecord(1.4);
    record.lineScale *= share, record.sampScale *= share;
    for (double* c : {record.lineNumCoef, record.sampNumCoef}) {
      std::for_each(c, c + 20, [share](double& x) { x /= share; });
    }
    const TRPCRefinementDataNone none;
    const TAdjustedRPC model(&record, &none);
    Ranges ranges;
    if (Sampled(model, false, &ranges).size() >= 100u) continue;
    Ranges again = ranges;
    const TRPCEstimationDataSet set{Sampled(model, false, &ranges), true};
    telling += Sampled(model, true, &again).size() > set.Points.size() ? 1 : 0;
    TRPCData expected = record, out;
    ASSERT_GE(set.Points.size(), 100u);
    ASSERT_TRUE(EstimateRPC(set, &expected));
    ASSERT_TRUE(model.Export(&out));
    EXPECT_TRUE(SameRecord(out, expected)) << share;
  }
  EXPECT_GT(telling, 0) << "the last longitude was met";
}

TEST(Export, UnityOfOtherKindsIsFittedAnew) {
  // In the second camera the image is a small part of the ground box: the first walk finds too few points there.
  TRPCData narrow = CameraRecord(1.4);
  narrow.lineScale /= 4.0, narrow.sampScale /= 4.0;
  for (double* c : {narrow.lineNumCoef, narrow.sampNumCoef}) std::for_each(c, c + 20, [](double& x) { x *= 4.0; });
  for (const TRPCData& record : {CameraRecord(1.4), narrow}) {
    TRPCRefinementDataAffine unity;
    unity.InitializeUnity();
    for (const auto& refinement : {unity.CreateCopyE(), TRPCRefinementDataNone().CreateCopyE()}) {
      const TAdjustedRPC model(&record, refinement.get());
      TRPCData out;
      ASSERT_TRUE(model.Export(&out));
      EXPECT_EQ(out.lineScale, record.lineScale);
      EXPECT_LT(WorstDistance(model, out), kRefitted);
    }
  }
}
