#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "refine/adjusted_rpc.h"
#include "refine/export_distance.h"
#include "refine/refinements.h"
#include "rpc/models.h"
#include "rpc/records.h"
#include "support/real_data.h"

using namespace SatCommonUtils;
using orbmath_test::CameraRecord;
using orbmath_test::SameRecord;
using orbmath_test::WorstDistance;

namespace {

/// What an exported record may miss its model by, pixels: the promise, and rounding where the export is exact.
constexpr double kPromise = 0.01;
constexpr double kExact = 1e-8;
/// An affine correction without cross terms.
TRPCRefinementDataAffine PerAxis() {
  TRPCRefinementDataAffine data = orbmath_test::Affine();
  data.LineTilt = data.SampleDrift = 0.0;
  return data;
}

}  // namespace

TEST(ExportRefined, ShiftsAndScalesFoldExactly) {
  const TRPCData record = CameraRecord(1.4);
  for (const auto& refinement : {orbmath_test::Shift(3.5, -7.25).CreateCopyE(), PerAxis().CreateCopyE()}) {
    const TAdjustedRPC model(&record, refinement.get());
    TRPCData out;
    ASSERT_TRUE(model.ExportRefined(&out));
    EXPECT_LT(WorstDistance(model, out), kExact);
    EXPECT_EQ(out.lineOffset, record.lineOffset);
    EXPECT_TRUE(orbmath_test::SameBits(out.lineDenCoef, record.lineDenCoef, 20));
  }
}

TEST(ExportRefined, EqualDenominatorsMakeEveryKindExact) {
  TRPCData record = CameraRecord(1.4);
  std::copy_n(record.lineDenCoef, 20, record.sampDenCoef);
  for (const auto& refinement : orbmath_test::OneOfEachKind()) {
    const TAdjustedRPC model(&record, refinement.get());
    TRPCData out;
    ASSERT_TRUE(model.ExportRefined(&out));
    EXPECT_LT(WorstDistance(model, out), kExact);
    EXPECT_EQ(out.lineDenCoef[0], 1.0);
  }
}

TEST(ExportRefined, UnityAndNoneGiveTheRecordItself) {
  const TRPCData record = CameraRecord(1.4);
  TRPCRefinementDataAffine unity;
  unity.InitializeUnity();
  for (const TRPCRefinementDataBase* refinement :
       {static_cast<const TRPCRefinementDataBase*>(nullptr), static_cast<const TRPCRefinementDataBase*>(&unity)}) {
    TRPCData out;
    ASSERT_TRUE(TAdjustedRPC(&record, refinement).ExportRefined(&out));
    EXPECT_TRUE(SameRecord(out, record));
  }
}

TEST(ExportRefined, WhatCannotBeWrittenIsRefused) {
  const TRPCData record = CameraRecord(1.4);
  TRPCRefinementDataProjective vanishing;  // sends a line through the image to infinity
  vanishing.matr[2][0] = -1.0 / record.lineOffset;
  TRPCRefinementDataShift nan = orbmath_test::Shift(NAN, 0);
  for (const TRPCRefinementDataBase* refinement :
       {static_cast<const TRPCRefinementDataBase*>(&vanishing), static_cast<const TRPCRefinementDataBase*>(&nan)}) {
    TRPCData out;
    EXPECT_FALSE(TAdjustedRPC(&record, refinement).ExportRefined(&out));
    EXPECT_TRUE(SameRecord(out, TRPCData()));
  }
}

class ExportOfRealModels : public orbmath_test::WithRealData {};

TEST_F(ExportOfRealModels, CarriesCorrectionsOfAFewPixels) {
  for (const std::string& name : orbmath_test::RealModelFiles()) {
    TRPCData record;
    orbmath_test::RealModel(name).GetRPCData(&record);
    for (const auto& refinement : orbmath_test::OneOfEachKind()) {
      const TAdjustedRPC model(&record, refinement.get());
      TRPCData out;
      ASSERT_TRUE(model.ExportRefined(&out)) << name;
      EXPECT_LT(WorstDistance(model, out), kPromise) << name;
    }
  }
}
