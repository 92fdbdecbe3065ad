#pragma once
// Line numbers of a text.

#include <cstddef>
#include <string_view>
#include <vector>

namespace SatCommonUtils {

/// Gives the line, from 1, of a byte of a text. A line ends with a line feed.
class XmlLines {
 public:
  explicit XmlLines(std::string_view text);
  std::size_t At(std::ptrdiff_t offset) const;

 private:
  std::vector<std::ptrdiff_t> ends_;
};

}  // namespace SatCommonUtils
