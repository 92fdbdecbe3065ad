#pragma once
// Characters of XML 1.0 texts, shared by the writers of documents and of element trees.

#include <string>
#include <string_view>

namespace SatCommonUtils {

/// Bytes at the front of `text` that form one character which XML can hold: valid UTF-8, and no control character
/// other than tab, line feed and carriage return. 0 when there is no such character.
std::size_t XmlCharacterSize(std::string_view text);

/// True when XML can hold the whole text.
bool IsXmlText(std::string_view text);

/// True when the text can be the name of an element or an attribute.
bool IsXmlName(std::string_view text);

/// Appends element content that a parser gives back as `text`, which must be an XML text.
void AppendXmlContent(std::string_view text, std::string* xml);

/// As above, on one line: no handling of line ends or blanks, by a parser or by a program on the way, can change it.
void AppendXmlLine(std::string_view text, std::string* xml);

/// Appends a quoted attribute value that a parser gives back as `text`, which must be an XML text.
void AppendXmlAttributeValue(std::string_view text, std::string* xml);

}  // namespace SatCommonUtils
