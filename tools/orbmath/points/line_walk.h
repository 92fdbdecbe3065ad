#pragma once
/// \file
/// The walk over the lines of a text that every parser of points makes.

#include <cstring>
#include <string>
#include <string_view>

#include "points/field_text.h"
#include "points/line_block.h"
#include "points/line_source.h"

namespace orbmath_tool {

/// Forgets what `block` held, passes the comments and blank lines of `text` through, refuses lines that are too long,
/// and hands every other line to `parse(begin, end, &behind, &reason)`, without its end. That returns true when the
/// line is a point, and sets where what stands behind its fields begins; or it gives the reason why the line is none.
template <class Parse>
void WalkLines(std::string_view text, LineBlock* block, Parse parse) {
  block->count = 0;
  block->filled = 0;
  block->lines.clear();
  block->refused.clear();
  block->unread.clear();
  block->failed.clear();
  std::string reason;
  const char* at = text.data();
  const char* const text_end = at + text.size();
  while (at != text_end) {
    const auto* feed = static_cast<const char*>(std::memchr(at, '\n', static_cast<std::size_t>(text_end - at)));
    const char* const next = feed == nullptr ? text_end : feed + 1;
    const char* end = feed == nullptr ? text_end : feed;
    if (end != at && end[-1] == '\r') --end;
    const char* const first = SkipBlanks(at, end);
    const char* behind = end;
    if (static_cast<std::size_t>(end - at) >= kLongestLine) {
      block->refused.push_back({block->lines.size(), kTooLongLine});
      block->lines.push_back({PointLine::Kind::Refused, {}});
    } else if (first == end || *first == '#') {
      block->lines.push_back({PointLine::Kind::PassThrough, {at, static_cast<std::size_t>(end - at)}});
    } else if (parse(at, end, &behind, &reason)) {
      block->lines.push_back({PointLine::Kind::Point, {behind, static_cast<std::size_t>(end - behind)}});
      ++block->count;
    } else {
      block->refused.push_back({block->lines.size(), reason});
      block->lines.push_back({PointLine::Kind::Refused, {behind, static_cast<std::size_t>(end - behind)}});
    }
    at = next;
  }
}

}  // namespace orbmath_tool
