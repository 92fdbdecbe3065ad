// The system's part of the tool on Linux and its like.

#if !defined(_WIN32)

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "system/system.h"

namespace orbmath_tool {

std::vector<std::string> CommandLineWords(int argc, char** argv) { return {argv + (argc > 0 ? 1 : 0), argv + argc}; }

int OpenToRead(const std::string& path) { return open(path.c_str(), O_RDONLY | O_CLOEXEC); }

void CloseDescriptor(int descriptor) { close(descriptor); }

std::ptrdiff_t ReadDescriptor(int descriptor, char* to, std::size_t count) { return read(descriptor, to, count); }

bool HasMoreToRead(int descriptor) {
  pollfd state{descriptor, POLLIN, 0};
  return poll(&state, 1, 0) > 0;
}

bool IsPlainFile(int descriptor, std::uint64_t* size) {
  struct stat status {};
  if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return false;
  *size = static_cast<std::uint64_t>(status.st_size);
  return true;
}

bool IsTerminal(int descriptor) { return isatty(descriptor) == 1; }

std::size_t MostOpenFiles(std::size_t wanted) {
  constexpr rlim_t kOwn = 64;
  struct rlimit limit {};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return 1;
  if (limit.rlim_cur < wanted + kOwn && limit.rlim_cur < limit.rlim_max) {
    limit.rlim_cur = std::min(static_cast<rlim_t>(wanted + kOwn), limit.rlim_max);
    setrlimit(RLIMIT_NOFILE, &limit);
    getrlimit(RLIMIT_NOFILE, &limit);
  }
  return limit.rlim_cur > kOwn ? static_cast<std::size_t>(limit.rlim_cur - kOwn) : 1;
}

}  // namespace orbmath_tool

#endif
