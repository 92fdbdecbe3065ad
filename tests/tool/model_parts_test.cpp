// What a model holds beside its record, margin, raster size and an earlier refinement, on its way through the commands.

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

#include "frame/zxstd/stream.h"
#include "frame/zxstd/xini_writer.h"
#include "geometry/polygon.h"
#include "rpc/rpc_model.h"
#include "support/random.h"
#include "tool/run_tool.h"

namespace orbmath_test {

namespace {

using SatCommonUtils::TPolygon;
using SatCommonUtils::TRPC;
using SatCommonUtils::xy_d;

/// cubic.xml with an image of 4,000 samples by 2,000 lines and a margin that leaves out the last 1,000 samples.
void WriteFramedModel() {
  Workspace();
  const TPolygon margin({xy_d(0, 0), xy_d(3000, 0), xy_d(3000, 2000), xy_d(0, 2000)});
  TRPC model(CubicRecord(), &margin);
  model.SetRasterDims(4000, 2000);
  SatCommonUtils::TZxStringStream stream;
  SatCommonUtils::TZxXIniStreamWriter writer(&stream);
  model.SaveToXML(&writer);
  writer.Close();
  WriteText("framed.xml", stream.GetString());
}

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

TEST(ModelPartsTest, MarginAndRasterAreReportedAndMark) {
  WriteFramedModel();
  const std::string info = RunToolLine("info framed.xml --json").out;
  EXPECT_TRUE(Contains(info, "\"raster_size\":\"4000 x 2000\"")) << info;
  EXPECT_TRUE(Contains(info, "\"margin\":\"4 vertices\"")) << info;
  const ToolRun run = RunToolLine("locate framed.xml --status --height 500", "1000 2000\n1000 3500\n1000 4100\n");
  std::istringstream lines(run.out);
  for (const std::string word : {"ok", "outside-margin", "outside-image+"}) {
    std::string line;
    ASSERT_TRUE(std::getline(lines, line));
    EXPECT_TRUE(Contains(line, " " + word)) << line;
  }
  EXPECT_TRUE(Contains(run.err, "1 point outside the image")) << run.err;
}

TEST(ModelPartsTest, MarginAndRasterStayWhereTheFormHasAPlaceForThem) {
  WriteFramedModel();
  EXPECT_EQ(RunToolLine("convert framed.xml again.xml").err, "");
  EXPECT_EQ(ReadText("again.xml"), ReadText("framed.xml"));
  EXPECT_EQ(RunToolLine("refine framed.xml - refined.xml --ties --type shift", "1 2 3 4\n").status, 0);
  EXPECT_EQ(RunToolLine("export refined.xml plain.xml").status, 0);
  for (const std::string file : {"refined.xml", "plain.xml"}) {
    const std::string info = RunToolLine("info " + file + " --json").out;
    EXPECT_TRUE(Contains(info, "\"raster_size\":\"4000 x 2000\"")) << file << info;
    EXPECT_TRUE(Contains(info, "\"margin\":\"4 vertices\"")) << file << info;
  }
  EXPECT_TRUE(Contains(RunToolLine("convert framed.xml framed.RPB").err, "has no place for margin and raster size"));
}

TEST(ModelPartsTest, IdentifiersAndErrorsGoThroughRefinementAndExport) {
  ASSERT_EQ(RunToolLine("refine flat.RPB - marked.xml --ties --type shift", "1 2 3 4\n").status, 0);
  ASSERT_EQ(RunToolLine("export marked.xml marked.RPB").status, 0);
  const std::string text = ReadText("marked.RPB");
  for (const char* part : {"satId = \"SAT1\";", "bandId = \"P\";", "errBias =    1.25;", "errRand =    0.50;"}) {
    EXPECT_TRUE(Contains(text, part)) << part;
  }
}

TEST(ModelPartsTest, TiesOfAnAdjustedModelReplaceItsRefinement) {
  // Twice by hand: (2, -3), then (1, 1) more on top of where the adjusted model puts the points.
  ASSERT_EQ(RunToolLine("refine flat.RPB - first.xml --ties --type shift", "500 500 502 497\n").status, 0);
  ASSERT_EQ(RunToolLine("refine first.xml - second.xml --ties --type shift", "502 497 503 498\n").status, 0);
  EXPECT_EQ(RunToolLine("project second.xml --precision 3", "45 7 500\n").out, "1003.000 1998.000\n");
  // Ground control is measured in the image, so it does not matter what the model had before.
  ASSERT_EQ(RunToolLine("refine first.xml - third.xml --type shift", "45 7 500 1010 2020\n").status, 0);
  EXPECT_EQ(RunToolLine("project third.xml --precision 3", "45 7 500\n").out, "1010.000 2020.000\n");
}

TEST(ModelPartsTest, AdjustedModelsIntersectWithPlainOnesAndHaveAnInverse) {
  ASSERT_EQ(RunToolLine("refine flat.RPB - left.xml --ties --type shift", "500 500 502 497\n").status, 0);
  ASSERT_EQ(RunToolLine("invert left.xml inverse.xml --grid 5").status, 0);
  EXPECT_EQ(RunToolLine("project inverse.xml --precision 6", "502 3097 750\n").out, "45.050000 7.100000\n");
  EXPECT_EQ(RunToolLine("intersect left.xml right.RPB --precision 3", "502 3097 500 2900\n").out,
            "45.050 7.100 750.000 0.000\n");
  EXPECT_EQ(RunToolLine("compare left.xml flat.RPB --json").out.find("\"fields_different\":0,"), 1u);
}

TEST(ModelPartsTest, NoiseStaysNoiseAndDoubtfulPointsCountLittle) {
  Random random("noisy points");
  std::string ground;
  for (int i = 0; i < 150; ++i) {
    ground += std::to_string(random.Uniform(44.91, 45.09)) + " " + std::to_string(random.Uniform(6.82, 7.18)) + " " +
              std::to_string(random.Uniform(0, 1000)) + "\n";
  }
  std::istringstream points(ground);
  std::istringstream image(RunTool({"project", "cubic.xml", "--precision", "9"}, ground).out);
  std::string table;
  std::string point;
  double line = 0.0;
  double sample = 0.0;
  for (int i = 0; std::getline(points, point) && image >> line >> sample; ++i) {
    // Every tenth point is 20 pixels off and says so.
    const double sigma = i % 10 == 0 ? 20.0 : 0.1;
    table += point + " " + std::to_string(line + random.Normal(sigma)) + " " +
             std::to_string(sample + random.Normal(sigma)) + " " + std::to_string(sigma) + "\n";
  }
  WriteText("noisy.txt", table);
  ASSERT_EQ(RunToolLine("fit noisy.txt noisy.xml").status, 0);
  const std::string compared = RunToolLine("compare noisy.xml cubic.xml --json").out;
  const double rms = std::atof(compared.c_str() + compared.find("\"rms_px\":") + 9);
  // 135 points of 0.1 px in two coordinates leave a few hundredths of a pixel; the others would leave several pixels.
  EXPECT_LT(rms, 0.15) << compared;
}

}  // namespace

}  // namespace orbmath_test
