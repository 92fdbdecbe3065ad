#include "frame/zxstd/stream.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace SatCommonUtils {

TZxStream::~TZxStream() = default;

TZxFileStream::~TZxFileStream() { Close(); }

bool TZxFileStream::Open(const TZxPath& path, TZxOpenMode mode, TZxShareMode /*share*/) {
  Close();
  failed_ = false;
  // fopen takes a directory for reading on POSIX systems and fails only at the first read.
  struct stat status {};
  if (stat(path.GetText().c_str(), &status) == 0 && S_ISDIR(status.st_mode)) return false;
  const char* const mode_text = mode == TZxOpenMode::Read ? "rb" : mode == TZxOpenMode::Write ? "wb" : "ab";
  file_ = std::fopen(path.GetText().c_str(), mode_text);
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
    if (count == 0) return true;
    if (count > limit - text->size()) return false;
    text->append(block, count);
  }
}

}  // namespace SatCommonUtils
