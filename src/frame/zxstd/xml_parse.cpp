#include "frame/zxstd/xml_parse.h"

#include <algorithm>

#include "frame/zxstd/message.h"

namespace SatCommonUtils {

namespace {

[[noreturn]] void Throw(std::size_t line, const std::string& what) {
  throw TZxMessage((line == 0 ? std::string() : "line " + std::to_string(line) + ": ") + what);
}

}  // namespace

ParsedXml::ParsedXml(const std::string& xml, unsigned int options) {
  const pugi::xml_parse_result parsed = document_.load_buffer(xml.data(), xml.size(), options);
  lines_known_ = parsed.encoding == pugi::encoding_utf8;
  for (std::size_t end = xml.find('\n'); lines_known_ && end != std::string::npos; end = xml.find('\n', end + 1)) {
    line_ends_.push_back(static_cast<std::ptrdiff_t>(end));
  }
  if (!parsed) Throw(LineAt(parsed.offset), parsed.description());
  for (pugi::xml_node next = Root().next_sibling(); next; next = next.next_sibling()) {
    if (next.type() == pugi::node_element) Refuse(next, "there is a second root element");
  }
}

std::size_t ParsedXml::Line(pugi::xml_node element) const { return LineAt(element.offset_debug()); }

void ParsedXml::Refuse(pugi::xml_node element, const std::string& what) const { Throw(Line(element), what); }

std::size_t ParsedXml::LineAt(std::ptrdiff_t offset) const {
  if (!lines_known_ || offset < 0) return 0;
  const auto end = std::lower_bound(line_ends_.begin(), line_ends_.end(), offset);
  return static_cast<std::size_t>(end - line_ends_.begin()) + 1;
}

}  // namespace SatCommonUtils
