// Strings and numbers of JSON (RFC 8259).

#include "report/json.h"

#include <cmath>
#include <cstdio>

#include "frame/zxstd/encoding.h"
#include "frame/zxstd/number_text.h"

namespace orbmath_tool {

std::string JsonString(std::string_view text) {
  std::string quoted = "\"";
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = SatCommonUtils::ZxUtf8Size(text.substr(at));
    const char c = text[at];
    if (length == 0) {
      quoted += "\\ufffd";
    } else if (c == '"' || c == '\\') {
      quoted += {'\\', c};
    } else if (static_cast<unsigned char>(c) < 0x20) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
      quoted += escape;
    } else {
      quoted += text.substr(at, length);
    }
    at += length == 0 ? 1 : length;
  }
  return quoted + '"';
}

std::string JsonNumber(double value) { return std::isfinite(value) ? SatCommonUtils::FormatDouble(value) : "null"; }

JsonWriter& JsonWriter::Key(std::string_view key) {
  Separate();
  text_ += JsonString(key) + ':';
  follows_ = false;
  return *this;
}

JsonWriter& JsonWriter::Raw(std::string_view json) {
  Separate();
  text_ += json;
  follows_ = true;
  return *this;
}

JsonWriter& JsonWriter::Open(char bracket) {
  Separate();
  text_ += bracket;
  follows_ = false;
  return *this;
}

JsonWriter& JsonWriter::Close(char bracket) {
  text_ += bracket;
  follows_ = true;
  return *this;
}

void JsonWriter::Separate() {
  if (follows_) text_ += ',';
}

}  // namespace orbmath_tool
