// Where objects begin and end, by their brackets and strings. Elementary.

#include "points/json_records.h"

#include "frame/zxstd/encoding.h"
#include "points/line_source.h"

namespace orbmath_tool {

namespace {

/// Between the records of a sequence (RFC 7464).
constexpr char kRecordSeparator = '\x1E';
/// Keys longer than this one are not looked at.
constexpr std::size_t kLongestKey = 16;
/// What stands in the place of a bracket that is not closed: no JSON, so that it is refused.
constexpr std::string_view kNotClosed = "]";

bool IsBetweenRecords(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == ',' || c == kRecordSeparator;
}

}  // namespace

bool LooksLikeJson(std::string_view front) {
  front = SatCommonUtils::ZxWithoutUtf8Mark(front);
  const std::size_t first = front.find_first_not_of(" \t\r\n\x1E");
  return first != std::string_view::npos && (front[first] == '{' || front[first] == '[');
}

void JsonRecordCutter::Feed(std::string_view bytes, std::string* lines) {
  for (const char c : bytes) Take(c, lines);
}

void JsonRecordCutter::Finish(std::string* lines) {
  if (record_.empty() && depth_ > 0) record_ = kNotClosed;
  depth_ = 0;
  if (!record_.empty()) Emit(lines);
}

void JsonRecordCutter::Keep(char c) {
  // One byte more than a line may have, so that it is refused as too long.
  if (recording_ && record_.size() <= kLongestLine) record_ += c == '\n' || c == '\r' ? ' ' : c;
}

void JsonRecordCutter::Emit(std::string* lines) {
  *lines += record_;
  *lines += '\n';
  record_.clear();
  recording_ = false;
  garbage_ = false;
  scalar_ = false;
}

void JsonRecordCutter::TakeInString(char c) {
  Keep(c);
  if (escaped_) {
    escaped_ = false;
  } else if (c == '\\') {
    escaped_ = true;
  } else if (c == '"') {
    in_string_ = false;
  }
  if (in_string_ && last_string_.size() < kLongestKey) last_string_ += c;
}

void JsonRecordCutter::Open(char c) {
  if (c == '[' && depth_ == 0) {
    base_ = 1;
  } else if (c == '[' && depth_ == 1 && base_ == 0 && key_ == "features") {
    base_ = 2;
    record_.clear();
    recording_ = false;
  } else if (depth_ == base_) {
    recording_ = true;  // an array in the place of an object too, so that it is refused
  }
  Keep(c);
  ++depth_;
}

void JsonRecordCutter::Close(char c, std::string* lines) {
  Keep(c);
  if (depth_ > 0) --depth_;
  if (depth_ == base_ && recording_) Emit(lines);
  // A collection's or an array's end: what follows is read as from the start.
  if (c == ']' && depth_ < base_) base_ = 0;
}

void JsonRecordCutter::Take(char c, std::string* lines) {
  if (scalar_ && !in_string_ && (c == ',' || c == ']' || c == '}' || c == '{' || c == '[')) Emit(lines);
  if (base_ > 0 && depth_ == base_ && !recording_ && !in_string_ && !IsBetweenRecords(c) &&
      std::string_view("{}[]").find(c) == std::string_view::npos) {
    scalar_ = recording_ = true;
  }
  if (garbage_) {
    if (c == '\n') {
      Emit(lines);
    } else {
      Keep(c);
    }
  } else if (in_string_) {
    TakeInString(c);
  } else if (c == '{' || c == '[') {
    Open(c);
  } else if (c == '}' || c == ']') {
    Close(c, lines);
  } else if (c == '"') {
    in_string_ = true;
    last_string_.clear();
    Keep(c);
  } else if (c == ':') {
    if (depth_ == 1) key_ = last_string_;
    Keep(c);
  } else if (recording_ || depth_ > 0) {
    Keep(c);
  } else if (!IsBetweenRecords(c)) {
    garbage_ = true;
    recording_ = true;
    Keep(c);
  }
}

}  // namespace orbmath_tool
