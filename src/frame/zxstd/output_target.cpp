// New files beside old ones, for Linux and other POSIX systems (Windows: output_target_windows.cpp). The steps are
// those of open(2), linkat(2) and rename(2); elementary.

#if !defined(_WIN32)

#include "frame/zxstd/output_target.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

#include "frame/zxstd/output_file.h"
#include "frame/zxstd/quoted.h"

namespace SatCommonUtils {

namespace {

constexpr std::string_view kNewNames = ".orbmath-";
constexpr int kMostLinks = 40;
constexpr int kMostTries = 100;

#if defined(O_PATH)
constexpr int kDirectoryFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;
#else
constexpr int kDirectoryFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
#endif

// A name that no other new file of this process has; other processes have other numbers. It is short, so that it fits
// wherever the file's own name does.
std::string NextNewName() {
  static std::atomic<unsigned int> count{0};
  return std::string(kNewNames) + std::to_string(getpid()) + "-" + std::to_string(++count);
}

// Takes away new files whose writers are gone. A writer holds a lock on its file for as long as it lives, so one that
// can be locked belongs to nobody. The writer looks after locking whether its file was taken in that moment.
void SweepStaleFiles(int directory) {
  const int readable = openat(directory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (readable < 0) return;
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(fdopendir(readable), &closedir);
  if (!entries) {
    close(readable);
    return;
  }
  while (const dirent* const entry = readdir(entries.get())) {
    if (std::string_view(entry->d_name).substr(0, kNewNames.size()) != kNewNames) continue;
    const int stale = openat(directory, entry->d_name, O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (stale < 0) continue;
    struct stat status {};
    const bool free = flock(stale, LOCK_EX | LOCK_NB) == 0 && fstat(stale, &status) == 0 && S_ISREG(status.st_mode);
    if (free) unlinkat(directory, entry->d_name, 0);
    close(stale);
  }
}

// The path that a chain of symbolic links leads to, whether there is a file or not. Empty for links in a circle.
std::string BehindLinks(std::string path) {
  namespace fs = std::filesystem;
  for (int i = 0; i < kMostLinks; ++i) {
    std::error_code error;
    const fs::path link = fs::read_symlink(path, error);
    if (error) return path;
    path = (link.is_absolute() ? link : fs::path(path).parent_path() / link).string();
  }
  errno = ELOOP;
  return std::string();
}

std::string SystemText() { return std::generic_category().message(errno); }

// What the system's "Permission denied" and "No such file or directory" are about, when it is the directory.
std::string DirectoryText(const std::string& directory) {
  const int cause = errno;
  const std::string quoted = Quoted(directory);
  if (cause == ENOENT) return "there is no directory " + quoted;
  if (cause == EACCES || cause == EPERM) return "the directory " + quoted + " does not give the right to write in it";
  if (cause == EROFS) return "the directory " + quoted + " lies on a file system that is read only";
  return std::generic_category().message(cause);
}

}  // namespace

bool ZxWriteAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t taken = write(descriptor, text.data(), text.size());
    if (taken < 0 && errno != EINTR) return false;
    if (taken > 0) text.remove_prefix(static_cast<std::size_t>(taken));
  }
  return true;
}

OutputTarget::~OutputTarget() {
  if (!new_name_.empty()) unlinkat(directory_, new_name_.c_str(), 0);
  Close();
  if (directory_ >= 0) close(directory_);
}

void OutputTarget::Close() {
  if (descriptor_ >= 0) close(descriptor_);
  descriptor_ = -1;
}

bool OutputTarget::Begin(const std::string& path, std::string* reason) {
  if (path.empty() || path.find('\0') != std::string::npos) {
    *reason = path.empty() ? "it has no name" : std::generic_category().message(EINVAL);
    return false;
  }
  struct stat old {};
  replaces_ = stat(path.c_str(), &old) == 0;
  if (replaces_ && !S_ISREG(old.st_mode)) {
    descriptor_ = S_ISDIR(old.st_mode) ? -1 : open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (descriptor_ < 0) *reason = S_ISDIR(old.st_mode) ? std::generic_category().message(EISDIR) : SystemText();
    return descriptor_ >= 0;
  }
  if (replaces_ && faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0) {
    *reason = SystemText();
    return false;
  }
  const std::string target = BehindLinks(path);
  const std::size_t slash = target.find_last_of('/');
  const std::string directory = slash == std::string::npos ? "." : target.substr(0, slash + 1);
  name_ = slash == std::string::npos ? target : target.substr(slash + 1);
  if (target.empty() || name_.empty()) {
    *reason = target.empty() ? SystemText() : "its name ends with a slash";
    return false;
  }
  directory_ = open(directory.c_str(), kDirectoryFlags);
  if (directory_ < 0) {
    *reason = DirectoryText(directory);
    return false;
  }
  SweepStaleFiles(directory_);
  // The umask of the process takes its bits from the mode of a new file.
  if (!(unnamed_ && BeginUnnamed(0666)) && !BeginNamed(0666)) {
    *reason = DirectoryText(directory);
    return false;
  }
  if (replaces_ && fchmod(descriptor_, old.st_mode & 07777) != 0) {
    *reason = SystemText();
    return false;
  }
  return true;
}

#if defined(O_TMPFILE)

bool OutputTarget::BeginUnnamed(unsigned int mode) {
  descriptor_ = openat(directory_, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, mode);
  // It is named by way of /proc, which may not be there.
  if (descriptor_ >= 0 && access(("/proc/self/fd/" + std::to_string(descriptor_)).c_str(), F_OK) != 0) Close();
  if (descriptor_ >= 0) flock(descriptor_, LOCK_EX);
  return descriptor_ >= 0;
}

#else

bool OutputTarget::BeginUnnamed(unsigned int /*mode*/) { return false; }

#endif

bool OutputTarget::BeginNamed(unsigned int mode) {
  for (int i = 0; i < kMostTries; ++i) {
    const std::string name = NextNewName();
    descriptor_ = openat(directory_, name.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC | O_NOFOLLOW, mode);
    if (descriptor_ < 0 && errno == EEXIST) continue;
    if (descriptor_ < 0) return false;
    struct stat status {};
    if (flock(descriptor_, LOCK_EX) != 0 || fstat(descriptor_, &status) != 0 || status.st_nlink > 0) {
      new_name_ = name;
      return true;
    }
    // Another process took it for a stale one before it was locked.
    Close();
  }
  return false;
}

bool OutputTarget::Put(std::string_view text) const { return ZxWriteAll(descriptor_, text); }

bool OutputTarget::Flush() const { return name_.empty() || fsync(descriptor_) == 0; }

bool OutputTarget::GiveName() {
  const std::string unnamed = "/proc/self/fd/" + std::to_string(descriptor_);
  if (!replaces_ && linkat(AT_FDCWD, unnamed.c_str(), directory_, name_.c_str(), AT_SYMLINK_FOLLOW) == 0) {
    name_.clear();
    return true;
  }
  if (!replaces_ && errno != EEXIST) return false;
  for (int i = 0; i < kMostTries; ++i) {
    const std::string name = NextNewName();
    if (linkat(AT_FDCWD, unnamed.c_str(), directory_, name.c_str(), AT_SYMLINK_FOLLOW) == 0) {
      new_name_ = name;
      return true;
    }
    if (errno != EEXIST) return false;
  }
  return false;
}

bool OutputTarget::Place() {
  if (name_.empty()) return close(std::exchange(descriptor_, -1)) == 0;
  if (new_name_.empty() && !GiveName()) return false;
  if (name_.empty()) return true;
  if (renameat(directory_, new_name_.c_str(), directory_, name_.c_str()) != 0) return false;
  new_name_.clear();
  return true;
}

}  // namespace SatCommonUtils

#endif
