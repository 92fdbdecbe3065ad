// What the tool says of uncertainties: errors that models leave with, columns of points, options that need others.

#include <gtest/gtest.h>

#include <string>

#include "tool/rows.h"

namespace orbmath_test {

namespace {

/// Four points of flat.RPB at 500 m, moved by 2 lines and -3 samples; a sigma of one pixel each.
const char* const kControl =
    "45 7 500 1002 1997\n45.05 7 500 502 1997\n45 7.1 500 1002 2997\n44.95 7.05 500 1502 2497\n";

TEST(Uncertainty, ExportedModelsHaveTheErrorsOfTheirRefinement) {
  Workspace();
  WriteText("four.txt", kControl);
  const ToolRun refined = RunToolLine("refine flat.RPB four.txt four.xml --type shift --known-sigmas");
  ASSERT_EQ(refined.status, 0) << refined.err;
  // Half a pixel of the mean of four, of 11.1 m of a line and 7.9 m of a sample: the root mean square is 9.6 m.
  EXPECT_NE(refined.out.find("bias left per axis        4.8"), std::string::npos) << refined.out;
  const ToolRun exported = RunToolLine("export four.xml four.RPB");
  EXPECT_EQ(exported.err, "");
  EXPECT_NE(exported.out.find("random error              9.6"), std::string::npos) << exported.out;
  EXPECT_NE(ReadText("four.RPB").find("errBias =    4.8"), std::string::npos) << ReadText("four.RPB");
  EXPECT_NE(ReadText("four.RPB").find("errRand =    9.6"), std::string::npos);
  // Without the section an adjusted model is what it always was, and its file's errors are those from before.
  std::string bare = ReadText("four.xml");
  const std::size_t begin = bare.find("  <section name=\"RefinementCovariance\"");
  const std::size_t end = bare.find("\n  </section>\n", begin);
  ASSERT_TRUE(begin != std::string::npos && end != std::string::npos) << bare;
  WriteText("bare.xml", bare.erase(begin, end + 14 - begin));
  const ToolRun without = RunToolLine("export bare.xml bare.RPB");
  EXPECT_EQ(without.status, 0);
  EXPECT_NE(without.err.find("does not say how uncertain its refinement is"), std::string::npos) << without.err;
  EXPECT_NE(ReadText("bare.RPB").find("errBias =    1.25"), std::string::npos);
}

TEST(Uncertainty, LocatedPointsHaveColumnsOfTheirErrors) {
  Workspace();
  // A metre of height moves the line of sight by 0.4 samples of 7.885 m; nothing else errs.
  const ToolRun height = RunToolLine(
      "locate flat.RPB --uncertainty --sigma 0 --bias 0 --random 0 --height-sigma 1 --precision 3", "1000 2000 500\n");
  EXPECT_EQ(height.out, "45.000 7.000 500.000 9.948 0.000 -3.154 0.000 0.000 1.000 5.188 1.645 6.182\n") << height.err;
  // The file's own errors, and two pixels: 22.2 m towards north, 15.8 m towards east.
  const ToolRun file = RunToolLine("locate flat.RPB --uncertainty --sigma 2 --status --precision 2", "1000 2000 500\n");
  EXPECT_EQ(file.out, "45.00 7.00 500.00 0.00 ok 250.52 0.00 0.00 495.90 0.00 0.00 41.67 0.00 47.97\n");
  EXPECT_NE(file.err.find("flat.RPB: measurements 2 px, bias 1.25 m (the file's), random error 0.5 m (the file's)"),
            std::string::npos)
      << file.err;
  const std::string json = RunToolLine("locate flat.RPB --uncertainty --json", "1000 2000 500\n").out;
  for (const char* name : {"cov_ee", "cov_en", "cov_eu", "cov_nn", "cov_nu", "cov_uu", "ce90", "le90", "ce95"}) {
    EXPECT_NE(json.find("\"" + std::string(name) + "\":"), std::string::npos) << json;
  }
}

TEST(Uncertainty, IntersectedPointsKnowTheirImages) {
  Workspace();
  const std::string pair = "intersect flat.RPB right.RPB --uncertainty --bias 0 --random 0 --precision 3 ";
  // 0.4 samples a metre from both sides: a sample of each is off the height by 1.25 m, and the middle is east.
  const ToolRun alike = RunToolLine(pair + "--sigma 1", "1000 2000 1000 2000\n");
  EXPECT_EQ(alike.out, "45.000 7.000 500.000 0.000 31.089 0.000 0.000 61.761 0.000 3.125 14.696 2.908 16.921\n")
      << alike.err;
  // Of unlike images the one that is worse moves both, and east and height go together.
  const ToolRun unlike = RunToolLine(pair + "--image-sigmas 0,2", "1000 2000 1000 2000\n");
  EXPECT_NE(unlike.out.find(" 62.178 0.000 -19.713 "), std::string::npos) << unlike.out;
  // A bias that both share moves the point as it is, and its height not at all.
  const ToolRun shared = RunToolLine(
      "intersect flat.RPB right.RPB --uncertainty --sigma 0.000001 --bias 5 --random 0 --bias-correlation 1 "
      "--precision 2",
      "1000 2000 1000 2000\n");
  EXPECT_EQ(shared.out, "45.00 7.00 500.00 0.00 25.00 0.00 0.00 25.00 0.00 0.00 10.73 0.00 12.24\n");
}

TEST(Uncertainty, OptionsThatNeedOthersSaySo) {
  Workspace();
  const struct {
    const char* arguments;
    const char* error;
  } rows[] = {{"locate flat.RPB --bias 2", "--bias needs --uncertainty"},
              {"locate flat.RPB --sigma 2", "--sigma needs --uncertainty"},
              {"locate flat.RPB --uncertainty --random -1", "--random must not be below 0"},
              {"locate flat.RPB --uncertainty --dem-sigma 1", "--dem-sigma needs --dem"},
              {"intersect flat.RPB right.RPB --uncertainty --bias-correlation 2", "must not be above 1"},
              {"intersect flat.RPB right.RPB --uncertainty --image-sigmas 1,2,3", "3 for 2 images"},
              {"intersect flat.RPB right.RPB --uncertainty --image-sigmas 1;2", "are numbers"}};
  for (const auto& row : rows) {
    const ToolRun run = RunToolLine(row.arguments, "1000 2000 500\n");
    EXPECT_EQ(run.status, 2) << row.arguments;
    EXPECT_NE(run.err.find(row.error), std::string::npos) << run.err;
  }
}

}  // namespace

}  // namespace orbmath_test
