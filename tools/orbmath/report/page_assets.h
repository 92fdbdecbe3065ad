#pragma once
/// \file
/// Style and script of the pages, from report/page/ by the build.

#include <string_view>

namespace orbmath_tool {

extern const std::string_view kPageStyle;
extern const std::string_view kPageScript;
/// SHA-256 of each, in Base64, as a content security policy names them.
extern const std::string_view kPageStyleHash;
extern const std::string_view kPageScriptHash;

}  // namespace orbmath_tool
