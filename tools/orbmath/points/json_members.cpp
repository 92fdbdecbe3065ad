// A scanner of JSON (RFC 8259) that keeps values as they stand, and the flat view of GeoJSON's features (RFC 7946).

#include "points/json_members.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "frame/zxstd/encoding.h"

namespace orbmath_tool {

namespace {

constexpr std::array<std::string_view, 3> kCoordinates = {"lon", "lat", "height"};
/// Objects and arrays within one another beyond which a record is refused.
constexpr int kDeepest = 64;

/// Reads one value after the other off the front of a text.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_(text) {}

  bool AtEnd() {
    SkipBlanks();
    return at_ == text_.size();
  }
  bool Take(char c) {
    SkipBlanks();
    if (at_ == text_.size() || text_[at_] != c) return false;
    ++at_;
    return true;
  }
  /// A string with its quotes.
  bool TakeString(std::string_view* string) {
    SkipBlanks();
    const std::size_t begin = at_;
    if (at_ == text_.size() || text_[at_++] != '"') return false;
    for (; at_ < text_.size(); ++at_) {
      if (text_[at_] == '\\') {
        ++at_;
      } else if (text_[at_] == '"') {
        *string = text_.substr(begin, ++at_ - begin);
        return true;
      }
    }
    return false;
  }
  /// Any value as it stands.
  bool TakeValue(std::string_view* value, int depth = 0) {
    SkipBlanks();
    const std::size_t begin = at_;
    if (at_ == text_.size() || depth > kDeepest) return false;
    std::string_view part;
    const char first = text_[at_];
    const bool good = first == '"'   ? TakeString(&part)
                      : first == '{' ? TakeList('}', true, depth)
                      : first == '[' ? TakeList(']', false, depth)
                                     : TakeWord();
    *value = text_.substr(begin, at_ - begin);
    return good;
  }

 private:
  void SkipBlanks() {
    while (at_ < text_.size() && (text_[at_] == ' ' || text_[at_] == '\t' || text_[at_] == '\r' || text_[at_] == '\n'))
      ++at_;
  }
  /// A number, true, false or null; whether a number is one is seen when it is read.
  bool TakeWord() {
    const std::size_t end = std::min(text_.find_first_of(",]} \t\r\n", at_), text_.size());
    const std::string_view word = text_.substr(at_, end - at_);
    at_ = end;
    return word == "true" || word == "false" || word == "null" ||
           (!word.empty() && word.find_first_not_of("+-.0123456789eE") == std::string_view::npos);
  }
  bool TakeList(char close, bool keys, int depth) {
    ++at_;
    if (Take(close)) return true;
    do {
      std::string_view part;
      if (keys && !(TakeString(&part) && Take(':'))) return false;
      if (!TakeValue(&part, depth + 1)) return false;
    } while (Take(','));
    return Take(close);
  }

  std::string_view text_;
  std::size_t at_ = 0;
};

bool SplitObject(std::string_view object, std::vector<JsonMember>* members) {
  Scanner scanner(object);
  if (!scanner.Take('{')) return false;
  if (scanner.Take('}')) return scanner.AtEnd();
  do {
    JsonMember member;
    if (!scanner.TakeString(&member.key) || !scanner.Take(':') || !scanner.TakeValue(&member.value)) return false;
    member.key = member.key.substr(1, member.key.size() - 2);
    members->push_back(member);
  } while (scanner.Take(','));
  return scanner.Take('}') && scanner.AtEnd();
}

std::string_view Find(const std::vector<JsonMember>& members, std::string_view key) {
  for (const JsonMember& member : members) {
    if (member.key == key) return member.value;
  }
  return {};
}

/// Appends longitude, latitude and height of a geometry.
bool AddCoordinates(std::string_view geometry, std::vector<JsonMember>* members) {
  std::vector<JsonMember> parts;
  if (!SplitObject(geometry, &parts) || Find(parts, "type") != "\"Point\"") return false;
  Scanner scanner(Find(parts, "coordinates"));
  if (!scanner.Take('[')) return false;
  std::size_t count = 0;
  do {
    std::string_view value;
    if (!scanner.TakeValue(&value)) return false;
    if (count < kCoordinates.size()) members->push_back({kCoordinates[count], value});
    ++count;
  } while (scanner.Take(','));
  return count >= 2;
}

/// Four hexadecimal digits at `at`. \return false when there are none.
bool ReadHex(std::string_view text, std::size_t at, std::uint32_t* code) {
  if (at + 4 > text.size()) return false;
  *code = 0;
  for (const char c : text.substr(at, 4)) {
    const int digit = c >= '0' && c <= '9'                     ? c - '0'
                      : (c | 0x20) >= 'a' && (c | 0x20) <= 'f' ? (c | 0x20) - 'a' + 10
                                                               : -1;
    if (digit < 0) return false;
    *code = 16 * *code + static_cast<std::uint32_t>(digit);
  }
  return true;
}

/// Appends the character of an escape "\\uXXXX" whose digits begin at `*at`, which moves behind them; a pair of
/// surrogates is one character, half a pair U+FFFD.
void AppendEscaped(std::string_view text, std::size_t* at, std::string* plain) {
  std::uint32_t code = 0xFFFD;
  std::uint32_t low = 0;
  if (ReadHex(text, *at, &code)) *at += 4;
  if (code >= 0xD800 && code < 0xDC00 && text.substr(*at, 2) == "\\u" && ReadHex(text, *at + 2, &low) &&
      low >= 0xDC00 && low < 0xE000) {
    *at += 6;
    code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
  } else if (code >= 0xD800 && code < 0xE000) {
    code = 0xFFFD;
  }
  SatCommonUtils::ZxAppendUtf8(code, plain);
}

}  // namespace

bool SplitRecord(std::string_view record, std::vector<JsonMember>* members, std::string* reason) {
  members->clear();
  if (!SplitObject(record, members)) {
    *reason = "this is no JSON object";
    return false;
  }
  if (Find(*members, "type") != "\"Feature\"") return true;
  const std::vector<JsonMember> feature = *members;
  members->clear();
  const std::string_view properties = Find(feature, "properties");
  if (!AddCoordinates(Find(feature, "geometry"), members) ||
      (!properties.empty() && properties != "null" && !SplitObject(properties, members))) {
    *reason = "this feature is no point";
    return false;
  }
  const std::string_view id = Find(feature, "id");
  if (!id.empty() && Find(*members, "id").empty()) members->push_back({"id", id});
  return true;
}

std::string TextOfJson(std::string_view value) {
  if (value == "null") return "";
  if (value.size() < 2 || value.front() != '"') return std::string(value);
  value = value.substr(1, value.size() - 2);
  std::string plain;
  for (std::size_t at = 0; at < value.size();) {
    const char c = value[at++];
    if (c != '\\' || at == value.size()) {
      plain += c;
      continue;
    }
    const char escape = value[at++];
    switch (escape) {
      case 'b':
        plain += '\b';
        break;
      case 'f':
        plain += '\f';
        break;
      case 'n':
        plain += '\n';
        break;
      case 'r':
        plain += '\r';
        break;
      case 't':
        plain += '\t';
        break;
      case 'u':
        AppendEscaped(value, &at, &plain);
        break;
      default:
        plain += escape;
    }
  }
  return plain;
}

}  // namespace orbmath_tool
