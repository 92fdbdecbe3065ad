// The distance of two models over the image of the first; elementary.

#include "rpc/image_distance.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "frame/zxstd/plane_length.h"
#include "rpc/ground_solution.h"
#include "rpc/rpc_boxes.h"

namespace SatCommonUtils {

namespace {

// Fine enough to find the largest difference of two smooth cubic models to a few per cent, quick enough to be free.
constexpr int kAcross = 41;
constexpr int kHeights = 9;

struct GroundPoints {
  std::vector<double> lat, lon, height;
};

GroundPoints SeenInImage(const TRPC& model) {
  const TLinearNormalization heights = GroundBoxOf(model).height;
  std::vector<double> line, sample, height;
  const TImageBox image = ImageBoxOf(model, TRasterBounds::PixelCentres);
  for (const TImagePoint& point : image.Grid(kAcross, kAcross, TGridNodes::Ends)) {
    for (int k = 0; k < kHeights; ++k) {
      line.push_back(point.line);
      sample.push_back(point.sample);
      height.push_back(heights.Normalized2Initial(GridPlace(k, kHeights, TGridNodes::Ends)));
    }
  }
  std::vector<TGroundSolution> solutions(line.size());
  SolveLatLonArray(model, line.size(), line.data(), sample.data(), height.data(), solutions.data());
  GroundPoints seen;
  for (const TGroundSolution& solution : solutions) {
    if (!solution) continue;
    seen.lat.push_back(solution.lat);
    seen.lon.push_back(solution.lon);
    seen.height.push_back(solution.h);
  }
  return seen;
}

struct ImagePoints {
  std::vector<double> line, sample;
};

ImagePoints Project(const TRPC& model, const GroundPoints& ground) {
  ImagePoints image{std::vector<double>(ground.lat.size()), std::vector<double>(ground.lat.size())};
  model.CalculateLineSampleArray(ground.lat.size(), ground.lat.data(), ground.lon.data(), ground.height.data(),
                                 image.line.data(), image.sample.data(), nullptr, nullptr);
  return image;
}

}  // namespace

TImageDistance DistanceInImage(const TRPC& model, const TRPC& other) {
  const GroundPoints ground = SeenInImage(model);
  const ImagePoints a = Project(model, ground);
  const ImagePoints b = Project(other, ground);
  double worst = 0.0;
  double sum = 0.0;
  for (std::size_t i = 0; i < a.line.size(); ++i) {
    const double distance = PlaneLength(a.line[i] - b.line[i], a.sample[i] - b.sample[i]);
    worst = std::max(worst, distance);
    sum += distance * distance;
  }
  // The sum carries a NaN that the maximum passes over, and 0 / 0 says that there was no point.
  const double rms = std::sqrt(sum / static_cast<double>(a.line.size()));
  return std::isfinite(rms) ? TImageDistance{worst, rms} : TImageDistance();
}

}  // namespace SatCommonUtils
