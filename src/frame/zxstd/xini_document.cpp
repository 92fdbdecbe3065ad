// The flat memory of a document: adding sections and items, and finding keys in n log n steps.

#include "frame/zxstd/xini_document.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include "frame/zxstd/message.h"
#include "frame/zxstd/number_text.h"
#include "frame/zxstd/text.h"
#include "frame/zxstd/xini_layout.h"
#include "frame/zxstd/xml_parse.h"

namespace SatCommonUtils {

namespace {

constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();

// Turns the elements of a parsed XML text into nodes, level by level, so that no depth of nesting uses the stack.
class DocumentBuilder {
 public:
  explicit DocumentBuilder(std::string xml)
      : xml_(std::move(xml), pugi::parse_default | pugi::parse_ws_pcdata_single) {}

  std::vector<XIniNode> Build() {
    AddRoot();
    for (std::size_t i = 0; i < nodes_.size(); ++i) {
      if (nodes_[i].is_section) AddChildren(static_cast<std::uint32_t>(i));
    }
    return std::move(nodes_);
  }

 private:
  void AddRoot() {
    const pugi::xml_node root = xml_.Root();
    if (std::strcmp(root.name(), XIniLayout::kRoot) != 0) {
      xml_.Refuse(root, "the root element is \"" + std::string(root.name()) + "\", not \"" + XIniLayout::kRoot + "\"");
    }
    const pugi::xml_attribute version = root.attribute(XIniLayout::kVersion);
    int number = XIniLayout::kCurrentVersion;
    if (version && !ParseInt(version.value(), &number)) xml_.Refuse(root, "the version of the document is no number");
    if (number != XIniLayout::kCurrentVersion) xml_.Refuse(root, "the document is of an unknown version");
    XIniNode node;
    node.is_section = true;
    Push(root, std::move(node), 0);
  }

  void Push(pugi::xml_node element, XIniNode node, std::uint32_t depth) {
    nodes_.push_back(std::move(node));
    elements_.push_back(element);
    depths_.push_back(depth);
  }

  void AddChildren(std::uint32_t parent) {
    const std::size_t first = nodes_.size();
    for (const pugi::xml_node child : elements_[parent].children()) {
      if (child.type() == pugi::node_element) {
        AddElement(child, parent);
      } else if (!trim(child.value()).empty()) {
        xml_.Refuse(elements_[parent], "a section holds a text of its own");
      }
    }
    if (nodes_.size() >= kNone) xml_.Refuse(elements_[parent], "the document has too many sections and items");
    nodes_[parent].first_child = static_cast<std::uint32_t>(first);
    nodes_[parent].child_count = static_cast<std::uint32_t>(nodes_.size() - first);
  }

  void AddElement(pugi::xml_node element, std::uint32_t parent) {
    const bool is_section = std::strcmp(element.name(), XIniLayout::kSection) == 0;
    if (!is_section && std::strcmp(element.name(), XIniLayout::kItem) != 0) {
      xml_.Refuse(element, "\"" + std::string(element.name()) + "\" is neither a section nor an item");
    }
    const pugi::xml_attribute name = element.attribute(XIniLayout::kName);
    if (!name) xml_.Refuse(element, "\"" + std::string(element.name()) + "\" has no name");
    const std::uint32_t depth = depths_[parent] + 1;
    if (is_section && depth > XIniLayout::kMaxDepth) xml_.Refuse(element, "sections are nested too deeply");
    XIniNode node;
    node.is_section = is_section;
    node.parent = parent;
    node.key = name.value();
    node.line = SourceLine(element);
    if (!is_section) node.text = ItemText(element);
    if (const pugi::xml_attribute escape = element.attribute(XIniLayout::kEscape)) Unescape(element, escape, &node);
    Push(element, std::move(node), depth);
  }

  std::uint32_t SourceLine(pugi::xml_node element) const {
    unsigned long long line = xml_.Line(element);
    if (const pugi::xml_attribute source = element.attribute(XIniLayout::kLine)) ParseUnsigned(source.value(), &line);
    return line < kNone ? static_cast<std::uint32_t>(line) : 0;
  }

  // A comment may divide the text of an item.
  std::string ItemText(pugi::xml_node element) const {
    std::string text;
    for (const pugi::xml_node child : element.children()) {
      if (child.type() == pugi::node_element) xml_.Refuse(child, "an item holds an element");
      text += child.value();
    }
    return text;
  }

  void Unescape(pugi::xml_node element, pugi::xml_attribute escape, XIniNode* node) const {
    if (std::strcmp(escape.value(), XIniLayout::kPercent) != 0) xml_.Refuse(element, "unknown kind of escape");
    const std::string key = std::move(node->key);
    const std::string text = std::move(node->text);
    if (!XIniLayout::UnescapePercent(key, &node->key) || !XIniLayout::UnescapePercent(text, &node->text)) {
      xml_.Refuse(element, "a percent sign without two hexadecimal digits");
    }
  }

  ParsedXml xml_;
  std::vector<XIniNode> nodes_;
  std::vector<pugi::xml_node> elements_;
  std::vector<std::uint32_t> depths_;
};

}  // namespace

XIniKeyIndex::XIniKeyIndex(const XIniNode* children, std::uint32_t count, bool sections_only) : children_(children) {
  order_.reserve(count);
  for (std::uint32_t i = 0; i < count; ++i) {
    if (!sections_only || children[i].is_section) order_.push_back(i);
  }
  std::sort(order_.begin(), order_.end(), [children](std::uint32_t a, std::uint32_t b) {
    const int order = children[a].key.compare(children[b].key);
    return order != 0 ? order < 0 : a < b;
  });
  previous_.assign(count, kNone);
  for (std::size_t i = 1; i < order_.size(); ++i) {
    if (children[order_[i]].key == children[order_[i - 1]].key) previous_[order_[i]] = order_[i - 1];
  }
}

bool XIniKeyIndex::IsFirst(std::uint32_t child, const std::string& key, std::size_t start) const {
  return children_[child].key == key && (previous_[child] == kNone || previous_[child] < start);
}

std::size_t XIniKeyIndex::Find(const std::string& key, std::size_t start) {
  const std::size_t guess = std::max(next_, start);
  if (order_.size() == previous_.size() && guess < order_.size() &&
      IsFirst(static_cast<std::uint32_t>(guess), key, start)) {
    next_ = guess + 1;
    return guess;
  }
  const auto before = [&](std::uint32_t child, const std::string& wanted) {
    const int order = children_[child].key.compare(wanted);
    return order != 0 ? order < 0 : child < start;
  };
  const auto found = std::lower_bound(order_.begin(), order_.end(), key, before);
  if (found == order_.end() || children_[*found].key != key) return npos;
  next_ = std::size_t{*found} + 1;
  return *found;
}

XIniDocument::XIniDocument(std::string xml) : nodes_(DocumentBuilder(std::move(xml)).Build()) {}

const XIniNode* XIniDocument::Child(std::size_t node, std::size_t index) const {
  const XIniNode& section = nodes_[node];
  return index < section.child_count ? &nodes_[section.first_child + index] : nullptr;
}

std::size_t XIniDocument::FindChild(std::size_t node, const std::string& key, std::size_t start) {
  return Index(node, false).Find(key, start);
}

std::size_t XIniDocument::FindSection(std::size_t node, const std::string& key) {
  const std::size_t index = Index(node, true).Find(key, 0);
  return index == XIniKeyIndex::npos ? 0 : nodes_[node].first_child + index;
}

XIniKeyIndex& XIniDocument::Index(std::size_t node, bool sections_only) {
  const std::size_t slot = 2 * node + (sections_only ? 1 : 0);
  const auto found = indexes_.find(slot);
  if (found != indexes_.end()) return found->second;
  const XIniNode& section = nodes_[node];
  const XIniNode* const children = nodes_.data() + (section.child_count == 0 ? 0 : section.first_child);
  return indexes_.emplace(slot, XIniKeyIndex(children, section.child_count, sections_only)).first->second;
}

}  // namespace SatCommonUtils
