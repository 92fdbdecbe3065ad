#include "frame/zxstd/xml_text.h"

#include <cstdint>

namespace SatCommonUtils {

namespace {

// The reference for a byte that cannot stand for itself, or null. A parser's line end handling would change a carriage
// return anywhere, and tabs and line feeds in attributes, which stand on one line therefore.
const char* Reference(char c, bool one_line) {
  switch (c) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '\r':
      return "&#13;";
    case '"':
      return one_line ? "&quot;" : nullptr;
    case '\t':
      return one_line ? "&#9;" : nullptr;
    case '\n':
      return one_line ? "&#10;" : nullptr;
    default:
      return nullptr;
  }
}

void AppendEscaped(std::string_view text, bool one_line, std::string* xml) {
  for (const char c : text) {
    const char* const reference = Reference(c, one_line);
    if (reference == nullptr) {
      xml->push_back(c);
    } else {
      xml->append(reference);
    }
  }
}

bool IsNameStart(unsigned char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':' || c >= 0x80;
}

}  // namespace

std::size_t XmlCharacterSize(std::string_view text) {
  if (text.empty()) return 0;
  const auto byte = [&](std::size_t i) { return static_cast<std::uint32_t>(static_cast<unsigned char>(text[i])); };
  const std::uint32_t lead = byte(0);
  if (lead < 0x80) return lead >= 0x20 || lead == '\t' || lead == '\n' || lead == '\r' ? 1 : 0;
  const std::size_t size = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < size) return 0;
  std::uint32_t code = lead & (0x7Fu >> size);
  for (std::size_t i = 1; i < size; ++i) {
    if ((byte(i) & 0xC0u) != 0x80u) return 0;
    code = (code << 6) | (byte(i) & 0x3Fu);
  }
  const std::uint32_t least = size == 4 ? 0x10000 : size == 3 ? 0x800 : 0x80;
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  if (code < least || code > 0x10FFFF || surrogate || code == 0xFFFE || code == 0xFFFF) return 0;
  return size;
}

bool IsXmlText(std::string_view text) {
  while (!text.empty()) {
    const std::size_t size = XmlCharacterSize(text);
    if (size == 0) return false;
    text.remove_prefix(size);
  }
  return true;
}

bool IsXmlName(std::string_view text) {
  if (text.empty() || !IsNameStart(static_cast<unsigned char>(text[0])) || !IsXmlText(text)) return false;
  for (const char c : text) {
    const bool later = (c >= '0' && c <= '9') || c == '-' || c == '.';
    if (!later && !IsNameStart(static_cast<unsigned char>(c))) return false;
  }
  return true;
}

void AppendXmlContent(std::string_view text, std::string* xml) { AppendEscaped(text, false, xml); }

void AppendXmlLine(std::string_view text, std::string* xml) { AppendEscaped(text, true, xml); }

void AppendXmlAttributeValue(std::string_view text, std::string* xml) {
  xml->push_back('"');
  AppendXmlLine(text, xml);
  xml->push_back('"');
}

}  // namespace SatCommonUtils
