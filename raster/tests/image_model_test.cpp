// Models of images: containers that GDAL wrote from the same record, and what a failure says.

#include "raster/image_model.h"

#include <gdal_priv.h>
#include <gtest/gtest.h>

#include <string>

#include "rpc/models.h"
#include "rpc/records.h"
#include "support/expected_formats.h"

namespace SatCommonUtils {
namespace {

// An image of 7 by 5 pixels in the folder for tests, of the driver's kind.
std::string MakeImage(const char* driver, const std::string& name) {
  GDALAllRegister();
  const std::string path = testing::TempDir() + name;
  GDALDataset* const memory = GetGDALDriverManager()->GetDriverByName("MEM")->Create("", 7, 5, 1, GDT_Byte, nullptr);
  memory->GetRasterBand(1)->Fill(42.0);
  GDALDriver* const maker = GetGDALDriverManager()->GetDriverByName(driver);
  GDALClose(maker->CreateCopy(path.c_str(), memory, FALSE, nullptr, nullptr, nullptr));
  GDALClose(memory);
  return path;
}

TEST(ImageModel, ComesBackFromEveryContainer) {
  const TRPCData record = orbmath_test::CameraRecord(1.4);
  const TRPCFileExtras extras = {std::nullopt, std::nullopt, 1.25, 0.5};
  for (const char* driver : {"GTiff", "PNG", "ENVI"}) {
    const std::string path = MakeImage(driver, std::string("orbmath_image_model.") + driver);
    TRPCFileError error;
    ASSERT_TRUE(WriteImageModel(path, record, extras, &error)) << driver << ": " << error.GetText();
    TRPCFile file;
    ASSERT_TRUE(ReadImageModel(path, TRPCFileOptions(), &file, &error)) << driver << ": " << error.GetText();
    EXPECT_EQ(file.form, TRPCFileForm::Image);
    EXPECT_EQ(file.extras.biasError, 1.25) << driver;
    EXPECT_EQ(file.origin.rasterWidth, 7) << driver;
    EXPECT_EQ(file.origin.rasterHeight, 5) << driver;
    EXPECT_NE(file.origin.source.find(path), std::string::npos) << driver;
    EXPECT_TRUE(orbmath_test::SameRecord(file.record, record)) << driver;
  }
}

TEST(ImageModel, SaysWhyThereIsNone) {
  TRPCFile file;
  file.xml = "poison";
  TRPCFileError error;
  const std::string path = MakeImage("GTiff", "orbmath_image_without_model.tif");
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  EXPECT_FALSE(ReadImageModel(path, TRPCFileOptions(), &file, &error));
  EXPECT_EQ(error.GetText(), path + ": the image has no RPC model, neither in it nor in a file beside it");
  EXPECT_FALSE(ReadImageModel("/no/such/image.tif", TRPCFileOptions(), &file, &error));
  EXPECT_NE(error.GetText().find("No such file"), std::string::npos) << error.GetText();
  EXPECT_FALSE(WriteImageModel("/no/such/image.tif", orbmath_test::CameraRecord(1.4), {}, &error));
  EXPECT_EQ(testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(file.xml, "poison");
}

TEST(ImageModel, AModelBesideTheImageGoesBeforeItsTag) {
  const std::string path = MakeImage("GTiff", "orbmath_image_with_two_models.tif");
  ASSERT_TRUE(WriteImageModel(path, orbmath_test::CameraRecord(1.4), {}, nullptr));
  const TRPCData other = orbmath_test::CameraRecord(-20.0);
  TZxFileStream file;
  const std::string beside = path.substr(0, path.size() - 4) + "_RPC.TXT";
  ASSERT_TRUE(file.Open(TZxPath(beside), TZxOpenMode::Write));
  ASSERT_TRUE(WriteRPCStream(&file, "", TRPCFileForm::Text, other, {}, TRPCTextErrors::Omit, nullptr));
  ASSERT_TRUE(file.Close());
  TRPCFile read;
  ASSERT_TRUE(ReadImageModel(path, TRPCFileOptions(), &read, nullptr));
  EXPECT_EQ(read.record.longOffset, -20.0);
  EXPECT_NE(read.origin.source.find(beside), std::string::npos) << read.origin.source;
}

TEST(ImageModel, OtherContentStays) {
  const std::string path = MakeImage("GTiff", "orbmath_image_with_content.tif");
  GDALDataset* dataset = GDALDataset::Open(path.c_str(), GDAL_OF_UPDATE);
  dataset->SetMetadataItem("OWNER", "somebody");
  GDALClose(dataset);
  ASSERT_TRUE(WriteImageModel(path, orbmath_test::CameraRecord(1.4), {}, nullptr));
  dataset = GDALDataset::Open(path.c_str());
  unsigned char pixel = 0;
  EXPECT_EQ(dataset->GetRasterBand(1)->RasterIO(GF_Read, 6, 4, 1, 1, &pixel, 1, 1, GDT_Byte, 0, 0, nullptr), CE_None);
  EXPECT_EQ(pixel, 42);
  EXPECT_STREQ(dataset->GetMetadataItem("OWNER"), "somebody");
  GDALClose(dataset);
}

using ImageFiles = orbmath_test::WithFormats;

TEST_F(ImageFiles, SayWhatIndependentProgramsRead) {
  for (const char* name : {"tag_classic_little.tif", "tag_classic_big_endian.tif", "tag_bigtiff_tiled_deflate.tif",
                           "rpc00b.ntf", "rpc00a.ntf", "rpc.vrt", "pam.png", "imd_rpb/md_dg.RPB"}) {
    const std::string key = name == std::string("pam.png") ? "pam.png.aux.xml" : name;
    if (expected_.count(key) == 0) continue;
    SCOPED_TRACE(name);
    TRPCFile file;
    TRPCFileError error;
    if (!ReadImageModel(orbmath_test::FormatsPath(name), TRPCFileOptions(), &file, &error)) {
      EXPECT_STREQ(name, "imd_rpb/md_dg.RPB") << error.GetText();  // no image
      continue;
    }
    orbmath_test::ExpectRecord(file.record, expected_.at(key), 0.0);
    orbmath_test::ExpectProjections(file.record, expected_.at(key));
    orbmath_test::ExpectExtras(file, expected_.at(key));
    EXPECT_EQ(file.origin.termOrder == TRPCTermOrder::RPC00A, name == std::string("rpc00a.ntf"));
  }
}

}  // namespace
}  // namespace SatCommonUtils
