// Coordinate grids as files: against the model itself.

#include "raster/grid.h"

#include <gdal_priv.h>
#include <gtest/gtest.h>
#include <ogr_spatialref.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>

#include "pixels.h"
#include "terrain/scenes.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::Load;
using orbmath_test::Pixels;
using orbmath_test::SmallModel;

class Grids : public orbmath_test::InFolder {};

TEST_F(Grids, HoldTheCoordinatesThatTheModelGives) {
  const TRPC model = SmallModel();
  const orbmath_test::Formula surface([](double lat, double) { return 900.0 + 3e4 * (lat - 45.0); }, 4e4);
  TGridProblem problem = {Path("ground.npy"), &model, &surface, 331, 257};
  TGridOptions options;
  options.step = 30;
  const TGridResult ground = WriteGrid(problem, options);
  ASSERT_TRUE(ground) << ground.sentence;
  EXPECT_EQ(ground.columns, 12);
  EXPECT_EQ(ground.rows, 9);
  EXPECT_EQ(ground.found, 12 * 9);
  std::ifstream file(problem.output, std::ios::binary);
  const std::string npy{std::istreambuf_iterator<char>(file), {}};
  ASSERT_EQ(npy.size(), 128u + 3u * 12u * 9u * 8u);
  EXPECT_NE(npy.find("'descr': '<f8', 'fortran_order': False, 'shape': (3, 9, 12), }"), std::string::npos);
  double lat, lon, h, line, sample;  // of row 4, column 7
  std::memcpy(&lat, &npy[128 + (4 * 12 + 7) * 8], 8);
  std::memcpy(&lon, &npy[128 + (108 + 4 * 12 + 7) * 8], 8);
  std::memcpy(&h, &npy[128 + (216 + 4 * 12 + 7) * 8], 8);
  EXPECT_NEAR(h, surface.GetHeight(lat, lon), 1e-4);
  model.CalculateLineSample(lat, lon, h, &line, &sample, nullptr, nullptr);
  EXPECT_NEAR(line, 120.0, 1e-6);
  EXPECT_NEAR(sample, 210.0, 1e-6);

  // A map far from its own meridian, in large pixels: the most that its projection can bend.
  problem.output = Path("map.tif");
  options.kind = TGridKind::PixelsOfMap;
  options.frame.crs = "EPSG:32640";
  options.frame.resolution = 3.0;
  const TGridResult map = WriteGrid(problem, options);
  ASSERT_TRUE(map) << map.sentence;
  const Pixels grid = Load(Path("map.tif"));
  ASSERT_EQ(grid.bands.size(), 2u);
  double transform[6];
  auto* const raster = static_cast<GDALDataset*>(GDALOpen(Path("map.tif").c_str(), GA_ReadOnly));
  raster->GetGeoTransform(transform);
  OGRSpatialReference plane(*raster->GetSpatialRef()), wgs84;
  GDALClose(raster);
  wgs84.SetWellKnownGeogCS("WGS84");
  plane.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
  wgs84.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
  const std::unique_ptr<OGRCoordinateTransformation> toGround(OGRCreateCoordinateTransformation(&plane, &wgs84));
  std::int64_t found = 0;
  double worst = 0.0;
  for (int row = 0; row < grid.height; ++row) {
    for (int column = 0; column < grid.width; ++column) {
      if (std::isnan(grid.At(0, column, row))) continue;
      ++found;
      double x = transform[0] + (column + 0.5) * transform[1];
      double y = transform[3] + (row + 0.5) * transform[5];
      ASSERT_TRUE(toGround->Transform(1, &x, &y));
      model.CalculateLineSample(y, x, surface.GetHeight(y, x), &line, &sample, nullptr, nullptr);
      worst = std::fmax(worst, std::hypot(grid.At(0, column, row) - line, grid.At(1, column, row) - sample));
    }
  }
  EXPECT_EQ(found, map.found);
  EXPECT_GT(found, 10000);
  EXPECT_LT(worst, 0.02);
}

}  // namespace
}  // namespace SatCommonUtils
