#pragma once
// The XML layout of sections and keyed items, shared by reader and writer. docs/xml.md describes it.

#include <cstddef>
#include <string>
#include <string_view>

namespace SatCommonUtils {

namespace XIniLayout {

constexpr const char* kRoot = "orbmath";
constexpr const char* kVersion = "version";
constexpr int kCurrentVersion = 1;
constexpr const char* kSection = "section";
constexpr const char* kItem = "item";
constexpr const char* kName = "name";
/// Line of the source text that an item was converted from.
constexpr const char* kLine = "line";
/// `escape="%"`: in the name and the text of this element "%XX" stands for the byte XX (two hexadecimal digits).
constexpr const char* kEscape = "escape";
constexpr const char* kPercent = "%";

/// Sections that may be open at a time, for writer and reader alike.
constexpr std::size_t kMaxDepth = 256;

/// Writes "%XX" for percent signs and for every byte that XML cannot hold.
std::string EscapePercent(std::string_view text);
/// Undoes `EscapePercent`. \return false when a percent sign is not followed by two hexadecimal digits.
bool UnescapePercent(std::string_view text, std::string* plain);

}  // namespace XIniLayout

}  // namespace SatCommonUtils
