// Points that a model or several images cannot mean: error lines, and what --extrapolate says of them.

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "frame/zxstd/stream.h"
#include "frame/zxstd/xini_writer.h"
#include "rpc/rpc_model.h"
#include "tool/run_tool.h"

namespace orbmath_test {

namespace {

/// flat.RPB with a line that has a pole inside the box: line = 1000 - 1000 P / (1 - 1.3 P), P = 10 (lat - 45).
void WritePoleModel() {
  SatCommonUtils::TRPCData record;
  ASSERT_TRUE(record.InitializeFromRPBFile(Workspace() + "/flat.RPB", nullptr, nullptr));
  record.lineDenCoef[2] = -1.3;
  const SatCommonUtils::TRPC model(record, nullptr);
  SatCommonUtils::TZxStringStream stream;
  SatCommonUtils::TZxXIniStreamWriter writer(&stream);
  model.SaveToXML(&writer);
  writer.Close();
  WriteText("pole.xml", stream.GetString());
}

/// Each line of `out` holds the text in its place.
void ExpectLines(const std::string& out, const std::vector<std::string>& parts) {
  std::istringstream lines(out);
  std::string line;
  for (const std::string& part : parts) {
    ASSERT_TRUE(std::getline(lines, line)) << out;
    EXPECT_NE(line.find(part), std::string::npos) << line << "\n  has not: " << part;
  }
  EXPECT_FALSE(std::getline(lines, line)) << out;
}

void ExpectParts(const std::string& text, const std::vector<std::string>& parts) {
  for (const std::string& part : parts) EXPECT_NE(text.find(part), std::string::npos) << text << "\nlacks: " << part;
}

TEST(GroundMarksTest, PointsThatTheModelCannotKnowAreErrorsUnlessExtrapolated) {
  WritePoleModel();
  // P = -0.49 on the centre's branch, -7.8 far out on it, 20 beyond the pole.
  const std::string points = "1300 2000\n1700 2000\n1800 2000\n";
  const ToolRun strict = RunToolLine("locate pole.xml --height 500 --status", points);
  EXPECT_EQ(strict.status, 1);
  ExpectLines(strict.out, {" ok", "ERROR: no ground point: the point lies far outside the model's ground box",
                           "ERROR: no ground point: the point lies beyond a pole or a fold of the model"});
  const ToolRun loose = RunToolLine("locate pole.xml --height 500 --status --extrapolate", points);
  EXPECT_EQ(loose.status, 0);
  ExpectLines(loose.out, {" ok", "44.2222222222 7.0000000000 500.0000 0.000000 far-out+outside-ground",
                          "47.0000000000 7.0000000000 500.0000 0.000000 other-branch+outside-ground"});
  ExpectParts(loose.err, {"2 points outside the model's ground", "2 points that the model cannot know"});
  ExpectParts(RunToolLine("info pole.xml").out, {"cross the ground box: ", "round trips that end elsewhere    0\n"});
  ExpectParts(RunToolLine("info flat.RPB").out, {"none in the ground box"});
}

TEST(GroundMarksTest, ImagesThatDoNotSeeOnePointAreErrorsUnlessExtrapolated) {
  // Lines 400 apart; then 20 km up, from s1 - s2 = 0.8 (h - 500).
  const std::string points = "1000 2000 1400 2000\n1000 10000 1000 -6000\n";
  const ToolRun strict = RunToolLine("intersect flat.RPB right.RPB", points);
  EXPECT_EQ(strict.status, 1);
  ExpectLines(strict.out, {"they miss it by too much, 200.000000 px rms", "far outside the heights of every model"});
  const ToolRun loose = RunToolLine("intersect flat.RPB right.RPB --extrapolate --status", points);
  EXPECT_EQ(loose.status, 0);
  ExpectLines(loose.out, {" 500.0000 200.000000 misfit", " 20500.0000 0.000000 far-height+"});
  ExpectLines(RunToolLine("intersect flat.RPB right.RPB --max-rms 201", "1000 2000 1400 2000\n").out, {" 500.0000 "});
}

/// With a standard deviation of 0.5 px, the height from the two samples has the variance 2 * 0.25 / 0.64: the same as
/// the observed one, so the mean of 510 and 500 it is.
TEST(GroundMarksTest, AnObservedHeightIsWeighedAgainstTheSigmaOfTheImages) {
  const ToolRun run =
      RunToolLine("intersect flat.RPB right.RPB --height 500 --height-variance 0.78125 --sigma 0.5 --covariance",
                  "1000 2004 1000 1996\n");
  ExpectLines(run.out, {"45.0000000000 7.0000000000 505.0000 "});
  EXPECT_EQ(run.out.substr(run.out.rfind(' ')), " 0.6250\n");
}

}  // namespace

}  // namespace orbmath_test
