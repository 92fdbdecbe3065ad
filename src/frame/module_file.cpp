// Where the library's own file lies, from the system's loader; elementary.

#include "frame/module_file.h"

#include <cstddef>

#if defined(_WIN32)
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>

#include <vector>
#else
#include <dlfcn.h>

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string_view>
#include <system_error>
#endif

namespace SatCommonUtils {
namespace {

#if defined(_WIN32)

constexpr const char* kSeparators = "\\/";
constexpr DWORD kLongestPath = 16383;

std::string ToUtf8(const wchar_t* text, int length) {
  const int size = WideCharToMultiByte(CP_UTF8, 0, text, length, nullptr, 0, nullptr, nullptr);
  std::string result(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text, length, result.data(), size, nullptr, nullptr);
  return result;
}

/// The module of that name, or the one that holds this function when the library's file has been given another name.
HMODULE FindHandle(const std::string& file_name) {
  if (HMODULE by_name = GetModuleHandleA(file_name.c_str())) return by_name;
  HMODULE by_address = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<LPCWSTR>(&FindHandle), &by_address);
  return by_address;
}

#else

constexpr const char* kSeparators = "/";

/// An object of the library by whose address the loader finds it.
const char kAnchor = 0;

/// The full path of the file that is mapped at an address, as /proc/self/maps has it (Linux, proc(5)); empty when there
/// is no such list, or the file has been deleted.
std::string MappedFile(const void* address) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> maps(std::fopen("/proc/self/maps", "re"), &std::fclose);
  if (!maps) return std::string();
  const auto wanted = reinterpret_cast<std::uintptr_t>(address);
  char* line = nullptr;
  std::size_t size = 0;
  std::string path;
  while (path.empty() && getline(&line, &size, maps.get()) > 0) {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
    if (std::sscanf(line, "%" SCNxPTR "-%" SCNxPTR, &begin, &end) != 2 || wanted < begin || wanted >= end) continue;
    const char* const slash = std::strchr(line, '/');
    if (slash != nullptr) path.assign(slash, std::strcspn(slash, "\n"));
  }
  std::free(line);
  constexpr std::string_view kDeleted = " (deleted)";
  const bool deleted =
      path.size() > kDeleted.size() && path.compare(path.size() - kDeleted.size(), std::string::npos, kDeleted) == 0;
  return deleted ? std::string() : path;
}

#endif

}  // namespace

#if defined(_WIN32)

TModuleFile FindOwnModule(const std::string& file_name) {
  const HMODULE handle = FindHandle(file_name);
  std::vector<wchar_t> path(kLongestPath);
  const DWORD length = GetModuleFileNameW(handle, path.data(), kLongestPath);
  return {static_cast<void*>(handle), ToUtf8(path.data(), static_cast<int>(length))};
}

#else  // Linux and macOS: the loader knows which file an address comes from; names differ from system to system.

TModuleFile FindOwnModule(const std::string& /*file_name*/) {
  Dl_info info;
  if (dladdr(&kAnchor, &info) == 0 || info.dli_fname == nullptr) return {};
  std::string path = info.dli_fname;
  // A library that was found by a relative path ("." in the search path, say) is known to the loader by that path,
  // which leads elsewhere once the working directory has changed. The kernel knows the file itself.
  if (path.empty() || path.front() != '/') {
    const std::string mapped = MappedFile(&kAnchor);
    std::error_code error;
    if (mapped.empty()) {
      const std::filesystem::path full = std::filesystem::absolute(path, error);
      if (!error) path = full.string();
    } else {
      path = mapped;
    }
  }
  return {info.dli_fbase, path};
}

#endif

TPathParts SplitPath(const std::string& path) {
  TPathParts parts;
  std::string name = path;
  const std::size_t separator = path.find_last_of(kSeparators);
  if (separator != std::string::npos) {
    parts.directory = path.substr(0, separator);
    name = path.substr(separator + 1);
  }
  const std::size_t point = name.rfind('.');
  parts.base_name = name.substr(0, point);
  if (point != std::string::npos) parts.extension = name.substr(point + 1);
  return parts;
}

}  // namespace SatCommonUtils

#if defined(_WIN32)

/// The system's load notification: threads that come and go are of no interest.
extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID /*reserved*/) {
  if (reason == DLL_PROCESS_ATTACH) DisableThreadLibraryCalls(instance);
  return TRUE;
}

#endif
