// Files that come whole or not at all: buffering, failure texts and commits. What the system has to do stands in
// output_target.h.

#include "frame/zxstd/output_file.h"

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include "frame/zxstd/output_target.h"

namespace SatCommonUtils {

namespace {

constexpr std::size_t kBufferBytes = std::size_t{64} * 1024;

}  // namespace

class TZxOutputFile::Target : public OutputTarget {};

TZxOutputFile::TZxOutputFile() = default;
TZxOutputFile::~TZxOutputFile() = default;
TZxOutputFile::TZxOutputFile(TZxOutputFile&& other) noexcept { *this = std::move(other); }

TZxOutputFile& TZxOutputFile::operator=(TZxOutputFile&& other) noexcept {
  target_ = std::move(other.target_);
  buffer_ = std::move(other.buffer_);
  error_ = std::move(other.error_);
  good_ = std::exchange(other.good_, false);
  return *this;
}

bool TZxOutputFile::Fail(const std::string& reason) {
  if (error_.empty()) error_ = "cannot be written: " + reason;
  good_ = false;
  return false;
}

bool TZxOutputFile::Open(const TZxPath& path) {
  target_.reset();
  buffer_.clear();
  error_.clear();
  good_ = true;
  auto target = std::make_unique<Target>();
  std::string reason;
  if (!target->Begin(path.GetText(), &reason)) return Fail(reason);
  target_ = std::move(target);
  return true;
}

std::size_t TZxOutputFile::Write(const void* buffer, std::size_t count) {
  if (!good_ || !target_) return 0;
  buffer_.append(static_cast<const char*>(buffer), count);
  if (buffer_.size() < kBufferBytes) return count;
  const bool taken = target_->Put(buffer_);
  if (!taken) Fail(std::generic_category().message(errno));
  buffer_.clear();
  return taken ? count : 0;
}

std::size_t TZxOutputFile::Read(void* /*buffer*/, std::size_t /*count*/) { return 0; }

bool TZxOutputFile::Finish() {
  if (!target_) return Fail("no file is open");
  if (!good_) return false;
  if (!target_->Put(buffer_) || !target_->Flush()) return Fail(std::generic_category().message(errno));
  buffer_.clear();
  return true;
}

bool TZxOutputFile::Commit() {
  if (!Finish()) return false;
  const bool placed = target_->Place();
  if (!placed) Fail(std::generic_category().message(errno));
  target_.reset();
  return placed;
}

TZxOutputFile* ZxCommitFiles(const std::vector<TZxOutputFile*>& files) {
  for (TZxOutputFile* const file : files) {
    if (!file->Finish()) return file;
  }
  for (TZxOutputFile* const file : files) {
    if (!file->Commit()) return file;
  }
  return nullptr;
}

bool ZxWriteFile(const TZxPath& path, std::string_view content, std::string* error) {
  TZxOutputFile file;
  const bool written = file.Open(path) && file.Write(content.data(), content.size()) == content.size() && file.Commit();
  if (!written && error != nullptr) *error = file.GetError();
  return written;
}

}  // namespace SatCommonUtils
