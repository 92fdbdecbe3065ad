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

}  // namespace orbmath_tool
