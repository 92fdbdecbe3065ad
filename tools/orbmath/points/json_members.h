#pragma once
/// \file
/// The members of a JSON record, and those of a GeoJSON feature as if they were a record's.

#include <string>
#include <string_view>
#include <vector>

namespace orbmath_tool {

/// One member: its value is JSON as it stands.
struct JsonMember {
  std::string_view key;  ///< without quotes, escapes as they stand
  std::string_view value;
};

/// Splits `record`, one JSON object, into its members. Of a GeoJSON feature these are the coordinates of its point as
/// "lon", "lat" and "height", the members of its properties, and its "id". \param members is cleared first.
/// \return false with a reason when the record is no JSON object, or the feature no point.
bool SplitRecord(std::string_view record, std::vector<JsonMember>* members, std::string* reason);

/// A JSON string's text; any other value as it stands, null as nothing.
std::string TextOfJson(std::string_view value);

}  // namespace orbmath_tool
