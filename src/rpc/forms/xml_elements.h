#pragma once
// Elements of a vendor's XML by name, with their lines for messages.

#include <optional>
#include <string>

#include "frame/zxstd/xml_parse.h"
#include "rpc/forms/forms.h"

namespace SatCommonUtils {

namespace RPCForms {

/// A parsed document.
class XmlElements {
 public:
  /// \throws TZxMessage when the content is not well-formed.
  explicit XmlElements(const std::string& content) : parsed_(content, pugi::parse_default) {}

  pugi::xml_node Root() const { return parsed_.Root(); }
  std::size_t Line(pugi::xml_node element) const { return parsed_.Line(element); }

  /// The first element of that name below `from`, at any depth, in document order; empty when there is none.
  static pugi::xml_node Find(pugi::xml_node from, const char* name);
  /// Text of the first element of that name below `from`; nothing when there is none or it has no text.
  static std::optional<std::string> Text(pugi::xml_node from, const char* name);
  /// Number of that element; nothing when there is none or it is no finite number.
  static std::optional<double> Number(pugi::xml_node from, const char* name);
  /// The same for a whole number above 0.
  static std::optional<int> Count(pugi::xml_node from, const char* name);

  /// Looks keys up among the children of `parent`.
  KeyLookup ChildrenOf(pugi::xml_node parent) const;

 private:
  ParsedXml parsed_;
};

}  // namespace RPCForms

}  // namespace SatCommonUtils
