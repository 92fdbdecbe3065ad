// The whole way from a real model file and a table of points to numbers that others have computed.

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <sstream>

#include "support/real_data.h"
#include "tool/run_tool.h"

namespace orbmath_test {

namespace {

// The tables' ground to image agrees between two independent programs to 1.5e-11 px; they have 9 digits.
constexpr double kPixelTolerance = 1e-7;
// The tables' roots project back within 1e-6 px, here about 1e-11 degrees a hundred times over for the weakest
// geometry.
constexpr double kDegreeTolerance = 1e-9;
// The ties are exact to 9 digits of a pixel, which a weak stereo angle makes some micrometres of height.
constexpr double kHeightTolerance = 1e-4;

using Rows = std::vector<std::vector<std::string>>;

std::vector<std::vector<double>> Numbers(const std::string& text) {
  std::vector<std::vector<double>> rows;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    rows.emplace_back();
    std::istringstream fields(line);
    for (double value = 0.0; fields >> value;) rows.back().push_back(value);
  }
  return rows;
}

double Number(const std::string& text) { return std::stod(text); }

/// Runs `command` on the columns `in` of each model's rows and expects the columns `out`.
void ExpectTable(const std::string& table, const std::string& command, const std::vector<std::size_t>& in,
                 const std::vector<std::size_t>& out, double tolerance) {
  std::map<std::string, Rows> by_file;
  for (const std::vector<std::string>& row : RealTable(table)) by_file[row[1]].push_back(row);
  EXPECT_GE(by_file.size(), 7u);
  for (const auto& [file, rows] : by_file) {
    std::string input;
    for (const auto& row : rows) {
      for (const std::size_t column : in) input += row[column] + " ";
      input += "\n";
    }
    const ToolRun run = RunTool({command, RealDataPath(file), "--precision", "12"}, input);
    EXPECT_EQ(run.status, 0) << file << run.err;
    const auto results = Numbers(run.out);
    ASSERT_EQ(results.size(), rows.size()) << file;
    for (std::size_t i = 0; i < rows.size(); ++i) {
      for (std::size_t c = 0; c < out.size(); ++c) {
        EXPECT_NEAR(results[i].at(c), Number(rows[i][out[c]]), tolerance) << file << " row " << i;
      }
    }
  }
}

class RealModels : public WithRealData {};

TEST_F(RealModels, ProjectGivesTheComputedPoints) {
  ExpectTable("computed_ground_to_image.csv", "project", {3, 2, 4}, {6, 5}, kPixelTolerance);
}

TEST_F(RealModels, LocateGivesTheComputedPoints) {
  ExpectTable("computed_image_to_ground.csv", "locate", {3, 2, 4}, {6, 5}, kDegreeTolerance);
}

/// Runs `command` for one row of points.csv and returns its numbers.
std::vector<double> RunPublished(const std::string& command, const std::vector<std::string>& row, bool corner,
                                 const std::string& input) {
  const ToolRun run =
      RunTool({command, RealDataPath(row[2]), "--precision", "15", "--origin", corner ? "corner" : "center"}, input);
  EXPECT_EQ(run.status, 0) << row[0] << run.out;
  const auto numbers = Numbers(run.out);
  return numbers.empty() ? std::vector<double>(3, std::nan("")) : numbers[0];
}

TEST_F(RealModels, PublishedPointsBothWays) {
  constexpr double kMetresInDegree = 111195.0;
  for (const std::vector<std::string>& row : RealTable("points.csv")) {
    // Where the source counts from a pixel's corner, so does this test.
    const bool corner = Number(row[12]) == Number(row[4]) + 0.5 && Number(row[13]) == Number(row[5]) + 0.5;
    const std::string& sample = row[corner ? 12 : 4];
    const std::string& line = row[corner ? 13 : 5];
    const double lat = Number(row[7]);
    const double lon = Number(row[6]);
    const double tolerance = Number(row[10]) * (row[11] == "deg" ? kMetresInDegree : 1.0);
    const auto ground = RunPublished("locate", row, corner, line + " " + sample + " " + row[8]);
    const double north = (ground[0] - lat) * kMetresInDegree;
    const double east = (ground[1] - lon) * kMetresInDegree * std::cos(lat * 3.14159265358979 / 180.0);
    EXPECT_LE(std::hypot(north, east), tolerance) << row[0];
    const auto image = RunPublished("project", row, corner, row[7] + " " + row[6] + " " + row[8]);
    EXPECT_NEAR(image[0], Number(line), Number(row[9])) << row[0];
    EXPECT_NEAR(image[1], Number(sample), Number(row[9])) << row[0];
  }
}

TEST_F(RealModels, IntersectGivesTheGroundOfTheTies) {
  std::map<std::string, Rows> by_point;
  for (const auto& row : RealTable("computed_ties.csv")) by_point[row[0] + row[1]].push_back(row);
  std::string input;
  std::vector<std::vector<std::string>> expected;
  for (const auto& [name, rows] : by_point) {
    ASSERT_EQ(rows.size(), 2u);
    input += rows[0][8] + " " + rows[0][7] + " " + rows[1][8] + " " + rows[1][7] + "\n";
    expected.push_back(rows[0]);
  }
  const std::string left = RealDataPath(by_point.begin()->second[0][6]);
  const std::string right = RealDataPath(by_point.begin()->second[1][6]);
  const ToolRun run = RunTool({"intersect", left, right, "--precision", "12"}, input);
  EXPECT_EQ(run.status, 0) << run.err;
  const auto results = Numbers(run.out);
  ASSERT_EQ(results.size(), expected.size());
  for (std::size_t i = 0; i < results.size(); ++i) {
    EXPECT_NEAR(results[i].at(0), Number(expected[i][3]), kDegreeTolerance);
    EXPECT_NEAR(results[i].at(1), Number(expected[i][2]), kDegreeTolerance);
    EXPECT_NEAR(results[i].at(2), Number(expected[i][4]), kHeightTolerance);
  }
}

TEST_F(RealModels, EveryModelKeepsItsBytesThroughTheForms) {
  for (const std::string& file : RealModelFiles()) {
    EXPECT_EQ(RunTool({"convert", RealDataPath(file), "one.RPB"}).status, 0) << file;
    EXPECT_EQ(RunTool({"convert", "one.RPB", "two.xml"}).status, 0) << file;
    EXPECT_EQ(RunTool({"convert", "two.xml", "three.RPB"}).status, 0) << file;
    EXPECT_EQ(ReadText("three.RPB"), ReadText("one.RPB")) << file;
    const ToolRun info = RunTool({"info", RealDataPath(file), "--json"});
    EXPECT_NE(info.out.find("\"round_trip_not_converged\":0"), std::string::npos) << file << info.out;
  }
}

}  // namespace

}  // namespace orbmath_test
