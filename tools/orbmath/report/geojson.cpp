// Areas on the ground as GeoJSON.

#include "report/geojson.h"

#include "rpc/viewing_geometry.h"

namespace orbmath_tool {

void WriteRing(const SatCommonUtils::TPolygon& ring, JsonWriter* json) {
  json->BeginArray();
  const auto& vertices = ring.GetVertices();
  for (std::size_t i = 0; !vertices.empty() && i <= vertices.size(); ++i) {
    const SatCommonUtils::xy_d& vertex = vertices[i % vertices.size()];
    json->BeginArray().Value(vertex.x).Value(vertex.y).EndArray();
  }
  json->EndArray();
}

void GeoJson::Add(const std::vector<SatCommonUtils::TPolygon>& areas, const JsonWriter& properties) {
  std::vector<SatCommonUtils::TPolygon> parts;
  for (const SatCommonUtils::TPolygon& area : areas) {
    for (SatCommonUtils::TPolygon& part : SatCommonUtils::CutAtAntimeridian(area)) parts.push_back(std::move(part));
  }
  if (parts.empty()) return;
  JsonWriter json;
  json.BeginObject().Member("type", "Feature").Key("properties").Raw(properties.Text());
  json.Key("geometry").BeginObject().Member("type", "MultiPolygon").Key("coordinates").BeginArray();
  for (const SatCommonUtils::TPolygon& part : parts) {
    json.BeginArray();
    WriteRing(part, &json);
    json.EndArray();
  }
  json.EndArray().EndObject().EndObject();
  features_ += (features_.empty() ? "" : ",\n") + json.Text();
}

std::string GeoJson::Text() const { return "{\"type\":\"FeatureCollection\",\"features\":[\n" + features_ + "\n]}\n"; }

}  // namespace orbmath_tool
