// A file path, kept as the text that it was given as.

#include "frame/zxstd/path.h"

#include <utility>

namespace SatCommonUtils {

TZxPath::TZxPath(const char* text) : text_(text == nullptr ? "" : text) {}

TZxPath::TZxPath(std::string text) : text_(std::move(text)) {}

}  // namespace SatCommonUtils
