// orbmath pairs: the table, criteria from options and a file, objects and a map.

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "tool/json_check.h"
#include "tool/run_tool.h"

namespace orbmath_test {

namespace {

/// The fields of the lines behind the first.
std::vector<std::vector<std::string>> RowsOf(const std::string& text) {
  std::vector<std::vector<std::string>> rows;
  std::istringstream lines(text);
  std::string line;
  std::getline(lines, line);
  while (std::getline(lines, line)) {
    rows.emplace_back();
    std::istringstream fields(line);
    for (std::string field; std::getline(fields, field, '\t');) rows.back().push_back(field);
  }
  return rows;
}

class PairsTool : public ::testing::Test {
 protected:
  void SetUp() override {
    Workspace();
    // The ground of flat.RPB seen from above: half the convergence that flat and right have.
    std::string text = ReadText("flat.RPB");
    const std::size_t list = text.find("sampNumCoef");
    const std::size_t height = text.find("+1.00000000E-01", list);
    if (height == std::string::npos) GTEST_FAIL() << text;
    text.replace(height, 15, "0.0");
    WriteText("down.RPB", text);
  }
};

TEST_F(PairsTool, RanksPairs) {
  const ToolRun run = RunToolLine("pairs flat.RPB right.RPB down.RPB --max-angle 80 --sigma 1");
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.err.find("3 pairs of 3 images overlap, 2 meet the criteria"), std::string::npos) << run.err;
  const auto rows = RowsOf(run.out);
  ASSERT_EQ(rows.size(), 3u) << run.out;
  for (const auto& row : rows) ASSERT_EQ(row.size(), 15u) << run.out;
  // Two lines of sight lean by 0.4 samples of 7.9 m a metre: 72.4 degrees off the normal, each to its side.
  EXPECT_EQ(rows[0].back(), "yes");
  EXPECT_EQ(rows[2][1] + rows[2][2], "flat.RPBright.RPB");
  EXPECT_EQ(rows[2].back(), "no:convergence");
  EXPECT_EQ(RowsOf(RunToolLine("pairs flat.RPB right.RPB down.RPB --max-angle 80 --accepted").out).size(), 2u);
  EXPECT_EQ(RowsOf(RunToolLine("pairs flat.RPB right.RPB down.RPB --top 1").out).size(), 1u);
  EXPECT_EQ(RunToolLine("pairs flat.RPB").status, 2);
  EXPECT_EQ(RunToolLine("pairs flat.RPB right.RPB --min-angle 50 --max-angle 40").status, 2);
  const ToolRun missing = RunToolLine("pairs flat.RPB none.RPB right.RPB");
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(RowsOf(missing.out).size(), 1u) << "the others are still looked at";
  EXPECT_NE(missing.err.find("none.RPB"), std::string::npos);
}

TEST_F(PairsTool, TakesCriteriaFromAFile) {
  ASSERT_EQ(
      RunToolLine("pairs flat.RPB right.RPB --max-time 0.5 --min-angle 3 --max-angle 80 --save-criteria criteria.xml")
          .status,
      0);
  std::string text = ReadText("criteria.xml");
  const std::string ties = "\"TiesRequired\">";
  ASSERT_NE(text.find(ties + "false"), std::string::npos) << text;
  WriteText("criteria.xml", text.replace(text.find(ties) + ties.size(), 5, "true"));
  const ToolRun run = RunToolLine("pairs flat.RPB right.RPB --criteria criteria.xml");
  EXPECT_EQ(RowsOf(run.out).at(0).back(), "no:convergence+time-gap") << run.out << run.err;
  EXPECT_NE(run.err.find("tie points"), std::string::npos);
  EXPECT_EQ(RowsOf(RunToolLine("pairs flat.RPB down.RPB --criteria criteria.xml --accept-unknown").out).at(0).back(),
            "yes");
  WriteText("criteria.xml", "<orbmath><section name=\"Criteria\"/></orbmath>");
  const ToolRun empty = RunToolLine("pairs flat.RPB right.RPB --criteria criteria.xml");
  EXPECT_EQ(empty.status, 1);
  EXPECT_NE(empty.err.find("criteria.xml: "), std::string::npos) << empty.err;
}

TEST_F(PairsTool, PrintsObjectsAndAMap) {
  const ToolRun run = RunToolLine("pairs flat.RPB right.RPB down.RPB --json --geojson pairs.json");
  std::istringstream lines(run.out);
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    EXPECT_TRUE(IsJson(line)) << line;
    EXPECT_EQ(line.rfind("{\"rank\":" + std::to_string(count + 1) + ",\"first\":", 0), 0u) << line;
    EXPECT_NE(line.find("\"meets\":true,\"failed\":[]"), std::string::npos) << line;
  }
  EXPECT_EQ(count, 3);
  std::string map = ReadText("pairs.json");
  EXPECT_EQ(std::count(map.begin(), map.end(), '\n'), 2 + 3);
  map.erase(std::remove(map.begin(), map.end(), '\n'), map.end());
  EXPECT_TRUE(IsJson(map)) << map;
}

}  // namespace

}  // namespace orbmath_test
