// What the tool does with pipes, names beyond ASCII and open files of Windows.

#include <gtest/gtest.h>

#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "tool/run_tool.h"

namespace orbmath_test {

namespace {

namespace fs = std::filesystem;

/// A pipe of which a program that is started gets one end.
struct Pipe {
  explicit Pipe(bool program_reads) {
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    CreatePipe(&read, &write, &inherited, 0);
    SetHandleInformation(program_reads ? write : read, HANDLE_FLAG_INHERIT, 0);
  }
  HANDLE read = nullptr;
  HANDLE write = nullptr;
};

/// What comes out of a pipe up to the end of a line; empty when that takes more than 20 seconds.
std::string LineFrom(HANDLE pipe) {
  std::string line;
  for (int waits = 0; waits < 2000 && (line.empty() || line.back() != '\n');) {
    DWORD waiting = 0;
    char byte = 0;
    if (PeekNamedPipe(pipe, nullptr, 0, nullptr, &waiting, nullptr) == 0) break;
    if (waiting == 0) {
      Sleep(10);
      ++waits;
    } else if (ReadFile(pipe, &byte, 1, &waiting, nullptr) != 0) {
      line += byte;
    }
  }
  return line;
}

TEST(StreamsTest, AnswersEachLineWhileTheInputStaysOpen) {
  const fs::path folder = fs::u8path(Workspace());
  Pipe to_tool(true), from_tool(false);
  STARTUPINFOW start{};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdInput = to_tool.read;
  start.hStdOutput = start.hStdError = from_tool.write;
  PROCESS_INFORMATION tool{};
  std::wstring line = L"\"" + fs::u8path(ORBMATH_TOOL).wstring() + L"\" project flat.RPB --precision 0";
  ASSERT_NE(CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, folder.c_str(), &start, &tool), 0);
  CloseHandle(to_tool.read);
  CloseHandle(from_tool.write);
  for (const std::string point : {"45 7 500\n", "45.05 7 500\n"}) {
    DWORD written = 0;
    ASSERT_NE(WriteFile(to_tool.write, point.data(), static_cast<DWORD>(point.size()), &written, nullptr), 0);
    EXPECT_EQ(LineFrom(from_tool.read), point.size() == 9 ? "1000 2000\n" : "500 2000\n");
  }
  CloseHandle(to_tool.write);
  WaitForSingleObject(tool.hProcess, INFINITE);
  DWORD status = 1;
  EXPECT_NE(GetExitCodeProcess(tool.hProcess, &status), 0);
  EXPECT_EQ(status, 0u);
  for (const HANDLE handle : {from_tool.read, tool.hThread, tool.hProcess}) CloseHandle(handle);
}

TEST(FilesTest, NamesAreUtf8) {
  const fs::path folder = fs::u8path(Workspace());
  const std::string model = "h\xC3\xB6he \xE4\xB8\xAD.RPB", copy = "\xD0\xBA\xD0\xBE\xD0\xBF\xD0\xB8\xD1\x8F.xml";
  fs::copy_file(folder / "flat.RPB", folder / fs::u8path(model));
  const ToolRun converted = RunTool({"convert", model, copy});
  EXPECT_EQ(converted.status, 0) << converted.err;
  EXPECT_TRUE(fs::exists(folder / fs::u8path(copy)));
  const ToolRun projected = RunTool({"project", copy, "--precision", "0", "--output", model + ".txt"}, "45 7 500\n");
  EXPECT_EQ(projected.status, 0) << projected.err;
  EXPECT_EQ(fs::file_size(folder / fs::u8path(model + ".txt")), 10u);
  const ToolRun none = RunTool({"info", "no " + model});
  EXPECT_EQ(none.status, 1);
  EXPECT_NE(none.err.find("no " + model), std::string::npos) << none.err;
}

TEST(FilesTest, AFileThatSomebodyReadsStaysAndTheToolSaysSo) {
  Workspace();
  WriteText("read.RPB", "precious");
  {
    const std::ifstream reader(Workspace() + "/read.RPB");
    const ToolRun run = RunToolLine("convert flat.RPB read.RPB");
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("read.RPB: cannot be written: "), std::string::npos) << run.err;
  }
  EXPECT_EQ(ReadText("read.RPB"), "precious");
  EXPECT_EQ(RunToolLine("convert flat.RPB read.RPB").status, 0);
  EXPECT_EQ(ReadText("read.RPB"), ReadText("flat.RPB"));
}

}  // namespace

}  // namespace orbmath_test
