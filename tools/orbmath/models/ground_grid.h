#pragma once
/// \file
/// Grids of ground points, on which models are judged.

#include <cstddef>
#include <optional>
#include <vector>

#include "rpc/rpc_boxes.h"
#include "rpc/rpc_model.h"

namespace orbmath_tool {

/// What both models cover, in the turn of longitude of `a`; empty when that is nothing.
std::optional<SatCommonUtils::TGroundBox> CommonBox(const SatCommonUtils::TRPC& a, const SatCommonUtils::TRPC& b);

/// Ground points as arrays.
struct GroundPoints {
  std::vector<double> lat;
  std::vector<double> lon;
  std::vector<double> height;

  std::size_t size() const { return lat.size(); }
};

/// A grid over a box, borders included: `across` values of latitude and of longitude, `heights` of height.
GroundPoints MakeGrid(const SatCommonUtils::TGroundBox& box, int across, int heights);

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

}  // namespace orbmath_tool
