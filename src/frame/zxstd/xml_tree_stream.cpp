// Element trees from and to XML text. Neither direction recurses.

#include <utility>

#include "frame/zxstd/progress_report.h"
#include "frame/zxstd/xml_parse.h"
#include "frame/zxstd/xml_text.h"
#include "frame/zxstd/xml_tree.h"

namespace SatCommonUtils {

namespace {

var_a<TZxXmlTagItem*> NewTag(pugi::xml_node element) {
  var_a<TZxXmlTagItem*> tag = make_var_a<TZxXmlTagItem>(element.name());
  for (const pugi::xml_attribute attribute : element.attributes()) {
    tag->attributes.push_back({attribute.name(), attribute.value()});
  }
  return tag;
}

var_a<TZxXmlTagItem*> BuildTree(const ParsedXml& xml) {
  struct Open {
    TZxXmlTagItem* tag;
    pugi::xml_node next;
  };
  const pugi::xml_node root = xml.Root();
  var_a<TZxXmlTagItem*> tree = NewTag(root);
  std::vector<Open> open = {{tree.get(), root.first_child()}};
  while (!open.empty()) {
    const pugi::xml_node node = open.back().next;
    if (!node) {
      open.pop_back();
      continue;
    }
    open.back().next = node.next_sibling();
    TZxXmlTagItems& items = open.back().tag->items;
    if (node.type() != pugi::node_element) {
      items.push_back_text(node.value());
      continue;
    }
    if (open.size() >= kZxMaxXmlDepth) xml.Refuse(node, "elements are nested too deeply");
    const var_a<TZxXmlTagItem*> tag = NewTag(node);
    items.push_back(tag);
    open.push_back({tag.get(), node.first_child()});
  }
  return tree;
}

// "<name attribute="value"". \return false when XML cannot hold it.
bool AppendTagStart(const TZxXmlTagItem& tag, std::string* xml) {
  if (!IsXmlName(tag.name)) return false;
  xml->append("<").append(tag.name);
  for (std::size_t i = 0; i < tag.attributes.size(); ++i) {
    const TZxXmlTagAttribute& attribute = tag.attributes[i];
    if (!IsXmlName(attribute.name) || !IsXmlText(attribute.value)) return false;
    xml->append(" ").append(attribute.name).append("=");
    AppendXmlAttributeValue(attribute.value, xml);
  }
  xml->append(">");
  return true;
}

// \return false when XML cannot hold the tree.
bool AppendTree(const TZxXmlTagItem& root, std::string* xml) {
  struct Open {
    const TZxXmlTagItem* tag;
    std::size_t next;
  };
  if (!AppendTagStart(root, xml)) return false;
  std::vector<Open> open = {{&root, 0}};
  while (!open.empty()) {
    const TZxXmlTagItem& tag = *open.back().tag;
    if (open.back().next == tag.items.size()) {
      xml->append("</").append(tag.name).append(">");
      open.pop_back();
      continue;
    }
    const TZxXmlItem& item = tag.items[open.back().next++];
    if (const std::string* const text = item.as_text()) {
      if (!IsXmlText(*text)) return false;
      AppendXmlContent(*text, xml);
    } else if (const TZxXmlTagItem* const child = item.as_tag()) {
      if (open.size() >= kZxMaxXmlDepth || !AppendTagStart(*child, xml)) return false;
      open.push_back({child, 0});
    }
  }
  return true;
}

}  // namespace

var_a<TZxXmlTagItem*> ZxReadXmlE(TZxStream* stream, int /*flag*/, TZxProgressHandler* progress) {
  std::string text = ReadXmlTextE(stream, kZxMaxXmlBytes);
  ReportProgressE(progress, 0.5);
  var_a<TZxXmlTagItem*> tree = BuildTree(ParsedXml(std::move(text), pugi::parse_default | pugi::parse_ws_pcdata));
  ReportProgressE(progress, 1.0);
  return tree;
}

var_a<TZxXmlTagItem*> ZxReadXml(TZxStream* stream, int flag, TZxProgressHandler* progress) {
  try {
    return ZxReadXmlE(stream, flag, progress);
  } catch (const TZxMessage&) {
    return nullptr;
  }
}

bool WriteXml(TZxStream* stream, const TZxXmlTagItem* root) {
  if (stream == nullptr || root == nullptr) return false;
  std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
  if (!AppendTree(*root, &xml)) return false;
  xml += '\n';
  return stream->Write(xml.data(), xml.size()) == xml.size();
}

}  // namespace SatCommonUtils
