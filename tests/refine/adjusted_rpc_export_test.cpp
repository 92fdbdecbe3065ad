#include <gtest/gtest.h>

#include <algorithm>

#include "refine/adjusted_rpc.h"
#include "refine/export_distance.h"
#include "refine/refinements.h"
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
