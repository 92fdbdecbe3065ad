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
    ::testing::Values(Row{"no_command", "", "", "", "no command given", 2},
                      Row{"unknown_command", "projekt", "", "", "'projekt' is no command", 2},
                      Row{"missing_argument", "project", "", "", "MODEL is required", 2},
                      Row{"unknown_option", "project flat.RPB --hight 5", "", "", "--hight", 2},
                      Row{"fraction", "project flat.RPB --precision 2.5", "", "", "'2.5' is not a whole number", 2},
                      Row{"out_of_range", "project flat.RPB --precision 21", "", "", "from 0 to 20", 2},
                      Row{"unknown_word", "project flat.RPB --origin middle", "", "", "center|corner|one", 2},
                      Row{"no_form", "convert flat.RPB flat", "", "", "add --to rpb|text|xml", 2}),
    RowName);

TEST(CommandsTest, WrongUsageIsOneLineThatEndsWithTheWayToHelp) {
  for (const char* arguments : {"project", "project flat.RPB --hight 5", "convert a b"}) {
    const ToolRun run = RunToolLine(arguments);
    EXPECT_EQ(run.err.find('\n'), run.err.size() - 1) << run.err;
    EXPECT_NE(run.err.find("--help"), std::string::npos) << run.err;
  }
}

TEST(CommandsTest, HelpAndVersionGoToStandardOutput) {
  for (const char* arguments : {"--help", "--version", "project --help", "convert -h", "project --help nonsense --x"}) {
    const ToolRun run = RunToolLine(arguments);
    EXPECT_EQ(run.status, 0) << arguments;
    EXPECT_NE(run.out.find("orbmath"), std::string::npos) << arguments;
    EXPECT_EQ(run.err, "") << arguments;
  }
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
  const ToolRun run = RunToolLine("project bad.RPB");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("bad.RPB:8: sampOffset"), std::string::npos) << run.err;
  EXPECT_EQ(RunToolLine("project nowhere.RPB").status, 1);
  // The old file stays when the new one cannot be made.
  EXPECT_EQ(RunToolLine("convert bad.RPB flat.RPB").status, 1);
  EXPECT_EQ(RunToolLine("convert flat.RPB nowhere/out.xml").status, 1);
  EXPECT_EQ(RunToolLine("project flat.RPB", "45 7 500\n").out, "1000.000000 2000.000000\n");
}

}  // namespace

}  // namespace orbmath_test
