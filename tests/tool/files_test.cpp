// Files in and out: what is written comes whole or not at all, and what is read may be anything.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "support/random.h"
#include "support/system.h"
#include "tool/run_tool.h"

namespace orbmath_test {

namespace {

namespace fs = std::filesystem;

std::size_t FilesInWorkspace() {
  return static_cast<std::size_t>(std::distance(fs::directory_iterator(Workspace()), fs::directory_iterator()));
}

TEST(FilesTest, AFailureLeavesTheOldFileAndASuccessReplacesIt) {
  Workspace();
  WriteText("old.RPB", "precious");
  const std::size_t files = FilesInWorkspace();
  for (const char* arguments : {"convert nowhere.xml old.RPB", "fit nowhere.txt old.RPB", "invert nowhere.xml old.RPB",
                                "export nowhere.xml old.RPB", "convert flat.RPB old.RPB --to nothing"}) {
    EXPECT_NE(RunToolLine(arguments).status, 0) << arguments;
    EXPECT_EQ(ReadText("old.RPB"), "precious") << arguments;
  }
  EXPECT_EQ(RunToolLine("convert flat.RPB old.RPB").status, 0);
  EXPECT_EQ(ReadText("old.RPB"), ReadText("flat.RPB"));
  EXPECT_EQ(RunToolLine("convert old.RPB old.RPB").status, 0);
  EXPECT_EQ(ReadText("old.RPB"), ReadText("flat.RPB"));
  EXPECT_EQ(FilesInWorkspace(), files) << "the new file beside the old one is left over";
}

TEST(FilesTest, TwoFilesOfACommandComeTogetherOrNotAtAll) {
  std::string points;
  for (int i = 0; i < 60; ++i) {
    const int lat = i % 8;
    const int lon = (i / 8) % 8;
    points += "45.0" + std::to_string(lat) + " 7.0" + std::to_string(lon) + " " + std::to_string(100 * (i % 7)) + " " +
              std::to_string(1000 - 100 * lat) + " " + std::to_string(2000 + 100 * lon) + "\n";
  }
  Workspace();
  WriteText("kept.RPB", "precious");
  const std::size_t files = FilesInWorkspace();
  for (const std::string& residuals : {std::string("nowhere/r.txt"), FullDevice()}) {
    if (residuals.empty()) continue;
    const ToolRun run = RunTool({"fit", "-", "kept.RPB", "--residuals", residuals}, points);
    EXPECT_EQ(run.status, 1) << residuals;
    EXPECT_NE(run.err.find(residuals + ": cannot be written: "), std::string::npos) << run.err;
    EXPECT_EQ(ReadText("kept.RPB"), "precious") << residuals;
  }
  EXPECT_EQ(FilesInWorkspace(), files);
  EXPECT_EQ(RunTool({"fit", "-", "kept.RPB", "--residuals", "r.txt"}, points).status, 0);
  EXPECT_NE(ReadText("kept.RPB"), "precious");
  EXPECT_NE(ReadText("r.txt"), "");
}

TEST(FilesTest, WhatIsReadIsNotReplaced) {
  Workspace();
  WriteText("points.csv", "lat,lon,height,line,sample\n45,7,500,1000,2000\n");
  WriteText("reread.RPB", ReadText("flat.RPB"));
  for (const char* arguments :
       {"refine reread.RPB points.csv points.csv", "refine reread.RPB points.csv x.xml --html ./points.csv",
        "refine reread.RPB points.csv x.xml --html ./x.xml", "check reread.RPB --geojson x --html x",
        "fit points.csv x.xml --residuals points.csv", "fit points.csv points.csv --to xml",
        "invert reread.RPB reread.RPB", "project reread.RPB points.csv --output points.csv",
        "project reread.RPB points.csv --output reread.RPB", "locate reread.RPB --point 5,5 --output reread.RPB",
        "intersect a=reread.RPB b=right.RPB --output reread.RPB", "check reread.RPB --geojson reread.RPB",
        "grid reread.RPB reread.RPB --height 5"}) {
    const std::string points = ReadText("points.csv");
    const std::string model = ReadText("reread.RPB");
    const ToolRun run = RunToolLine(arguments);
    EXPECT_EQ(run.status, 2) << arguments << "\n" << run.err;
    EXPECT_EQ(ReadText("points.csv") + ReadText("reread.RPB"), points + model) << arguments;
  }
}

TEST(FilesTest, AModelMayComeFromStandardInputAndInfoTakesMany) {
  Workspace();
  WriteText("one.txt", "45.05 7.1 500.5\n");
  const std::string model = ReadText("flat.RPB");
  EXPECT_EQ(RunToolLine("project - one.txt --precision 2", model).out, "500.00 3000.20\n");
  const ToolRun twice = RunToolLine("project - -", model);
  EXPECT_EQ(twice.status, 2);
  EXPECT_NE(twice.err.find("standard input is the model already"), std::string::npos) << twice.err;
  EXPECT_EQ(RunToolLine("info -", "no model").err.find("orbmath: standard input"), 0u);

  const ToolRun many = RunToolLine("info flat.RPB nowhere.RPB right.RPB --json");
  EXPECT_EQ(many.status, 1);
  EXPECT_EQ(std::count(many.out.begin(), many.out.end(), '\n'), 3);
  EXPECT_NE(many.out.find("\n{\"file\":\"nowhere.RPB\",\"error\":"), std::string::npos) << many.out;
}

/// A file with this content is refused in one line, or read: never more than that.
void ExpectOrdinaryEnd(const std::string& content) {
  WriteText("hostile", content);
  const ToolRun run = RunToolLine("project hostile", "45 7 500\n");
  ASSERT_TRUE(run.status == 0 || run.status == 1) << run.status << "\n" << content;
  if (run.out.empty()) {
    ASSERT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    ASSERT_EQ(run.err.find("orbmath: hostile:"), 0u) << run.err;
  }
}

class Hostile : public ::testing::TestWithParam<const char*> {
 protected:
  std::string Good() const {
    Workspace();
    RunTool({"convert", "flat.RPB", GetParam()});
    return ReadText(GetParam());
  }
};

TEST_P(Hostile, TruncatedAnywhereItIsRefusedOrRead) {
  const std::string good = Good();
  ASSERT_GT(good.size(), 2000u);
  for (std::size_t size = 0; size < good.size(); size += 1 + good.size() / 60) ExpectOrdinaryEnd(good.substr(0, size));
}

TEST_P(Hostile, ChangedAnywhereItIsRefusedOrRead) {
  const std::string good = Good();
  Random random(GetParam());
  for (int i = 0; i < 60; ++i) {
    std::string changed = good;
    for (int k = 0; k < 3; ++k) {
      changed[random.Index(good.size())] = static_cast<char>(random.Index(256));
    }
    ExpectOrdinaryEnd(changed);
  }
}

INSTANTIATE_TEST_SUITE_P(Forms, Hostile, ::testing::Values("good.RPB", "good.txt", "good.xml"),
                         [](const auto& form) { return std::string(form.param).substr(5); });

TEST(FilesTest, NumbersDoNotDependOnTheLocale) {
  // The tool never asks for the user's locale; a host's comma must not come in through the environment.
  SetVariable("LC_ALL", "de_DE.UTF-8");
  EXPECT_EQ(RunToolLine("project flat.RPB --precision 2", "45.05 7.1 500.5\n").out, "500.00 3000.20\n");
  EXPECT_EQ(RunToolLine("locate flat.RPB --precision 2 --height 0.5", "500 2800.2\n").out, "45.05 7.10 0.50\n");
  EXPECT_EQ(RunToolLine("convert flat.RPB locale.RPB").status, 0);
  SetVariable("LC_ALL", nullptr);
  EXPECT_EQ(ReadText("locale.RPB"), ReadText("flat.RPB"));
}

}  // namespace

}  // namespace orbmath_test
