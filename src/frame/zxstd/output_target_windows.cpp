// New files beside old ones on Windows, where a rename replaces the old file. Descriptors are those of the C runtime.

#if defined(_WIN32)

#include <fcntl.h>
#include <io.h>
#include <process.h>
#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include "frame/zxstd/output_file.h"
#include "frame/zxstd/output_target.h"

namespace SatCommonUtils {

bool ZxWriteAll(int descriptor, std::string_view text) {
  constexpr std::size_t kMost = 1 << 20;
  while (!text.empty()) {
    const int taken =
        _write(descriptor, text.data(), static_cast<unsigned int>(text.size() < kMost ? text.size() : kMost));
    if (taken < 0) return false;
    text.remove_prefix(static_cast<std::size_t>(taken));
  }
  return true;
}

OutputTarget::~OutputTarget() {
  Close();
  std::error_code ignored;
  if (!new_name_.empty()) std::filesystem::remove(std::filesystem::u8path(new_name_), ignored);
}

void OutputTarget::Close() {
  if (descriptor_ >= 0) _close(descriptor_);
  descriptor_ = -1;
}

bool OutputTarget::Begin(const std::string& path, std::string* reason) {
  static std::atomic<unsigned int> count{0};
  std::error_code error;
  const std::filesystem::path target = std::filesystem::absolute(std::filesystem::u8path(path), error);
  name_ = target.u8string();
  const std::string beside = ".orbmath-" + std::to_string(_getpid()) + "-" + std::to_string(++count);
  new_name_ = (target.parent_path() / beside).u8string();
  descriptor_ = _wopen(std::filesystem::u8path(new_name_).c_str(), _O_CREAT | _O_EXCL | _O_WRONLY | _O_BINARY,
                       _S_IREAD | _S_IWRITE);
  if (descriptor_ >= 0) return true;
  new_name_.clear();
  *reason = std::generic_category().message(errno);
  return false;
}

bool OutputTarget::Put(std::string_view text) const { return ZxWriteAll(descriptor_, text); }

bool OutputTarget::Flush() const { return _commit(descriptor_) == 0; }

bool OutputTarget::Place() {
  Close();
  std::error_code error;
  std::filesystem::rename(std::filesystem::u8path(new_name_), std::filesystem::u8path(name_), error);
  if (error) {
    errno = error.default_error_condition().value();
    return false;
  }
  new_name_.clear();
  return true;
}

}  // namespace SatCommonUtils

#endif
