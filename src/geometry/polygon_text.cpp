// The text form of polygons and vertices.

#include "geometry/polygon_text.h"

#include <utility>
#include <vector>

#include "frame/zxstd/number_text.h"
#include "geometry/polygon.h"
#include "geometry/text_scan.h"

namespace SatCommonUtils {
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
