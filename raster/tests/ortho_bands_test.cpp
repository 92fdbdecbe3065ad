// Orthoimages of bands that are no plain grey values: alpha, palettes, complex numbers, values that stand for no data.

#include <gdal_priv.h>
#include <gtest/gtest.h>

#include <cmath>

#include "ortho_scenes.h"

namespace orbmath_test {
namespace {

TEST_F(Ortho, AlphaIsZeroWhereThereAreNoDataAndNothingElseIs) {
  Pixels image = Grey();
  image.bands.emplace_back(63, 255.0);
  for (int i = 0; i < 63; ++i) {
    if (i % 9 < 3) image.bands[1][std::size_t(i)] = 0.0;
  }
  Save(Path("image.tif"), image, GDT_Byte, {},
       [](GDALDataset* file) { file->GetRasterBand(2)->SetColorInterpretation(GCI_AlphaBand); });
  for (const std::optional<double> noData : {std::optional<double>(), std::optional<double>(255.0)}) {
    TOrthoOptions options = PlainFrame(TResampling::Cubic, -1.8, -1.8, 13, 11);
    options.noData = noData;
    const Pixels ortho = Run(PlainModel(), TConstantHeight(300.0), options);
    for (int row = 0; row < 11; ++row) {
      for (int column = 0; column < 13; ++column) {
        const bool data = row >= 2 && row < 9 && column >= 5 && column < 11;
        EXPECT_EQ(ortho.At(1, column, row), data ? 255.0 : 0.0) << column << " " << row;
        if (data) continue;
        EXPECT_EQ(ortho.At(0, column, row), noData.value_or(0.0)) << column << " " << row;
      }
    }
  }
}

TEST_F(Ortho, ColoursOfPalettesStayAsTheyAre) {
  Pixels image = {9, 7, {{}}};
  for (int i = 0; i < 63; ++i) image.bands[0].push_back(i % 4);
  Save(Path("image.tif"), image, GDT_Byte, {}, [](GDALDataset* file) {
    GDALColorTable table;
    for (short i = 0; i < 4; ++i) {
      const GDALColorEntry entry = {short(40 * i), short(255 - i), 7, 255};
      table.SetColorEntry(i, &entry);
    }
    file->GetRasterBand(1)->SetColorTable(&table);
  });
  const Pixels ortho =
      Run(PlainModel(), TConstantHeight(300.0), PlainFrame(TResampling::Cubic, 0.3 - 2.0, 0.3 - 2.0, 13, 11));
  for (int row = 0; row < 7; ++row) {
    for (int column = 0; column < 9; ++column) {
      EXPECT_EQ(ortho.At(0, column + 2, row + 2), image.At(0, column, row)) << column << " " << row;
    }
  }
  const Handle file(GDALDataset::Open(Path("ortho.tif").c_str()));
  ASSERT_NE(file->GetRasterBand(1)->GetColorTable(), nullptr);
  EXPECT_EQ(file->GetRasterBand(1)->GetColorTable()->GetColorEntry(3)->c1, 120);
}

TEST_F(Ortho, PartsOfComplexNumbersAreResampledEachAndZerosStay) {
  const Pixels image = Grey();
  std::vector<double> both;
  for (std::size_t i = 0; i < 63; ++i) {
    both.push_back(image.bands[0][i]);
    both.push_back(i % 9 < 4 ? 0.0 : -2.0 * image.bands[0][i]);
  }
  Save(Path("image.tif"), image, GDT_CInt16);
  const auto pass = [this](GDALRWFlag way, const char* name, int width, int height, double* numbers) {
    const Handle file(GDALDataset::Open(Path(name).c_str(), way == GF_Write ? GDAL_OF_UPDATE : 0));
    ASSERT_NE(file, nullptr);
    EXPECT_TRUE(GDALDataTypeIsComplex(file->GetRasterBand(1)->GetRasterDataType()));
    EXPECT_EQ(
        file->GetRasterBand(1)->RasterIO(way, 0, 0, width, height, numbers, width, height, GDT_CFloat64, 0, 0, nullptr),
        CE_None);
  };
  pass(GF_Write, "image.tif", 9, 7, both.data());
  Run(PlainModel(), TConstantHeight(300.0), PlainFrame(TResampling::Bilinear, 0.0, 0.0, 9, 7));
  std::vector<double> made(both.size());
  pass(GF_Read, "ortho.tif", 9, 7, made.data());
  EXPECT_EQ(made, both);
  Run(PlainModel(), TConstantHeight(300.0), PlainFrame(TResampling::Bilinear, 5.5, 2.0, 1, 1));
  pass(GF_Read, "ortho.tif", 1, 1, made.data());
  for (std::size_t part = 0; part < 2; ++part) {
    const std::size_t at = 2 * (2 * 9 + 5) + part;
    EXPECT_EQ(made[part], std::floor((both[at] + both[at + 2]) / 2.0 + 0.5)) << part;
  }
}

TEST_F(Ortho, NoDataIsAValueThatPixelsCanHave) {
  const TRPC model = PlainModel();
  const TConstantHeight flat(300.0);
  TOrthoOptions options = PlainFrame(TResampling::Nearest, -1.0, 0.0, 3, 1);
  for (const double impossible : {-9999.0, 256.0, 0.5, kNaN}) {
    Save(Path("image.tif"), Grey(), GDT_Byte, impossible);
    options.noData.reset();
    EXPECT_EQ(Run(model, flat, options).At(0, 0, 0), 0.0);
    int has = 0;
    EXPECT_EQ(Handle(GDALDataset::Open(Path("ortho.tif").c_str()))->GetRasterBand(1)->GetNoDataValue(&has), 0.0)
        << impossible;
    EXPECT_TRUE(has);
    options.noData = impossible;
    EXPECT_EQ(Orthorectify({Path("image.tif"), Path("no.tif"), &model, &flat}, options).state, TMapState::Failed);
  }
}

}  // namespace
}  // namespace orbmath_test
