#pragma once
/// \file
/// A tree of XML elements and texts, read from a stream and written to one.

#include <cstddef>
#include <string>
#include <vector>

#include "../api.h"
#include "message.h"
#include "progress.h"
#include "stream.h"
#include "var_a.h"

namespace SatCommonUtils {

class TZxXmlTagItem;

/// Something inside an element: another element, or a text. Texts are UTF-8 without any escapes.
class ORBMATH_API TZxXmlItem {
 public:
  TZxXmlItem() = default;
  TZxXmlItem(const TZxXmlItem&) = delete;
  TZxXmlItem& operator=(const TZxXmlItem&) = delete;
  virtual ~TZxXmlItem();
  /// This item as an element, or null when it is a text.
  virtual TZxXmlTagItem* as_tag() noexcept;
  /// The same for reading.
  virtual const TZxXmlTagItem* as_tag() const noexcept;
  /// The text when this item is one, or null.
  virtual const std::string* as_text() const noexcept;
};

/// A text between the tags.
class ORBMATH_API TZxXmlTextItem : public TZxXmlItem {
 public:
  /// A piece of text, unescaped.
  explicit TZxXmlTextItem(std::string text_value);
  const std::string* as_text() const noexcept override;

  std::string text;  ///< Unescaped.
};

/// One attribute of an element.
struct TZxXmlTagAttribute {
  std::string name;   ///< with its prefix, if it has one
  std::string value;  ///< unescaped
};

/// The attributes of an element, in the order in which they were written.
class ORBMATH_API TZxXmlTagAttributes {
 public:
  /// Value of the first attribute of that name, or `fallback`.
  std::string get_value(const std::string& name, const std::string& fallback = std::string()) const;
  /// Adds an attribute behind the others.
  void push_back(TZxXmlTagAttribute attribute);
  /// Number of attributes.
  std::size_t size() const noexcept { return attributes_.size(); }
  /// The attribute at `index`, which is not checked.
  const TZxXmlTagAttribute& operator[](std::size_t index) const { return attributes_[index]; }

 private:
  std::vector<TZxXmlTagAttribute> attributes_;
};

/// What an element holds, elements and texts mixed, in document order.
class ORBMATH_API TZxXmlTagItems {
 public:
  /// What `find_tag_f` returns when there is no such element.
  static constexpr std::size_t npos = static_cast<std::size_t>(-1);

  TZxXmlTagItems() = default;
  TZxXmlTagItems(const TZxXmlTagItems&) = delete;
  TZxXmlTagItems& operator=(const TZxXmlTagItems&) = delete;
  /// Takes trees of any depth apart without recursion.
  ~TZxXmlTagItems();

  /// Number of items.
  std::size_t size() const noexcept { return items_.size(); }
  /// The item at `index`, which is not checked.
  TZxXmlItem& operator[](std::size_t index) const { return *items_[index]; }
  /// Appends an item, which must not be empty.
  void push_back(var_a<TZxXmlItem*> item);
  /// Appends a new element of that name. \return the element, owned by this list.
  TZxXmlTagItem& push_back_tag(const std::string& name);
  /// Appends a new element of that name that holds a text. \return the element, owned by this list.
  TZxXmlTagItem& push_back_tag(const std::string& name, const std::string& text);
  /// Appends a text.
  void push_back_text(const std::string& text);

  /// Index of the first element of that name at or after `start`, or `npos`.
  std::size_t find_tag_f(const std::string& name, std::size_t start = 0) const;
  /// The first element of that name at or after `start`, or null.
  TZxXmlTagItem* find_tag(const std::string& name, std::size_t start = 0) const;
  /// The texts among these items, joined; those inside elements do not count.
  std::string get_text() const;

 private:
  std::vector<var_a<TZxXmlItem*>> items_;
  var_a<TZxXmlItem*> next_;  // used by the destructor alone
};

/// An element.
class ORBMATH_API TZxXmlTagItem : public TZxXmlItem {
 public:
  /// An element without attributes and items.
  explicit TZxXmlTagItem(std::string name_value);
  TZxXmlTagItem* as_tag() noexcept override;
  const TZxXmlTagItem* as_tag() const noexcept override;

  std::string name;                ///< with its prefix, if it has one
  TZxXmlTagAttributes attributes;  ///< In document order.
  TZxXmlTagItems items;            ///< Elements and text, in document order.
};

/// Elements that may be open at a time in a document that is read or written.
constexpr std::size_t kZxMaxXmlDepth = 256;

/// Reads a whole XML document. All texts between tags are kept, blank ones too; comments and processing instructions
/// are not.
/// \param stream not owned. \param flag reserved, 0. \param progress may be null; told when the bytes are there (0.5)
/// and when the tree is (1). \return the root element, or an empty pointer when the stream is null, holds no
/// well-formed document, one of more than `kZxMaxXmlBytes` or one nested deeper than `kZxMaxXmlDepth`, or when
/// `progress` asks for a stop.
ORBMATH_API var_a<TZxXmlTagItem*> ZxReadXml(TZxStream* stream, int flag = 0, TZxProgressHandler* progress = nullptr);
/// Reads a whole XML document as `ZxReadXml` does. \return the root element, never an empty pointer.
/// \throws TZxMessage, with line and cause, where `ZxReadXml` returns one.
ORBMATH_API var_a<TZxXmlTagItem*> ZxReadXmlE(TZxStream* stream, int flag = 0, TZxProgressHandler* progress = nullptr);

/// Writes a document with `root` as its root element, in UTF-8. Nothing is added between the tags, so `ZxReadXml` gives
/// an equal tree (neighbouring texts become one).
/// \return false when the stream did not take everything; or, with nothing written, when the stream or `root` is null,
/// a name is no XML name, a text has bytes that XML cannot hold (no UTF-8, control characters) or the tree is nested
/// deeper than `kZxMaxXmlDepth`.
ORBMATH_API bool WriteXml(TZxStream* stream, const TZxXmlTagItem* root);

}  // namespace SatCommonUtils
