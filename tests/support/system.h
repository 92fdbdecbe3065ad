#pragma once
// What tests ask of the system beyond the standard library.

#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

namespace orbmath_test {

#if defined(_WIN32)
constexpr bool kOnWindows = true;
#else
constexpr bool kOnWindows = false;
#endif

/// Whether a program stands between the system and the tests that keeps no limits.
#if defined(ORBMATH_EMULATED)
constexpr bool kEmulated = true;
#else
constexpr bool kEmulated = false;
#endif

/// Sets a variable of the environment; a null value takes it away.
inline void SetVariable(const char* name, const char* value) {
#if defined(_WIN32)
  _putenv_s(name, value == nullptr ? "" : value);
#else
  if (value == nullptr) {
    ::unsetenv(name);
  } else {
    ::setenv(name, value, 1);
  }
#endif
}

/// A device that takes a file's name and no byte; empty where the system has none.
inline std::string FullDevice() {
#if defined(_WIN32)
  return "";
#else
  return std::filesystem::exists("/dev/full") ? "/dev/full" : "";
#endif
}

/// Whether commands of a shell of Linux and its like can be run.
inline bool HaveShell() {
#if defined(_WIN32)
  return false;
#else
  return std::system("bash -c true") == 0;
#endif
}

/// A new folder for temporary files, whose name begins as said. Whoever asks removes it.
inline std::string NewTemporaryFolder(const std::string& name) {
  std::random_device numbers;
  while (true) {
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / (name + "_" + std::to_string(numbers()));
    if (std::filesystem::create_directory(folder)) return folder.string();
  }
}

}  // namespace orbmath_test
