#include "models/ground_grid.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>

#include "rpc/ground_solution.h"

namespace orbmath_tool {

using SatCommonUtils::TRPC;

namespace {

// Fine enough to find the largest difference of two smooth cubic models to a few per cent, quick enough to be free.
constexpr int kAcross = 41;
constexpr int kHeights = 9;

void SetRange(double* range, double a, double b) {
  range[0] = std::min(a, b);
  range[1] = std::max(a, b);
}

void Intersect(double* range, const double* other) {
  range[0] = std::max(range[0], other[0]);
  range[1] = std::min(range[1], other[1]);
}

double Between(const double* range, int i, int count) {
  return i == count - 1 ? range[1] : range[0] + (range[1] - range[0]) * i / (count - 1);
}

/// Ground points of a grid over the image (the raster when its size is known) and the heights of a model; points that
/// the model cannot find are left out.
GroundPoints SeenInImage(const TRPC& model) {
  double line[2] = {model.GetMinLine(), model.GetMaxLine()};
  double sample[2] = {model.GetMinSample(), model.GetMaxSample()};
  int width = 0;
  int height = 0;
  if (model.GetRasterDims(&width, &height)) {
    SetRange(line, 0.0, height - 1.0);
    SetRange(sample, 0.0, width - 1.0);
  }
  // The same walk as over a ground box, with line and sample in the places of latitude and longitude.
  const GroundPoints image = MakeGrid(
      {{line[0], line[1]}, {sample[0], sample[1]}, {model.GetMinHeight(), model.GetMaxHeight()}}, kAcross, kHeights);
  std::vector<SatCommonUtils::TGroundSolution> solutions(image.size());
  SatCommonUtils::SolveLatLonArray(model, image.size(), image.lat.data(), image.lon.data(), image.height.data(),
                                   solutions.data());
  GroundPoints points;
  for (const SatCommonUtils::TGroundSolution& solution : solutions) {
    if (!solution) continue;
    points.lat.push_back(solution.lat);
    points.lon.push_back(solution.lon);
    points.height.push_back(solution.h);
  }
  return points;
}

}  // namespace

bool GroundBox::IsEmpty() const { return !(lat[0] <= lat[1] && lon[0] <= lon[1] && height[0] <= height[1]); }

GroundBox BoxOf(const TRPC& model) {
  GroundBox box{};
  SetRange(box.lat, model.GetMinLatitude(), model.GetMaxLatitude());
  SetRange(box.lon, model.GetMinLongitude(), model.GetMaxLongitude());
  SetRange(box.height, model.GetMinHeight(), model.GetMaxHeight());
  return box;
}

GroundBox CommonBox(const TRPC& a, const TRPC& b) {
  GroundBox box = BoxOf(a);
  GroundBox other = BoxOf(b);
  const double turns = 360.0 * std::round((a.GetCenterLongitude() - b.GetCenterLongitude()) / 360.0);
  for (double& lon : other.lon) lon += turns;
  Intersect(box.lat, other.lat);
  Intersect(box.lon, other.lon);
  Intersect(box.height, other.height);
  return box;
}

GroundPoints MakeGrid(const GroundBox& box, int across, int heights) {
  GroundPoints points;
  for (int i = 0; i < across; ++i) {
    for (int j = 0; j < across; ++j) {
      for (int k = 0; k < heights; ++k) {
        points.lat.push_back(Between(box.lat, i, across));
        points.lon.push_back(Between(box.lon, j, across));
        points.height.push_back(Between(box.height, k, heights));
      }
    }
  }
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
  const GroundBox box = CommonBox(a, b);
  const GroundPoints grid = box.IsEmpty() ? GroundPoints{} : MakeGrid(box, kAcross, kHeights);
  return PixelDifference(Project(a, grid), Project(b, grid));
}

PixelDifference DifferenceInImage(const TRPC& model, const TRPC& other) {
  const GroundPoints points = SeenInImage(model);
  return PixelDifference(Project(model, points), Project(other, points));
}

}  // namespace orbmath_tool
