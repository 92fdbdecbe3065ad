// The XML form of polygons.

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "geometry/polygon.h"
#include "geometry/polygon_text.h"

namespace SatCommonUtils {
namespace {

constexpr const char* kVertexKey = "Vertex";

}  // namespace

bool TPolygon::SaveToXML(TZxXIniWriter* writer) const {
  if (writer == nullptr) return false;
  bool written = true;
  for (const xy_d& vertex : vertices_)
    written = writer->WriteS<std::string>(kVertexKey, VertexToText(vertex)) && written;
  return written;
}

bool TPolygon::InitializeFromXML(TZxXIniReader* reader) {
  if (reader == nullptr) return false;
  std::vector<xy_d> vertices;
  for (std::size_t i = reader->FindF(kVertexKey); i != TZxXIniReader::npos; i = reader->FindF(kVertexKey, i + 1)) {
    const std::string text = reader->Read<std::string>(i, std::string());
    std::string_view rest = text;
    xy_d vertex;
    if (!TakeVertex(&rest, &vertex) || !rest.empty()) return false;
    vertices.push_back(vertex);
  }
  vertices_ = std::move(vertices);
  return true;
}

}  // namespace SatCommonUtils
