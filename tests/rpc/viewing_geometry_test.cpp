// Lines of sight, pixels, footprints and areas, against geometry that can be written down and makers' metadata.

#include "rpc/viewing_geometry.h"

#include <gtest/gtest.h>

#include <cmath>

#include "rpc/rpc_file.h"
#include "support/real_data.h"

namespace orbmath_test {

namespace {

using namespace SatCommonUtils;

// Lengths of a degree at latitude 45 on the ellipsoid, metres, from tables of WGS84.
constexpr double kDegreeNorth = 111131.745;
constexpr double kDegreeEast = 78846.835;
constexpr double kRadian = 3.14159265358979323846 / 180.0;

/// line = 1000 - 20000 (lat - 45), sample = 2000 + 10000 (lon - lon0) + 0.1 h: pixels of 5.6 and 7.9 m, and a line of
/// sight that leans east by 1e-5 degrees a metre downwards.
TRPC FlatModel(double lon0 = 7.0) {
  TRPCData record{};
  for (double(*list)[20] : {&record.lineNumCoef, &record.lineDenCoef, &record.sampNumCoef, &record.sampDenCoef}) {
    std::fill(*list, *list + 20, 0.0);
    (*list)[0] = 1.0;
  }
  record.lineNumCoef[0] = record.sampNumCoef[0] = 0.0;
  record.lineNumCoef[2] = -1.0;
  record.sampNumCoef[1] = 1.0;
  record.sampNumCoef[3] = 0.05;
  record.lineOffset = 1000.0, record.lineScale = 1000.0, record.sampOffset = 2000.0, record.sampScale = 2000.0;
  record.latOffset = 45.0, record.latScale = 0.05, record.longOffset = lon0, record.longScale = 0.2;
  record.heightOffset = 0.0, record.heightScale = 1000.0;
  return TRPC(record, nullptr);
}

TEST(ViewingGeometry, OfAModelThatCanBeWrittenDown) {
  const TViewingGeometry view = ViewingGeometryAt(FlatModel(), 1000.0, 2000.0, 0.0);
  ASSERT_TRUE(view);
  EXPECT_NEAR(view.ground.lat, 45.0, 1e-9);
  EXPECT_NEAR(view.lineSize, kDegreeNorth / 20000.0, 1e-5);
  EXPECT_NEAR(view.sampleSize, kDegreeEast / 10000.0, 1e-5);
  EXPECT_NEAR(view.gsd, std::sqrt(view.lineSize * view.sampleSize), 1e-9);
  // 250 m up the line of sight has moved by 0.0025 degrees west; the parallel bends by 2e-4 degrees on the way.
  EXPECT_NEAR(view.incidence, std::atan(1e-5 * kDegreeEast) / kRadian, 1e-3);
  EXPECT_NEAR(view.azimuth, 270.0, 1e-2);
  EXPECT_NEAR(std::hypot(view.east, view.north, view.up), 1.0, 1e-12);
  // A radar that sees the same curve looks at right angles to it, from the other side.
  const TViewingGeometry radar = AsRadar(view);
  EXPECT_NEAR(radar.incidence, 90.0 - view.incidence, 1e-9);
  EXPECT_NEAR(std::abs(radar.azimuth - view.azimuth), 180.0, 1e-9);
  EXPECT_FALSE(ViewingGeometryAt(TRPC(TRPCData(), nullptr), 0.0, 0.0, 0.0));
}

TEST(ViewingGeometry, FootprintsAndAreas) {
  // Area of the whole ellipsoid, and of a cell of one degree at the equator (USGS Professional Paper 1395), km^2.
  EXPECT_NEAR(1e-6 * EllipsoidArea(TPolygon({{-180, -90}, {180, -90}, {180, 90}, {-180, 90}})), 510065621.72, 0.02);
  EXPECT_NEAR(1e-6 * EllipsoidArea(TPolygon({{7, 0}, {7, 1}, {8, 1}, {8, 0}})), 12308.46, 0.01);

  const TImageFootprint footprint = FootprintAt(FlatModel(), 0.0, 3);
  ASSERT_TRUE(footprint);
  EXPECT_EQ(footprint.ring.GetVertices().size(), 12u);
  EXPECT_NEAR(footprint.ring.GetSignedArea(), 0.1 * 0.4, 1e-9);  // degrees squared, counter-clockwise
  EXPECT_NEAR(footprint.area, 0.1 * kDegreeNorth * 0.4 * kDegreeEast, 5e2);
  // Higher ground is seen farther west: 0.01 degrees on 1,000 m.
  xy_d low, high;
  ASSERT_TRUE(FootprintAt(FlatModel(), 1000.0, 1).ring.GetBoundingBox(&low, &high));
  EXPECT_NEAR(low.x, 7.0 - 0.2 - 0.01, 1e-9);
}

TEST(ViewingGeometry, CutsAtTheAntimeridian) {
  for (const double lon0 : {179.9, -180.1, 180.1}) {
    const TImageFootprint footprint = FootprintAt(FlatModel(lon0), 0.0);
    const std::vector<TPolygon> parts = CutAtAntimeridian(footprint.ring);
    ASSERT_EQ(parts.size(), 2u) << lon0;
    double area = 0.0;
    for (const TPolygon& part : parts) {
      xy_d low, high;
      ASSERT_TRUE(part.GetBoundingBox(&low, &high));
      EXPECT_TRUE(low.x >= -180.0 && high.x <= 180.0 && high.x - low.x < 0.4) << low.x << " " << high.x;
      area += EllipsoidArea(part);
    }
    EXPECT_NEAR(area / footprint.area, 1.0, 1e-9);
  }
  EXPECT_EQ(CutAtAntimeridian(FootprintAt(FlatModel(), 0.0).ring).size(), 1u);
}

class RealViews : public WithRealData {};

// What the makers' metadata beside the models says: satellite's elevation and azimuth and GSD of WorldView
// (MEANSATEL, MEANSATAZ, MEANPRODUCTGSD), the incidence at near and far range of RADARSAT.
TEST_F(RealViews, AreThoseOfTheMakers) {
  TRPCFile file;
  if (!ReadRPCFile(RealDataPath("../formats/rpc_WV3.xml"), &file, nullptr)) GTEST_SKIP() << "no folder of formats";
  const TRPC model(file.record, nullptr);
  const TViewingGeometry view = ViewingGeometryAt(model, file.record.lineOffset, file.record.sampOffset, 53.0);
  EXPECT_NEAR(view.incidence, 90.0 - 66.2, 0.1);
  EXPECT_NEAR(view.azimuth, 192.2, 0.1);
  EXPECT_NEAR(view.gsd, 0.566, 0.003);

  ASSERT_TRUE(ReadRPCFile(RealDataPath("../formats/radarsat2_product.xml"), &file, nullptr));
  const TRPC radar(file.record, nullptr);
  const double middle =
      AsRadar(ViewingGeometryAt(radar, file.record.lineOffset, file.record.sampOffset, 0.0)).incidence;
  EXPECT_GT(middle, 28.03);
  EXPECT_LT(middle, 29.82);
}

}  // namespace

}  // namespace orbmath_test
