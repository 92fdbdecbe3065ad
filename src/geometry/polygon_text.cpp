#include "geometry/polygon_text.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "frame/zxstd/number_text.h"
#include "geometry/polygon.h"

namespace SatCommonUtils {
namespace {

void TakeBlanks(std::string_view* text) {
  text->remove_prefix(std::min(text->find_first_not_of(" \t\r\n"), text->size()));
}

/// Takes `expected` and the blanks on both sides of it.
bool Take(char expected, std::string_view* text) {
  TakeBlanks(text);
  if (text->empty() || text->front() != expected) return false;
  text->remove_prefix(1);
  TakeBlanks(text);
  return true;
}

/// Takes a number and then `terminator`.
bool TakeNumber(char terminator, std::string_view* text, double* number) {
  // The first call says how far the number goes, the second one is strict about its range.
  const std::size_t length = ParseDoublePrefix(*text, number);
  if (length == 0 || !ParseDouble(text->substr(0, length), number)) return false;
  text->remove_prefix(length);
  return Take(terminator, text);
}

}  // namespace

std::string VertexToText(const xy_d& vertex) {
  return '(' + FormatDouble(vertex.x) + ';' + FormatDouble(vertex.y) + ')';
}

bool TakeVertex(std::string_view* text, xy_d* vertex) {
  return Take('(', text) && TakeNumber(';', text, &vertex->x) && TakeNumber(')', text, &vertex->y);
}

std::string TPolygon::GetString() const {
  std::string text;
  for (const xy_d& vertex : vertices_) text += VertexToText(vertex);
  return text;
}

bool TPolygon::InitializeFromText(const std::string& text) {
  std::string_view rest = text;
  TakeBlanks(&rest);
  std::vector<xy_d> vertices;
  while (!rest.empty()) {
    xy_d vertex;
    if (!TakeVertex(&rest, &vertex)) return false;
    vertices.push_back(vertex);
  }
  vertices_ = std::move(vertices);
  return true;
}

}  // namespace SatCommonUtils
