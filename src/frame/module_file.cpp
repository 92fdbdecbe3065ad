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

#include <filesystem>
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
  std::error_code error;
  const std::filesystem::path full = std::filesystem::absolute(info.dli_fname, error);
  return {info.dli_fbase, error ? std::string(info.dli_fname) : full.string()};
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
