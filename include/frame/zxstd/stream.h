#pragma once
/// \file
/// Byte streams: the base, a file and a text in memory.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "../api.h"
#include "path.h"

namespace SatCommonUtils {

/// A sequence of bytes that can be read, written or both. Not safe for use from two threads at once.
class ORBMATH_API TZxStream {
 public:
  TZxStream() = default;
  TZxStream(const TZxStream&) = delete;
  TZxStream& operator=(const TZxStream&) = delete;
  virtual ~TZxStream();

  /// Writes `count` bytes. \return the number of bytes taken; fewer than `count` means failure.
  virtual std::size_t Write(const void* buffer, std::size_t count) = 0;
  /// Reads up to `count` bytes. \return the number of bytes read; 0 at the end or on failure.
  virtual std::size_t Read(void* buffer, std::size_t count) = 0;
  /// True when a read ended for another reason than the end of the data. Here never.
  virtual bool ReadFailed() const;
};

/// What a file is opened for.
enum class TZxOpenMode {
  Read,    ///< An existing file, for reading.
  Write,   ///< A new file, or an existing one emptied, for writing.
  Append,  ///< A new or an existing file; writes go to its end.
};

/// What other openers may do meanwhile. POSIX systems have no such locks: there it is ignored.
enum class TZxShareMode { None, Read, ReadWrite };

/// A file on disk. Closed by the destructor; a writer that wants to know that every byte arrived calls `Close`.
class ORBMATH_API TZxFileStream : public TZxStream {
 public:
  TZxFileStream() = default;
  ~TZxFileStream() override;

  /// Opens `path`, closing what was open before.
  /// \return false when the system refuses or `path` is a directory; `errno` says why.
  bool Open(const TZxPath& path, TZxOpenMode mode, TZxShareMode share = TZxShareMode::Read);
  /// Whether a file is open.
  bool IsOpen() const noexcept { return file_ != nullptr; }
  /// Closes the file. \return false when some written byte did not reach the system, or nothing was open.
  bool Close();

  std::size_t Write(const void* buffer, std::size_t count) override;
  std::size_t Read(void* buffer, std::size_t count) override;
  bool ReadFailed() const override;

 private:
  std::FILE* file_ = nullptr;
  bool failed_ = false;
};

/// A text in memory. Writes append to the text; reads walk it from the front.
class ORBMATH_API TZxStringStream : public TZxStream {
 public:
  TZxStringStream() = default;
  /// \param text what reads will give.
  explicit TZxStringStream(std::string text);

  std::size_t Write(const void* buffer, std::size_t count) override;
  std::size_t Read(void* buffer, std::size_t count) override;

  /// The whole text, what has been read already included.
  const std::string& GetString() const noexcept { return text_; }

 private:
  std::string text_;
  std::size_t position_ = 0;
};

/// Bytes that a reader of XML takes from a stream: 1 GiB, room for a matrix of 4,000 by 4,000. Readers of files of one
/// purpose have smaller limits.
constexpr std::size_t kZxMaxXmlBytes = std::size_t{1} << 30;

/// Reads everything that is left of `stream`. \return false when the stream is null, fails, or is longer than `limit`
/// bytes; `text` then holds what was read so far.
ORBMATH_API bool ZxReadAll(TZxStream* stream, std::string* text, std::size_t limit = SIZE_MAX);

}  // namespace SatCommonUtils
