#pragma once
// The sections and items of a document, flat in memory.

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace SatCommonUtils {

/// One section or item of a document.
struct XIniNode {
  std::string key;
  /// Empty for a section.
  std::string text;
  bool is_section = false;
  /// Line from 1, 0 when unknown.
  std::uint32_t line = 0;
  std::uint32_t parent = 0;
  std::uint32_t first_child = 0;
  std::uint32_t child_count = 0;
};

/// Finds the children of one section by key: a sorted list of them, and the place where the last search ended, because
/// keys are mostly asked for in the order in which they stand.
class XIniKeyIndex {
 public:
  static constexpr std::size_t npos = static_cast<std::size_t>(-1);

  /// \param children the children of a section, which outlive the index.
  /// \param sections_only leaves the items out.
  XIniKeyIndex(const XIniNode* children, std::uint32_t count, bool sections_only);

  /// Number of the first child with that key at or after `start`, or `npos`.
  std::size_t Find(const std::string& key, std::size_t start);

 private:
  bool IsFirst(std::uint32_t child, const std::string& key, std::size_t start) const;

  const XIniNode* children_;
  // Children by key, and among equal keys by number.
  std::vector<std::uint32_t> order_;
  // For each child the one before it with the same key, or kNone.
  std::vector<std::uint32_t> previous_;
  std::size_t next_ = 0;
};

/// A parsed document. Node 0 is the root; the children of a section follow one another.
class XIniDocument {
 public:
  /// \throws TZxMessage when `xml` is no document of sections and items.
  explicit XIniDocument(std::string xml);

  const XIniNode& At(std::size_t node) const { return nodes_[node]; }
  /// The child of section `node` at `index`, or null past the end.
  const XIniNode* Child(std::size_t node, std::size_t index) const;
  /// Number within section `node` of its first child with that key at or after `start`, or XIniKeyIndex::npos.
  std::size_t FindChild(std::size_t node, const std::string& key, std::size_t start);
  /// Node of the first section with that key in section `node`, or 0.
  std::size_t FindSection(std::size_t node, const std::string& key);

 private:
  XIniKeyIndex& Index(std::size_t node, bool sections_only);

  std::vector<XIniNode> nodes_;
  // By twice the node, plus one for sections only. Built when first asked for.
  std::unordered_map<std::size_t, XIniKeyIndex> indexes_;
};

}  // namespace SatCommonUtils
