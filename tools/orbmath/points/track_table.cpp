// Rows to tracks: points and images by name.

#include "points/track_table.h"

#include <algorithm>
#include <optional>
#include <unordered_map>

namespace orbmath_tool {

namespace {

enum Column : std::size_t { kPoint, kImageColumn, kLineColumn, kSampleColumn, kSigmaColumn };

std::vector<TableColumn> Wanted() {
  TableColumn point = columns::kId;
  TableColumn image = columns::kImage;
  point.required = image.required = true;
  return {point, image, columns::kLine, columns::kSample, columns::kSigma};
}

}  // namespace

TrackTable::TrackTable(const std::string& file, const std::string& names, const std::vector<NamedImage>& images,
                       double shift)
    : table_(file, Wanted(), names), has_sigmas_(table_.Has(kSigmaColumn)) {
  std::unordered_map<std::string_view, std::size_t> places;
  std::unordered_map<std::string_view, std::optional<std::size_t>> known;
  std::vector<bool> repeats(table_.size());
  for (std::size_t row = 0; row < table_.size(); ++row) {
    const std::string_view name = table_.Text(kImageColumn, row);
    const auto image = known.find(name) != known.end() ? known[name] : known[name] = FindImage(images, name);
    if (!image) continue;
    const std::string_view point = table_.Text(kPoint, row);
    const auto [place, is_new] = places.emplace(point, tracks_.size());
    if (is_new) tracks_.push_back({point, {}});
    std::vector<TrackRay>& rays = tracks_[place->second].rays;
    repeats[row] = std::any_of(rays.begin(), rays.end(), [&](const TrackRay& ray) { return ray.image == *image; });
    rays.push_back({*image, table_.Values(kLineColumn)[row] - shift, table_.Values(kSampleColumn)[row] - shift});
  }
  table_.Refuse([&](std::size_t row) -> std::string {
    const std::string image(table_.Text(kImageColumn, row));
    if (!known[table_.Text(kImageColumn, row)]) return "no model is called '" + image + "'; name one by NAME=PATH";
    if (table_.Text(kPoint, row).empty()) return "the point has no name";
    return repeats[row] ? "the point was measured in image '" + image + "' before" : "";
  });
  for (Track& track : tracks_) {
    std::sort(track.rays.begin(), track.rays.end(),
              [](const TrackRay& a, const TrackRay& b) { return a.image < b.image; });
  }
}

}  // namespace orbmath_tool
