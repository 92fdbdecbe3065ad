// Elements of a vendor's XML by name.

#include "rpc/forms/xml_elements.h"

#include <cmath>
#include <cstring>

#include "frame/zxstd/number_text.h"

namespace SatCommonUtils {

namespace RPCForms {

pugi::xml_node XmlElements::Find(pugi::xml_node from, const char* name) {
  // A walk by links, not a recursion: a hostile document is nested as deeply as it is long.
  pugi::xml_node node = from.first_child();
  while (node && node != from) {
    if (node.type() == pugi::node_element && std::strcmp(node.name(), name) == 0) return node;
    if (node.first_child()) {
      node = node.first_child();
      continue;
    }
    while (node != from && !node.next_sibling()) node = node.parent();
    if (node != from) node = node.next_sibling();
  }
  return {};
}

std::optional<std::string> XmlElements::Text(pugi::xml_node from, const char* name) {
  const std::string text(Trimmed(Find(from, name).text().get()));
  return text.empty() ? std::nullopt : std::make_optional(text);
}

std::optional<double> XmlElements::Number(pugi::xml_node from, const char* name) {
  double number = 0.0;
  const std::optional<std::string> text = Text(from, name);
  if (!text || !ParseDouble(*text, &number) || !std::isfinite(number)) return std::nullopt;
  return number;
}

std::optional<int> XmlElements::Count(pugi::xml_node from, const char* name) {
  int count = 0;
  const std::optional<std::string> text = Text(from, name);
  if (!text || !ParseInt(*text, &count) || count <= 0) return std::nullopt;
  return count;
}

KeyLookup XmlElements::ChildrenOf(pugi::xml_node parent) const {
  return [this, parent](const std::string& key) -> std::optional<KeyedText> {
    const pugi::xml_node child = parent.child(key.c_str());
    if (!child) return std::nullopt;
    return KeyedText{child.text().get(), Line(child)};
  };
}

}  // namespace RPCForms

}  // namespace SatCommonUtils
