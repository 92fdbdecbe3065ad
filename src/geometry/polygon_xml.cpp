#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "geometry/polygon.h"
#include "geometry/polygon_text.h"

namespace SatCommonUtils {
namespace {

constexpr const char* kVertexKey = "Vertex";

/// The whole text is one vertex.
bool ReadVertex(const char* text, std::size_t length, xy_d* vertex) {
  const char* const end = text + length;
  if (!ScanVertex(&text, end, vertex)) return false;
  SkipBlanks(&text, end);
  return text == end;
}

}  // namespace

bool TPolygon::SaveToXML(TZxXIniWriter* writer) const {
  bool written = true;
  for (const xy_d& vertex : vertices_)
    written = writer->WriteS<std::string>(kVertexKey, VertexToText(vertex)) && written;
  return written;
}

bool TPolygon::InitializeFromXML(TZxXIniReader* reader) {
  std::vector<xy_d> vertices;
  for (std::size_t i = reader->FindF(kVertexKey); i != TZxXIniReader::npos; i = reader->FindF(kVertexKey, i + 1)) {
    const std::string text = reader->Read<std::string>(i, std::string());
    xy_d vertex;
    if (!ReadVertex(text.data(), text.size(), &vertex)) return false;
    vertices.push_back(vertex);
  }
  vertices_ = std::move(vertices);
  return true;
}

}  // namespace SatCommonUtils
