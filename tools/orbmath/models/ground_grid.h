#pragma once
/// \file
/// Grids of ground points, on which models are judged.

#include <cstddef>
#include <vector>

#include "rpc/rpc_model.h"

namespace orbmath_tool {

/// Ranges of latitude, longitude (degrees) and height (metres), each from low to high.
struct GroundBox {
  double lat[2];
  double lon[2];
  double height[2];

  bool IsEmpty() const;
};

/// Where the normalised coordinates of `model` are between -1 and 1.
GroundBox BoxOf(const SatCommonUtils::TRPC& model);

/// What both models cover. The longitudes of `b` are brought to the turn of `a`. May be empty.
GroundBox CommonBox(const SatCommonUtils::TRPC& a, const SatCommonUtils::TRPC& b);

/// Points as arrays.
struct GroundPoints {
  std::vector<double> lat;
  std::vector<double> lon;
  std::vector<double> height;

  std::size_t size() const { return lat.size(); }
};

/// A grid over a box, borders included: `across` values of latitude and of longitude, `heights` of height; at least 2.
GroundPoints MakeGrid(const GroundBox& box, int across, int heights);

/// Image points as arrays.
struct ImagePoints {
  std::vector<double> line;
  std::vector<double> sample;
};

/// The image points of ground points.
ImagePoints Project(const SatCommonUtils::TRPC& model, const GroundPoints& points);

/// How far image points lie apart, pixels.
struct PixelDifference {
  double max_line = 0.0;
  double max_sample = 0.0;
  double max = 0.0;  ///< largest distance
  double rms = 0.0;  ///< root mean square distance

  PixelDifference(const ImagePoints& a, const ImagePoints& b);
};

/// The difference of two models over a grid of what both cover; NaN throughout when that is nothing.
PixelDifference CompareModels(const SatCommonUtils::TRPC& a, const SatCommonUtils::TRPC& b);

/// How far `other` misses `model` over the ground that `model` sees: a grid over its image and its heights. What a
/// model gives far outside of its image, as some do over most of their ground box, does not count here.
PixelDifference DifferenceInImage(const SatCommonUtils::TRPC& model, const SatCommonUtils::TRPC& other);

}  // namespace orbmath_tool
