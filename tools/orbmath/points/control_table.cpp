// Ground control from tables: columns, heights, roles.

#include "points/control_table.h"

#include <cmath>

#include "errors.h"
#include "points/dem_options.h"

namespace orbmath_tool {

namespace {

/// Where the columns of a table of control stand among those that are asked for.
struct Places {
  explicit Places(bool height_is_last) {
    if (height_is_last) height = 5, line = 2, sample = 3, sigma = 4;
  }
  std::size_t height = 2;
  std::size_t line = 3;
  std::size_t sample = 4;
  std::size_t sigma = 5;
  std::size_t id = 6;
  std::size_t role = 7;
};

std::vector<TableColumn> ColumnsOf(const GroundFrame& frame, const TableColumn& height, const Places& places) {
  std::vector<TableColumn> wanted = frame.PlaceColumns();
  wanted.resize(8);
  wanted[places.height] = height;
  wanted[places.line] = columns::kLine;
  wanted[places.sample] = columns::kSample;
  wanted[places.sigma] = columns::kSigma;
  wanted[places.id] = columns::kId;
  wanted[places.role] = columns::kRole;
  return wanted;
}

std::vector<double> TakeShifted(PointTable* table, std::size_t column, double shift) {
  std::vector<double> values = table->TakeValues(column);
  for (double& value : values) value -= shift;
  return values;
}

void FillHeights(const PointTable& table, const SatCommonUtils::THeightSurface& terrain, GroundPoints* ground) {
  std::vector<double> heights(table.size());
  terrain.GetHeights(table.size(), ground->lat.data(), ground->lon.data(), heights.data());
  for (std::size_t row = 0; row < table.size(); ++row) {
    if (std::isnan(ground->height[row])) ground->height[row] = heights[row];
  }
  table.Refuse([&](std::size_t row) { return std::string(std::isnan(ground->height[row]) ? kNoTerrainHeight : ""); });
}

std::vector<bool> ChecksOf(const PointTable& table, std::size_t role) {
  const auto key = [&](std::size_t row) { return KeyOfName(table.Text(role, row)); };
  table.Refuse([&](std::size_t row) -> std::string {
    const std::string word = key(row);
    const bool known = word.empty() || word == "control" || word == "gcp" || word == "check";
    return known ? "" : "role '" + std::string(table.Text(role, row)) + "' is neither control nor check";
  });
  std::vector<bool> checks(table.size());
  for (std::size_t row = 0; row < table.size(); ++row) checks[row] = key(row) == "check";
  return checks;
}

ControlTable PointsOfRole(const ControlTable& control, bool is_check) {
  std::vector<std::size_t> rows;
  for (std::size_t row = 0; row < control.table.size(); ++row) {
    if (control.is_check[row] == is_check) rows.push_back(row);
  }
  ControlTable chosen{control.table.Subset(rows), {}, {}, {}, {}, std::vector<bool>(rows.size(), is_check)};
  for (const std::size_t row : rows) {
    chosen.ground.lat.push_back(control.ground.lat[row]);
    chosen.ground.lon.push_back(control.ground.lon[row]);
    chosen.ground.height.push_back(control.ground.height[row]);
    chosen.line.push_back(control.line[row]);
    chosen.sample.push_back(control.sample[row]);
    chosen.sigma.push_back(control.sigma[row]);
  }
  return chosen;
}

}  // namespace

ControlTable TakeChecks(ControlTable* control) {
  ControlTable checks = PointsOfRole(*control, true);
  if (checks.table.size() > 0) *control = PointsOfRole(*control, false);
  return checks;
}

ControlTable ReadControl(const std::string& file, const std::string& columns, const GroundFrame& frame, double shift,
                         const SatCommonUtils::THeightSurface* terrain) {
  const TableColumn height = frame.HeightColumn(terrain != nullptr);
  const Places places(!height.required);
  PointTable table(file, ColumnsOf(frame, height, places), columns);
  RefuseBadSigma(table, places.sigma);
  GroundPoints ground = frame.Take(&table, 0, 1, places.height);
  if (terrain != nullptr) FillHeights(table, *terrain, &ground);
  std::vector<bool> checks = ChecksOf(table, places.role);
  std::vector<double> line = TakeShifted(&table, places.line, shift);
  std::vector<double> sample = TakeShifted(&table, places.sample, shift);
  std::vector<double> sigma = table.TakeValues(places.sigma);
  return {std::move(table), std::move(ground), std::move(line), std::move(sample), std::move(sigma), std::move(checks)};
}

}  // namespace orbmath_tool
