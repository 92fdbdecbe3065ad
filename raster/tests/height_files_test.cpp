// DEMs and geoids from files: values of independent programs where the machine has them, and files made here.

#include "raster/height_files.h"

#include <gdal_priv.h>
#include <gtest/gtest.h>
#include <ogr_spatialref.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>

#include "frame/zxstd/threads.h"
#include "rpc/models.h"
#include "support/bits.h"
#include "support/random.h"
#include "support/real_data.h"
#include "terrain/scenes.h"
#include "terrain/terrain_locator.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::kMetresPerDegree;
using orbmath_test::Random;
using orbmath_test::SameBits;

/// The independent values are sure to this, metres.
constexpr double kTenthOfMillimetre = 1e-4;

/// Heights of a geoid between the same posts, metres.
constexpr double kMicrometre = 1e-6;

/// Files with independent values lie beside the models' folder.
std::string TerrainPath(const std::string& name) { return orbmath_test::RealDataPath("../terrain/" + name); }

class WithTerrainData : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!std::ifstream(TerrainPath("expected_image_to_dem.csv"))) {
      GTEST_SKIP() << "no folder 'terrain' with DEMs beside ORBMATH_TEST_DATA";
    }
  }
};

TDemSurface Open(const TDemOptions& options) {
  TDemSurface dem;
  std::string error;
  EXPECT_TRUE(OpenDem(options, &dem, &error)) << error;
  return dem;
}

std::vector<std::string> Fields(const std::string& line) {
  std::vector<std::string> fields;
  std::stringstream text(line);
  for (std::string field; std::getline(text, field, ',');) fields.push_back(field);
  return fields;
}

TEST_F(WithTerrainData, LinesOfSightMeetTheTerrainWhereIndependentProgramsFoundIt) {
  struct Case {
    TRPC model;
    TDemSurface dem;
    std::unique_ptr<TTerrainLocator> locator;
  };
  std::map<std::string, Case> cases;
  std::ifstream file(TerrainPath("expected_image_to_dem.csv"));
  std::string line;
  std::getline(file, line);
  int rows = 0;
  while (std::getline(file, line)) {
    SCOPED_TRACE(line);
    const std::vector<std::string> f = Fields(line);
    const std::string key = f[1] + f[2] + f[3];
    if (cases.count(key) == 0) {
      const bool geoid = f[3].compare(0, 3, "EGM") == 0;
      Case made = {orbmath_test::RealModel("../terrain/" + f[1]), {}, nullptr};
      made.dem = Open({{TerrainPath(f[2])}, geoid ? TerrainPath("egm96_15.gtx") : "none"});
      cases.emplace(key, std::move(made));
      // The locator keeps addresses: made when model and surface are where they stay.
      Case& here = cases.at(key);
      here.locator = std::make_unique<TTerrainLocator>(here.model, *here.dem.surface);
    }
    const std::vector<TTerrainSolution> all = cases.at(key).locator->LocateAll(std::stod(f[5]), std::stod(f[4]));
    ++rows;
    const std::string& status = f[6];
    if (status == "nodata" || status == "off_dem") {
      EXPECT_EQ(all[0].state, TTerrainState::NoTerrain);
      continue;
    }
    const std::size_t hit = f[11].empty() ? 0 : std::stoul(f[11]);
    ASSERT_EQ(all.size(), std::stoul(f[10]));
    if (hit == 0) {
      EXPECT_EQ(all[0].state, status == "ok" ? TTerrainState::Found : TTerrainState::FoundAfterVoid);
    }
    EXPECT_NEAR(all[hit].lat, std::stod(f[8]), kTenthOfMillimetre / kMetresPerDegree);
    EXPECT_NEAR(all[hit].lon, std::stod(f[7]), kTenthOfMillimetre / kMetresPerDegree);
    EXPECT_NEAR(all[hit].h, std::stod(f[9]), kTenthOfMillimetre);
    EXPECT_LT(all[hit].residual, 1e-7);
  }
  EXPECT_EQ(rows, 359);
}

TEST_F(WithTerrainData, GeoidHeightsAreThoseThatOthersAssert) {
  const auto geoid = OpenGeoid(TerrainPath("egm96_15.gtx"), 64 << 20, nullptr);
  const auto inTiles = OpenGeoid(TerrainPath("egm96_15.gtx"), 2 << 20, nullptr);
  ASSERT_TRUE(geoid && inTiles);
  std::ifstream file(TerrainPath("expected_geoid.json"));
  std::map<std::string, double> values;
  int compared = 0;
  for (std::string line; std::getline(file, line);) {
    const std::size_t colon = line.find(':');
    const std::size_t quote = line.find('"');
    if (colon != std::string::npos) values[line.substr(quote + 1, colon - quote - 2)] = std::atof(&line[colon + 1]);
    if (line.find('}') == std::string::npos || values.count("height") == 0) continue;
    EXPECT_NEAR(geoid->GetHeight(values["lat"], values["lon"]), values["height"], kMicrometre);
    EXPECT_NEAR(inTiles->GetHeight(values["lat"], values["lon"]), values["height"], kMicrometre);
    values.clear();
    ++compared;
  }
  EXPECT_GT(compared, 5);
}

TEST_F(WithTerrainData, ReadsZippedTilesAndDted) {
  const TDemSurface srtm = Open({{"/vsizip/" + TerrainPath("N10W110.hgt.zip") + "/N10W110.hgt"}, "none"});
  const double h = srtm.surface->GetHeight(10.5, -109.5);
  EXPECT_TRUE(h >= 0.0 && h <= 9.0) << h;
  const TDemSurface dted = Open({{TerrainPath("n43.dt0")}, "none"});
  EXPECT_FALSE(std::isnan(dted.surface->GetHeight(43.5, -79.5)));
}

/// A GeoTIFF of the mountain of `scenes.h`, `columns` wide from `west`, with a reference system.
std::string MakeDem(const std::string& name, const char* system, double west = 6.94, int columns = 281,
                    double nodata = -32678.0) {
  GDALAllRegister();
  const std::string path = testing::TempDir() + name;
  GDALDataset* const dem =
      GetGDALDriverManager()->GetDriverByName("GTiff")->Create(path.c_str(), columns, 251, 1, GDT_Float64, nullptr);
  // Pixels reach half a step around the posts.
  double transform[] = {west - 0.00025, 0.0005, 0.0, 45.0502, 0.0, -0.0004};
  dem->SetGeoTransform(transform);
  if (system != nullptr) {
    OGRSpatialReference reference;
    reference.SetFromUserInput(system);
    dem->SetSpatialRef(&reference);
  }
  dem->GetRasterBand(1)->SetNoDataValue(nodata);
  std::vector<double> row(static_cast<std::size_t>(columns));
  for (int r = 0; r < 251; ++r) {
    for (int c = 0; c < columns; ++c) {
      row[c] = r == 20 && c == 30 ? nodata : orbmath_test::Mountain(45.05 - r * 0.0004, west + c * 0.0005);
    }
    EXPECT_EQ(
        dem->GetRasterBand(1)->RasterIO(GF_Write, 0, r, columns, 1, row.data(), columns, 1, GDT_Float64, 0, 0, nullptr),
        CE_None);
  }
  GDALClose(dem);
  return path;
}

TEST(HeightFiles, TilesWithinAMemoryLimitGiveTheHeightsOfTheWhole) {
  const std::string path = MakeDem("orbmath_dem_tiles.tif", "EPSG:4326");
  TDemOptions options = {{path}, "none"};
  const TDemSurface whole = Open(options);
  options.cacheBytes = 600000;  // of 1.06 MB: tiles, and of those not all
  const TDemSurface tiled = Open(options);
  const TRPC model = orbmath_test::TiltedModel(1.0, 1e-3);
  const TTerrainLocator a(model, *whole.surface);
  const TTerrainLocator b(model, *tiled.surface);
  Random random("file tiles");
  constexpr std::size_t kCount = 5000;
  std::vector<double> line(kCount), sample(kCount);
  for (std::size_t i = 0; i < kCount; ++i) {
    line[i] = random.Uniform(0.0, 10000.0);
    sample[i] = random.Uniform(0.0, 8000.0);
  }
  std::vector<TTerrainSolution> fromWhole(kCount), fromTiles(kCount);
  ZxSetThreadsCount(3);
  EXPECT_EQ(a.LocateArray(kCount, line.data(), sample.data(), fromWhole.data()),
            b.LocateArray(kCount, line.data(), sample.data(), fromTiles.data()));
  ZxSetThreadsCount(0);
  for (std::size_t i = 0; i < kCount; ++i) {
    ASSERT_EQ(fromWhole[i].state, fromTiles[i].state);
    // Lines of sight over tiles' edges are walked where others are solved at once.
    const double off = fromWhole[i] ? fromWhole[i].h - fromTiles[i].h : 0.0;
    ASSERT_LT(std::fabs(off), 1e-6);
  }
}

TEST(HeightFiles, TilesEndAtTheEdgesOfTheFileAsTheWholeDoes) {
  TDemOptions options = {{MakeDem("orbmath_dem_edge.tif", "EPSG:4326")}, "none", THeightInterpolation::Bicubic, -20.0};
  const TDemSurface whole = Open(options);
  options.cacheBytes = 600000;
  const TDemSurface tiled = Open(options);
  // Between the last posts, where the next ones are missing; and outside.
  for (const double lat : {45.0499, 45.0, 44.9501}) {
    for (const double lon : {6.9402, 7.0, 7.0798, 7.1}) {
      EXPECT_EQ(whole.surface->GetHeight(lat, lon), tiled.surface->GetHeight(lat, lon)) << lat << " " << lon;
    }
  }
}

TEST(HeightFiles, LongitudesOfOtherDatumsCountInAnyTurnToo) {
  for (const char* system : {"EPSG:4326", "EPSG:4269"}) {
    const TDemSurface dem = Open({{MakeDem("orbmath_dem_date_line.tif", system, 179.94)}, "none"});
    for (const double lon : {179.95, 180.05, -179.95, -180.05, 540.05}) {
      const double east = lon < 0.0 ? lon + 360.0 : std::fmod(lon, 360.0);
      const double post = 179.94 + 0.0005 * std::round((east - 179.94) / 0.0005);
      EXPECT_NEAR(dem.surface->GetHeight(45.0, lon), orbmath_test::Mountain(45.0, post), 1e-5) << system << " " << lon;
    }
    EXPECT_TRUE(dem.surface->GetRange({44.96, -180.05, 45.04, -179.95}).IsKnown()) << system;
  }
}

TEST(HeightFiles, WarnsOfHeightsThatAreNotMetres) {
  const std::string path = MakeDem("orbmath_dem_feet.tif", "EPSG:4326+6360");
  EXPECT_EQ(Open({{path}, "none"}).warnings.size(), 1u) << "the vertical system's";
  for (const char* unit : {"m", "ft"}) {
    const std::string other = MakeDem("orbmath_dem_unit.tif", "EPSG:4326");
    GDALDataset* const dem = GDALDataset::Open(other.c_str(), GDAL_OF_UPDATE);
    dem->GetRasterBand(1)->SetUnitType(unit);
    GDALClose(dem);
    const TDemSurface opened = Open({{other}, "none"});
    const bool warned = opened.warnings.size() == 1 && opened.warnings[0].find("'ft'") != std::string::npos;
    EXPECT_EQ(warned, *unit == 'f');
  }
}

TEST(HeightFiles, SeveralFilesAreOneSurface) {
  // The two share a column of posts, as tiles of SRTM do.
  const std::string west = MakeDem("orbmath_dem_west.tif", "EPSG:4326", 6.94, 141);
  const std::string east = MakeDem("orbmath_dem_east.tif", "EPSG:4326", 7.01, 141);
  const TDemSurface both = Open({{west, east}, "none"});
  const TDemSurface whole = Open({{MakeDem("orbmath_dem_whole.tif", "EPSG:4326")}, "none"});
  Random random("mosaic");
  for (int i = 0; i < 300; ++i) {
    const double lat = random.Uniform(44.951, 45.04);
    const double lon = random.Uniform(6.96, 7.02);
    EXPECT_NEAR(both.surface->GetHeight(lat, lon), whole.surface->GetHeight(lat, lon), 1e-9);
  }
  TDemSurface dem;
  std::string error;
  const std::string other = MakeDem("orbmath_dem_other.tif", "EPSG:4258");
  EXPECT_FALSE(OpenDem({{west, other}, "none"}, &dem, &error));
  EXPECT_NE(error.find("another reference system"), std::string::npos) << error;
}

TEST(HeightFiles, SaysWhatHeightsCountFrom) {
  const std::string grid = testing::TempDir() + "orbmath_geoid.pgm";
  {
    // A geoid in GeographicLib's form: 8 columns of 45 degrees and 5 rows, 16 bits, first byte high: -108 + 0.003 N.
    std::ofstream file(grid, std::ios::binary);
    file << "P5\n# Offset -108\n# Scale 0.003\n# Origin 90N 0E\n8 5\n65535\n";
    for (int i = 0; i < 40; ++i) file.put(static_cast<char>(52000 / 256)).put(static_cast<char>(52000 % 256));
  }
  const double geoid = -108.0 + 0.003 * 52000.0;
  const struct {
    const char* system;
    const char* asked;
    double added;  ///< NaN: refused
    std::size_t notes;
    std::size_t warnings;
  } cases[] = {
      {"EPSG:4326", "", 0.0, 0, 1},
      {"EPSG:4326", "none", 0.0, 0, 0},
      {"EPSG:4326", grid.c_str(), geoid, 0, 0},
      {"EPSG:4979", "", 0.0, 0, 0},
      {"EPSG:4326+5773", "none", 0.0, 1, 0},
      {"EPSG:4326+5773", grid.c_str(), geoid, 1, 0},
      {"EPSG:4326+5703", "", orbmath_test::kNaN, 0, 0},
      {"EPSG:4326+5703", grid.c_str(), geoid, 1, 0},
      {nullptr, "none", 0.0, 0, 1},
      {"EPSG:4326", "/no/such/geoid.gtx", orbmath_test::kNaN, 0, 0},
      {"EPSG:4326", "egm84", orbmath_test::kNaN, 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << (c.system == nullptr ? "no system" : c.system) << " asked " << c.asked);
    const std::string path = MakeDem("orbmath_dem_vertical.tif", c.system);
    TDemSurface dem;
    std::string error;
    const bool opened = OpenDem({{path}, c.asked}, &dem, &error);
    EXPECT_EQ(opened, !std::isnan(c.added)) << error;
    if (!opened) {
      EXPECT_NE(error, "");
      EXPECT_EQ(dem.surface, nullptr);
      continue;
    }
    EXPECT_NEAR(dem.surface->GetHeight(45.0, 7.0), orbmath_test::Mountain(45.0, 7.0) + c.added, 1e-9);
    EXPECT_TRUE(std::isnan(dem.surface->GetHeight(45.05 - 20 * 0.0004, 6.94 + 30 * 0.0005))) << "the tag's own nodata";
    EXPECT_EQ(dem.notes.size(), c.notes);
    EXPECT_EQ(dem.warnings.size(), c.warnings);
    EXPECT_EQ(dem.hasGeoid, c.added != 0.0);
  }
}

TEST(HeightFiles, TheGeoidOfAFileIsFoundByNameWhereProjHasIt) {
  std::string error;
  const auto egm96 = OpenGeoid("egm96", 64 << 20, &error);
  if (egm96 == nullptr) GTEST_SKIP() << error;
  EXPECT_NEAR(egm96->GetHeight(0.0, 0.0), 17.16, 0.01);
  const TDemSurface dem = Open({{MakeDem("orbmath_dem_egm96.tif", "EPSG:4326+5773")}, ""});
  EXPECT_EQ(dem.notes.size(), 1u);
  EXPECT_NEAR(dem.surface->GetHeight(45.0, 7.0), orbmath_test::Mountain(45.0, 7.0) + egm96->GetHeight(45.0, 7.0), 1e-9);
}

}  // namespace
}  // namespace SatCommonUtils
