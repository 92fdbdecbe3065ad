// A reader of JSON (RFC 8259) for small documents.

#include "rpc/forms/json_values.h"

#include "frame/zxstd/encoding.h"
#include "frame/zxstd/number_text.h"

namespace SatCommonUtils {

namespace RPCForms {

namespace {

// A document of model numbers is flat; the limits keep hostile ones from using the stack or the memory.
constexpr std::size_t kMaxDepth = 64;
constexpr std::size_t kMaxValues = 200000;

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

}  // namespace

bool JsonValues::Parse(std::string_view text) {
  text_ = text;
  SkipBlanks();
  if (!ParseValue(std::string())) return false;
  SkipBlanks();
  return position_ == text_.size() || Refuse("something follows the end of the document");
}

std::size_t JsonValues::Member(std::size_t index, std::string_view name) const {
  if (index >= values_.size() || values_[index].kind != JsonKind::Object) return values_.size();
  for (std::size_t i = index + 1; i < values_[index].end; i = values_[i].end) {
    if (values_[i].key == name) return i;
  }
  return values_.size();
}

bool JsonValues::ParseValue(std::string key) {
  if (values_.size() >= kMaxValues) return Refuse("there are too many values for a model file");
  if (depth_ >= kMaxDepth) return Refuse("values are nested too deeply");
  const std::size_t index = values_.size();
  const char open = Peek();
  values_.emplace_back();
  values_[index].key = std::move(key);
  values_[index].line = line_;
  if (open != '{' && open != '[') {
    values_[index].end = index + 1;
    return ParseScalar(&values_[index]);
  }
  values_[index].kind = open == '{' ? JsonKind::Object : JsonKind::Array;
  const char close = open == '{' ? '}' : ']';
  ++position_;
  ++depth_;
  SkipBlanks();
  bool more = Peek() != close;
  while (more) {
    std::string name;
    if (open == '{') {
      if (!ParseString(&name)) return false;
      SkipBlanks();
      if (Peek() != ':') return Refuse("a colon is missing behind a name");
      ++position_;
      SkipBlanks();
    }
    if (!ParseValue(std::move(name))) return false;
    SkipBlanks();
    more = Peek() == ',';
    if (!more && Peek() != close) return Refuse("a comma or a closing bracket is missing");
    if (more) ++position_;
    SkipBlanks();
  }
  ++position_;
  --depth_;
  values_[index].end = values_.size();
  return true;
}

bool JsonValues::ParseScalar(JsonValue* value) {
  if (Peek() == '"') {
    value->kind = JsonKind::String;
    return ParseString(&value->text);
  }
  const std::size_t stop = text_.find_first_of(" \t\r\n,:[]{}\"", position_);
  const std::string_view word = text_.substr(position_, stop - position_);
  position_ += word.size();
  value->text = std::string(word.substr(0, 64));
  if (word == "null" || word == "true" || word == "false") {
    value->kind = word == "null" ? JsonKind::Null : JsonKind::Bool;
    return true;
  }
  value->kind = JsonKind::Number;
  // Python writes NaN and Infinity, which are no JSON; the record's check refuses them with their key.
  return ParseDouble(word, &value->number) || Refuse("a value is no JSON");
}

bool JsonValues::ParseString(std::string* text) {
  if (Peek() != '"') return Refuse("a name in quotes is missing");
  for (++position_; position_ < text_.size(); ++position_) {
    const char c = text_[position_];
    if (c == '"') {
      ++position_;
      return true;
    }
    if (static_cast<unsigned char>(c) < 0x20) break;
    if (c != '\\') {
      *text += c;
    } else if (!ParseEscape(text)) {
      return false;
    }
  }
  return Refuse("a text in quotes does not end on its line");
}

// At a backslash; stands on the last character of the escape afterwards.
bool JsonValues::ParseEscape(std::string* text) {
  ++position_;
  constexpr std::string_view kEscapes = "\"\\/bfnrt";
  constexpr std::string_view kMeanings = "\"\\/\b\f\n\r\t";
  const std::size_t known = position_ < text_.size() ? kEscapes.find(text_[position_]) : std::string_view::npos;
  if (known != std::string_view::npos) {
    *text += kMeanings[known];
    return true;
  }
  std::uint32_t code = 0;
  if (!ParseUnit(&code)) return false;
  if (code >= 0xD800 && code < 0xDC00) {
    // The first half of a character beyond U+FFFF; its twin follows (RFC 8259, section 7).
    std::uint32_t low = 0;
    if (text_.substr(position_ + 1, 1) != "\\") return Refuse("half a character");
    position_ += 2;
    if (!ParseUnit(&low)) return false;
    if (low < 0xDC00 || low > 0xDFFF) return Refuse("half a character");
    code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
  } else if (code >= 0xDC00 && code < 0xE000) {
    return Refuse("half a character");
  }
  ZxAppendUtf8(code, text);
  return true;
}

// At the letter of an escape by number; stands on its last digit afterwards.
bool JsonValues::ParseUnit(std::uint32_t* unit) {
  if (Peek() != 'u' || position_ + 4 >= text_.size()) return Refuse("a backslash begins no escape");
  for (int i = 0; i < 4; ++i) {
    const int digit = HexDigit(text_[++position_]);
    if (digit < 0) return Refuse("a backslash begins no escape");
    *unit = *unit * 16 + static_cast<std::uint32_t>(digit);
  }
  return true;
}

bool JsonValues::Refuse(const char* what) {
  fault_ = what;
  return false;
}

void JsonValues::SkipBlanks() {
  for (; position_ < text_.size(); ++position_) {
    const char c = text_[position_];
    if (c == '\n') ++line_;
    if (c != ' ' && c != '\t' && c != '\r' && c != '\n') return;
  }
}

}  // namespace RPCForms

}  // namespace SatCommonUtils
