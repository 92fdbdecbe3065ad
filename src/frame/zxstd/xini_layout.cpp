// Names and escapes of the XML layout of sections and items.

#include "frame/zxstd/xini_layout.h"

#include <charconv>
#include <system_error>

#include "frame/zxstd/xml_text.h"

namespace SatCommonUtils {

namespace XIniLayout {

std::string EscapePercent(std::string_view text) {
  static const char* const kDigits = "0123456789ABCDEF";
  std::string escaped;
  while (!text.empty()) {
    const std::size_t size = text[0] == '%' ? 0 : XmlCharacterSize(text);
    if (size == 0) {
      const auto byte = static_cast<unsigned char>(text[0]);
      escaped.append({'%', kDigits[byte / 16], kDigits[byte % 16]});
    } else {
      escaped.append(text.substr(0, size));
    }
    text.remove_prefix(size == 0 ? 1 : size);
  }
  return escaped;
}

bool UnescapePercent(std::string_view text, std::string* plain) {
  plain->clear();
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      plain->push_back(text[i]);
      continue;
    }
    const std::string_view digits = text.substr(i + 1, 2);
    unsigned int byte = 0;
    const char* const end = digits.data() + digits.size();
    const std::from_chars_result result = std::from_chars(digits.data(), end, byte, 16);
    if (digits.size() != 2 || result.ec != std::errc() || result.ptr != end) return false;
    plain->push_back(static_cast<char>(byte));
    i += 2;
  }
  return true;
}

}  // namespace XIniLayout

}  // namespace SatCommonUtils
