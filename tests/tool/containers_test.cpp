// Models in other containers than the library's own: vendors' files, images, crops.

#include <gtest/gtest.h>

#include <string>

#include "support/expected_formats.h"
#include "tool/run_tool.h"

namespace orbmath_test {

namespace {

/// The largest distance between two models in pixels as `compare` says it.
std::string Distance(const std::string& a, const std::string& b) {
  const ToolRun run = RunTool({"compare", a, b, "--json"});
  const std::size_t at = run.out.find("\"max_px\":");
  return at == std::string::npos ? run.err : run.out.substr(at + 9, run.out.find_first_of(",}", at + 9) - at - 9);
}

TEST(ContainersTest, ModelsGoThroughEveryFormThatIsWritten) {
  Workspace();
  for (const char* out : {"c.json", "c.tif.aux.xml", "c.rpb", "c.txt"}) {
    EXPECT_EQ(RunTool({"convert", "flat.RPB", out}).err, "") << out;
    EXPECT_EQ(std::stod(Distance("flat.RPB", out)), 0.0) << out;
    const std::string info = RunTool({"info", out, "--json"}).out;
    EXPECT_NE(info.find("\"bias_error\":1.25,\"random_error\":0.5"), std::string::npos) << info;
  }
  for (const char* out : {"c.json", "c.tif.aux.xml"}) {
    EXPECT_NE(RunTool({"info", out}).out.find("satellite                         SAT1"), std::string::npos) << out;
  }
  EXPECT_EQ(RunTool({"convert", "c.json", "-", "--to", "json"}).out, ReadText("c.json"));
}

TEST(ContainersTest, FirstPixelOfTheFileCanBeSaid) {
  // flat.RPB has line 1000 at latitude 45, sample 2000 at longitude 7 and height 500.
  const std::string point = "45 7 500\n";
  EXPECT_EQ(RunToolLine("project flat.RPB --precision 1", point).out, "1000.0 2000.0\n");
  EXPECT_EQ(RunToolLine("project flat.RPB --precision 1 --first-pixel 1", point).out, "999.0 1999.0\n");
  EXPECT_NE(RunToolLine("info flat.RPB --first-pixel 1").out.find("as the caller says"), std::string::npos);
  EXPECT_EQ(RunToolLine("info flat.RPB --first-pixel 2").status, 2);
}

TEST(ContainersTest, CropAndZoomKeepTheHalfPixel) {
  Workspace();
  const std::string point = "45 7 500\n";
  ASSERT_EQ(RunToolLine("convert flat.RPB crop.xml --crop 100 40 600 800 --zoom 0.25").status, 0);
  // 0.25 (1000 - 100 + 0.5) - 0.5, 0.25 (2000 - 40 + 0.5) - 0.5
  EXPECT_EQ(RunToolLine("project crop.xml --precision 4", point).out, "224.6250 489.6250\n");
  EXPECT_NE(RunToolLine("info crop.xml").out.find("200 x 150"), std::string::npos);
  EXPECT_EQ(RunToolLine("convert crop.xml back.json --crop -25 -10 600 800 --zoom 4").status, 0);
  EXPECT_EQ(RunToolLine("project back.json --precision 4", point).out, "1000.0000 2000.0000\n");
  EXPECT_EQ(RunToolLine("convert flat.RPB x.xml --zoom 0").status, 2);
  EXPECT_EQ(RunToolLine("convert flat.RPB x.xml --crop 1 2 3").status, 2);
  EXPECT_EQ(RunToolLine("convert flat.RPB x.xml --crop 1 2 0 3").status, 2);
}

TEST(ContainersTest, WhatIsNoModelGetsASentence) {
  Workspace();
  WriteText("letter.txt", "Dear reader\n");
  WriteText("broken.tif", std::string("II*\0\x08\0\0\0", 8));
  for (const char* name : {"letter.txt", "broken.tif", "/vsizip/none.zip/a.tif"}) {
    const ToolRun run = RunTool({"info", name});
    EXPECT_EQ(run.status, 1) << name;
    EXPECT_EQ(run.out, "") << name;
    EXPECT_EQ(run.err.compare(0, 9, "orbmath: "), 0) << run.err;
    EXPECT_EQ(run.err.find('\n'), run.err.size() - 1) << run.err;
    EXPECT_NE(run.err.find(name), std::string::npos) << run.err;
  }
  WriteText("words.geom", "line_num_coeff_00:  none\nline_off:  1\n");
  EXPECT_EQ(RunTool({"info", "words.geom"}).err, "orbmath: words.geom: line_scale: is missing\n");
}

using ContainerFiles = WithFormats;

// Every command takes every container: one of each kind through `project`.
TEST_F(ContainerFiles, ProjectWhatIndependentProgramsDo) {
  for (const auto& [name, expected] : expected_) {
    if (!expected.Has("ground_to_image")) continue;
    const std::string file = FormatsPath(name);
    for (const Json& point : expected["ground_to_image"].items) {
      const ToolRun run = RunTool({"project", file, "--precision", "9"},
                                  point["lat"].text + " " + point["lon"].text + " " + point["height"].text + "\n");
      if (run.err.find("images are opened by GDAL") != std::string::npos) break;
      ASSERT_EQ(run.status, 0) << run.err;
      std::size_t used = 0;
      EXPECT_NEAR(std::stod(run.out, &used), point["line"].number, kPixelTolerance) << name;
      EXPECT_NEAR(std::stod(run.out.substr(used)), point["sample"].number, kPixelTolerance) << name;
    }
  }
}

TEST_F(ContainerFiles, AnImageTakesTheModelOfAnother) {
  Workspace();
  WriteText("image.tif", FileContent(FormatsPath("tag_classic_little.tif")));
  const ToolRun run = RunTool({"convert", FormatsPath("RPC_md_pneo.XML"), "image.tif"});
  if (run.err.find("images are opened by GDAL") != std::string::npos) GTEST_SKIP() << "this tool opens no images";
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(std::stod(Distance(FormatsPath("RPC_md_pneo.XML"), "image.tif")), 0.0);
}

}  // namespace

}  // namespace orbmath_test
