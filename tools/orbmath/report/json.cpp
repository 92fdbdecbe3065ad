#include "report/json.h"

#include <cmath>
#include <cstdio>

#include "frame/zxstd/number_text.h"

namespace orbmath_tool {

namespace {

/// Length of the UTF-8 sequence at the front of `text`, or 0 when there is none (overlong forms and surrogates too).
std::size_t SequenceLength(std::string_view text) {
  const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(0);
  const std::size_t length = lead < 0x80   ? 1
                             : lead < 0xC2 ? 0
                             : lead < 0xE0 ? 2
                             : lead < 0xF0 ? 3
                             : lead < 0xF5 ? 4
                                           : 0;
  if (length == 0 || length > text.size()) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
  }
  const bool bad_second = length > 1 && ((lead == 0xE0 && byte(1) < 0xA0) || (lead == 0xED && byte(1) > 0x9F) ||
                                         (lead == 0xF0 && byte(1) < 0x90) || (lead == 0xF4 && byte(1) > 0x8F));
  return bad_second ? 0 : length;
}

}  // namespace

std::string JsonString(std::string_view text) {
  std::string quoted = "\"";
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = SequenceLength(text.substr(at));
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

}  // namespace orbmath_tool
