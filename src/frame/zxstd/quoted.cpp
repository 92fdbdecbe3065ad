// Pieces of files made fit for a message: short, and without control characters.

#include "frame/zxstd/quoted.h"

#include "frame/zxstd/xml_text.h"

namespace SatCommonUtils {

std::string Quoted(std::string_view text) {
  constexpr std::size_t kLongest = 80;
  std::string quoted = "\"";
  while (!text.empty() && quoted.size() <= kLongest) {
    const std::size_t size = XmlCharacterSize(text);
    const auto first = static_cast<unsigned char>(text[0]);
    if (size == 0 || first < ' ' || first == 0x7F) {
      quoted += '?';
    } else {
      quoted += text.substr(0, size);
    }
    text.remove_prefix(size == 0 ? 1 : size);
  }
  return quoted + (text.empty() ? "\"" : "...\"");
}

}  // namespace SatCommonUtils
