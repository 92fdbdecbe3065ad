#pragma once
/// \file
/// Areas on the ground as GeoJSON (RFC 7946).

#include <string>
#include <vector>

#include "geometry/polygon.h"
#include "report/json.h"

namespace orbmath_tool {

/// A collection of areas, each with properties.
class GeoJson {
 public:
  /// \param areas simple polygons, x longitude, y latitude, degrees; cut at the 180th meridian. None: not added.
  /// \param properties an object that has been ended.
  void Add(const std::vector<SatCommonUtils::TPolygon>& areas, const JsonWriter& properties);
  /// The whole file.
  std::string Text() const;

 private:
  std::string features_;
};

/// The closed ring of a polygon as an array of [longitude, latitude].
void WriteRing(const SatCommonUtils::TPolygon& ring, JsonWriter* json);

}  // namespace orbmath_tool
