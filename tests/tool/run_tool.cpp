#include "tool/run_tool.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "frame/zxstd/stream.h"
#include "frame/zxstd/xini_writer.h"

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
  Directory() {
    std::string pattern = (std::filesystem::temp_directory_path() / "orbmath_tool_XXXXXX").string();
    path = mkdtemp(pattern.data());
  }
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
  std::vector<char*> argv{const_cast<char*>(ORBMATH_TOOL)};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addchdir_np(&actions, DirectoryPath().c_str());
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "stdin", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "stdout", O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "stderr", O_WRONLY | O_CREAT | O_TRUNC, 0600);
  pid_t child = 0;
  const int spawned = posix_spawn(&child, ORBMATH_TOOL, &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  ToolRun run;
  int status = 0;
  rusage usage{};
  if (spawned != 0 || wait4(child, &status, 0, &usage) != child) return run;
  run.peak_kilobytes = usage.ru_maxrss;
  run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  run.out = ReadText("stdout");
  run.err = ReadText("stderr");
  return run;
}

ToolRun RunToolLine(const std::string& arguments, const std::string& input) {
  std::istringstream words(arguments);
  return RunTool({std::istream_iterator<std::string>(words), {}}, input);
}

}  // namespace orbmath_test
