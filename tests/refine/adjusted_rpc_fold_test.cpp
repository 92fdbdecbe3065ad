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

TEST(ExportRefined, WhatCannotBeWrittenIsRefusedWithItsCause) {
  const TRPCData record = CameraRecord(1.4);
  TRPCRefinementDataProjective vanishing;  // sends a line through the image to infinity
  vanishing.matr[2][0] = -1.0 / record.lineOffset;
  TRPCRefinementDataShift nan = orbmath_test::Shift(NAN, 0);
  const auto affine = orbmath_test::Affine();
  // Numerator and denominator of the sample vanish together, but for a pixel: a needle that no grid of the image hits.
  TRPCData needle = record, dip = record;
  for (TRPCData* model : {&needle, &dip}) {
    std::fill_n(model->sampNumCoef, 20, 0.0);
    std::fill_n(model->sampDenCoef, 20, 0.0);
    model->sampDenCoef[0] = 1.0;
  }
  const double c = 0.537;
  needle.sampDenCoef[1] = -1.0 / c;  // 1 - L / c
  needle.sampNumCoef[1] = 1.0, needle.sampNumCoef[7] = -1.0 / c, needle.sampNumCoef[0] = 1e-7;
  const double norm = c * c + 1e-6;  // ((L - c)^2 + 1e-6) / norm
  dip.sampDenCoef[1] = -2.0 * c / norm, dip.sampDenCoef[7] = 1.0 / norm;
  dip.sampNumCoef[1] = 1.0, dip.sampNumCoef[7] = -2.0 * c / norm, dip.sampNumCoef[11] = 1.0 / norm;
  dip.sampNumCoef[0] = 1e-8;
  const struct {
    const TRPCData& record;
    const TRPCRefinementDataBase& refinement;
    const char* cause;
  } rows[] = {{record, vanishing, "to infinity"},
              {record, nan, "not finite"},
              {needle, affine, "comes to zero in the image"},
              {dip, affine, "comes to zero in the image"}};
  for (const auto& row : rows) {
    const TAdjustedRPC model(&row.record, &row.refinement);
    TRPCData out;
    EXPECT_FALSE(model.ExportRefined(&out)) << row.cause;
    EXPECT_TRUE(SameRecord(out, TRPCData()));
    const TRefinedExport report = model.ExportRefined();
    EXPECT_FALSE(report.success);
    EXPECT_NE(report.message.find(row.cause), std::string::npos) << report.message;
  }
}

// Beyond a fold the ground shows up in the image again: an inverse has two values there, the projection one.
TEST(ExportRefined, ModelsThatFoldBesideTheirImageAreExported) {
  TRPCData record = CameraRecord(1.4);
  std::fill_n(record.lineNumCoef, 20, 0.0);
  std::fill_n(record.lineDenCoef + 1, 19, 0.0);
  record.lineNumCoef[2] = 1.2, record.lineNumCoef[8] = 0.9;  // folds at P = -2/3, line -0.4
  const auto affine = orbmath_test::Affine();
  const TRefinedExport exported = TAdjustedRPC(&record, &affine).ExportRefined();
  EXPECT_TRUE(exported.success) << exported.message;
  EXPECT_LT(exported.worst, kRefinedExportError);
}

TEST(ExportRefined, SaysHowFarItMisses) {
  TRPCData record = CameraRecord(1.4);
  record.sampDenCoef[1] = 0.3, record.sampDenCoef[2] = -0.2;
  TRPCRefinementDataAffine turned = orbmath_test::Affine();
  for (const double turn : {1e-3, 1e-2, 0.1}) {
    turned.LineTilt = -turn, turned.SampleDrift = 0.7 * turn;
    const TAdjustedRPC model(&record, &turned);
    const TRefinedExport exported = model.ExportRefined();
    if (!exported.success) {
      EXPECT_NE(exported.message.find("the closest miss by"), std::string::npos) << exported.message;
      EXPECT_GT(exported.worst, kRefinedExportError);
      continue;
    }
    const double worst = WorstDistance(model, exported.record);
    EXPECT_LT(worst, 2.0 * exported.worst + kExact) << "of points of the image that the walk uphill may miss";
    EXPECT_LT(exported.worst, kPromise);
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
