#include "report/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include "errors.h"

namespace orbmath_tool {

namespace {

/// Closes and removes a new file that did not come to its name.
class NewFile {
 public:
  explicit NewFile(const std::string& beside) : name_(beside + ".XXXXXX"), descriptor_(mkstemp(name_.data())) {}
  ~NewFile() {
    Close();
    if (!name_.empty()) unlink(name_.c_str());
  }
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  int Descriptor() const { return descriptor_; }
  bool Close() {
    const int descriptor = descriptor_;
    descriptor_ = -1;
    return descriptor < 0 || close(descriptor) == 0;
  }
  bool Rename(const std::string& path) {
    if (std::rename(name_.c_str(), path.c_str()) != 0) return false;
    name_.clear();
    return true;
  }

 private:
  std::string name_;
  int descriptor_;
};

bool WriteAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t taken = write(descriptor, text.data(), text.size());
    if (taken < 0 && errno != EINTR) return false;
    if (taken > 0) text.remove_prefix(static_cast<std::size_t>(taken));
  }
  return true;
}

/// The permissions of a file that the process creates anew.
mode_t NewFileMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return static_cast<mode_t>(0666 & ~mask);
}

/// The file that a chain of symbolic links leads to, so that the link stays and its file is replaced.
std::string BehindLinks(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr), &std::free);
  return real ? std::string(real.get()) : path;
}

bool ReplaceFile(const std::string& path, const std::string& content, mode_t mode) {
  NewFile file(path);
  return file.Descriptor() >= 0 && WriteAll(file.Descriptor(), content) && fchmod(file.Descriptor(), mode) == 0 &&
         fsync(file.Descriptor()) == 0 && file.Close() && file.Rename(path);
}

/// For what cannot be replaced: a device, a pipe.
bool WriteInto(const std::string& path, const std::string& content) {
  const int descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC);
  if (descriptor < 0) return false;
  const bool written = WriteAll(descriptor, content);
  return close(descriptor) == 0 && written;
}

}  // namespace

void WriteFile(const std::string& path, const std::string& content) {
  bool good = false;
  struct stat old {};
  if (path == "-") {
    good = WriteAll(STDOUT_FILENO, content);
  } else if (stat(path.c_str(), &old) != 0) {
    good = ReplaceFile(path, content, NewFileMode());
  } else if (S_ISREG(old.st_mode)) {
    good = ReplaceFile(BehindLinks(path), content, old.st_mode & 07777);
  } else {
    good = WriteInto(path, content);
  }
  if (!good) throw Failure((path == "-" ? "standard output" : path) + ": cannot be written: " + std::strerror(errno));
}

}  // namespace orbmath_tool
