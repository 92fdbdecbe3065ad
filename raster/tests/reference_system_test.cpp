// Reference systems: to WGS84 and back, with and without heights of their own.

#include "raster/reference_system.h"

#include <gtest/gtest.h>

#include <cmath>

namespace SatCommonUtils {
namespace {

TEST(ReferenceSystemTest, PointsGoToWgs84AndBack) {
  // The central meridian of zone 31 at the equator and at 45 degrees, by the definition of the projection: east 500 km,
  // north 0.9996 times the meridian's length of 4,984,944.378 m.
  std::string error;
  const auto utm = OpenReferenceSystem("EPSG:32631", &error);
  ASSERT_NE(utm, nullptr) << error;
  EXPECT_FALSE(utm->IsGeographic());
  double x[] = {500000.0, 500000.0};
  double y[] = {0.0, 0.9996 * 4984944.378};
  double z[] = {-3.5, 250.25};
  utm->ToWgs84(2, x, y, z);
  EXPECT_NEAR(x[0], 3.0, 1e-11);
  EXPECT_NEAR(y[0], 0.0, 1e-11);
  EXPECT_NEAR(y[1], 45.0, 1e-8);
  EXPECT_EQ(z[1], 250.25);
  utm->FromWgs84(2, x, y, z);
  EXPECT_NEAR(x[1], 500000.0, 1e-6);
  EXPECT_NEAR(y[1], 0.9996 * 4984944.378, 1e-6);
  EXPECT_EQ(z[0], -3.5);
}

TEST(ReferenceSystemTest, LongitudesComeFirstWhateverTheRegistrySays) {
  std::string error;
  const auto geographic = OpenReferenceSystem("EPSG:4326", &error);
  ASSERT_NE(geographic, nullptr) << error;
  EXPECT_TRUE(geographic->IsGeographic());
  double x = 7.5, y = 45.25, z = 1.0;
  geographic->ToWgs84(1, &x, &y, &z);
  EXPECT_EQ(x, 7.5);
  EXPECT_EQ(y, 45.25);
}

// Heights of a system whose geoid has no grid here went on as they were. The geoid lies 48 m above the ellipsoid in
// Rome and 47 m in Frankfurt.
TEST(ReferenceSystemTest, HeightsAboveAGeoidAreBroughtToTheEllipsoidOrRefused) {
  const struct {
    const char* system;
    double east, north;
  } cases[] = {{"EPSG:32633+5773", 299000.0, 4640000.0},
               {"EPSG:32633+3855", 299000.0, 4640000.0},
               {"EPSG:25832+5783", 477000.0, 5552000.0}};
  for (const auto& one : cases) {
    std::string error;
    const auto system = OpenReferenceSystem(one.system, &error);
    if (system == nullptr) {
      EXPECT_NE(error.find("the grid that its heights need"), std::string::npos) << error;
      continue;
    }
    double x = one.east, y = one.north, z = 100.0;
    system->ToWgs84(1, &x, &y, &z);
    EXPECT_NEAR(z, 147.5, 2.0) << one.system;
  }
  double x = 12.5, y = 42.0, z = 7.0;
  std::string error;
  const auto solid = OpenReferenceSystem("EPSG:4937", &error);
  ASSERT_NE(solid, nullptr) << error;
  solid->ToWgs84(1, &x, &y, &z);
  EXPECT_NEAR(z, 7.0, 1e-6);
}

TEST(ReferenceSystemTest, WhatCannotBeMappedIsNaNAndWhatIsUnknownSaysSo) {
  std::string error;
  const auto mercator = OpenReferenceSystem("EPSG:3857", &error);
  ASSERT_NE(mercator, nullptr) << error;
  double x[] = {7.0, 7.0}, y[] = {95.0, 45.0}, z[] = {0.0, 0.0};
  mercator->FromWgs84(2, x, y, z);
  EXPECT_TRUE(std::isnan(x[0]) && std::isnan(y[0]));
  EXPECT_NEAR(x[1], 779236.4356, 1e-3);  // 7 degrees of the equator of 6,378,137 m
  for (const char* nothing : {"EPSG:1", "EPSG:4978", "", "nowhere"}) {
    error.clear();
    EXPECT_EQ(OpenReferenceSystem(nothing, &error), nullptr) << nothing;
    EXPECT_NE(error, "") << nothing;
  }
}

}  // namespace
}  // namespace SatCommonUtils
