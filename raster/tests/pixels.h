#pragma once
// Rasters in memory and on disk, and a model of a small image, for tests of what makes rasters.

#include <gdal_priv.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "rpc/image_window.h"
#include "terrain/scenes.h"

namespace orbmath_test {

struct Close {
  void operator()(GDALDataset* file) const { GDALClose(file); }
};
using Handle = std::unique_ptr<GDALDataset, Close>;

/// Bands of pixels in memory, row by row.
struct Pixels {
  int width = 0;
  int height = 0;
  std::vector<std::vector<double>> bands;

  double At(int band, int column, int row) const {
    return bands[std::size_t(band)][std::size_t(row) * std::size_t(width) + std::size_t(column)];
  }
};

/// \param prepare null, or called before pixels are written.
inline void Save(const std::string& path, const Pixels& image, GDALDataType type, std::optional<double> noData = {},
                 void (*prepare)(GDALDataset*) = nullptr) {
  GDALAllRegister();
  GDALDriver* const driver = GetGDALDriverManager()->GetDriverByName("GTiff");
  GDALDataset* const file =
      driver->Create(path.c_str(), image.width, image.height, int(image.bands.size()), type, nullptr);
  if (prepare != nullptr) prepare(file);
  for (std::size_t i = 0; i < image.bands.size(); ++i) {
    GDALRasterBand* const band = file->GetRasterBand(int(i) + 1);
    if (noData) band->SetNoDataValue(*noData);
    ASSERT_EQ(band->RasterIO(GF_Write, 0, 0, image.width, image.height, const_cast<double*>(image.bands[i].data()),
                             image.width, image.height, GDT_Float64, 0, 0, nullptr),
              CE_None);
  }
  GDALClose(file);
}

inline Pixels Load(const std::string& path) {
  GDALAllRegister();
  Pixels image;
  auto* const file = static_cast<GDALDataset*>(GDALOpen(path.c_str(), GA_ReadOnly));
  if (file == nullptr) return image;
  image.width = file->GetRasterXSize();
  image.height = file->GetRasterYSize();
  for (int i = 1; i <= file->GetRasterCount(); ++i) {
    image.bands.emplace_back(std::size_t(image.width) * std::size_t(image.height));
    EXPECT_EQ(file->GetRasterBand(i)->RasterIO(GF_Read, 0, 0, image.width, image.height, image.bands.back().data(),
                                               image.width, image.height, GDT_Float64, 0, 0, nullptr),
              CE_None);
  }
  GDALClose(file);
  return image;
}

/// A folder of its own for each test.
class InFolder : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = std::filesystem::path(::testing::TempDir()) /
              ("raster_" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  std::string Path(const std::string& name) const { return (folder_ / name).string(); }

  int FilesThere() const {
    int count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder_)) ++count;
    return count;
  }

  std::filesystem::path folder_;
};

/// The middle of a tilted model, in pixels of some two metres.
inline SatCommonUtils::TRPC SmallModel() {
  SatCommonUtils::TRPCData record;
  TiltedModel(0.5, 1e-3).GetRPCData(&record);
  EXPECT_TRUE(SatCommonUtils::CropRPC(record, {4400.0, 3500.0, 0.25}, &record));
  return SatCommonUtils::TRPC(record);
}

}  // namespace orbmath_test
