#include "tool/small_block.h"

#include <cstdio>
#include <filesystem>
#include <sstream>

#include "frame/zxstd/stream.h"
#include "frame/zxstd/xini_writer.h"
#include "rpc/rpc_model.h"
#include "support/random.h"
#include "tool/run_tool.h"

namespace orbmath_test {

namespace {

using SatCommonUtils::TRPC;
using SatCommonUtils::TRPCData;

constexpr int kTies = 60;
constexpr int kControl = 7;
constexpr int kCheck = 3;
constexpr double kNoise = 0.1;

/// The bent model of the workspace, moved, and tilted to the left or the right.
TRPCData RecordOf(int image) {
  TRPCData record = CubicRecord();
  record.latOffset += 0.004 * (image / 2);
  record.longOffset += 0.007 * (image % 3);
  if (image % 2 == 1) record.sampNumCoef[3] -= 0.1;
  record.lineNumCoef[3] += 0.01 * (image - 2.5);
  return record;
}

/// What the image has in truth more than its model: a shift, and 1 to 2 px along line and sample.
ImagePlace Corrected(const TRPCData& record, int image, ImagePlace p) {
  const double u = (p.sample - record.sampOffset) / record.sampScale;
  const double v = (p.line - record.lineOffset) / record.lineScale;
  return {p.line + 3.0 - image + 1.5 * v - 0.3 * image * u, p.sample - 2.0 + 0.7 * image + 1.1 * u - 0.2 * image * v};
}

std::string Print(const char* format, double a, double b, double c) {
  char text[128];
  std::snprintf(text, sizeof text, format, a, b, c);
  return text;
}

SmallBlock Make() {
  Random random("small block");
  SmallBlock block;
  std::filesystem::create_directory(Workspace() + "/block");
  std::vector<TRPCData> records;
  for (int i = 0; i < SmallBlock::kImages; ++i) {
    records.push_back(RecordOf(i));
    SatCommonUtils::TZxStringStream stream;
    SatCommonUtils::TZxXIniStreamWriter writer(&stream);
    records.back().SaveToXML(&writer);
    writer.Close();
    WriteText("block/im" + std::to_string(i) + "_RPC.xml", stream.GetString());
  }
  std::string ties = "point,image,line,sample\n";
  std::string observed = "image;sample;line;point\n";
  std::string control = "role,lon,lat,point,height,sigma_v,sigma_h\n";
  for (int i = 0; i < kTies + kControl + kCheck; ++i) {
    const bool is_tie = i < kTies;
    const bool is_check = i >= kTies + kControl;
    const std::string name = is_tie     ? "t" + std::to_string(i / 10) + std::to_string(i % 10)
                             : is_check ? "c" + std::to_string(i - kTies - kControl)
                                        : "g" + std::to_string(i - kTies);
    const MadePoint point{name, random.Uniform(44.93, 45.07), random.Uniform(6.87, 7.13), random.Uniform(150, 850)};
    block.points.push_back(point);
    if (!is_tie) {
      control += std::string(is_check ? "check," : "control,") + Print("%.10f,%.10f,", point.lon, point.lat, 0) + name +
                 Print(",%.4f,0.05,0.04\n", point.height, 0, 0);
    }
    for (int k = 0; k < SmallBlock::kImages; ++k) {
      ImagePlace p{};
      const auto image = static_cast<std::size_t>(k);
      TRPC(records[image])
          .CalculateLineSample(point.lat, point.lon, point.height, &p.line, &p.sample, nullptr, nullptr);
      p = Corrected(records[image], k, p);
      const bool bad = is_tie && i % 10 == 3 && k == i / 10;
      MadeMeasurement measured{i, k, p.line + random.Normal(kNoise), p.sample + random.Normal(kNoise), bad};
      if (bad) (i % 20 == 3 ? measured.line : measured.sample) += 12.0 + i;
      block.measurements.push_back(measured);
      const std::string image_name = "im" + std::to_string(k);
      if (is_tie) {
        ties += name + "," + image_name + Print(",%.4f,%.4f\n", measured.line, measured.sample, 0);
      } else {
        observed += image_name + Print(";%.4f;%.4f;", measured.sample, measured.line, 0) + name + "\n";
      }
    }
  }
  WriteText("block/ties.csv", ties);
  WriteText("block/obs.csv", observed);
  WriteText("block/control.csv", control);
  return block;
}

}  // namespace

const SmallBlock& MakeSmallBlock() {
  static const SmallBlock block = Make();
  return block;
}

std::string AdjustSmallBlock(const std::string& folder) {
  MakeSmallBlock();
  std::string line = "adjust";
  for (int i = 0; i < SmallBlock::kImages; ++i) line += " block/im" + std::to_string(i) + "_RPC.xml";
  return line + " --measurements block/ties.csv --measurements block/obs.csv --control block/control.csv --sigma 0.1" +
         (folder.empty() ? "" : " --out " + folder);
}

ImagePlace Projected(const std::string& model, const MadePoint& point) {
  ImagePlace place{};
  const ToolRun run = RunTool({"project", model}, Print("%.10f %.10f %.4f\n", point.lat, point.lon, point.height));
  std::istringstream(run.out) >> place.line >> place.sample;
  return place;
}

}  // namespace orbmath_test
