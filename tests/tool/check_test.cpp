// orbmath check: verdicts, lines and objects, many files at once.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tool/json_check.h"
#include "tool/run_tool.h"

namespace orbmath_test {

namespace {

class CheckTool : public ::testing::Test {
 protected:
  void SetUp() override { Workspace(); }
};

std::size_t LinesOf(const std::string& text) { return std::count(text.begin(), text.end(), '\n'); }

TEST_F(CheckTool, GivesAVerdictAndALineAFinding) {
  // flat.RPB: lines of 11.1 m, samples of 7.9 m, 0.4 px a metre to the east: 0.00004 degrees, 72.4 degrees off the
  // normal.
  const ToolRun fit = RunToolLine("check flat.RPB");
  EXPECT_EQ(fit.status, 0) << fit.err;
  EXPECT_EQ(fit.out.rfind("flat.RPB: fit for use; gsd 9.36", 0), 0u) << fit.out;
  EXPECT_NE(fit.out.find("azimuth 270."), std::string::npos) << fit.out;

  std::string text = ReadText("flat.RPB");
  const std::size_t scale = text.find("latScale");
  text.replace(text.find("0.1", scale), 3, "1.0");
  WriteText("degree.RPB", text);
  const ToolRun warned = RunToolLine("check degree.RPB flat.RPB none.RPB");
  EXPECT_EQ(warned.status, 1);
  EXPECT_NE(warned.out.find("degree.RPB: warning: scales: a scale of exactly 1 degree (latScale): "), std::string::npos)
      << warned.out;
  EXPECT_NE(warned.out.find("\nflat.RPB: fit for use; "), std::string::npos) << "in the order of the command line";
  EXPECT_NE(warned.err.find("none.RPB"), std::string::npos);
  EXPECT_EQ(RunToolLine("check degree.RPB").status, 0) << "a warning makes no model unfit";
}

TEST_F(CheckTool, PrintsObjectsAndAMap) {
  WriteText("flat_RPC.TXT", "");
  ASSERT_EQ(RunToolLine("convert flat.RPB flat_RPC.TXT").status, 0);
  const ToolRun run =
      RunToolLine("check flat.RPB right.RPB flat_RPC.TXT none.RPB --json --geojson map.json --threads 3");
  EXPECT_EQ(run.status, 1);
  ASSERT_EQ(LinesOf(run.out), 4u) << run.out;
  std::string rest = run.out;
  for (const char* const begin : {R"({"file":"flat.RPB","fit":true,)", R"({"file":"right.RPB","fit":true,)",
                                  R"({"file":"flat_RPC.TXT","fit":true,)", R"({"file":"none.RPB","error":")"}) {
    const std::string line = rest.substr(0, rest.find('\n'));
    rest.erase(0, line.size() + 1);
    EXPECT_EQ(line.rfind(begin, 0), 0u) << line;
    EXPECT_TRUE(IsJson(line)) << line;
  }
  EXPECT_NE(run.out.find(R"("kind":"same-image","what":"the two models of the image differ by up to )"),
            std::string::npos)
      << run.out;
  const std::string map = ReadText("map.json");
  std::string flat = map;
  flat.erase(std::remove(flat.begin(), flat.end(), '\n'), flat.end());
  EXPECT_TRUE(IsJson(flat)) << map;
  EXPECT_EQ(LinesOf(map), 2u + 9u) << "three footprints a model";
}

TEST_F(CheckTool, DoesNotDependOnThreads) {
  std::vector<std::string> arguments = {"check", "--threads", "1"};
  const std::string text = ReadText("flat.RPB");
  for (int i = 0; i < 40; ++i) {
    arguments.push_back("copy" + std::to_string(i) + ".RPB");
    WriteText(arguments.back(), text);
  }
  arguments.insert(arguments.end(), {"cubic.xml", "right.RPB", "cubic.xml"});
  const std::string one = RunTool(arguments).out;
  arguments[2] = "7";
  EXPECT_EQ(RunTool(arguments).out, one);
  EXPECT_GE(LinesOf(one), 43u);
}

}  // namespace

}  // namespace orbmath_test
