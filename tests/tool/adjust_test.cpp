// The command that adjusts a block: what it reads, finds, writes and refuses.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>

#include "refine/adjusted_rpc.h"
#include "refine/rpc_exchange.h"
#include "support/system.h"
#include "tool/json_check.h"
#include "tool/rows.h"
#include "tool/small_block.h"

namespace orbmath_test {

namespace {

namespace fs = std::filesystem;

/// How far adjusted models may miss the truth where the points are, pixels: seven control points and sixty ties of 0.1
/// px.
constexpr double kModelError = 0.15;

std::string ImageName(int image) { return "im" + std::to_string(image); }

/// Distance in pixels from a measurement of a check point, which no adjustment has seen, to its exact place projected
/// by the models of a folder; the largest.
double CheckError(const std::string& folder) {
  const SmallBlock& block = MakeSmallBlock();
  double worst = 0.0;
  for (const MadeMeasurement& measured : block.measurements) {
    const MadePoint& point = block.points[static_cast<std::size_t>(measured.point)];
    if (point.name[0] != 'c') continue;
    const ImagePlace place = Projected(folder + "/" + ImageName(measured.image) + ".xml", point);
    worst = std::fmax(worst, std::hypot(place.line - measured.line, place.sample - measured.sample));
  }
  return worst;
}

/// Pairs "point/image" of a list in a report, by its key.
std::set<std::string> BadOf(const std::string& json) {
  std::set<std::string> bad;
  const std::size_t begin = json.find("\"bad_measurements\":[");
  const std::size_t end = json.find(']', begin);
  for (std::size_t at = json.find("{\"point\":\"", begin); at < end; at = json.find("{\"point\":\"", at + 1)) {
    const std::size_t name = at + 10;
    const std::size_t image = json.find("\"image\":\"", at) + 9;
    bad.insert(json.substr(name, json.find('"', name) - name) + "/" +
               json.substr(image, json.find('"', image) - image));
  }
  return bad;
}

TEST(AdjustTest, FindsCorrectionsGroundPointsAndTheBadMeasurements) {
  const SmallBlock& block = MakeSmallBlock();
  const ToolRun run = RunToolLine(AdjustSmallBlock("out") + " --type affine --plain rpb --geojson");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.err, "");
  const std::string json = ReadText("out/report.json");
  EXPECT_TRUE(IsJson(json.substr(0, json.size() - 1))) << json;
  EXPECT_TRUE(IsJson(ReadText("out/points.geojson").substr(0, ReadText("out/points.geojson").size() - 1)));

  std::set<std::string> bad;
  for (const MadeMeasurement& each : block.measurements) {
    if (each.bad) bad.insert(block.points[static_cast<std::size_t>(each.point)].name + "/" + ImageName(each.image));
  }
  EXPECT_EQ(bad.size(), 6u);
  EXPECT_EQ(BadOf(json), bad);
  EXPECT_LT(CheckError("out"), 5 * kModelError);  // noise of the measurement itself included

  // Every file of a model says the same: plain, adjusted, exchanged.
  SatCommonUtils::TCipherRPCImpExpDataset exchanged;
  ASSERT_TRUE(exchanged.InitializeFromXML(Workspace() + "/out/block.xml"));
  ASSERT_EQ(exchanged.items.size(), static_cast<std::size_t>(SmallBlock::kImages));
  for (int i = 0; i < SmallBlock::kImages; ++i) {
    const auto& item = exchanged.items[static_cast<std::size_t>(i)];
    EXPECT_EQ(item.name, ImageName(i));
    const MadePoint& point = block.points[static_cast<std::size_t>(7 * i)];
    const ImagePlace adjusted = Projected("out/" + ImageName(i) + ".xml", point);
    const ImagePlace plain = Projected("out/" + ImageName(i) + ".RPB", point);
    EXPECT_LT(std::hypot(adjusted.line - plain.line, adjusted.sample - plain.sample), 0.01) << i;
    EXPECT_NE(ReadText("out/" + ImageName(i) + ".xml").find("\"RefinementCovariance\""), std::string::npos) << i;
    double line = 0.0;
    double sample = 0.0;
    SatCommonUtils::TAdjustedRPC(&item.rpc, &item.refinement)
        .CalculateLineSample(point.lat, point.lon, point.height, &line, &sample, nullptr, nullptr);
    EXPECT_LT(std::hypot(adjusted.line - line, adjusted.sample - sample), 5e-5) << i;
  }
}

TEST(AdjustTest, GroundPointsLieWhereTheirSigmasSay) {
  const SmallBlock& block = MakeSmallBlock();
  ASSERT_EQ(RunToolLine(AdjustSmallBlock("points") + " --type affine").status, 0);
  std::istringstream lines(ReadText("points/points.csv"));
  std::string line;
  std::getline(lines, line);
  EXPECT_EQ(line.substr(0, 54), "point,lat,lon,height,sigma_east,sigma_north,sigma_up,c");
  std::map<std::string, std::array<double, 6>> found;
  while (std::getline(lines, line)) {
    const std::string name = line.substr(0, line.find(','));
    std::istringstream numbers(line.substr(name.size() + 1));
    for (double& value : found[name]) {
      numbers >> value;
      numbers.ignore();
    }
  }
  double sum = 0.0;
  std::size_t count = 0;
  for (const MadePoint& point : block.points) {
    ASSERT_EQ(found.count(point.name), 1u) << point.name;
    const std::array<double, 6>& p = found[point.name];
    const double error[] = {(p[1] - point.lon) * 111320.0 * std::cos(point.lat * 0.017453292519943295),
                            (p[0] - point.lat) * 111130.0, p[2] - point.height};
    for (int k = 0; k < 3; ++k) {
      const double standardized = error[k] / p[static_cast<std::size_t>(3 + k)];
      EXPECT_LT(std::fabs(standardized), 5.0) << point.name << " " << k;
      sum += standardized * standardized;
      ++count;
    }
  }
  EXPECT_NEAR(sum / static_cast<double>(count), 1.0, 0.5);
}

/// The six images' ties as COLMAP has them.
std::string ColmapText() {
  const SmallBlock& block = MakeSmallBlock();
  std::string text =
      "# Image list with two lines of data per image:\n#   IMAGE_ID, QW, QX, QY, QZ, TX, TY, TZ, CAMERA_ID, NAME\n";
  for (int i = 0; i < SmallBlock::kImages; ++i) {
    text += std::to_string(i + 1) + " 1 0 0 0 0 0 0 1 pictures/" + ImageName(i) + ".png\n17.5 30.25 -1";
    for (const MadeMeasurement& each : block.measurements) {
      if (each.image != i || block.points[static_cast<std::size_t>(each.point)].name[0] != 't') continue;
      char place[64];
      std::snprintf(place, sizeof place, " %.4f %.4f %d", each.sample + 0.5, each.line + 0.5, 100 + each.point);
      text += place;
    }
    text += "\n";
  }
  return text;
}

/// Lines 'sample line sample line' of neighbours.
std::string PairText(int first, int second) {
  const SmallBlock& block = MakeSmallBlock();
  std::string text;
  for (const MadeMeasurement& a : block.measurements) {
    if (a.image != first || block.points[static_cast<std::size_t>(a.point)].name[0] != 't') continue;
    const MadeMeasurement& b = (&a)[second - first];
    char place[96];
    std::snprintf(place, sizeof place, "%.4f %.4f %.4f %.4f\n", a.sample, a.line, b.sample, b.line);
    text += place;
  }
  return text;
}

TEST(AdjustTest, TiesOfOtherProgramsMeanTheSame) {
  Workspace();
  const std::string table = AdjustSmallBlock("table") + " --type affine";
  ASSERT_EQ(RunToolLine(table).status, 0);
  WriteText("block/images.txt", ColmapText());
  std::string pairs;
  for (int i = 0; i + 1 < SmallBlock::kImages; ++i) {
    const std::string folder = "block/Homol/Pastis" + ImageName(i) + ".tif/";
    fs::create_directories(Workspace() + "/" + folder);
    WriteText(folder + ImageName(i + 1) + ".tif.txt", PairText(i, i + 1));
    const std::string file = "block/pair" + std::to_string(i) + ".txt";
    WriteText(file, PairText(i, i + 1));
    pairs += " --matches " + ImageName(i) + "," + ImageName(i + 1) + "=" + file;
  }
  const std::pair<const char*, std::string> cases[] = {
      {"colmap", " --measurements block/images.txt"}, {"homol", " --measurements block/Homol"}, {"pairs", pairs}};
  for (const auto& [folder, ties] : cases) {
    std::string arguments = AdjustSmallBlock(folder) + " --type affine";
    const std::string given = " --measurements block/ties.csv";
    arguments.replace(arguments.find(given), given.size(), ties);
    const ToolRun run = RunToolLine(arguments);
    ASSERT_EQ(run.status, 0) << folder << run.err;
    EXPECT_EQ(BadOf(ReadText(std::string(folder) + "/report.json")).size(), 6u) << folder;
    const MadePoint& point = MakeSmallBlock().points[5];
    for (int i = 0; i < SmallBlock::kImages; ++i) {
      const ImagePlace expected = Projected("table/" + ImageName(i) + ".xml", point);
      const ImagePlace place = Projected(std::string(folder) + "/" + ImageName(i) + ".xml", point);
      EXPECT_LT(std::hypot(place.line - expected.line, place.sample - expected.sample), 1e-5) << folder << i;
    }
  }
}

TEST(AdjustTest, ATrackWithTwoPlacesInOneImageIsLeftOut) {
  Workspace();
  MakeSmallBlock();
  WriteText("block/a.txt", "10 20 11 21\n30 40 31 41\n");
  WriteText("block/b.txt", "11 21 50 60\n");
  WriteText("block/c.txt", "10.5 20.5 50 60\n");
  const ToolRun run = RunToolLine(AdjustSmallBlock("") +
                                  " --check-only --matches im0,im1=block/a.txt --matches im1,im2=block/b.txt"
                                  " --matches im0,im2=block/c.txt");
  EXPECT_NE(run.out.find("warning: 1 point joined from pairs has two places in one image and was left out"),
            std::string::npos)
      << run.out;
}

TEST(AdjustTest, ControlMayLackItsHeight) {
  MakeSmallBlock();
  std::istringstream lines(ReadText("block/control.csv"));
  std::string text;
  for (std::string line; std::getline(lines, line);) {
    std::istringstream fields(line);
    std::vector<std::string> parts;
    for (std::string part; std::getline(fields, part, ',');) parts.push_back(part);
    // Two of the control points; three with a known height stay.
    if (parts[3] == "g1" || parts[3] == "g4") parts[4] = "";
    for (std::size_t i = 0; i < parts.size(); ++i) text += (i == 0 ? "" : ",") + parts[i];
    text += "\n";
  }
  WriteText("block/no_heights.csv", text);
  std::string arguments = AdjustSmallBlock("no_heights") + " --type affine";
  arguments.replace(arguments.find("block/control.csv"), 17, "block/no_heights.csv");
  const ToolRun run = RunToolLine(arguments);
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_LT(CheckError("no_heights"), 5 * kModelError);
}

TEST(AdjustTest, ADryRunSaysWhatIsWrongAndWritesNothing) {
  const ToolRun good = RunToolLine(AdjustSmallBlock("dry") + " --check-only");
  EXPECT_EQ(good.status, 0) << good.out;
  EXPECT_FALSE(fs::exists(Workspace() + "/dry"));
  WriteText("block/lonely.csv", "point,image,line,sample\nx,im5,10,20\nt01,im5,3,4\n");
  WriteText("block/unseen.csv", "point,lat,lon,height\nu1,45,7,500\nu2,45,7,500\n");
  WriteText("block/four.csv", [] {
    std::istringstream lines(ReadText("block/ties.csv"));
    std::string text;
    for (std::string line; std::getline(lines, line);) {
      if (line.find("im5") == std::string::npos) text += line + "\n";
    }
    return text;
  }());
  std::string arguments = "adjust";
  for (int i = 0; i < SmallBlock::kImages; ++i) arguments += " block/" + ImageName(i) + "_RPC.xml";
  arguments += " --measurements block/four.csv --measurements block/lonely.csv --control block/unseen.csv --check-only";
  const ToolRun bad = RunToolLine(arguments);
  EXPECT_EQ(bad.status, 1);
  for (const char* said : {"error: image 'im5' with 2 measurements is left out",
                           "warning: 2 control points nobody measured in an image: 'u1' and 'u2'"}) {
    EXPECT_NE(bad.out.find(said), std::string::npos) << bad.out;
  }
}

TEST(AdjustTest, AnImageThatCannotBeAdjustedIsNamedAndGetsNoFile) {
  MakeSmallBlock();
  const ToolRun run = RunToolLine(AdjustSmallBlock("lost") + " lost=right.RPB --type shift");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.out.find("error: no measurements in 1 image: 'lost'"), std::string::npos) << run.out;
  EXPECT_TRUE(fs::exists(Workspace() + "/lost/im3.xml"));
  EXPECT_FALSE(fs::exists(Workspace() + "/lost/lost.xml"));
}

class AdjustRefusal : public ::testing::TestWithParam<Row> {};

TEST_P(AdjustRefusal, SaysWhatIsWrong) {
  MakeSmallBlock();
  WriteText("block/none.csv", "point,image,line,sample\n");
  CheckRow(GetParam());
  EXPECT_FALSE(fs::exists(Workspace() + "/never"));
}

INSTANTIATE_TEST_SUITE_P(
    Cases, AdjustRefusal,
    ::testing::Values(
        Row{"no_out", "adjust block/im0_RPC.xml --measurements block/ties.csv", "", "", "--out DIR is needed", 2},
        Row{"no_measurements", "adjust block/im0_RPC.xml --out never", "", "", "--measurements FILE is needed", 2},
        Row{"one_name", "adjust block/im0_RPC.xml block/im0_RPC.xml --measurements - --out never", "", "",
            "are both called 'im0'; name them by NAME=PATH", 2},
        Row{"taken_name", "adjust block=flat.RPB --measurements - --out never", "", "",
            "no image can be called 'block', whose file", 2},
        Row{"folder_name", "adjust ..=flat.RPB --measurements - --out never", "", "", "have no proper name", 2},
        Row{"unknown_image", "adjust im0=flat.RPB --measurements - --out never", "p,in0,1,2\np,im0,1,2\n", "",
            "1 measurement in 'in0', which is no image of the block, did you mean 'im0'?", 1},
        Row{"sigma", "adjust im0=flat.RPB --measurements - --out never", "p im0 1 2 0\n", "",
            "standard input:1: sigma must be above 0", 1},
        Row{"no_number", "adjust im0=flat.RPB --measurements - --out never", "point,image,line,sample\np,im0,1,x\n", "",
            "standard input:2: 'x' is not", 1},
        Row{"replaced_model", "adjust im0_RPC=block/im0_RPC.xml --measurements - --out block", "p,im0_RPC,1,2\n", "",
            "block/im0_RPC.xml is read and would be replaced", 2},
        Row{"no_column", "adjust im0=flat.RPB --measurements - --out never", "point,image,sample\np,im0,1\n", "",
            "columns lack 'line'", 1},
        Row{"role", "adjust flat.RPB --measurements block/none.csv --control - --out never",
            "point,lat,lon,height,role\ng,45,7,1,boss\n", "", "the role is control, check, height or tie, not 'boss'",
            1},
        Row{"twice", "adjust flat.RPB --measurements block/none.csv --control - --out never",
            "point,lat,lon,height\ng,45,7,1\ng,45,7,2\n", "", "standard input:3: a second line for the point", 1},
        Row{"latitude", "adjust flat.RPB --measurements block/none.csv --control - --out never",
            "point,lat,lon,height\ng,95,7,1\n", "", "latitude 95 is not", 1},
        Row{"check_height", "adjust flat.RPB --measurements block/none.csv --control - --out never",
            "point,lat,lon,role\ng,45,7,check\n", "", "check point 'g' has no height to be compared with", 1},
        Row{"sigma_option", "adjust flat.RPB --measurements - --out never --sigma-shift 0", "", "",
            "--sigma-shift must be above 0", 2},
        Row{"fixed_stranger", "adjust flat.RPB --measurements block/none.csv --out never --fix flan", "", "",
            "--fix: no image is called 'flan', did you mean 'flat'?", 2},
        Row{"nothing_to_do", "adjust flat.RPB --measurements block/none.csv --out never", "", "",
            "no adjustment, nothing was written", 1}),
    RowName);

TEST(AdjustTest, AKillLeavesEachFileOldOrNew) {
  if (!HaveShell()) GTEST_SKIP() << "there is no bash";
  const std::string kinds[] = {"shift", "affine"};
  std::map<std::string, std::string> files[2];
  for (int k = 0; k < 2; ++k) {
    const std::string folder = "kind" + std::to_string(k);
    ASSERT_EQ(RunToolLine(AdjustSmallBlock(folder) + " --type " + kinds[k]).status, 0);
    for (const auto& entry : fs::directory_iterator(Workspace() + "/" + folder)) {
      const std::string name = entry.path().filename().string();
      files[k][name] = ReadText(folder + "/" + name);
    }
  }
  ASSERT_EQ(files[0].size(), files[1].size());
  // The folder is the same for both, so that reports differ by the adjustment alone.
  const auto normal = [](std::string text) {
    for (const char* folder : {"kind0", "kind1", "killed"}) {
      for (std::size_t at = text.find(folder); at != std::string::npos; at = text.find(folder))
        text.replace(at, std::string(folder).size(), "F");
    }
    return text;
  };
  int mixed = 0;
  for (int delay = 0; delay < 24; ++delay) {
    const std::string command = "cd '" + Workspace() + "' && timeout -s KILL 0.0" + std::to_string(10 + 3 * delay) +
                                " '" ORBMATH_TOOL "' " + AdjustSmallBlock("killed") + " --type " + kinds[delay % 2] +
                                " > /dev/null 2>&1";
    mixed += std::system(command.c_str()) != 0 ? 1 : 0;
    for (const auto& [name, content] : files[0]) {
      const std::string found = normal(ReadText("killed/" + name));
      EXPECT_TRUE(found.empty() || found == normal(content) || found == normal(files[1].at(name))) << name << delay;
    }
  }
  EXPECT_GT(mixed, 0) << "no run was killed";
}

}  // namespace

}  // namespace orbmath_test
