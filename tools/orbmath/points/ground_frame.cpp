// Columns of ground points to latitude, longitude and height above the ellipsoid, and back.

#include "points/ground_frame.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "errors.h"
#include "points/ground_marks.h"

namespace orbmath_tool {

namespace {

/// Names that a geographic reference system's columns have too.
TableColumn WithNamesOf(TableColumn column, const TableColumn& other) {
  column.other_names.push_back(other.name);
  column.other_names.insert(column.other_names.end(), other.other_names.begin(), other.other_names.end());
  return column;
}

}  // namespace

void GroundFrame::DeclareOrder(CommandLine& line) {
  line.Flag("--lonlat", &lonlat_, "ground points have the longitude before the latitude");
  line.Text("--crs", "EPSG:N", &system_name_,
            "reference system of the ground points, whose columns are east, north (or longitude, latitude) and height");
}

void GroundFrame::DeclareHeight(CommandLine& line, const std::string& help) {
  line.Number("--height", "H", &height_, help);
}

void GroundFrame::DeclareGeoid(CommandLine& line) {
  line.Text("--geoid", "FILE|NAME", &geoid_name_,
            "what the points' heights count from: a geoid grid, egm96, egm2008 (default: the ellipsoid)");
}

void GroundFrame::Open() {
  if (HasSystem()) system_ = OpenReference(system_name_);
  if (!geoid_name_.empty() && geoid_name_ != "none") geoid_ = OpenGeoidSurface(geoid_name_);
}

std::vector<TableColumn> GroundFrame::PlaceColumns() const {
  if (!HasSystem()) {
    return lonlat_ ? std::vector<TableColumn>{columns::kLon, columns::kLat}
                   : std::vector<TableColumn>{columns::kLat, columns::kLon};
  }
  TableColumn east = columns::kEast;
  TableColumn north = columns::kNorth;
  if (system_.is_geographic) {
    east = WithNamesOf(east, columns::kLon);
    north = WithNamesOf(north, columns::kLat);
    east.quantity = Quantity::Longitude;
    north.quantity = Quantity::Latitude;
  }
  return {east, north};
}

TableColumn GroundFrame::HeightColumn(bool may_be_missing) const {
  TableColumn column = columns::kHeight;
  if (height_) return column.Optional(*height_);
  if (may_be_missing) return column.Optional(std::numeric_limits<double>::quiet_NaN());
  column.hint = "--height H gives points one that have none";
  return column;
}

void GroundFrame::ToGround(std::size_t count, double* first, double* second, double* height) const {
  if (HasSystem()) {
    // Points without a height keep none; the place does not need it.
    std::vector<bool> missing(count);
    for (std::size_t i = 0; i < count; ++i) {
      missing[i] = std::isnan(height[i]);
      if (missing[i]) height[i] = 0.0;
    }
    system_.to_wgs84(count, first, second, height);
    for (std::size_t i = 0; i < count; ++i) {
      if (missing[i]) height[i] = std::numeric_limits<double>::quiet_NaN();
    }
  }
  if (IsSwapped()) std::swap_ranges(first, first + count, second);
  if (HasGeoid()) ToEllipsoid(count, first, second, height, height);
}

void GroundFrame::ToEllipsoid(std::size_t count, const double* lat, const double* lon, const double* above_geoid,
                              double* height) const {
  std::vector<double> geoid(count);
  geoid_->GetHeights(count, lat, lon, geoid.data());
  for (std::size_t i = 0; i < count; ++i) height[i] = above_geoid[i] + geoid[i];
}

void GroundFrame::FromGround(std::size_t count, double* first, double* second, double* height) const {
  if (IsSwapped()) std::swap_ranges(first, first + count, second);
  if (HasSystem()) system_.from_wgs84(count, first, second, height);
}

std::vector<OutputColumn> GroundFrame::ResultColumns(const PointOptions& options) const {
  const OutputColumn height{"height", options.Digits(kMetreDigits)};
  if (HasSystem() && !system_.is_geographic) {
    return {{"x", options.Digits(kMetreDigits)}, {"y", options.Digits(kMetreDigits)}, height};
  }
  if (IsSwapped()) return {options.Longitude(), options.Latitude(), height};
  return {options.Latitude(), options.Longitude(), height};
}

std::optional<GroundPlace> GroundFrame::ResultPlace() const {
  if (HasSystem()) return std::nullopt;
  return IsSwapped() ? GroundPlace{false, 1, 0, 2} : GroundPlace{false, 0, 1, 2};
}

GroundPoints GroundFrame::Take(PointTable* table, std::size_t first, std::size_t second, std::size_t height) const {
  GroundPoints points{table->TakeValues(first), table->TakeValues(second), table->TakeValues(height)};
  std::vector<bool> given(table->size());
  for (std::size_t row = 0; row < given.size(); ++row) given[row] = !std::isnan(points.height[row]);
  ToGround(table->size(), points.lat.data(), points.lon.data(), points.height.data());
  table->Refuse([&](std::size_t row) -> std::string {
    if (std::isnan(points.lat[row])) return WhyNowhere();
    if (!IsGround(points.lat[row], points.lon[row])) return WhyNoGround(points.lat[row], points.lon[row]);
    const bool lost = std::isnan(points.height[row]) && given[row];
    return lost ? "the geoid has no height there" : "";
  });
  return points;
}

}  // namespace orbmath_tool
