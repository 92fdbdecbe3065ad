#pragma once
// An image as the search for pairs sees it: its footprint at any height, without solving for it again.

#include <optional>
#include <string>
#include <vector>

#include "geometry/polygon.h"
#include "stereo/pair_geometry.h"

namespace SatCommonUtils::stereo {

/// The outline of an image at its mean height, and how it moves with height. Lines of sight are straight, so that a
/// vertex moves evenly: over a kilometre the curve of the earth adds a decimetre.
struct TSeenImage {
  TSeenImage() = default;
  TSeenImage(const TStereoImage& image, int pointsPerSide);

  /// Whether there is a footprint.
  explicit operator bool() const noexcept { return !vertices.empty(); }
  /// The footprint at a height, moved by some degrees of longitude.
  TPolygon OutlineAt(double h, double turn) const;
  /// The box around the footprints over a range of heights.
  void BoxOver(double low, double high, xy_d* lowest, xy_d* highest) const;

  const TRPC* model = nullptr;
  std::string sensor;
  std::optional<double> time;  ///< days, `ParseAcquisitionTime`
  bool radar = false;
  double lowest = 0.0, highest = 0.0, mean = 0.0;  ///< the model's heights, metres
  double middle = 0.0;                             ///< longitude, degrees
  std::vector<xy_d> vertices;                      ///< at the mean height, degrees
  std::vector<xy_d> slopes;                        ///< degrees a metre
};

/// `LookAtPair` of images that have been seen.
TStereoPair LookAt(const TSeenImage& a, const TSeenImage& b, const TStereoPairOptions& options);

}  // namespace SatCommonUtils::stereo
