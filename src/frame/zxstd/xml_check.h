#pragma once
// What makes a text well-formed XML beyond what the parser looks at.

#include <cstddef>
#include <string>
#include <string_view>

namespace SatCommonUtils {

/// Where a text is no XML, and why.
struct XmlFault {
  std::size_t offset;
  std::string text;
};

/// The document as UTF-8 without a byte order mark: from UTF-16 and UTF-32 with a mark or as the first "<" shows them,
/// and from Latin-1 when the declaration says so; other texts unchanged. \throws XmlFault for a text of half units.
std::string XmlToUtf8(std::string text);

/// Looks at what the parser passes over: characters that are no UTF-8 or no XML, text outside of the root element,
/// unknown entities and lone ampersands, a "<" in a value, an attribute given twice, attributes without a blank between
/// them. Time linear in the text, but for sorting the attributes of a tag. \throws XmlFault for the first fault.
void CheckXml(std::string_view xml);

}  // namespace SatCommonUtils
