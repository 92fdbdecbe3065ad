// Tables of ground control: columns, heights, reference systems, names of points.

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "support/real_data.h"
#include "tool/rows.h"

namespace orbmath_test {

namespace {

/// Five points of flat.RPB, all moved by 2 lines and -3 samples, at 500 m; one more is off by 30 lines.
const char* const kNamed =
    "name;x;y;elevation (m);row;col;remark\n"
    "A 1;7.00;45.00;500;1002;1997;a\n"
    "A 2;7.10;45.00;500;1002;2997;b\n"
    "A 3;7.00;45.05;;502;1997;c\n"
    "A 4;7.10;45.05;500;502;2997;d\n"
    "A 5;7.05;45.02;500;802;2497;e\n"
    "B 6;7.02;45.03;500;732;2197;f\n";

TEST(ControlTest, PointsAreNamedByTheirIdentifiers) {
  Workspace();
  WriteText("named.csv", kNamed);
  const ToolRun run = RunToolLine("refine flat.RPB named.csv named.xml --height 500 --type shift");
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("bad points                B 6 (named.csv:7)\n"), std::string::npos) << run.out;
  EXPECT_EQ(RunToolLine("project named.xml --precision 3", "45 7 500\n").out, "1002.000 1997.000\n");
  // The empty height is an error without the option, and so is a latitude that is none.
  const ToolRun without = RunToolLine("refine flat.RPB named.csv never.xml");
  EXPECT_NE(without.err.find("named.csv:4: the field for height is empty"), std::string::npos) << without.err;
  const ToolRun bad = RunToolLine("refine flat.RPB - never.xml", "id,lat,lon,h,line,sample\nP9,97,7,1,2,3\n");
  EXPECT_NE(bad.err.find("P9 (standard input:2): latitude 97"), std::string::npos) << bad.err;
  EXPECT_EQ(ReadText("never.xml"), "");
}

// Columns of texts in which nothing stands until late take no memory until then.
TEST(ControlTest, NamesAndRolesMayBeginLate) {
  Workspace();
  constexpr int kRows = 30000;
  std::string text = "lat,lon,h,line,sample,name,role\n";
  for (int i = 0; i < kRows; ++i) text += "45,7,500,1002,1997,,\n";
  text +=
      "45.05,7,500,502,1997,A 1,\n45.05,7.1,500,502,2997,,\n45,7.1,500,1002,3000,C 1,check\n45,7.1,500,1032,2997,A "
      "2,\n";
  WriteText("late.csv", text);
  const ToolRun run = RunToolLine("refine flat.RPB late.csv late.xml --type shift --json");
  EXPECT_EQ(run.status, 0) << run.err;
  const auto at = [](int row) { return "{\"input_line\":" + std::to_string(kRows + row); };
  const std::string behind_first = ",\"line_before\"";
  for (const std::string& part :
       {"\"points\":[{\"input_line\":2" + behind_first, at(1) + behind_first, at(2) + ",\"id\":\"A 1\"" + behind_first,
        at(3) + behind_first, at(5) + ",\"id\":\"A 2\"" + behind_first,
        at(4) + ",\"id\":\"C 1\",\"line\":", std::string("\"bad\":\"A 2 (late.csv:30005)\"")}) {
    EXPECT_NE(run.out.find(part), std::string::npos) << part << "\n" << run.out.substr(run.out.size() - 1200);
  }
}

TEST(ControlTest, OrderAndHeightsFollowTheOptions) {
  Workspace();
  const std::string expected = "1002.000 1997.000\n";
  const struct {
    const char* options;
    const char* points;
  } rows[] = {{"--lonlat", "7 45 500 1002 1997\n"},
              {"--height 500", "45 7 1002 1997\n"},
              {"--height 0", "45 7 1002 1997 1 500\n"},
              {"--lonlat --height 500 --origin corner", "7 45 1002.5 1997.5\n"},
              {"", "45:00:00N 7d0'0\"E 500 1002 1997\n"},
              {"--columns sample,line,lon,lat --height 500", "#row\tcol\tlon\tlat\n1997\t1002\t7\t45\n"}};
  for (const auto& row : rows) {
    const ToolRun run = RunToolLine(std::string("refine flat.RPB - order.xml --type shift ") + row.options, row.points);
    EXPECT_EQ(run.status, 0) << row.options << run.err;
    EXPECT_EQ(RunToolLine("project order.xml --precision 3", "45 7 500\n").out, expected) << row.options;
  }
}

TEST(ControlTest, ReferenceSystemsAndGeoidsAreThoseOfTheOptions) {
  Workspace();
  // A geoid of 40 m everywhere.
  std::string grid = "ncols 3\nnrows 2\nxllcenter 6\nyllcenter 44\ncellsize 2\n40 40 40\n40 40 40\n";
  WriteText("geoid.asc", grid);
  const char* const utm = "id,east,north,height,line,sample\nP,500000,4982950.4003,460,1002,21997\n";
  const ToolRun run = RunToolLine("refine flat.RPB - crs.xml --type shift --crs EPSG:32632 --geoid geoid.asc", utm);
  if (run.err.find("reference systems are known") != std::string::npos) GTEST_SKIP() << run.err;
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(RunToolLine("project crs.xml --precision 2", "45 9 500\n").out, "1002.00 21997.00\n");
  const ToolRun swapped = RunToolLine("fit - never.xml --crs EPSG:32632", "4982950 500000 460 1 2\n");
  EXPECT_EQ(swapped.status, 1);
  EXPECT_EQ(RunToolLine("fit - never.xml --crs EPSG:1", "1 2 3 4 5\n").err,
            "orbmath: EPSG:1: is no reference system that PROJ knows\n");
}

TEST(ControlTest, LocatedHeightsAboveAGeoidAreThoseOfTheirPlaces) {
  Workspace();
  // A geoid that rises by 5 m a degree of longitude.
  WriteText("slope.asc", "ncols 3\nnrows 2\nxllcenter 6\nyllcenter 44\ncellsize 2\n40 50 60\n40 50 60\n");
  const ToolRun run = RunToolLine("locate flat.RPB --geoid slope.asc --precision 12", "1200 21997 460\n");
  if (run.err.find("which is not installed") != std::string::npos || run.err.find("libgdal") != std::string::npos) {
    GTEST_SKIP() << run.err;
  }
  ASSERT_EQ(run.status, 0) << run.err;
  std::istringstream fields(run.out);
  double lat = 0.0, lon = 0.0, height = 0.0;
  fields >> lat >> lon >> height;
  EXPECT_NEAR(height, 460.0 + 40.0 + 5.0 * (lon - 6.0), 1e-6);
  std::string back = run.out;
  EXPECT_EQ(RunToolLine("project flat.RPB --precision 6", back).out, "1200.000000 21997.000000\n");
  EXPECT_EQ(RunToolLine("locate flat.RPB --geoid slope.asc --height 460 --precision 12", "1200 21997\n").out, run.out);
  EXPECT_NE(RunToolLine("locate flat.RPB --geoid slope.asc", "1200 21997\n").out.find("ERROR: 2 fields"),
            std::string::npos);
  EXPECT_NE(RunToolLine("locate flat.RPB --geoid slope.asc --height 460", "1200 210000\n").out.find("the geoid has no"),
            std::string::npos);
  // A geoid of the place alone, which ends before the middle of the image.
  WriteText("there.asc", "ncols 2\nnrows 2\nxllcenter 8.9\nyllcenter 44.8\ncellsize 0.3\n54 54\n54 54\n");
  EXPECT_NEAR(lon, 9.0, 0.05);
  EXPECT_EQ(RunToolLine("locate flat.RPB --geoid there.asc --precision 12", "1200 21997 446\n").out.find("ERROR"),
            std::string::npos);
}

TEST(ControlTest, CheckPointsTakeNoPartAndAreSummedUp) {
  Workspace();
  // Control moved by (2, -3); two check points 1 line and 1 sample off that, either way.
  const std::string control =
      "id,role,lat,lon,h,line,sample\n"
      "A,control,45.00,7.00,500,1002,1997\nB,GCP,45.05,7.00,500,502,1997\nC,,45.00,7.10,500,1002,2997\n"
      "D,control,45.05,7.10,500,502,2997\n";
  const char* const checks = "E,check,45.02,7.05,500,803,2496\nF,Check,44.98,7.05,500,1201,2498\n";
  WriteText("checked.csv", control + checks);
  WriteText("control.csv", control);
  WriteText("checks.csv", std::string("id,role,lat,lon,h,line,sample\n") + checks);
  // CE90 is 2.1460 times the standard deviation; a pixel is 1e-4 degrees, 11.132 m towards north.
  for (const char* const files : {"checked.csv roles.xml", "control.csv roles.xml --check checks.csv"}) {
    const ToolRun run = RunToolLine(std::string("refine flat.RPB --type shift --json ") + files);
    ASSERT_EQ(run.status, 0) << run.err;
    for (const char* const part :
         {"\"points_given\":4,", "\"rms_after_px\":0.0000,", "\"check\":{\"count\":2,\"rms_line_px\":1.00000",
          "\"rms_px\":1.4142", "\"ce90_px\":2.14596", "\"rms_north_m\":11.13", "\"rms_east_m\":7.87",
          "\"id\":\"F\",\"line\":-1", "\"parameters\":[{\"name\":\"d_line\",\"value\":1.99999"}) {
      EXPECT_NE(run.out.find(part), std::string::npos) << part << run.out;
    }
    EXPECT_EQ(run.out.find("\"id\":\"E\",\"line_before\""), std::string::npos) << run.out;
  }
  const ToolRun bad = RunToolLine("refine flat.RPB - never.xml", "lat,lon,h,line,sample,role\n45,7,500,1,2,tie\n");
  EXPECT_NE(bad.err.find("role 'tie' is neither control nor check"), std::string::npos) << bad.err;
  const std::string report = RunToolLine("refine flat.RPB checked.csv roles.xml").out;
  EXPECT_NE(report.find("Affine                not taken, it needs 6 points to be tested"), std::string::npos)
      << report;
}

TEST(ControlTest, RealControlWithNamesThatLieAndWithoutHeights) {
  const std::string folder = RealDataPath("../block/real_qb_toulouse/");
  const std::string name = folder + "QB_TOULOUSE_MUL_Extract_500_500";
  if (!std::ifstream(name + ".geom")) GTEST_SKIP() << "no folder 'block' beside ORBMATH_TEST_DATA";
  Workspace();
  const auto refine = [&](const std::vector<std::string>& options) {
    std::vector<std::string> arguments{"refine", name + ".geom", name + "_in_tie_points.txt", "real.xml", "--json"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return RunTool(arguments);
  };
  EXPECT_NE(refine({}).err.find("no column 'height'; name the columns with --columns, or --height H"),
            std::string::npos);
  const ToolRun believed = refine({"--height", "189"});
  EXPECT_EQ(believed.status, 1);
  EXPECT_NE(believed.err.find("line and sample seem to be exchanged: the other way round it is 0.37"),
            std::string::npos)
      << believed.err;
  const ToolRun named = refine({"--height", "189", "--columns", "sample,line,lon,lat"});
  EXPECT_EQ(named.status, 0) << named.err;
  EXPECT_NE(named.out.find("\"points_given\":808,"), std::string::npos) << named.out.substr(0, 300);
}

}  // namespace

}  // namespace orbmath_test
