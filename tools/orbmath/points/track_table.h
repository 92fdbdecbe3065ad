#pragma once
/// \file
/// Long tables of image points, one measurement a line, brought together point by point.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "models/image_names.h"
#include "points/point_table.h"

namespace orbmath_tool {

/// One image point.
struct TrackRay {
  std::size_t image = 0;  ///< place among the images
  double line = 0.0;      ///< pixels
  double sample = 0.0;    ///< pixels
};

/// A point and the rays to it.
struct Track {
  std::string_view point;
  std::vector<TrackRay> rays;  ///< in the order of the images
};

/// The measurements of a table `point image line sample [sigma]`.
class TrackTable {
 public:
  /// \param names the option `--columns`. \param shift where line and sample count from.
  /// \throws UsageError, Failure naming lines that are no measurement, whose image is none, or repeats another.
  TrackTable(const std::string& file, const std::string& names, const std::vector<NamedImage>& images, double shift);

  /// In the order in which points come first in the file.
  const std::vector<Track>& Tracks() const { return tracks_; }
  /// Whether measurements have standard deviations.
  bool HasSigmas() const { return has_sigmas_; }
  const std::string& Name() const { return table_.Name(); }

 private:
  PointTable table_;
  bool has_sigmas_;
  std::vector<Track> tracks_;
};

}  // namespace orbmath_tool
