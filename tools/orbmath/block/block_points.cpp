// The ground points of an adjustment as CSV and GeoJSON.

#include <array>
#include <cmath>

#include "block/block_report.h"
#include "points/point_options.h"
#include "report/fixed_digits.h"
#include "report/json.h"

namespace orbmath_tool {

using SatCommonUtils::TBlockPointResult;
using SatCommonUtils::TBlockPointState;
using SatCommonUtils::TBlockProblem;
using SatCommonUtils::TBlockResult;

namespace {

constexpr int kCorrelationDigits = 3;

/// A field of a CSV file (RFC 4180).
std::string CsvField(const std::string& text) {
  if (text.find_first_of(",\"\n\r#") == std::string::npos) return text;
  std::string quoted = "\"";
  for (const char c : text) quoted += c == '"' ? "\"\"" : std::string(1, c);
  return quoted + '"';
}

/// Standard deviations towards east, north, up, and the correlations east-north, east-up, north-up.
std::array<double, 6> Spread(const TBlockPointResult& point) {
  const auto& q = point.covariance;
  std::array<double, 6> spread = {std::sqrt(q[0]), std::sqrt(q[4]), std::sqrt(q[8]), 0.0, 0.0, 0.0};
  spread[3] = q[1] / (spread[0] * spread[1]);
  spread[4] = q[2] / (spread[0] * spread[2]);
  spread[5] = q[5] / (spread[1] * spread[2]);
  return spread;
}

void AppendNumber(double value, int digits, std::string* line) {
  char text[kNumberBytes];
  *line += ',';
  // What is not known is an empty field.
  if (std::isfinite(value)) line->append(text, PrintFixed(value, digits, text));
}

/// A longitude between -180 and 180 degrees, where maps have it.
double MapLongitude(double lon) { return std::remainder(lon, 360.0); }

}  // namespace

std::string PointsCsv(const TBlockProblem& problem, const TBlockResult& result) {
  std::string text =
      "point,lat,lon,height,sigma_east,sigma_north,sigma_up,correlation_en,correlation_eu,correlation_nu,rays,role\n";
  for (std::size_t i = 0; i < result.points.size(); ++i) {
    const TBlockPointResult& point = result.points[i];
    if (point.state != TBlockPointState::Used) continue;
    text += CsvField(problem.points[i].name);
    AppendNumber(point.lat, kDegreeDigits, &text);
    AppendNumber(point.lon, kDegreeDigits, &text);
    AppendNumber(point.height, kMetreDigits, &text);
    const std::array<double, 6> spread = Spread(point);
    for (std::size_t k = 0; k < spread.size(); ++k) {
      AppendNumber(spread[k], k < 3 ? kMetreDigits : kCorrelationDigits, &text);
    }
    text += ',' + std::to_string(point.rays) + ',' + GetBlockPointRoleName(problem.points[i].role) + '\n';
  }
  return text;
}

std::string PointsGeoJson(const TBlockProblem& problem, const TBlockResult& result) {
  JsonWriter json;
  json.BeginObject().Member("type", "FeatureCollection").Key("features").BeginArray();
  for (std::size_t i = 0; i < result.points.size(); ++i) {
    const TBlockPointResult& point = result.points[i];
    if (point.state != TBlockPointState::Used) continue;
    const std::array<double, 6> spread = Spread(point);
    json.BeginObject().Member("type", "Feature").Key("geometry").BeginObject().Member("type", "Point");
    json.Key("coordinates").Numbers(std::array<double, 3>{MapLongitude(point.lon), point.lat, point.height});
    json.EndObject().Key("properties").BeginObject().Member("point", problem.points[i].name);
    json.Member("role", GetBlockPointRoleName(problem.points[i].role)).Member("rays", point.rays);
    json.Member("sigma_east", spread[0]).Member("sigma_north", spread[1]).Member("sigma_up", spread[2]);
    json.Key("covariance").Numbers(point.covariance).EndObject().EndObject();
  }
  return json.EndArray().EndObject().Text() + "\n";
}

double ResidualLength(const TBlockResult& result, std::size_t i) {
  return std::hypot(result.measurements.line[i], result.measurements.sample[i]);
}

}  // namespace orbmath_tool
