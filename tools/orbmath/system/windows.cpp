// The system's part of the tool on Windows: words and names as the system has them, in UTF-16; descriptors of the C
// runtime.

#if defined(_WIN32)

#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>
// Behind the header that it needs.
#include <shellapi.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <memory>

#include "system/system.h"

namespace orbmath_tool {

std::vector<std::string> CommandLineWords(int /*argc*/, char** /*argv*/) {
  // No line ends are added or taken away, and no byte ends the input.
  for (const int descriptor : {kStandardInput, kStandardOutput, kStandardError}) _setmode(descriptor, _O_BINARY);
  int count = 0;
  const std::unique_ptr<LPWSTR, decltype(&LocalFree)> words(CommandLineToArgvW(GetCommandLineW(), &count), &LocalFree);
  std::vector<std::string> result;
  for (int i = 1; words && i < count; ++i) result.push_back(std::filesystem::path(words.get()[i]).u8string());
  return result;
}

int OpenToRead(const std::string& path) {
  const int descriptor = _wopen(std::filesystem::u8path(path).c_str(), _O_RDONLY | _O_BINARY | _O_NOINHERIT);
  if (descriptor >= 0 || errno != EACCES) return descriptor;
  std::error_code ignored;
  if (std::filesystem::is_directory(std::filesystem::u8path(path), ignored)) errno = EISDIR;
  return descriptor;
}

void CloseDescriptor(int descriptor) { _close(descriptor); }

std::ptrdiff_t ReadDescriptor(int descriptor, char* to, std::size_t count) {
  constexpr std::size_t kMost = 1 << 20;
  return _read(descriptor, to, static_cast<unsigned int>(std::min(count, kMost)));
}

bool HasMoreToRead(int descriptor) {
  const HANDLE handle = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
  switch (GetFileType(handle)) {
    case FILE_TYPE_PIPE: {
      DWORD bytes = 0;
      // A pipe that nobody writes to any more cannot be looked into; reading it gives the end.
      return PeekNamedPipe(handle, nullptr, 0, nullptr, &bytes, nullptr) == 0 || bytes > 0;
    }
    case FILE_TYPE_CHAR:
      // A console gives whole lines; what waits there may be no more than the movement of a mouse.
      return false;
    default:
      return true;
  }
}

bool IsPlainFile(int descriptor, std::uint64_t* size) {
  struct _stat64 status {};
  if (_fstat64(descriptor, &status) != 0 || (status.st_mode & _S_IFMT) != _S_IFREG) return false;
  *size = static_cast<std::uint64_t>(status.st_size);
  return true;
}

bool IsTerminal(int descriptor) { return _isatty(descriptor) != 0; }

std::size_t MostOpenFiles(std::size_t wanted) {
  // The least that a version of the C runtime allows is 512.
  constexpr std::size_t kMost = 448;
  return std::clamp<std::size_t>(wanted, 1, kMost);
}

}  // namespace orbmath_tool

#endif
