// Checks of models: every kind of fault by a record that has it, and real files, which have none.

#include "rpc/model_check.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "rpc/rpc_fields.h"
#include "support/real_data.h"

namespace orbmath_test {

namespace {

using namespace SatCommonUtils;
using Kind = TFindingKind;
using Severity = TFindingSeverity;

/// The record of a pushbroom camera. The image that ships is a mirror image of its ground; this one is not.
TRPCData GoodRecord() {
  TRPCData record;
  EXPECT_TRUE(record.InitializeFromRPBFile(ORBMATH_EXAMPLES_DATA "/pushbroom_left.RPB", nullptr, nullptr));
  for (double& coefficient : record.sampNumCoef) coefficient = -coefficient;
  return record;
}

/// The terms as a file in the order of RPC00A has them.
TRPCData InOrderA(const TRPCData& record) {
  TRPCData sorted = record;
  for (const TRPCCoefficientField& field : RPCCoefficientFields()) {
    for (int k = 0; k < 20; ++k) {
      (sorted.*field.values)[RPCTermPosition(TRPCTermOrder::RPC00A, k)] = (record.*field.values)[k];
    }
  }
  return sorted;
}

TRPCData Exchanged(TRPCData record) {
  std::swap(record.lineNumCoef, record.sampNumCoef);
  std::swap(record.lineDenCoef, record.sampDenCoef);
  std::swap(record.lineOffset, record.sampOffset);
  std::swap(record.lineScale, record.sampScale);
  return record;
}

std::string TextOf(const TModelCheck& check) {
  std::string text = check.message;
  for (const TModelFinding& finding : check.findings) {
    text += std::string("\n") + FindingSeverityName(finding.severity) + " " + FindingKindName(finding.kind) + ": " +
            finding.what + " (" + finding.where + "): " + finding.consequence;
  }
  return text;
}

bool Has(const TModelCheck& check, Severity severity, Kind kind) {
  return std::any_of(check.findings.begin(), check.findings.end(), [&](const TModelFinding& finding) {
    return finding.severity == severity && finding.kind == kind;
  });
}

TEST(ModelCheck, SaysNothingOfAGoodModel) {
  const TModelCheck check = CheckModel(TRPC(GoodRecord(), nullptr));
  EXPECT_EQ(TextOf(check), "fit for use");
  EXPECT_TRUE(check.IsFit());
  EXPECT_LT(check.roundTrip, 1e-6);
  EXPECT_LT(check.bentSight, 0.3);
  // Higher ground is nearer to the sensor, and so its image covers less of it.
  EXPECT_GT(check.lowFootprint.area, check.footprint.area);
  EXPECT_GT(check.footprint.area, check.highFootprint.area);
  EXPECT_EQ(TModelCheck().message, "not run");
  EXPECT_FALSE(TModelCheck().IsFit());
}

TEST(ModelCheck, FindsEveryFault) {
  using Spoil = std::function<void(TRPCData&)>;
  const struct {
    const char* name;
    Severity severity;
    Kind kind;
    Spoil spoil;
  } faults[] = {
      {"a number is missing", Severity::Unfit, Kind::Record, [](TRPCData& r) { r.sampDenCoef[7] = kUnsetMark; }},
      {"zero scale", Severity::Unfit, Kind::Record, [](TRPCData& r) { r.heightScale = 0.0; }},
      {"an inverse model", Severity::Unfit, Kind::Record, [](TRPCData& r) { r.latOffset = 8000.0; }},
      {"doubled line", Severity::Warning, Kind::Denominator,
       [](TRPCData& r) {
         for (int k = 0; k < 20; ++k) r.lineNumCoef[k] *= 2.0, r.lineDenCoef[k] *= 2.0;
       }},
      {"damaged exponent", Severity::Unfit, Kind::Coefficients, [](TRPCData& r) { r.lineNumCoef[5] = 3e10; }},
      {"no ground in it", Severity::Unfit, Kind::Coefficients,
       [](TRPCData& r) { std::fill(r.lineNumCoef + 1, r.lineNumCoef + 20, 0.0); }},
      {"pole", Severity::Unfit, Kind::Pole, [](TRPCData& r) { r.lineDenCoef[1] = 1.5; }},
      {"fold", Severity::Unfit, Kind::Fold, [](TRPCData& r) { r.sampNumCoef[7] = 1.5; }},
      {"mirrored", Severity::Unfit, Kind::Mirror,
       [](TRPCData& r) {
         for (double& c : r.sampNumCoef) c = -c;
       }},
      {"line and sample exchanged", Severity::Unfit, Kind::Mirror, [](TRPCData& r) { r = Exchanged(r); }},
      {"terms in the order of A", Severity::Unfit, Kind::TermOrder, [](TRPCData& r) { r = InOrderA(r); }},
      {"oblong pixels", Severity::Warning, Kind::Pixel, [](TRPCData& r) { r.lineScale *= 5.0; }},
      {"bent sight", Severity::Unfit, Kind::Sight, [](TRPCData& r) { r.lineNumCoef[9] = 0.03; }},
      {"scales of a degree", Severity::Warning, Kind::Scales, [](TRPCData& r) { r.latScale = r.longScale = 1.0; }},
      {"under the sea", Severity::Unfit, Kind::HeightRange, [](TRPCData& r) { r.heightOffset = -9999.0; }},
      {"above the air", Severity::Warning, Kind::HeightRange, [](TRPCData& r) { r.heightScale = 9700.0; }},
      {"no heights", Severity::Warning, Kind::HeightRange, [](TRPCData& r) { r.heightScale = 0.25; }},
      {"latitude of a longitude", Severity::Unfit, Kind::Latitude, [](TRPCData& r) { r.latOffset = 127.0; }},
      {"turn of longitude", Severity::Note, Kind::Longitude, [](TRPCData& r) { r.longOffset = 270.0; }},
      {"antimeridian", Severity::Note, Kind::Longitude, [](TRPCData& r) { r.longOffset = -179.99; }},
      {"no longitude", Severity::Unfit, Kind::Longitude, [](TRPCData& r) { r.longOffset = 8.5e7; }},
  };
  for (const auto& fault : faults) {
    SCOPED_TRACE(fault.name);
    TRPCData record = GoodRecord();
    fault.spoil(record);
    const TModelCheck check = CheckModel(TRPC(record, nullptr));
    EXPECT_TRUE(Has(check, fault.severity, fault.kind)) << TextOf(check);
    EXPECT_EQ(check.IsFit(), fault.severity != Severity::Unfit) << TextOf(check);
    EXPECT_TRUE(std::is_sorted(check.findings.begin(), check.findings.end(),
                               [](const auto& a, const auto& b) { return a.severity > b.severity; }));
  }
}

TEST(ModelCheck, NamesTheOrderOfTerms) {
  const TRPCData good = GoodRecord();
  EXPECT_NE(TextOf(CheckModel(TRPC(InOrderA(good), nullptr))).find("stand in the order RPC00A"), std::string::npos);
  TRPCData read = good;  // as if it stood in the order of A
  for (const TRPCCoefficientField& field : RPCCoefficientFields()) {
    for (int k = 0; k < 20; ++k) {
      (read.*field.values)[k] = (good.*field.values)[RPCTermPosition(TRPCTermOrder::RPC00A, k)];
    }
  }
  EXPECT_NE(TextOf(CheckModel(TRPC(read, nullptr))).find("of RPC00B that were read as RPC00A"), std::string::npos);
}

TEST(ModelCheck, ComparesRasterDomainsAndTheOtherDirection) {
  TRPCData record = GoodRecord();
  record.sampOffset = record.sampScale *= 0.7;  // an image that is no square
  const int lines = static_cast<int>(2.0 * record.lineScale), samples = static_cast<int>(2.0 * record.sampScale);
  const auto of_raster = [&](int width, int height) {
    TRPC model(record, nullptr);
    EXPECT_TRUE(model.SetRasterDims(width, height));
    return CheckModel(model);
  };
  EXPECT_EQ(TextOf(of_raster(samples, lines)), "fit for use");
  EXPECT_TRUE(Has(of_raster(samples, 2 * lines), Severity::Warning, Kind::Raster));
  EXPECT_TRUE(Has(of_raster(samples / 4, lines / 4), Severity::Note, Kind::Raster));
  EXPECT_TRUE(Has(of_raster(lines, samples), Severity::Unfit, Kind::Raster));

  TRPCFileOrigin origin;
  origin.imageDomain = TRPCImageDomain{3.0 * lines, 0.0, 4.0 * lines, 1.0 * samples};
  origin.groundDomain = TRPCGroundDomain{record.latOffset + 1.0, record.longOffset + 360.0, record.latOffset + 2.0,
                                         record.longOffset + 360.1};
  TRPCData direct = record;
  direct.lineNumCoef[0] += 0.01;
  origin.directModel = direct;
  const TModelCheck check = CheckModel(TRPC(record, nullptr), &origin);
  EXPECT_EQ(std::count_if(check.findings.begin(), check.findings.end(),
                          [](const TModelFinding& finding) { return finding.kind == Kind::Domain; }),
            2)
      << TextOf(check);
  EXPECT_TRUE(Has(check, Severity::Unfit, Kind::DirectModel)) << TextOf(check);
}

TEST(ModelCheck, TakesMirrorImagesWhenTold) {
  TModelCheckOptions options;
  options.mirrored = true;
  EXPECT_TRUE(CheckModel(TRPC(Exchanged(GoodRecord()), nullptr), nullptr, options).IsFit());
}

TEST(ModelCheck, ComparesModelsOfOneImage) {
  const TRPC model(GoodRecord(), nullptr);
  TRPCData shifted = GoodRecord();
  shifted.sampOffset += 2.0;
  TModelFinding finding = CompareSameImage(model, TRPC(shifted, nullptr), "other.RPB");
  EXPECT_EQ(finding.severity, Severity::Warning);
  EXPECT_NEAR(finding.distance, 2.0, 1e-6);
  EXPECT_EQ(CompareSameImage(model, model, "same").severity, Severity::Note);
  TModelCheck check = CheckModel(model);
  AddFinding(finding, &check);
  EXPECT_EQ(check.message, "fit for use with care, 1 warning");
}

class RealModelCheck : public WithRealData {};

TEST_F(RealModelCheck, CallsRealModelsFitAndSpoiltOnesUnfit) {
  for (const std::string& name : RealModelFiles()) {
    SCOPED_TRACE(name);
    TRPCFile file;
    TRPCFileError error;
    ASSERT_TRUE(ReadRPCFile(RealDataPath(name), &file, &error)) << error.GetText();
    const bool wide = file.record.latScale == 1.0;  // normalised to a degree: a hundred times its scene
    const TModelCheck check = CheckModel(TRPC(file.record, nullptr), &file.origin);
    EXPECT_TRUE(check.IsFit()) << TextOf(check);
    EXPECT_EQ(check.Count(Severity::Warning), wide ? 3u : 0u) << TextOf(check);
    EXPECT_TRUE(Has(CheckModel(TRPC(Exchanged(file.record), nullptr)), Severity::Unfit, Kind::Mirror));
    // Within that scene the terms of second order move nothing by a pixel.
    if (!wide) {
      EXPECT_TRUE(Has(CheckModel(TRPC(InOrderA(file.record), nullptr)), Severity::Unfit, Kind::TermOrder));
    }
  }
}

}  // namespace

}  // namespace orbmath_test
