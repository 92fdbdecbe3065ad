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

}  // namespace

}  // namespace orbmath_test
