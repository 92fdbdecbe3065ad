#pragma once
// Pieces of files in messages.

#include <string>
#include <string_view>

namespace SatCommonUtils {

/// The text in double quotes as a message shows it: its beginning when it is long, and a question mark for each byte
/// that is a control character or no UTF-8.
std::string Quoted(std::string_view text);

}  // namespace SatCommonUtils
