// The commands that make models: fit, invert, refine and export.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <sstream>

#include "tool/rows.h"

namespace orbmath_test {

namespace {

/// The number behind `"key":` in a JSON text; NaN when there is none.
double NumberOf(const std::string& json, const std::string& key) {
  const std::size_t at = json.find("\"" + key + "\":");
  return at == std::string::npos ? std::nan("") : std::atof(json.c_str() + at + key.size() + 3);
}

double LargestDifference(const std::string& a, const std::string& b) {
  return NumberOf(RunTool({"compare", a, b, "--json"}).out, "max_px");
}

/// Ground points over the box of the test models, one line each.
std::string GroundGrid() {
  std::string lines;
  char line[96];
  for (int i = 0; i < 7; ++i) {
    for (int j = 0; j < 7; ++j) {
      for (int k = 0; k < 4; ++k) {
        std::snprintf(line, sizeof line, "%.7f %.7f %.3f\n", 44.905 + 0.0311 * i, 6.81 + 0.0633 * j, 20.0 + 310.7 * k);
        lines += line;
      }
    }
  }
  return lines;
}

/// Points of a model as `lat lon height line sample`, each line made by `format` from its five fields.
template <class Format>
std::string Correspondences(const std::string& model, const std::string& ground, Format format) {
  std::istringstream image(RunTool({"project", model, "--precision", "9"}, ground).out);
  std::istringstream points(ground);
  std::string lines;
  std::string lat, lon, height, line, sample;
  while (points >> lat >> lon >> height && image >> line >> sample) lines += format(lat, lon, height, line, sample);
  return lines;
}

std::string Plain(const std::string& lat, const std::string& lon, const std::string& height, const std::string& line,
                  const std::string& sample) {
  return lat + " " + lon + " " + height + " " + line + " " + sample + "\n";
}

/// As `Plain`, longitudes in another turn for the points of some heights.
std::string Turned(const std::string& lat, const std::string& lon, const std::string& height, const std::string& line,
                   const std::string& sample) {
  return Plain(lat, height < "3" ? lon : std::to_string(std::stod(lon) + 360.0), height, line, sample);
}

TEST(FitTest, FindsTheModelThatMadeThePoints) {
  Workspace();
  WriteText("points.txt", Correspondences("cubic.xml", GroundGrid(), Turned));
  for (const std::string arguments :
       {"fit points.txt fit.RPB", "fit points.txt fit.txt --check 5", "fit points.txt fit.xml --method plain",
        "fit points.txt fit.xml --order 3 --ridge 0"}) {
    const ToolRun run = RunToolLine(arguments + " --json");
    EXPECT_EQ(run.status, 0) << run.err;
    // What a form with two decimals may cost on a freshly fitted model.
    EXPECT_LT(LargestDifference("cubic.xml", arguments.substr(15, 7)), 2e-4) << arguments;
    EXPECT_LT(NumberOf(run.out, "cost_px"), 2e-4) << arguments;
    EXPECT_EQ(run.out.find("\"check\":{\"count\":39,") != std::string::npos,
              arguments.find("--check") != std::string::npos);
  }
}

TEST(FitTest, TakesColumnsByNameFromTheCommandLineOrTheFirstLine) {
  Workspace();
  WriteText("points.txt", Correspondences("cubic.xml", GroundGrid(), Plain));
  ASSERT_EQ(RunToolLine("fit points.txt plain.RPB").status, 0);
  const auto mixed = [](const std::string& lat, const std::string& lon, const std::string& height,
                        const std::string& line, const std::string& sample) {
    return "P7," + lon + "," + lat + "," + sample + "," + line + "," + height + ",good\n";
  };
  const std::string rows = Correspondences("cubic.xml", GroundGrid(), mixed);
  // The names come behind more than one block of the reader.
  WriteText("named.csv",
            "# a survey\n" + std::string(70000, '\n') + "id,Longitude (deg),\"lat\",col,ROW,h,remark\r\n" + rows);
  WriteText("unnamed.csv", rows);
  EXPECT_EQ(RunToolLine("fit named.csv named.RPB").status, 0);
  EXPECT_EQ(RunToolLine("fit unnamed.csv unnamed.RPB --columns id,lon,lat,sample,line,height").status, 0);
  EXPECT_EQ(ReadText("named.RPB"), ReadText("plain.RPB"));
  EXPECT_EQ(ReadText("unnamed.RPB"), ReadText("plain.RPB"));
}

TEST(FitTest, PointsOfTwoImagesAreNoFitWithoutAWord) {
  Workspace();
  const std::string one = Correspondences("flat.RPB", GroundGrid(), Plain);
  WriteText("mixed.txt", one + Correspondences("right.RPB", GroundGrid(), Plain));
  WriteText("one.txt", one);
  EXPECT_NE(RunToolLine("fit mixed.txt fit.xml --keep-all").err.find("are they points of one image"),
            std::string::npos);
  EXPECT_EQ(RunToolLine("fit one.txt fit.xml").err, "");
}

TEST(FitTest, ResidualsAndWorstPointsNameTheLines) {
  Workspace();
  std::string points = "# first\n" + Correspondences("flat.RPB", GroundGrid(), Plain);
  // The point of line 3 is off by 8 lines.
  const std::size_t at = points.find('\n', points.find('\n') + 1) + 1;
  points.insert(at, "45 7 500 1008 2000\n");
  WriteText("points.txt", points);
  const struct {
    const char* option;
    const char* residual;
    const char* count;
  } rows[] = {{"", "8.000", "\"count\":196"}, {" --keep-all", "7.", "\"count\":197"}};
  for (const auto& row : rows) {
    const ToolRun run =
        RunToolLine(std::string("fit points.txt fit.xml --order 1 --residuals residuals.txt --json") + row.option);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.out.find("\"bad\":[3]"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find(row.count), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("\"worst\":[{\"input_line\":3,\"line\":7."), std::string::npos) << run.out;
    const std::string residuals = ReadText("residuals.txt");
    EXPECT_EQ(std::count(residuals.begin(), residuals.end(), '\n'), 1 + 197);
    EXPECT_NE(residuals.find(std::string("\n3 ") + row.residual), std::string::npos);
    EXPECT_NE(residuals.find(" bad\n"), std::string::npos);
  }
}

class Refused : public ::testing::TestWithParam<Row> {};

TEST_P(Refused, Row) {
  CheckRow(GetParam());
  EXPECT_EQ(ReadText("never.xml"), "");
}

INSTANTIATE_TEST_SUITE_P(
    Tables, Refused,
    ::testing::Values(
        Row{"no_number", "fit - never.xml", "45 7 1 2 3\n\n45 7 1 2 x\n", "", "standard input:3: 'x' is not", 1},
        Row{"too_few_fields", "fit - never.xml", "45 7 1 2\n", "", "standard input:1: 4 fields, expected: lat", 1},
        Row{"latitude", "fit - never.xml", "45 7 1 2 3\n95 7 1 2 3\n", "", "standard input:2: latitude 95 is not", 1},
        Row{"sigma", "fit - never.xml", "45 7 1 2 3 0\n", "", "standard input:1: sigma must be above 0", 1},
        Row{"unknown_names", "fit - never.xml", "id lat lon line sample\n", "",
            "1: these names have no column 'height'", 1},
        Row{"missing_column", "fit - never.xml --columns lat,lon,line,sample", "", "", "no column 'height'", 2},
        Row{"too_few_points", "fit - never.xml", "45 7 1 2 3\n", "", "no model can be fitted", 1},
        Row{"plain_too_few", "fit - never.xml --method plain", "45 7 1 2 3\n", "", "needs 40 points", 1},
        Row{"order_of_plain", "fit - never.xml --method plain --order 2", "", "", "belong to --method robust", 2},
        Row{"negative_ridge", "fit - never.xml --ridge -1e-3", "", "", "--ridge must be 0 or above", 2},
        Row{"form_of_refined", "refine flat.RPB - never.RPB", "", "", "an adjusted model is an XML file", 2},
        Row{"exchanged_columns", "refine flat.RPB - never.xml", "7 45 500 1003 2001\n", "",
            "latitude and longitude seem to be exchanged", 1},
        Row{"max_misfit", "refine flat.RPB - never.xml --max-misfit 0", "", "", "--max-misfit must be above 0", 2},
        Row{"points_of_kind", "refine flat.RPB - never.xml --type affine", "45 7 1 2 3\n45.1 7 1 2 3\n", "",
            "needs at least 3 points", 1},
        Row{"one_place", "refine flat.RPB - never.xml --type affine",
            "45 7 1 2 3\n45 7 1 2 3\n45 7 1 2 3\n45 7 1 2 3\n", "", "no refinement can be fitted", 1}),
    RowName);

TEST(InvertTest, TheInverseHoldsBetweenTheNodesOfItsFit) {
  Workspace();
  for (const std::string out : {"inverse.xml", "inverse.RPB"}) {
    const ToolRun run = RunTool({"invert", "cubic.xml", out, "--grid", "6", "--json"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(NumberOf(run.out, "points"), 216);
    EXPECT_LT(NumberOf(run.out, "max_px"), 1e-3) << out;
    // More than half a turn of "longitude" away from the middle.
    const std::string found = RunToolLine("project --precision 6 " + out, "812 1300 400\n").out;
    EXPECT_EQ(RunToolLine("locate --precision 6 cubic.xml", "812 1300 400\n").out,
              found.substr(0, found.size() - 1) + " 400.000000\n");
  }
}

/// Ground control of flat.RPB with every point moved by (2, -3), and the points `bad` by 30 lines more.
std::string Control(const std::string& bad) {
  std::istringstream grid(GroundGrid());
  std::string control;
  std::string ground;
  for (int i = 0; std::getline(grid, ground); ++i) {
    double lat = 0.0, lon = 0.0, height = 0.0;
    std::istringstream(ground) >> lat >> lon >> height;
    if (i % 15 != 0) continue;
    const double off = bad.find(static_cast<char>('a' + i / 15)) != std::string::npos ? 30.0 : 0.0;
    char line[64];
    std::snprintf(line, sizeof line, " %.6f %.6f\n", 1000 - 10000 * (lat - 45) + 2 + off,
                  2000 + 10000 * (lon - 7) + 0.4 * (height - 500) - 3);
    control += ground + line;
  }
  return control;
}

TEST(RefineTest, FindsTheShiftAndNamesTheBadPoints) {
  Workspace();
  WriteText("control.txt", Control("cek"));
  for (const std::string type : {"auto", "shift", "affine", "projective"}) {
    const ToolRun run = RunTool({"refine", "flat.RPB", "control.txt", "adjusted.xml", "--type", type, "--json"});
    ASSERT_EQ(run.status, 0) << type << run.err;
    EXPECT_NE(run.out.find("\"bad\":\"control.txt:3, control.txt:5, control.txt:11\""), std::string::npos)
        << type << run.out;
    EXPECT_EQ(NumberOf(run.out, "points_used"), 11) << type;
    EXPECT_LT(NumberOf(run.out, "rms_after_px"), 1e-3) << type;
    EXPECT_EQ(RunToolLine("project adjusted.xml --precision 3", "45 7 500\n").out, "1002.000 1997.000\n") << type;
    EXPECT_EQ(RunToolLine("locate adjusted.xml --precision 6", "1002 1997 500\n").out,
              "45.000000 7.000000 500.000000\n");
  }
  const ToolRun all = RunToolLine("refine flat.RPB control.txt all.xml --type shift --keep-all --json");
  EXPECT_EQ(NumberOf(all.out, "points_used"), 14);
  EXPECT_NEAR(NumberOf(all.out, "rms_after_px"), 30.0 * std::sqrt(3.0 / 14 * 11 / 14), 0.01);
}

TEST(RefineTest, TiesMeanTheSameAsGroundControl) {
  Workspace();
  const std::string ties = "500 600 502.5 599\n1500 600 1502.5 599\n1500 3000 1502.5 2999\n500 3000 502.5 2999\n";
  EXPECT_EQ(RunToolLine("refine flat.RPB - ties.xml --ties --type shift", ties).status, 0);
  EXPECT_EQ(RunToolLine("project ties.xml --precision 3", "45 7 500\n").out, "1002.500 1999.000\n");
  // Counted from a pixel's corner the same ties are half a pixel more everywhere.
  const std::string corner =
      "500.5 600.5 503 599.5\n1500.5 600.5 1503 599.5\n1500.5 3000.5 1503 2999.5\n500.5 3000.5 503 2999.5\n";
  EXPECT_EQ(RunToolLine("refine flat.RPB - corner.xml --ties --type shift --origin corner", corner).status, 0);
  EXPECT_EQ(ReadText("corner.xml"), ReadText("ties.xml"));
}

TEST(ExportTest, ThePlainModelCarriesTheRefinement) {
  Workspace();
  WriteText("control.txt", Control(""));
  ASSERT_EQ(RunToolLine("refine flat.RPB control.txt adjusted.xml").status, 0);
  const ToolRun run = RunToolLine("export adjusted.xml exported.RPB --json");
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_LT(NumberOf(run.out, "max_px"), 0.01);
  EXPECT_NEAR(LargestDifference("adjusted.xml", "exported.RPB"), NumberOf(run.out, "max_px"), 1e-3);
  EXPECT_NE(ReadText("exported.RPB").find("\"SAT1\""), std::string::npos);
  // A plain form cannot hold the refinement; nothing is lost in silence.
  EXPECT_EQ(RunToolLine("convert adjusted.xml lossy.RPB").status, 1);
  EXPECT_EQ(ReadText("lossy.RPB"), "");
  EXPECT_EQ(RunToolLine("convert adjusted.xml - --to xml").out, ReadText("adjusted.xml"));
  EXPECT_NE(RunToolLine("info adjusted.xml --json").out.find("\"refinement\":\"Shift\""), std::string::npos);
}

}  // namespace

}  // namespace orbmath_test
