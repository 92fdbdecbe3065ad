// Byte streams on files and on texts in memory.

#include "frame/zxstd/stream.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

namespace SatCommonUtils {

namespace {

std::FILE* OpenFile(const std::filesystem::path& path, const char* mode) {
#if defined(_WIN32)
  return _wfopen(path.c_str(), std::wstring(mode, mode + std::strlen(mode)).c_str());
#else
  return std::fopen(path.c_str(), mode);
#endif
}

}  // namespace

TZxStream::~TZxStream() = default;

bool TZxStream::ReadFailed() const { return false; }

TZxFileStream::~TZxFileStream() { Close(); }

bool TZxFileStream::Open(const TZxPath& path, TZxOpenMode mode, TZxShareMode /*share*/) {
  Close();
  failed_ = false;
  // The system would take a NUL for the end of the name, and so open another file.
  if (path.GetText().find('\0') != std::string::npos) {
    errno = EINVAL;
    return false;
  }
  const std::filesystem::path system_path = std::filesystem::u8path(path.GetText());
  // fopen takes a directory for reading on POSIX systems and fails only at the first read.
  std::error_code ignored;
  if (std::filesystem::is_directory(system_path, ignored)) {
    errno = EISDIR;
    return false;
  }
  const char* const mode_text = mode == TZxOpenMode::Read ? "rb" : mode == TZxOpenMode::Write ? "wb" : "ab";
  file_ = OpenFile(system_path, mode_text);
  return file_ != nullptr;
}

bool TZxFileStream::Close() {
  if (file_ == nullptr) return false;
  const bool closed = std::fclose(std::exchange(file_, nullptr)) == 0;
  return closed && !failed_;
}

std::size_t TZxFileStream::Write(const void* buffer, std::size_t count) {
  if (file_ == nullptr) return 0;
  const std::size_t written = std::fwrite(buffer, 1, count, file_);
  failed_ = failed_ || written != count;
  return written;
}

std::size_t TZxFileStream::Read(void* buffer, std::size_t count) {
  return file_ == nullptr ? 0 : std::fread(buffer, 1, count, file_);
}

bool TZxFileStream::ReadFailed() const { return file_ == nullptr || std::ferror(file_) != 0; }

TZxStringStream::TZxStringStream(std::string text) : text_(std::move(text)) {}

std::size_t TZxStringStream::Write(const void* buffer, std::size_t count) {
  text_.append(static_cast<const char*>(buffer), count);
  return count;
}

std::size_t TZxStringStream::Read(void* buffer, std::size_t count) {
  const std::size_t taken = std::min(count, text_.size() - position_);
  if (taken > 0) std::memcpy(buffer, text_.data() + position_, taken);
  position_ += taken;
  return taken;
}

bool ZxReadAll(TZxStream* stream, std::string* text, std::size_t limit) {
  text->clear();
  if (stream == nullptr) return false;
  char block[65536];
  for (;;) {
    const std::size_t count = stream->Read(block, sizeof block);
    if (count == 0) return !stream->ReadFailed();
    if (count > limit - text->size()) return false;
    text->append(block, count);
  }
}

}  // namespace SatCommonUtils
