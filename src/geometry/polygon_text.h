#pragma once
// The text of one vertex, shared by the text form and the XML form of a polygon.

#include <string>
#include <string_view>

#include "frame/zxstd/xy.h"

namespace SatCommonUtils {

/// "(x;y)", which reads back bit for bit.
std::string VertexToText(const xy_d& vertex);

/// Takes one vertex "(x;y)" from the front of `*text`, and the blanks before, within and behind it.
/// \return false when something else stands there; `*text` is then undefined.
bool TakeVertex(std::string_view* text, xy_d* vertex);

}  // namespace SatCommonUtils
