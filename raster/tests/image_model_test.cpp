// Models of images: containers that GDAL wrote from the same record, and what a failure says.

#include "raster/image_model.h"

#include <gdal_priv.h>
#include <gtest/gtest.h>

#include <string>

#include "rpc/models.h"
#include "rpc/records.h"

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
    // A tag holds every bit; GDAL prints it with 15 digits.
    EXPECT_NEAR(file.record.longOffset, record.longOffset, 1e-14);
    EXPECT_NEAR(file.record.sampNumCoef[17], record.sampNumCoef[17], 1e-20);
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

}  // namespace
}  // namespace SatCommonUtils
