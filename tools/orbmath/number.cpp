#include "number.h"

#include <algorithm>
#include <charconv>

namespace orbmath_tool {

char* PrintFixed(double value, int digits, char* to) {
  char* end = std::to_chars(to, to + kNumberBytes, value, std::chars_format::fixed, digits).ptr;
  // A small negative value that rounds to nothing would print as "-0.000".
  if (*to == '-' && to[1] == '0' && std::all_of(to + 1, end, [](char c) { return c == '0' || c == '.'; })) {
    std::copy(to + 1, end, to);
    --end;
  }
  return end;
}

std::string Fixed(double value, int digits) {
  char text[kNumberBytes];
  return std::string(text, PrintFixed(value, digits, text));
}

std::string PadRight(std::string text, std::size_t width) {
  text.resize(std::max(width, text.size() + 1), ' ');
  return text;
}

std::string PadLeft(const std::string& text, std::size_t width) {
  return std::string(std::max(width, text.size() + 1) - text.size(), ' ') + text;
}

}  // namespace orbmath_tool
