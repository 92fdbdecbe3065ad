// Grids over what models cover, and the pixels that models differ by on them. Elementary.

#include "models/ground_grid.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>

namespace orbmath_tool {

using SatCommonUtils::TLinearNormalization;
using SatCommonUtils::TRPC;

namespace {

// Fine enough to find the largest difference of two smooth cubic models to a few per cent, quick enough to be free.
constexpr int kAcross = 41;
constexpr int kHeights = 9;
constexpr SatCommonUtils::TGridNodes kEnds = SatCommonUtils::TGridNodes::Ends;

/// What two axes have in common; its scale is below 0, or NaN, when that is nothing.
TLinearNormalization Common(const TLinearNormalization& a, const TLinearNormalization& b, double b_moved_by) {
  const double b_center = b.GetOffset() + b_moved_by;
  const double low = std::max(a.GetOffset() - std::abs(a.GetScale()), b_center - std::abs(b.GetScale()));
  const double high = std::min(a.GetOffset() + std::abs(a.GetScale()), b_center + std::abs(b.GetScale()));
  return TLinearNormalization::Unchecked(0.5 * (low + high), 0.5 * (high - low));
}

void Append(const SatCommonUtils::TGroundPoint& point, GroundPoints* points) {
  points->lat.push_back(point.lat);
  points->lon.push_back(point.lon);
  points->height.push_back(point.h);
}

}  // namespace

std::optional<SatCommonUtils::TGroundBox> CommonBox(const TRPC& a, const TRPC& b) {
  const SatCommonUtils::TGroundBox of_a = SatCommonUtils::GroundBoxOf(a), of_b = SatCommonUtils::GroundBoxOf(b);
  const double b_center = of_b.longitude.GetOffset();
  const double turned = SatCommonUtils::LongitudeNear(of_a.longitude.GetOffset(), b_center) - b_center;
  const SatCommonUtils::TGroundBox common{Common(of_a.latitude, of_b.latitude, 0.0),
                                          Common(of_a.longitude, of_b.longitude, turned),
                                          Common(of_a.height, of_b.height, 0.0)};
  for (const TLinearNormalization* const axis : {&common.latitude, &common.longitude, &common.height}) {
    if (!(axis->GetScale() >= 0.0)) return std::nullopt;
  }
  return common;
}

GroundPoints MakeGrid(const SatCommonUtils::TGroundBox& box, int across, int heights) {
  GroundPoints points;
  for (const SatCommonUtils::TGroundPoint& point : box.Grid(across, across, heights, kEnds)) Append(point, &points);
  return points;
}

ImagePoints Project(const TRPC& model, const GroundPoints& points) {
  ImagePoints image{std::vector<double>(points.size()), std::vector<double>(points.size())};
  model.CalculateLineSampleArray(points.size(), points.lat.data(), points.lon.data(), points.height.data(),
                                 image.line.data(), image.sample.data(), nullptr, nullptr);
  return image;
}

PixelDifference::PixelDifference(const ImagePoints& a, const ImagePoints& b) {
  double sum = 0.0;
  for (std::size_t i = 0; i < a.line.size(); ++i) {
    const double line = std::abs(a.line[i] - b.line[i]);
    const double sample = std::abs(a.sample[i] - b.sample[i]);
    const double distance = std::hypot(line, sample);
    max_line = std::max(max_line, line);
    max_sample = std::max(max_sample, sample);
    max = std::max(max, distance);
    sum += distance * distance;
  }
  rms = std::sqrt(sum / static_cast<double>(a.line.size()));
  // No point at all, or one without a number: nothing can be said.
  if (!std::isfinite(rms)) max_line = max_sample = max = rms;
}

PixelDifference CompareModels(const TRPC& a, const TRPC& b) {
  const std::optional<SatCommonUtils::TGroundBox> box = CommonBox(a, b);
  const GroundPoints grid = box ? MakeGrid(*box, kAcross, kHeights) : GroundPoints{};
  return PixelDifference(Project(a, grid), Project(b, grid));
}

}  // namespace orbmath_tool
