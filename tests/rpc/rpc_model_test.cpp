// The model as an object: copies, extras, extents, XML.

#include "rpc/rpc_model.h"

#include <gtest/gtest.h>

#include <cmath>
#include <type_traits>

#include "frame/zxstd/message.h"
#include "rpc/models.h"
#include "rpc/records.h"
#include "support/bits.h"
#include "support/xml.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::CameraModel;
using orbmath_test::CameraRecord;
using orbmath_test::kPoison;
using orbmath_test::OpenModel;
using orbmath_test::SameBits;
using orbmath_test::SameRecord;

const TPolygon kMargin(std::vector<xy_d>{{0.0, 0.0}, {12000.0, 0.0}, {12000.0, 14000.0}, {0.0, 14000.0}});

TRPCData RecordOf(const TRPC& model) {
  TRPCData record;
  model.GetRPCData(&record);
  return record;
}

std::string XmlOf(const TRPC& model) {
  return orbmath_test::SavedXml([&model](TZxXIniWriter* writer) { EXPECT_TRUE(model.SaveToXML(writer)); });
}

double LineAt(const TRPC& model, double lat, double lon, double h) {
  double line, sample;
  model.CalculateLineSample(lat, lon, h, &line, &sample, nullptr, nullptr);
  return line;
}

// Law 5 of `TRPC`.
TEST(RPCModel, HoldsTheRecordBitForBit) {
  const TRPCData record = orbmath_test::CountingRecord();
  EXPECT_TRUE(SameRecord(RecordOf(TRPC(record, nullptr)), record));
  EXPECT_TRUE(SameRecord(RecordOf(TRPC(&record, &kMargin)), record));
}

TEST(RPCModel, TakesAnyRecord) {
  TRPCData zero = CameraRecord(1.4);
  zero.latScale = 0.0;
  const TRPC flat(zero, nullptr);
  EXPECT_TRUE(std::isnan(LineAt(flat, zero.latOffset, 1.4, 240.0)));
  EXPECT_TRUE(SameRecord(RecordOf(flat), zero));
  EXPECT_TRUE(SameRecord(RecordOf(TRPC(TRPCData(), nullptr)), TRPCData()));
}

// Law 5 of `TRPC`.
TEST(RPCModel, CopiesStandOnTheirOwn) {
  auto original = std::make_unique<TRPC>(CameraRecord(1.4), &kMargin);
  ASSERT_TRUE(original->SetRasterDims(12000, 14000));
  ASSERT_TRUE(original->EnsureApproximation());
  const double line = LineAt(*original, 43.61, 1.41, 300.0);
  double A[4], B[4], C[4], D[4];
  ASSERT_TRUE(original->GetApproximation(A, B, C, D));
  const TRPC copy(*original);
  TRPC assigned = CameraModel(20.0);
  assigned = *original;
  const var_a<TRPC*> made = original->CreateVCopy();
  original.reset();
  for (const TRPC* const model : {&copy, static_cast<const TRPC*>(&assigned), static_cast<const TRPC*>(made.get())}) {
    EXPECT_TRUE(SameBits(LineAt(*model, 43.61, 1.41, 300.0), line));
    TPolygon margin;
    EXPECT_TRUE(model->GetMargin(&margin));
    EXPECT_EQ(margin, kMargin);
    int width = 0;
    int height = 0;
    EXPECT_TRUE(model->GetRasterDims(&width, &height));
    EXPECT_EQ(width, 12000);
    EXPECT_EQ(height, 14000);
    double a[4], b[4], c[4], d[4];
    EXPECT_TRUE(model->GetApproximation(a, b, c, d));
    EXPECT_TRUE(SameBits(a, A, 4) && SameBits(b, B, 4) && SameBits(c, C, 4) && SameBits(d, D, 4));
  }
}

TEST(RPCModel, AVirtualCopyBuildsItsOwnApproximation) {
  const std::string section = "Approximation";
  const TRPC model = CameraModel();
  ASSERT_TRUE(model.EnsureApproximation());
  EXPECT_NE(XmlOf(TRPC(model)).find(section), std::string::npos);
  EXPECT_EQ(XmlOf(*model.CreateVCopy()).find(section), std::string::npos);
}

TEST(RPCModel, AnInvalidMarginIsNone) {
  const TPolygon line(std::vector<xy_d>{{0.0, 0.0}, {1.0, 1.0}});
  TRPC model(CameraRecord(1.4), &line);
  TPolygon margin = kMargin;
  EXPECT_FALSE(model.GetMargin(&margin));
  EXPECT_EQ(margin, kMargin);
  model.SetMargin(kMargin);
  EXPECT_TRUE(model.GetMargin(&margin));
}

TEST(RPCModel, RasterDimensionsAreKnownOrNot) {
  TRPC model = CameraModel();
  int width = -7;
  int height = -8;
  EXPECT_FALSE(model.GetRasterDims(&width, &height));
  EXPECT_EQ(width, -7);
  EXPECT_TRUE(model.SetRasterDims(1, 2));
  EXPECT_FALSE(model.SetRasterDims(0, 5));
  EXPECT_FALSE(model.SetRasterDims(5, 0));
  EXPECT_TRUE(model.GetRasterDims(nullptr, nullptr));
  EXPECT_TRUE(model.GetRasterDims(&width, nullptr));
  EXPECT_EQ(width, -7);
  EXPECT_TRUE(model.GetRasterDims(&width, &height));
  EXPECT_EQ(width, 1);
  EXPECT_EQ(height, 2);
}

TEST(RPCModel, ExtentsAreOffsetAndScale) {
  TRPCData record = CameraRecord(1.4);
  record.lineScale = -7100.0;
  const TRPC model(record, nullptr);
  EXPECT_EQ(model.GetCenterLine(), 7000.0);
  EXPECT_EQ(model.GetMaxLine(), -100.0);  // a negative scale turns the range around
  EXPECT_EQ(model.GetMinLine(), 14100.0);
  EXPECT_EQ(model.GetCenterSample(), 6000.0);
  EXPECT_EQ(model.GetMaxSample(), 12050.0);
  EXPECT_EQ(model.GetMinSample(), -50.0);
  EXPECT_EQ(model.GetCenterLatitude(), 43.6);
  EXPECT_EQ(model.GetMaxLatitude(), 43.6 + 0.065);
  EXPECT_EQ(model.GetMinLatitude(), 43.6 - 0.065);
  EXPECT_EQ(model.GetCenterLongitude(), 1.4);
  EXPECT_EQ(model.GetMaxLongitude(), 1.4 + 0.085);
  EXPECT_EQ(model.GetMinLongitude(), 1.4 - 0.085);
  EXPECT_EQ(model.GetAverageHeight(), 240.0);
  EXPECT_EQ(model.GetMaxHeight(), 740.0);
  EXPECT_EQ(model.GetMinHeight(), -260.0);
}

TEST(RPCModel, AnEmptyModelAnswersWithoutNumbers) {
  OpenModel model;
  EXPECT_TRUE(std::isnan(LineAt(model, 43.6, 1.4, 0.0)));
  EXPECT_TRUE(std::isnan(model.GetMaxHeight()));
  EXPECT_FALSE(model.EnsureApproximation());
  double lat = kPoison;
  double lon = kPoison;
  EXPECT_FALSE(model.CalculateLatLonNormalized(0.0, 0.0, 0.0, &lat, &lon));
  EXPECT_EQ(lat, kPoison);
  double numbers[4] = {kPoison, kPoison, kPoison, kPoison};
  EXPECT_FALSE(model.GetApproximation(numbers, numbers, numbers, numbers));
  EXPECT_EQ(numbers[0], kPoison);
  model.SetRPCData(CameraRecord(1.4));
  EXPECT_TRUE(model.EnsureApproximation());
  EXPECT_TRUE(model.SetRasterDims(5, 5));
  model.Reset();
  EXPECT_FALSE(model.GetRasterDims(nullptr, nullptr));
  EXPECT_FALSE(model.EnsureApproximation());
}

TEST(RPCModelXml, CarriesOnlyWhatThereIs) {
  struct Case {
    bool margin, raster, approximation;
  };
  for (const Case& c : {Case{false, false, false}, Case{true, false, false}, Case{false, true, false},
                        Case{false, false, true}, Case{true, true, true}}) {
    TRPC model(CameraRecord(1.4), c.margin ? &kMargin : nullptr);
    if (c.raster) model.SetRasterDims(12000, 14000);
    if (c.approximation) model.EnsureApproximation();
    const std::string xml = XmlOf(model);
    EXPECT_EQ(xml.find("Margin") != std::string::npos, c.margin);
    EXPECT_EQ(xml.find("RasterWidth") != std::string::npos, c.raster);
    EXPECT_EQ(xml.find("SampleDenomFreeTerm") != std::string::npos, c.approximation);
    const auto reader = orbmath_test::ReaderOf(xml);
    const TRPC read(reader.get());
    EXPECT_TRUE(SameRecord(RecordOf(read), RecordOf(model)));
    EXPECT_EQ(XmlOf(read), xml);
  }
}

// Law 6 of `TRPC`.
TEST(RPCModelXml, ALoadedApproximationIsNotRebuilt) {
  TRPC model = CameraModel();
  model.EnsureApproximation();
  std::string xml = XmlOf(model);
  double A[4], B[4], C[4], D[4];
  ASSERT_TRUE(model.GetApproximation(A, B, C, D));
  // The value of the last of the 16 numbers is 1.0; another one has to come back.
  const std::size_t key = xml.find("SampleDenomFreeTerm");
  const std::size_t one = xml.find('1', key);
  ASSERT_NE(one, std::string::npos);
  xml.replace(one, 1, "3");
  const auto reader = orbmath_test::ReaderOf(xml);
  const TRPC read(reader.get());
  ASSERT_TRUE(read.GetApproximation(A, B, C, D));
  EXPECT_EQ(D[3], 3.0);
}

TEST(RPCModelXml, WhatIsMissingFailsTheRead) {
  TRPC model = CameraModel();
  model.EnsureApproximation();
  const std::string xml = XmlOf(model);
  for (const char* const key : {"HeightScale", "SampleNumHCoef"}) {
    const auto reader = orbmath_test::ReaderOf(orbmath_test::Replaced(xml, key, "Other"));
    TRPC target = CameraModel(20.0);
    EXPECT_FALSE(target.InitializeFromXML(reader.get())) << key;
    EXPECT_EQ(reader->FindF("LineOffset"), 0u) << "the reader stays in its section";
    try {
      const TRPC made(reader.get());
      ADD_FAILURE() << key;
    } catch (const TZxMessage& message) {
      EXPECT_STREQ(message.what(), "TRPC::TRPC(TZxXIniReader *src)");
    }
  }
  TRPC untouched = CameraModel(20.0);
  const auto reader = orbmath_test::ReaderOf(orbmath_test::Replaced(xml, "LineScale", "Other"));
  EXPECT_FALSE(untouched.InitializeFromXML(reader.get()));
  EXPECT_TRUE(SameRecord(RecordOf(untouched), CameraRecord(20.0)));
}

TEST(RPCModelXml, RasterDimensionsAreStoredAsTheyStand) {
  TRPC model = CameraModel();
  model.SetRasterDims(12000, 14000);
  const auto reader = orbmath_test::ReaderOf(orbmath_test::Replaced(XmlOf(model), "12000", "-5"));
  const TRPC read(reader.get());
  EXPECT_FALSE(read.GetRasterDims(nullptr, nullptr));
  EXPECT_EQ(XmlOf(read).find("Raster"), std::string::npos);
}

}  // namespace
}  // namespace SatCommonUtils
