#include "geometry/polygon_text.h"

#include <charconv>
#include <system_error>
#include <utility>
#include <vector>

#include "frame/zxstd/text.h"
#include "geometry/polygon.h"

namespace SatCommonUtils {
namespace {

/// Moves over blanks and then over `expected`; false when something else stands there.
bool Skip(char expected, const char** cursor, const char* end) {
  SkipBlanks(cursor, end);
  if (*cursor == end || **cursor != expected) return false;
  ++*cursor;
  return true;
}

}  // namespace

void SkipBlanks(const char** cursor, const char* end) {
  while (*cursor != end && (**cursor == ' ' || (**cursor >= '\t' && **cursor <= '\r'))) ++*cursor;
}

bool ScanNumber(const char** cursor, const char* end, double* number) {
  const char* start = *cursor;
  // from_chars takes a minus but no plus.
  if (start != end && *start == '+') {
    ++start;
    if (start != end && *start == '-') return false;
  }
  const std::from_chars_result result = std::from_chars(start, end, *number);
  if (result.ec != std::errc()) return false;
  *cursor = result.ptr;
  return true;
}

std::string VertexToText(const xy_d& vertex) { return Zentarix::ssprintf("(%.20lg;%.20lg)", vertex.x, vertex.y); }

bool ScanVertex(const char** cursor, const char* end, xy_d* vertex) {
  const char* at = *cursor;
  xy_d read;
  if (!Skip('(', &at, end)) return false;
  SkipBlanks(&at, end);
  if (!ScanNumber(&at, end, &read.x) || !Skip(';', &at, end)) return false;
  SkipBlanks(&at, end);
  if (!ScanNumber(&at, end, &read.y) || !Skip(')', &at, end)) return false;
  *cursor = at;
  *vertex = read;
  return true;
}

std::string TPolygon::GetString() const {
  std::string text;
  for (const xy_d& vertex : vertices_) text += VertexToText(vertex);
  return text;
}

bool TPolygon::InitializeFromText(const std::string& text) {
  const char* cursor = text.data();
  const char* const end = cursor + text.size();
  std::vector<xy_d> vertices;
  for (SkipBlanks(&cursor, end); cursor != end; SkipBlanks(&cursor, end)) {
    xy_d vertex;
    if (!ScanVertex(&cursor, end, &vertex)) return false;
    vertices.push_back(vertex);
  }
  vertices_ = std::move(vertices);
  return true;
}

}  // namespace SatCommonUtils
