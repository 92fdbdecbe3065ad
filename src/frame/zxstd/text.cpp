// Formatting, trimming and changing case as the C locale does it, whatever the process has set.

#include "frame/zxstd/text.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include "frame/zxstd/c_locale.h"

namespace Zentarix {

std::string ssprintf(const char* format, ...) {
  const SatCommonUtils::ScopedCLocale c_locale;
  std::va_list arguments;
  va_start(arguments, format);
  std::va_list again;
  va_copy(again, arguments);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): it is initialized; the check errs when it runs over many files
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  va_end(arguments);
  std::string text;
  if (length > 0) {
    text.resize(static_cast<std::size_t>(length) + 1);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): as above
    std::vsnprintf(&text[0], text.size(), format, again);
    text.pop_back();
  }
  va_end(again);
  return text;
}

}  // namespace Zentarix

namespace SatCommonUtils {

std::string trim(const std::string& text) {
  const char* blanks = " \t\r\n\v\f";
  const std::size_t first = text.find_first_not_of(blanks);
  if (first == std::string::npos) return std::string();
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string toupper(const std::string& text) {
  std::string upper = text;
  std::transform(upper.begin(), upper.end(), upper.begin(),
                 [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
  return upper;
}

}  // namespace SatCommonUtils
