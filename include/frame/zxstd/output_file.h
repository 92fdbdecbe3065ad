#pragma once
/// \file
/// Files that come whole or not at all.
///
/// What is written goes into a new file without a name, or with a short one beside the old file, and takes the place of
/// the old file in one step when all of it is on the disk. So a reader never meets half a file, and after a failure
/// the old one is still there.

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "../api.h"
#include "path.h"
#include "stream.h"

namespace SatCommonUtils {

/// A file to be written: `Open`, `Write`, and `Commit`, without which nothing is changed. One thread at a time.
///
/// - A file of that name keeps its permissions; a new one gets the usual ones (0666 without the process's umask).
/// - A symbolic link stays, and what it leads to is replaced, or made when it is not there yet.
/// - What cannot be replaced (a device, a pipe) is written into directly.
/// - Where the system has files without a name (Linux), a process that is killed leaves nothing behind. Elsewhere,
///   and for the moment in which an old file is replaced, the new one is called ".orbmath-..." in the same directory;
///   one that a killed process left there goes away with the next `Open` of a file in that directory.
/// - The working directory may change between `Open` and `Commit`.
class ORBMATH_API TZxOutputFile : public TZxStream {
 public:
  TZxOutputFile();
  /// Throws away what was not committed.
  ~TZxOutputFile() override;
  TZxOutputFile(TZxOutputFile&& other) noexcept;
  TZxOutputFile& operator=(TZxOutputFile&& other) noexcept;

  /// Begins a new file; what was begun before is thrown away.
  /// \return false when no file can be written there; `GetError` says why. Nothing has been changed.
  bool Open(const TZxPath& path);
  /// Takes bytes. \return `count`, or fewer when nothing is open or the system takes no more.
  std::size_t Write(const void* buffer, std::size_t count) override;
  /// There is nothing to read: 0.
  std::size_t Read(void* buffer, std::size_t count) override;
  /// Brings everything to the disk, so that `Commit` has only the name left to give. May be left out.
  /// \return false when nothing is open or some byte since `Open` was not taken.
  bool Finish();
  /// Finishes, and puts the new file in its place. \return false when that did not succeed: the old file is still
  /// there.
  bool Commit();
  /// Why the last call failed, as the rest of a sentence that begins with the file's name, e.g. "cannot be written: No
  /// space left on device"; empty while nothing has failed.
  const std::string& GetError() const noexcept { return error_; }

 private:
  class Target;

  bool Fail(const std::string& reason);

  std::unique_ptr<Target> target_;
  std::string buffer_;
  std::string error_;
  bool good_ = false;
};

/// Commits several files so that either all are replaced or, unless a name is refused at the very last moment, none:
/// each is brought to the disk before the first is put in its place.
/// \param files not owned, none null. \return the first that failed, whose `GetError` says why; null when all are
/// there.
ORBMATH_API TZxOutputFile* ZxCommitFiles(const std::vector<TZxOutputFile*>& files);

/// Writes `content` as the whole of a file, as `TZxOutputFile` does it.
/// \param error may be null; on failure what `TZxOutputFile::GetError` says, untouched otherwise.
ORBMATH_API bool ZxWriteFile(const TZxPath& path, std::string_view content, std::string* error);

/// Writes all of `text` to an open descriptor of the system (1 is standard output), past interruptions.
/// \return false when the system takes no more; `errno` says why.
ORBMATH_API bool ZxWriteAll(int descriptor, std::string_view text);

}  // namespace SatCommonUtils
