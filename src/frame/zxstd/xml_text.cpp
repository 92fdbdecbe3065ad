// Which bytes XML 1.0 can hold, and references for those that need one.

#include "frame/zxstd/xml_text.h"

#include "frame/zxstd/encoding.h"

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
  const std::size_t size = ZxUtf8Size(text);
  if (size == 1) return text[0] >= 0x20 || text[0] == '\t' || text[0] == '\n' || text[0] == '\r' ? 1 : 0;
  // U+FFFE and U+FFFF
  return text.substr(0, size) == "\xEF\xBF\xBE" || text.substr(0, size) == "\xEF\xBF\xBF" ? 0 : size;
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
