#include "tool/run_tool.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "frame/zxstd/stream.h"
#include "frame/zxstd/xini_writer.h"
#include "support/system.h"
#include "tool/tool_process.h"

namespace orbmath_test {

using SatCommonUtils::TRPCData;

namespace {

TRPCData FlatRecord(double height_term) {
  TRPCData record;
  for (auto* coefficients : {record.lineNumCoef, record.lineDenCoef, record.sampNumCoef, record.sampDenCoef}) {
    std::fill(coefficients, coefficients + 20, 0.0);
  }
  record.lineNumCoef[2] = -1.0;
  record.sampNumCoef[1] = 1.0;
  record.sampNumCoef[3] = height_term;
  record.lineDenCoef[0] = record.sampDenCoef[0] = 1.0;
  record.lineOffset = record.lineScale = 1000.0;
  record.sampOffset = record.sampScale = 2000.0;
  record.latOffset = 45.0;
  record.latScale = 0.1;
  record.longOffset = 7.0;
  record.longScale = 0.2;
  record.heightOffset = record.heightScale = 500.0;
  return record;
}

void WriteRpb(const std::string& name, const TRPCData& record) {
  SatCommonUtils::TZxStringStream stream;
  record.SaveToRPB(&stream, "SAT1", "P", 1.25, 0.5);
  WriteText(name, stream.GetString());
}

struct Directory {
  Directory() : path(NewTemporaryFolder("orbmath_tool")) {}
  ~Directory() { std::filesystem::remove_all(path); }
  std::string path;
};

const std::string& DirectoryPath() {
  static const Directory directory;
  return directory.path;
}

std::string PathOf(const std::string& name) { return DirectoryPath() + "/" + name; }

}  // namespace

TRPCData CubicRecord() {
  TRPCData record = FlatRecord(0.05);
  for (int k = 1; k < 20; ++k) {
    const double size = (k < 4 ? 1e-3 : k < 10 ? 1e-4 : 1e-6) / 3.0;
    record.lineNumCoef[k] += size * (k % 3 - 0.7);
    record.lineDenCoef[k] += size * (k % 4 - 1.3);
    record.sampNumCoef[k] += size * (k % 5 - 1.9);
    record.sampDenCoef[k] += size * (k % 2 - 0.6);
  }
  return record;
}

const std::string& Workspace() {
  static const bool filled = [] {
    WriteRpb("flat.RPB", FlatRecord(0.1));
    WriteRpb("right.RPB", FlatRecord(-0.1));
    SatCommonUtils::TZxStringStream stream;
    SatCommonUtils::TZxXIniStreamWriter writer(&stream);
    CubicRecord().SaveToXML(&writer);
    writer.Close();
    WriteText("cubic.xml", stream.GetString());
    return true;
  }();
  EXPECT_TRUE(filled);
  return DirectoryPath();
}

std::string ReadText(const std::string& name) {
  std::ifstream file(PathOf(name), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void WriteText(const std::string& name, const std::string& text) {
  std::ofstream(PathOf(name), std::ios::binary) << text;
}

ToolRun RunTool(const std::vector<std::string>& arguments, const std::string& input) {
  Workspace();
  WriteText("stdin", input);
  const ProcessEnd end = RunProcess(ORBMATH_TOOL, arguments, DirectoryPath());
  ToolRun run;
  run.status = end.status;
  run.peak_kilobytes = end.peak_kilobytes;
  run.out = ReadText("stdout");
  run.err = ReadText("stderr");
  return run;
}

ToolRun RunToolLine(const std::string& arguments, const std::string& input) {
  std::istringstream words(arguments);
  return RunTool({std::istream_iterator<std::string>(words), {}}, input);
}

}  // namespace orbmath_test
