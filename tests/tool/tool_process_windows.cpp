// Processes on Windows.

#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>

#include <filesystem>

#include "tool/tool_process.h"

namespace orbmath_test {

namespace {

/// A word as a program takes it apart again: in quotes, with a backslash before quotes and before backslashes that
/// stand there.
std::wstring Quoted(const std::wstring& word) {
  std::wstring text = L"\"";
  std::size_t backslashes = 0;
  for (const wchar_t character : word) {
    if (character == L'"') text.append(backslashes + 1, L'\\');
    backslashes = character == L'\\' ? backslashes + 1 : 0;
    text += character;
  }
  return text.append(backslashes, L'\\') + L"\"";
}

HANDLE OpenStream(const std::filesystem::path& file, bool to_read) {
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  return CreateFileW(file.c_str(), to_read ? GENERIC_READ : GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                     &inherited, to_read ? OPEN_EXISTING : CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
}

}  // namespace

ProcessEnd RunProcess(const std::string& program, const std::vector<std::string>& arguments,
                      const std::string& folder) {
  const std::filesystem::path where = std::filesystem::u8path(folder);
  std::wstring line = Quoted(std::filesystem::u8path(program).wstring());
  for (const std::string& argument : arguments) line += L" " + Quoted(std::filesystem::u8path(argument).wstring());
  STARTUPINFOW start{};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdInput = OpenStream(where / "stdin", true);
  start.hStdOutput = OpenStream(where / "stdout", false);
  start.hStdError = OpenStream(where / "stderr", false);
  PROCESS_INFORMATION process{};
  ProcessEnd end;
  if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, where.c_str(), &start, &process) != 0) {
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD status = 0;
    GetExitCodeProcess(process.hProcess, &status);
    end.status = static_cast<int>(status);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
  }
  for (const HANDLE stream : {start.hStdInput, start.hStdOutput, start.hStdError}) CloseHandle(stream);
  return end;
}

}  // namespace orbmath_test
