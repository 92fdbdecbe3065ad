#include "frame/zxstd/xml_lines.h"

#include <algorithm>

namespace SatCommonUtils {

XmlLines::XmlLines(std::string_view text) {
  for (std::size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n', end + 1)) {
    ends_.push_back(static_cast<std::ptrdiff_t>(end));
  }
}

std::size_t XmlLines::At(std::ptrdiff_t offset) const {
  const auto end = std::lower_bound(ends_.begin(), ends_.end(), offset);
  return static_cast<std::size_t>(end - ends_.begin()) + 1;
}

}  // namespace SatCommonUtils
