// Tables of control points.

#include "block/block_data.h"

#include <cmath>
#include <limits>

#include "block/table_columns.h"
#include "points/ground_marks.h"
#include "points/point_table.h"

namespace orbmath_tool {

using SatCommonUtils::TBlockPointRole;

namespace {

/// The role that a word means. \return false for none.
bool RoleOf(std::string_view word, TBlockPointRole* role) {
  const std::string name = KeyOfName(word);
  for (const TBlockPointRole each :
       {TBlockPointRole::Control, TBlockPointRole::Check, TBlockPointRole::Height, TBlockPointRole::Tie}) {
    if (name == SatCommonUtils::GetBlockPointRoleName(each)) {
      *role = each;
      return true;
    }
  }
  *role = TBlockPointRole::Control;
  return name.empty() || name == "gcp";
}

/// Why a control point cannot be one, or nothing. \param height as the file has it.
std::string WhyNoControl(const ControlRow& row, double height) {
  const bool placed = !std::isnan(row.lat) && !std::isnan(row.lon);
  if (row.role != TBlockPointRole::Height && !placed) {
    return "latitude and longitude are missing, which only a point of the role 'height' may lack";
  }
  if (placed && !IsGround(row.lat, row.lon)) return WhyNoGround(row.lat, row.lon);
  if (std::isnan(row.height) && !std::isnan(height)) return "the geoid has no height there";
  if (row.role == TBlockPointRole::Height && std::isnan(row.height)) return "a height point needs a height";
  if (row.sigma_horizontal <= 0.0 || row.sigma_vertical <= 0.0) return "sigmas must be above 0";
  return "";
}

}  // namespace

void ReadBlockControl(const std::string& path, const GroundFrame& frame, BlockData* data) {
  enum Column : std::size_t { kPoint, kFirst, kSecond, kHeight, kHorizontal, kVertical, kRole };
  const TableColumn horizontal{"sigma_h", {"sigmahorizontal", "sigmahorizontalm", "sigmaxy", "sigmahm"}};
  const TableColumn vertical{"sigma_v",
                             {"sigmavertical", "sigmaverticalm", "sigmaheight", "sigmaheightm", "sigmaz", "sigmavm"}};
  const std::vector<TableColumn> place = frame.PlaceColumns();
  const PointTable table(
      path,
      {TextColumn("point", {"pointid", "id", "gcp", "name"}, true), OpenColumn(place[0], true),
       OpenColumn(place[1], true), OpenColumn(columns::kHeight, false), OpenColumn(horizontal, false),
       OpenColumn(vertical, false), TextColumn("role", {"type", "use"}, false)},
      "");
  std::vector<double> lat = table.Values(kFirst);
  std::vector<double> lon = table.Values(kSecond);
  std::vector<double> height = table.Values(kHeight);
  frame.ToGround(table.size(), lat.data(), lon.data(), height.data());
  NameTable seen;
  for (const ControlRow& row : data->control) seen.Add(data->points.Name(row.point));
  table.Refuse([&](std::size_t i) -> std::string {
    const std::string_view name = table.Text(kPoint, i);
    const std::string_view role = table.Text(kRole, i);
    ControlRow row{0,
                   TBlockPointRole::Control,
                   lat[i],
                   lon[i],
                   height[i],
                   table.Values(kHorizontal)[i],
                   table.Values(kVertical)[i]};
    if (!RoleOf(role, &row.role)) return "the role is control, check, height or tie, not '" + std::string(role) + "'";
    if (row.role == TBlockPointRole::Tie) return "";
    if (name.empty()) return "the point has no name";
    std::string why = WhyNoControl(row, table.Values(kHeight)[i]);
    if (why.empty() && seen.Find(name) != NameTable::kNone) why = "a second line for the point";
    if (!why.empty()) return why;
    seen.Add(name);
    row.point = static_cast<std::uint32_t>(data->points.Add(name));
    data->control.push_back(row);
    return "";
  });
}

}  // namespace orbmath_tool
