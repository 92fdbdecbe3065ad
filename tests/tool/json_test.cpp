// What --json prints is JSON, one object a line, whatever names, comments and numbers are in it.

#include <gtest/gtest.h>

#include <sstream>

#include "support/system.h"
#include "tool/json_check.h"
#include "tool/run_tool.h"

namespace orbmath_test {

namespace {

void ExpectObjects(const std::string& out, std::size_t count) {
  std::istringstream lines(out);
  std::size_t found = 0;
  for (std::string line; std::getline(lines, line); ++found) {
    EXPECT_EQ(line.substr(0, 1), "{") << line;
    EXPECT_TRUE(IsJson(line)) << line;
  }
  EXPECT_EQ(found, count) << out;
}

TEST(JsonTest, TheCheckerKnowsTheGrammar) {
  for (const char* good : {"{}", "[]", "{\"a\":[1,-0.5e+3,null,true,\"\\\"\"]}", "0"})
    EXPECT_TRUE(IsJson(good)) << good;
  for (const char* bad : {"", "{", "{\"a\":}", "[1,]", "nan", "01", "-", "1.", "\"a", "{a:1}", "{} {}", "\"\n\""}) {
    EXPECT_FALSE(IsJson(bad)) << bad;
  }
}

TEST(JsonTest, CommandsOnPointsPrintAnObjectAPoint) {
  const std::string awkward = " # \"a\\b\" \t\x01 \xC3\xA9 \xF0\x9F\x9B\xB0 \xED\xA0\x80 \xC0\xAF \xFF\n";
  ExpectObjects(RunToolLine("project flat.RPB --json --derivatives", "45 7 500" + awkward + "x" + awkward).out, 2);
  ExpectObjects(RunToolLine("locate flat.RPB --json --status", "1 2" + awkward + "9e99 1\n# no\n\n1 2 3").out, 3);
  ExpectObjects(RunToolLine("intersect flat.RPB right.RPB --json --covariance --status", "1 2 1 2\n1 2\n").out, 2);
}

TEST(JsonTest, ReportsAreOneObject) {
  Workspace();
  // A model whose projection is nowhere a number, and a name that has to be escaped.
  std::string text = ReadText("flat.RPB");
  for (std::size_t at; (at = text.find("latScale = 0.10")) != std::string::npos;) text.replace(at + 11, 4, "0.00");
  const std::string odd = kOnWindows ? "zero'.RPB" : "zero\"\\.RPB";  // Windows has no such names
  WriteText(odd, text);
  WriteText("control.txt", "45 7 500 1002 1997\n45.05 7.1 0 502 2797\n44.95 7 0 1502 1797\n");
  for (const std::vector<std::string>& arguments :
       std::vector<std::vector<std::string>>{{"info", "flat.RPB"},
                                             {"info", odd},
                                             {"compare", "flat.RPB", "cubic.xml"},
                                             {"compare", "flat.RPB", odd},
                                             {"invert", "cubic.xml", "inverse.xml", "--grid", "5"},
                                             {"refine", "flat.RPB", "control.txt", "adjusted.xml", "--type", "shift"},
                                             {"info", "adjusted.xml"},
                                             {"export", "adjusted.xml", "plain.RPB"}}) {
    std::vector<std::string> with_json = arguments;
    with_json.emplace_back("--json");
    const ToolRun run = RunTool(with_json);
    EXPECT_EQ(run.status, 0) << arguments[0] << run.err;
    ExpectObjects(run.out, 1);
  }
}

}  // namespace

}  // namespace orbmath_test
