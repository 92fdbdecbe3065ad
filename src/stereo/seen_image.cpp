// Footprints as functions of height. Elementary.

#include "stereo/seen_image.h"

#include <algorithm>
#include <cmath>

#include "rpc/viewing_geometry.h"
#include "stereo/acquisition_time.h"

namespace SatCommonUtils::stereo {

namespace {

// Metres between the two footprints of which the slopes are made, where the model's heights reach so far.
constexpr double kRise = 500.0;

}  // namespace

TSeenImage::TSeenImage(const TStereoImage& image, int pointsPerSide)
    : model(image.model), sensor(image.sensor), radar(image.radar) {
  if (model == nullptr) return;
  time = ParseAcquisitionTime(image.acquisitionTime);
  lowest = std::min(model->GetMinHeight(), model->GetMaxHeight());
  highest = std::max(model->GetMinHeight(), model->GetMaxHeight());
  mean = model->GetAverageHeight();
  const double rise = std::clamp(highest - mean, 1.0, kRise);
  const TImageFootprint here = FootprintAt(*model, mean, pointsPerSide);
  const TImageFootprint above = FootprintAt(*model, mean + rise, pointsPerSide);
  if (!here || !above || !here.ring.IsSimple()) return;
  vertices = here.ring.GetVertices();
  const std::vector<xy_d>& raised = above.ring.GetVertices();
  for (std::size_t i = 0; i < vertices.size(); ++i) {
    slopes.emplace_back((raised[i].x - vertices[i].x) / rise, (raised[i].y - vertices[i].y) / rise);
    middle += vertices[i].x / static_cast<double>(vertices.size());
  }
}

TPolygon TSeenImage::OutlineAt(double h, double turn) const {
  std::vector<xy_d> ring;
  ring.reserve(vertices.size());
  for (std::size_t i = 0; i < vertices.size(); ++i) {
    ring.emplace_back(vertices[i].x + turn + slopes[i].x * (h - mean), vertices[i].y + slopes[i].y * (h - mean));
  }
  return TPolygon(std::move(ring));
}

void TSeenImage::BoxOver(double low, double high, xy_d* lowest_corner, xy_d* highest_corner) const {
  *lowest_corner = {HUGE_VAL, HUGE_VAL};
  *highest_corner = {-HUGE_VAL, -HUGE_VAL};
  for (std::size_t i = 0; i < vertices.size(); ++i) {
    for (const double h : {low, high}) {
      const double x = vertices[i].x + slopes[i].x * (h - mean), y = vertices[i].y + slopes[i].y * (h - mean);
      *lowest_corner = {std::min(lowest_corner->x, x), std::min(lowest_corner->y, y)};
      *highest_corner = {std::max(highest_corner->x, x), std::max(highest_corner->y, y)};
    }
  }
}

}  // namespace SatCommonUtils::stereo
