// Blocks of whole lines, read ahead of the work.

#include "points/line_source.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <string_view>
#include <utility>

#include "errors.h"
#include "frame/zxstd/encoding.h"
#include "frame/zxstd/number_text.h"
#include "system/system.h"

namespace orbmath_tool {

namespace {

/// Large enough that handing a block from thread to thread costs nothing beside its points, small enough for the cache.
constexpr std::size_t kBlockBytes = 64 * 1024;
static_assert(kBlockBytes > 2 * kLongestLine, "a block must hold a longest line and the reading behind it");

/// The descriptor of a text, which is no file.
constexpr int kNoDescriptor = -1;

/// Moves what stands in `[begin, end)` from the first line feed on to the front. \return the new end.
const char* DropLineRest(char* begin, const char* end) {
  const auto count = static_cast<std::size_t>(end - begin);
  const auto* feed = static_cast<const char*>(std::memchr(begin, '\n', count));
  if (feed == nullptr) return begin;
  std::memmove(begin, feed, static_cast<std::size_t>(end - feed));
  return begin + (end - feed);
}

/// \throws Failure for a file that cannot be opened, with a hint for numbers, which are no files' names.
[[noreturn]] void RefuseName(const std::string& name, const std::string& why) {
  double number = 0.0;
  throw Failure(name + ": " + why +
                (SatCommonUtils::ParseDouble(name, &number) ? "; a point in the command is given by --point" : ""));
}

/// What spreadsheets call "Unicode text" has two bytes a character, which no number survives.
void RefuseWideText(std::string_view front, const std::string& name) {
  std::size_t mark = 0;
  const auto encoding = SatCommonUtils::ZxByteOrderMark(front, &mark);
  if (encoding != SatCommonUtils::TZxTextEncoding::Utf8 && mark > 0) {
    throw Failure(name + ": is text in UTF-16 or UTF-32; save it as UTF-8");
  }
}

}  // namespace

void TakeStandardInput(const std::string& by) {
  static std::mutex mutex;  // models of a list are read on several threads
  static std::string taken_by;
  const std::lock_guard<std::mutex> lock(mutex);
  if (!taken_by.empty()) {
    throw UsageError("standard input is " + taken_by + " already, so " + by + " must come from a file");
  }
  taken_by = by;
}

LineSource::LineSource(const std::vector<std::string>& names) {
  bool all_plain = true;
  for (const std::string& name : names.empty() ? std::vector<std::string>{"-"} : names) {
    const bool standard = name == "-";
    if (standard) TakeStandardInput("the file of points");
    const int descriptor = standard ? kStandardInput : OpenToRead(name);
    if (descriptor < 0) RefuseName(name, std::strerror(errno));
    inputs_.push_back({standard ? "standard input" : name, descriptor});
    std::uint64_t bytes = 0;
    all_plain = all_plain && IsPlainFile(descriptor, &bytes);
    if (all_plain) total_bytes_ += bytes;
  }
  if (!all_plain) total_bytes_ = 0;
}

LineSource::LineSource(std::string name, std::string text) : text_(std::move(text)) {
  inputs_.push_back({std::move(name), kNoDescriptor});
}

LineSource::~LineSource() {
  for (const Input& input : inputs_) {
    if (input.descriptor != kStandardInput && input.descriptor != kNoDescriptor) CloseDescriptor(input.descriptor);
  }
}

bool LineSource::HasMore() const {
  if (record_at_ < records_.size()) return true;
  const int descriptor = inputs_[current_].descriptor;
  return descriptor == kNoDescriptor || HasMoreToRead(descriptor);
}

bool LineSource::Next(CharBuffer* text) {
  while (true) {
    if (finished_) {
      if (current_ + 1 >= inputs_.size()) return false;
      ++current_;
      finished_ = false;
      at_start_ = true;
      unread_ = true;
      is_json_ = false;
    }
    if (ReadBlock(text)) return true;
  }
}

bool LineSource::ReadBlock(CharBuffer* text) {
  text->clear();
  text->Append(carry_.view());
  carry_.clear();
  std::size_t whole = 0;  // bytes of the whole lines in the text
  bool dropping = false;  // the reading stands in the part of a line behind its first kLongestLine bytes
  while (whole == 0 || (text->size() < kBlockBytes && HasMore())) {
    if (whole == 0 && text->size() > kLongestLine) {
      text->TakeUpTo(text->data() + kLongestLine);
      dropping = true;
    }
    const std::size_t wanted = kBlockBytes - text->size();
    char* const to = text->Room(wanted + 1);  // one more for a line feed that is missing at the end
    const std::size_t count = ReadSome(to, wanted);
    if (count == 0) {
      finished_ = true;
      if (text->size() == 0) return false;
      if (text->view().back() != '\n') {
        *to = '\n';
        text->TakeUpTo(to + 1);
      }
      whole = text->size();
      break;
    }
    const char* end = to + count;
    if (dropping) {
      end = DropLineRest(to, end);
      dropping = end == to;
    }
    text->TakeUpTo(end);
    const std::size_t behind = text->view().rfind('\n') + 1;  // 0 when there is none
    whole = std::max(whole, behind);
  }
  carry_.Append(text->view().substr(whole));
  text->TakeUpTo(text->data() + whole);
  if (std::exchange(at_start_, false)) {
    const std::string_view rest = SatCommonUtils::ZxWithoutUtf8Mark(text->view());
    std::memmove(text->data(), rest.data(), rest.size());
    text->TakeUpTo(text->data() + rest.size());
  }
  return true;
}

std::size_t LineSource::ReadSome(char* to, std::size_t count) {
  if (is_json_ && record_at_ < records_.size()) return ReadRecords(to, count, 0);
  std::size_t got = ReadBytes(to, count);
  const bool first = std::exchange(unread_, false);
  if (first) RefuseWideText({to, got}, Name());
  if (first && LooksLikeJson({to, got})) {
    is_json_ = true;
    cutter_ = JsonRecordCutter();
    const std::string_view rest = SatCommonUtils::ZxWithoutUtf8Mark({to, got});
    got = rest.size();
    std::memmove(to, rest.data(), got);
  }
  return is_json_ ? ReadRecords(to, count, got) : got;
}

/// \param got bytes of JSON that stand in `[to, to + count)`, 0 for none.
std::size_t LineSource::ReadRecords(char* to, std::size_t count, std::size_t got) {
  while (record_at_ == records_.size()) {
    records_.clear();
    record_at_ = 0;
    got > 0 ? cutter_.Feed({to, got}, &records_) : cutter_.Finish(&records_);
    if (got == 0 && records_.empty()) return 0;
    if (records_.empty()) got = ReadBytes(to, count);
  }
  const std::size_t taken = std::min(count, records_.size() - record_at_);
  std::copy_n(records_.data() + record_at_, taken, to);
  record_at_ += taken;
  return taken;
}

std::size_t LineSource::ReadBytes(char* to, std::size_t count) {
  if (inputs_[current_].descriptor == kNoDescriptor) {
    const std::size_t taken = std::min(count, text_.size() - text_at_);
    std::copy_n(text_.data() + text_at_, taken, to);
    text_at_ += taken;
    return taken;
  }
  while (true) {
    const std::ptrdiff_t got = ReadDescriptor(inputs_[current_].descriptor, to, count);
    if (got >= 0) return static_cast<std::size_t>(got);
    if (errno != EINTR) throw Failure(inputs_[current_].name + ": " + std::strerror(errno));
  }
}

}  // namespace orbmath_tool
