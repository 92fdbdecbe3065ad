// Trees of XML elements: reading through the parser, and writing.

#include "frame/zxstd/xml_tree.h"

#include <utility>

namespace SatCommonUtils {

// Emitted for hosts on Windows, whose programs import the constant where they take its address.
constexpr std::size_t TZxXmlTagItems::npos;  // NOLINT(readability-redundant-declaration)

TZxXmlItem::~TZxXmlItem() = default;

TZxXmlTagItem* TZxXmlItem::as_tag() noexcept { return nullptr; }
const TZxXmlTagItem* TZxXmlItem::as_tag() const noexcept { return nullptr; }
const std::string* TZxXmlItem::as_text() const noexcept { return nullptr; }

TZxXmlTextItem::TZxXmlTextItem(std::string text_value) : text(std::move(text_value)) {}

const std::string* TZxXmlTextItem::as_text() const noexcept { return &text; }

std::string TZxXmlTagAttributes::get_value(const std::string& name, const std::string& fallback) const {
  for (const TZxXmlTagAttribute& attribute : attributes_) {
    if (attribute.name == name) return attribute.value;
  }
  return fallback;
}

void TZxXmlTagAttributes::push_back(TZxXmlTagAttribute attribute) { attributes_.push_back(std::move(attribute)); }

TZxXmlTagItems::~TZxXmlTagItems() {
  // What an element alone owns is taken out of it before it goes, so that no destructor finds a tree below itself.
  // Elements that still have children wait in a list that is linked through themselves: it needs no memory.
  var_a<TZxXmlItem*> waiting;
  const auto take_apart = [&waiting](std::vector<var_a<TZxXmlItem*>>& items) {
    for (var_a<TZxXmlItem*>& item : items) {
      TZxXmlTagItem* const tag = item.use_count() == 1 ? item->as_tag() : nullptr;
      if (tag == nullptr || tag->items.items_.empty()) continue;
      tag->items.next_.swap(waiting);
      waiting.swap(item);
    }
    items.clear();
  };
  take_apart(items_);
  while (waiting) {
    var_a<TZxXmlItem*> item;
    item.swap(waiting);
    TZxXmlTagItems& children = item->as_tag()->items;
    waiting.swap(children.next_);
    take_apart(children.items_);
  }
}

void TZxXmlTagItems::push_back(var_a<TZxXmlItem*> item) { items_.push_back(std::move(item)); }

TZxXmlTagItem& TZxXmlTagItems::push_back_tag(const std::string& name) {
  const var_a<TZxXmlTagItem*> tag = make_var_a<TZxXmlTagItem>(name);
  items_.push_back(tag);
  return *tag;
}

TZxXmlTagItem& TZxXmlTagItems::push_back_tag(const std::string& name, const std::string& text) {
  TZxXmlTagItem& tag = push_back_tag(name);
  tag.items.push_back_text(text);
  return tag;
}

void TZxXmlTagItems::push_back_text(const std::string& text) { items_.push_back(make_var_a<TZxXmlTextItem>(text)); }

std::size_t TZxXmlTagItems::find_tag_f(const std::string& name, std::size_t start) const {
  for (std::size_t i = start; i < items_.size(); ++i) {
    const TZxXmlTagItem* const tag = items_[i]->as_tag();
    if (tag != nullptr && tag->name == name) return i;
  }
  return npos;
}

TZxXmlTagItem* TZxXmlTagItems::find_tag(const std::string& name, std::size_t start) const {
  const std::size_t index = find_tag_f(name, start);
  return index == npos ? nullptr : items_[index]->as_tag();
}

std::string TZxXmlTagItems::get_text() const {
  std::string joined;
  for (const var_a<TZxXmlItem*>& item : items_) {
    if (const std::string* const text = item->as_text()) joined += *text;
  }
  return joined;
}

TZxXmlTagItem::TZxXmlTagItem(std::string name_value) : name(std::move(name_value)) {}

TZxXmlTagItem* TZxXmlTagItem::as_tag() noexcept { return this; }
const TZxXmlTagItem* TZxXmlTagItem::as_tag() const noexcept { return this; }

}  // namespace SatCommonUtils
