// The commands on a DEM: what stands in a line, what becomes an error line, what is said.

#include <gtest/gtest.h>

#include <string>

#include "tool/run_tool.h"

namespace orbmath_test {

namespace {

/// Heights of 600 m at longitudes 6.9 to 7.1 and latitudes 44.9 to 45.1, unknown in the north-eastern corner.
class TerrainTool : public ::testing::Test {
 protected:
  void SetUp() override {
    Workspace();
    std::string grid = "ncols 5\nnrows 5\nxllcenter 6.9\nyllcenter 44.9\ncellsize 0.05\nNODATA_value -32678\n";
    for (int row = 0; row < 5; ++row) {
      for (int column = 0; column < 5; ++column) grid += row == 0 && column == 4 ? "-32678 " : "600 ";
      grid += "\n";
    }
    WriteText("dem.asc", grid);
    const ToolRun run = RunToolLine("locate flat.RPB --dem dem.asc --geoid none");
    if (run.err.find("DEMs are opened") != std::string::npos) GTEST_SKIP() << run.err;
  }
};

TEST_F(TerrainTool, LocatesOnTheTerrainAndRefusesVoids) {
  // A height of 600 moves the sample by 40 pixels, 0.004 degrees.
  const ToolRun run =
      RunToolLine("locate flat.RPB --dem dem.asc --geoid none --status", "1000 2000\n200 2840\n-5000 2000\n");
  const std::string nowhere =
      "ERROR: the line of sight meets no terrain of known height (a void, or outside the DEM)\n";
  EXPECT_EQ(run.out, "45.0000000000 6.9960000000 600.0000 0.000000 ok\n" + nowhere + nowhere);
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("has no reference system; taken as longitudes and latitudes"), std::string::npos) << run.err;
  // The warning that no file and nobody said what heights count from.
  EXPECT_NE(RunToolLine("locate flat.RPB --dem dem.asc").err.find("taken as above the ellipsoid"), std::string::npos);
  EXPECT_EQ(
      RunToolLine("locate flat.RPB --dem dem.asc --geoid none --void-height 600 --precision 1", "-5000 2000\n").out,
      "45.6 7.0 600.0\n");
  EXPECT_EQ(RunToolLine("intersect flat.RPB --dem dem.asc --geoid none --precision 3", "1000 2000\n").out,
            "45.000 6.996 600.000 0.000\n");
}

TEST_F(TerrainTool, SaysHowUncertainAPointOnTheTerrainIs) {
  // Level ground 2 m uncertain, seen 0.4 samples of 7.885 m a metre off the vertical.
  const ToolRun run = RunToolLine(
      "locate flat.RPB --dem dem.asc --geoid none --uncertainty --sigma 0 --bias 0 --random 0 --dem-sigma 2 "
      "--precision 2",
      "1000 2000\n");
  EXPECT_EQ(run.out, "45.00 7.00 600.00 39.80 0.00 -12.62 0.00 0.00 4.00 10.38 3.29 12.36\n") << run.err;
}

TEST_F(TerrainTool, ProjectsWithTheTerrainsHeightAndSaysWhatIsSeen) {
  EXPECT_EQ(RunToolLine("project flat.RPB --dem dem.asc --geoid none --visible --precision 2",
                        "45 6.996\n45 6.996 590\n45 6.996 700\n45.09 7.09\n")
                .out,
            "1000.00 2000.00 visible\n1000.00 1996.00 hidden\n1000.00 2040.00 visible\n"
            "ERROR: no terrain height there (a void, or outside the DEM)\n");
  const std::string info = RunToolLine("info flat.RPB --dem dem.asc --geoid none --json").out;
  EXPECT_NE(info.find("\"footprint\":[{\"line\":"), std::string::npos) << info;
}

TEST_F(TerrainTool, RefinesByControlPointsWithoutHeights) {
  // Measured 3 lines and 5 samples off; the last one has a height of its own.
  WriteText("control.txt", "45 6.996 1003 2005\n45.02 6.996 803 2005 1\n45 7 1003 2005 1 500\n");
  const ToolRun run = RunToolLine("refine flat.RPB control.txt shifted.xml --type shift --dem dem.asc --geoid none");
  EXPECT_NE(run.out.find("rms after                 0.0000 px"), std::string::npos) << run.out << run.err;
  WriteText("off.txt", "45 9 1003 2005\n");
  EXPECT_EQ(RunToolLine("refine flat.RPB off.txt x.xml --type shift --dem dem.asc --geoid none").status, 1);
}

TEST_F(TerrainTool, MakesAMapAndSaysWhatItChose) {
  // Any raster is an image: here the DEM's own 5 x 5 pixels, the first of which lies at 45.1, 6.796 where h is 600.
  const std::string ortho =
      "ortho dem.asc map.tif --model flat.RPB --dem dem.asc --geoid none --crs EPSG:4326 --resolution 1e-4 ";
  const std::string bounds = "--bounds 6.79495 45.09905 6.79695 45.10105";
  const ToolRun there = RunToolLine(ortho + bounds + " --void-height 600");
  EXPECT_EQ(there.status, 0) << there.err;
  EXPECT_NE(there.err.find("map.tif: 20 x 20 pixels, 25 of them in the image, 0 without a height"), std::string::npos)
      << there.err;
  const ToolRun nowhere = RunToolLine(ortho + bounds);
  EXPECT_NE(nowhere.err.find("warning: no pixel of the map lies in the image"), std::string::npos) << nowhere.err;
  EXPECT_EQ(RunToolLine("ortho none.tif map.tif --dem dem.asc --geoid none").status, 1);
  EXPECT_FALSE(ReadText("map.tif").empty());
}

TEST_F(TerrainTool, WritesCoordinateGrids) {
  const ToolRun run = RunToolLine("grid flat.RPB ground.npy --height 600 --size 5 7 --step 2");
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.err.find("ground.npy: 4 x 3 nodes, 12 with coordinates"), std::string::npos) << run.err;
  EXPECT_EQ(ReadText("ground.npy").size(), 128u + 3u * 12u * 8u);
  const ToolRun map = RunToolLine("grid flat.RPB map.npy --dem dem.asc --geoid none --map --crs EPSG:4326");
  EXPECT_NE(map.err.find("taken from the model's range: 2001 lines and 4001 samples"), std::string::npos) << map.err;
  EXPECT_NE(map.err.find("resolution 1e-04, the image's own"), std::string::npos) << map.err;
}

TEST_F(TerrainTool, WrongUsageIsOneLine) {
  for (const char* arguments :
       {"info flat.RPB --geoid none", "locate flat.RPB --dem dem.asc --height 5", "project flat.RPB --visible",
        "intersect flat.RPB", "intersect flat.RPB right.RPB --dem dem.asc", "ortho dem.asc x.tif",
        "ortho dem.asc x.tif --dem dem.asc --bounds 1 0 0 1", "ortho dem.asc x.png --dem dem.asc --model flat.RPB",
        "ortho x.asc dem.asc --dem dem.asc --model flat.RPB --format GTiff", "grid flat.RPB x.csv --height 5",
        "ortho dem.asc x.tif --dem dem.asc --like y.tif --crs EPSG:4326",
        "locate flat.RPB --dem dem.asc --void-height x", "refine flat.RPB control.txt x.xml --ties --dem dem.asc"}) {
    EXPECT_EQ(RunToolLine(arguments).status, 2) << arguments;
  }
  // A second DEM where the file to write was forgotten; one that is not there yet is such a file.
  WriteText("other.asc", ReadText("dem.asc"));
  const std::string forgotten = "ortho dem.asc --dem dem.asc other.asc --model flat.RPB --geoid none --format GTiff";
  EXPECT_NE(RunToolLine(forgotten).err.find("was the file to write forgotten?"), std::string::npos);
  EXPECT_EQ(ReadText("other.asc"), ReadText("dem.asc"));
  const ToolRun run = RunToolLine("locate flat.RPB --dem dem.asc --geoid none --void-height geoid");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("do not count from a geoid"), std::string::npos) << run.err;
}

}  // namespace

}  // namespace orbmath_test
