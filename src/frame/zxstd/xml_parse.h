#pragma once
// XML text to a parsed document, and where in the text its elements stand.

#include <cstddef>
#include <pugixml.hpp>
#include <string>
#include <vector>

#include "frame/zxstd/stream.h"

namespace SatCommonUtils {

/// All that is left of a stream. \throws TZxMessage when it cannot be read or is longer than `limit` bytes.
std::string ReadXmlTextE(TZxStream* stream, std::size_t limit);

/// A well-formed XML text with one root element.
class ParsedXml {
 public:
  /// \param options parse flags of pugixml. \throws TZxMessage when the text is not well-formed.
  ParsedXml(std::string text, unsigned int options);

  pugi::xml_node Root() const { return document_.document_element(); }
  /// Line, from 1, of an element; 0 when it is not known.
  std::size_t Line(pugi::xml_node element) const;
  /// Throws a message that begins with the element's line.
  [[noreturn]] void Refuse(pugi::xml_node element, const std::string& what) const;

 private:
  std::size_t LineAt(std::ptrdiff_t offset) const;

  pugi::xml_document document_;
  std::vector<std::ptrdiff_t> line_ends_;  // where the line feeds of the text are, as UTF-8
};

}  // namespace SatCommonUtils
