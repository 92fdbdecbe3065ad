// XML text to a parsed document. The parser is lenient; xml_check.h looks at what it passes over.

#include "frame/zxstd/xml_parse.h"

#include <algorithm>
#include <utility>

#include "frame/zxstd/message.h"
#include "frame/zxstd/xml_check.h"

namespace SatCommonUtils {

namespace {

[[noreturn]] void Throw(std::size_t line, const std::string& what) {
  throw TZxMessage((line == 0 ? std::string() : "line " + std::to_string(line) + ": ") + what);
}

}  // namespace

std::string ReadXmlTextE(TZxStream* stream, std::size_t limit) {
  std::string text;
  if (ZxReadAll(stream, &text, limit)) return text;
  if (stream == nullptr || stream->ReadFailed()) throw TZxMessage("the stream cannot be read");
  throw TZxMessage("the XML text is longer than " + std::to_string(limit >> 20) + " MiB");
}

ParsedXml::ParsedXml(std::string text, unsigned int options) {
  std::string xml;
  try {
    xml = XmlToUtf8(std::move(text));
    for (std::size_t end = xml.find('\n'); end != std::string::npos; end = xml.find('\n', end + 1)) {
      line_ends_.push_back(static_cast<std::ptrdiff_t>(end));
    }
    CheckXml(xml);
  } catch (const XmlFault& fault) {
    Throw(LineAt(static_cast<std::ptrdiff_t>(fault.offset)), fault.text);
  }
  const pugi::xml_parse_result parsed = document_.load_buffer(xml.data(), xml.size(), options, pugi::encoding_utf8);
  if (!parsed) Throw(LineAt(parsed.offset), parsed.description());
  for (pugi::xml_node next = Root().next_sibling(); next; next = next.next_sibling()) {
    if (next.type() == pugi::node_element) Refuse(next, "there is a second root element");
  }
}

std::size_t ParsedXml::Line(pugi::xml_node element) const { return LineAt(element.offset_debug()); }

void ParsedXml::Refuse(pugi::xml_node element, const std::string& what) const { Throw(Line(element), what); }

std::size_t ParsedXml::LineAt(std::ptrdiff_t offset) const {
  if (offset < 0) return 0;
  const auto end = std::lower_bound(line_ends_.begin(), line_ends_.end(), offset);
  return static_cast<std::size_t>(end - line_ends_.begin()) + 1;
}

}  // namespace SatCommonUtils
