// The commands: usage and help, results on models whose numbers can be worked out by hand, files in and out.

#include <gtest/gtest.h>

#include <sstream>

#include "tool/rows.h"

namespace orbmath_test {

namespace {

class Commands : public ::testing::TestWithParam<Row> {};

TEST_P(Commands, Row) { CheckRow(GetParam()); }

// Every way to misuse the command line ends with status 2 and one line.
INSTANTIATE_TEST_SUITE_P(
    Usage, Commands,
    ::testing::Values(
        Row{"no_command", "", "", "", "no command given", 2},
        Row{"unknown_command", "projekt", "", "", "'projekt' is no command, did you mean 'project'?", 2},
        Row{"mistyped_option", "locate --hieght 3", "", "", "no option --hieght, did you mean '--height'?", 2},
        Row{"no_guess", "xyzzy", "", "", "'xyzzy' is no command ('orbmath --help' lists them)", 2},
        Row{"missing_argument", "project", "", "", "MODEL is required", 2},
        Row{"unknown_option", "project flat.RPB --hight 5", "", "", "--hight", 2},
        Row{"unexpected_argument", "convert flat.RPB a.xml b.xml", "", "", "'b.xml' is one argument too many", 2},
        Row{"missing_value", "locate flat.RPB --height", "", "", "--height needs a value", 2},
        Row{"option_as_value", "locate flat.RPB --height --json", "", "", "'--json' is not a number", 2},
        Row{"decimal_comma", "locate flat.RPB --height 1,5", "", "", "'1,5' is not a number", 2},
        Row{"trailing_letter", "locate flat.RPB --height 15m", "", "", "'15m' is not a number", 2},
        Row{"not_finite_height", "locate flat.RPB --height nan", "", "", "'nan' is not a number", 2},
        Row{"fraction", "project flat.RPB --precision 2.5", "", "", "'2.5' is not a whole number", 2},
        Row{"out_of_range", "project flat.RPB --precision 21", "", "", "from 0 to 20", 2},
        Row{"given_twice", "locate flat.RPB --height 1 --height 2", "", "", "--height may be given once", 2},
        Row{"unknown_word", "project flat.RPB --origin middle", "", "", "center|corner|one", 2},
        Row{"one_image", "intersect flat.RPB", "", "", "MODEL: At least 2 required", 2},
        Row{"variance_alone", "intersect flat.RPB right.RPB --height-variance 1", "", "",
            "--height-variance needs --height", 2},
        Row{"no_variance", "intersect flat.RPB right.RPB --height 1 --height-variance 0", "", "",
            "--height-variance must be above 0", 2},
        Row{"no_form", "convert flat.RPB flat", "", "", "add --to rpb|text|xml", 2}),
    RowName);

TEST(CommandsTest, WrongUsageIsOneLineThatEndsWithTheWayToHelp) {
  for (const char* arguments : {"project", "project flat.RPB --hight 5", "locate flat.RPB --height x", "intersect a"}) {
    const ToolRun run = RunToolLine(arguments);
    EXPECT_EQ(run.err.find('\n'), run.err.size() - 1) << run.err;
    EXPECT_NE(run.err.find("--help"), std::string::npos) << run.err;
  }
}

// What people type before they have read the help: the words mean what they seem to, or the error says what is meant.
INSTANTIATE_TEST_SUITE_P(
    Sloppy, Commands,
    ::testing::Values(
        Row{"ModelBehindARepeatedOption", "project --point 45,7,500 flat.RPB --precision 1", "", "1000.0 2000.0\n", "",
            0},
        Row{"SeveralValuesOfOneOption", "project flat.RPB --precision 1 --point 45,7,500 45.0,7,500.5", "",
            "1000.0 2000.0\n1000.0 2000.2\n", "", 0},
        Row{"OtherFilesBehindAnOption", "project flat.RPB --point 45,7,500 rows.txt", "", "",
            "--point takes the place of files", 2},
        Row{"ANumberInThePlaceOfAFile", "project flat.RPB 45 7 500", "", "", "is given by --point", 1},
        Row{"LatitudeAndLongitudeExchanged", "project flat.RPB --point 7,45,500 --precision 0", "", "381000 382000\n",
            "1 of them would be inside: see to their order", 0},
        Row{"NamesThatAreNotKnown", "locate flat.RPB --height 0 --precision 2", "Zeile,Spalte\n500,2800.2\n",
            "ERROR: 'Zeile' is not a finite number (line)\n45.05 7.10 0.00\n", "in the words line sample", 1},
        Row{"ALongTableWithoutTracks", "intersect flat.RPB right.RPB", "point,image,sample,line\n",
            "ERROR: 'point' is not a finite number (line1)\n", "--tracks reads one measurement a line", 1},
        Row{"NamesOfAPlane", "locate flat.RPB --height 0.5 --precision 2", "X,Y\n2800.2,500\n",
            "# lat lon height\n45.05 7.10 0.50\n", "", 0}),
    RowName);

TEST(CommandsTest, AModelInThePlaceOfPointsIsNamed) {
  WriteText("rows.txt", "45 7 500\n");
  const ToolRun run = RunToolLine("project rows.txt flat.RPB");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("; flat.RPB is a model: name it first"), std::string::npos) << run.err;
}

TEST(CommandsTest, HelpAndVersionGoToStandardOutput) {
  for (const char* arguments : {"--help", "--version", "project --help", "info -h", "project --help nonsense --x"}) {
    const ToolRun run = RunToolLine(arguments);
    EXPECT_EQ(run.status, 0) << arguments;
    EXPECT_NE(run.out.find("orbmath"), std::string::npos) << arguments;
    EXPECT_EQ(run.err, "") << arguments;
  }
}

// On flat.RPB: lat = 45 - (line - 1000) / 10000, lon = 7 + (sample - 2000 - 0.4 (height - 500)) / 10000.
INSTANTIATE_TEST_SUITE_P(
    Locate, Commands,
    ::testing::Values(
        Row{"locate", "locate flat.RPB --height 500", "500 3000\n", "45.0500000000 7.1000000000 500.0000\n", "", 0},
        Row{"negative_height", "locate flat.RPB --height -5 --precision 4", "1000 1798\n", "45.0000 7.0000 -5.0000\n",
            "1 point outside the model's height range", 0},
        Row{"short_negative_height", "locate flat.RPB --height -.5 --precision 4", "1000 1799.8\n",
            "45.0000 7.0000 -0.5000\n", "outside", 0},
        Row{"height_of_the_line", "locate flat.RPB --height 1 --precision 4", "1000 2200 1000\n",
            "45.0000 7.0000 1000.0000\n", "", 0},
        Row{"height_offset_is_said", "locate flat.RPB --precision 1", "1000 2000\n1000 2000\n",
            "45.0 7.0 500.0\n45.0 7.0 500.0\n", "height 500 m, the model's height offset", 0},
        Row{"locate_from_one", "locate flat.RPB --origin one --height 500 --precision 4", "501 3001\n",
            "45.0500 7.1000 500.0000\n", "", 0},
        Row{"status", "locate flat.RPB --status --precision 1 --height 500", "1000 2000\n3000 2000 1500\n",
            "45.0 7.0 500.0 0.0 ok\n44.8 7.0 1500.0 0.0 outside-image+height+ground\n",
            "1 point outside the image, extrapolated", 0},
        Row{"intersect", "intersect flat.RPB right.RPB --precision 3", "500 3100 500 2900\n",
            "45.050 7.100 750.000 0.000\n", "", 0},
        Row{"residual", "intersect flat.RPB right.RPB --precision 3", "501 3100 499 2900\n",
            "45.050 7.100 750.000 1.000\n", "", 0},
        Row{"fixed_height", "intersect flat.RPB right.RPB --height 500 --precision 3", "500 3100 500 2900\n",
            "45.050 7.100 500.000 100.000\n", "", 0},
        Row{"observed_height", "intersect flat.RPB right.RPB --height 500 --height-variance 1e12 --precision 3",
            "500 3100 500 2900\n", "45.050 7.100 750.000 0.000\n", "", 0}),
    RowName);

TEST(CommandsTest, CovarianceFollowsFromTheGeometry) {
  // Height = difference of the samples / 0.8, so its standard deviation is sqrt(2) / 0.8 pixels' worth; towards
  // north a metre is 1 / 11.11 line, seen twice.
  const ToolRun run =
      RunToolLine("intersect flat.RPB right.RPB --covariance --sigma 0.5 --precision 6", "1000 2000 1000 2000\n");
  std::istringstream fields(run.out);
  double value[7] = {};
  for (double& number : value) fields >> number;
  EXPECT_NEAR(value[6], 0.5 * 1.4142135624 / 0.8, 1e-6);
  EXPECT_NEAR(value[5], 0.5 / 1.4142135624 * 11.114, 1e-3);
}

TEST(CommandsTest, APointWithoutASolutionIsAnErrorThatSaysWhy) {
  const ToolRun run = RunToolLine("locate flat.RPB --height 500", "1e200 2000\n1000 2000\n");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.out.substr(0, 7), "ERROR: ");
  EXPECT_NE(run.out.find("\n45.0000000000 7.0000000000 500.0000\n"), std::string::npos) << run.out;
}

TEST(CommandsTest, ConvertThereAndBackGivesTheSameBytes) {
  EXPECT_EQ(RunToolLine("convert flat.RPB there.xml").status, 0);
  EXPECT_EQ(RunToolLine("convert there.xml back.RPB").status, 0);
  EXPECT_EQ(ReadText("back.RPB"), ReadText("flat.RPB"));
  EXPECT_EQ(RunToolLine("convert flat.RPB there.txt").status, 0);
  EXPECT_EQ(RunToolLine("convert there.txt again.xml").status, 0);
  EXPECT_EQ(RunToolLine("convert again.xml back.dat --to text").status, 0);
  EXPECT_EQ(ReadText("back.dat"), ReadText("there.txt"));
  EXPECT_NE(ReadText("there.txt").find("ERR_BIAS"), std::string::npos);
}

TEST(CommandsTest, ConvertSaysWhatRoundingCosts) {
  const ToolRun run = RunToolLine("convert cubic.xml cubic.RPB");
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.err.find("move points by up to"), std::string::npos) << run.err;
  EXPECT_EQ(RunToolLine("convert flat.RPB - --to rpb").out, ReadText("flat.RPB"));
}

TEST(CommandsTest, ABadFileIsNamedWithLineAndKey) {
  Workspace();
  std::string text = ReadText("flat.RPB");
  text.replace(text.find("2000.00;"), 8, "20o0.00;");
  WriteText("bad.RPB", text);
  const ToolRun run = RunToolLine("info bad.RPB");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("bad.RPB:8: sampOffset"), std::string::npos) << run.err;
  EXPECT_EQ(RunToolLine("project nowhere.RPB").status, 1);
  // The old file stays when the new one cannot be made.
  EXPECT_EQ(RunToolLine("convert bad.RPB flat.RPB").status, 1);
  EXPECT_EQ(RunToolLine("convert flat.RPB nowhere/out.xml").status, 1);
  EXPECT_EQ(RunToolLine("project flat.RPB", "45 7 500\n").out, "1000.000000 2000.000000\n");
}

TEST(CommandsTest, InfoReportsRecordExtentsAndAccuracy) {
  const ToolRun run = RunToolLine("info flat.RPB --json --origin one");
  EXPECT_EQ(run.status, 0);
  for (const char* part :
       {"\"form\":\"RPB\"", "\"satellite\":\"SAT1\"", "\"bias_error\":1.25", "\"lineOffset\":1001,",
        "\"lineScale\":1000,", "\"lat_min\":44.90000000", "\"sample_max\":4001.00", "\"raster_size\":\"unknown\"",
        "\"approximation_max\":0.00", "\"round_trip_not_converged\":0"}) {
    EXPECT_NE(run.out.find(part), std::string::npos) << part << "\n" << run.out;
  }
}

TEST(CommandsTest, AModelThatGivesNoNumbersIsNotCalledExact) {
  Workspace();
  std::string text = ReadText("flat.RPB");
  text.replace(text.find("heightScale = 500"), 17, "heightScale = 000");
  WriteText("numberless.RPB", text);
  const ToolRun info = RunToolLine("info numberless.RPB --json");
  EXPECT_EQ(info.status, 0);
  for (const char* part :
       {"\"approximation_max\":null", "\"round_trip_max_px\":null", "\"round_trip_not_converged\":2205"}) {
    EXPECT_NE(info.out.find(part), std::string::npos) << part << info.out;
  }
  EXPECT_NE(RunToolLine("convert numberless.RPB numberless.txt").err.find("gives no image points"), std::string::npos);
  EXPECT_EQ(RunToolLine("invert numberless.RPB numberless.xml").status, 1);
  EXPECT_EQ(RunToolLine("project numberless.RPB", "45 7 1\n").out, "ERROR: the result is not finite\n");
  EXPECT_EQ(RunToolLine("locate numberless.RPB", "1000 2000\n").out.find("ERROR: no ground point"), 0u);
}

TEST(CommandsTest, CompareCountsFieldsAndPixels) {
  const ToolRun same = RunToolLine("compare flat.RPB flat.RPB --json");
  EXPECT_NE(same.out.find("\"fields_different\":0"), std::string::npos);
  EXPECT_NE(same.out.find("\"max_px\":0.000000000"), std::string::npos);
  // 0.8 pixels a metre of height, 500 m at the borders of the box.
  const ToolRun other = RunToolLine("compare flat.RPB right.RPB --json");
  EXPECT_NE(other.out.find("\"fields_different\":1,"), std::string::npos);
  EXPECT_NE(other.out.find("\"max_px\":400.000000000,\"rms_px\":"), std::string::npos) << other.out;
  EXPECT_NE(RunToolLine("compare flat.RPB right.RPB").out.find("sampNumCoef[3]"), std::string::npos);
}

TEST(CommandsTest, ComparesModelsOnBothSidesOfTheAntimeridian) {
  const std::string text = ReadText("flat.RPB");
  const auto moved = [&text](const std::string& longitude, const std::string& sample) {
    std::string copy = text;
    for (const auto& [key, value] : {std::pair<std::string, std::string>{"longOffset = ", longitude},
                                     std::pair<std::string, std::string>{"sampOffset = ", sample}}) {
      const std::size_t place = copy.find(key) + key.size();
      copy.replace(place, copy.find(';', place) - place, value);
    }
    return copy;
  };
  WriteText("east.RPB", moved("179.95000000", "2000.00"));
  // 0.1 degrees further east, with the same ground at samples 3 pixels on.
  WriteText("west.RPB", moved("-179.95000000", "3003.00"));
  for (const char* const line : {"compare east.RPB west.RPB --json", "compare west.RPB east.RPB --json"}) {
    const std::string out = RunToolLine(line).out;
    EXPECT_NEAR(std::atof(out.c_str() + out.find("\"max_px\":") + 9), 3.0, 1e-6) << out;
  }
}

}  // namespace

}  // namespace orbmath_test
