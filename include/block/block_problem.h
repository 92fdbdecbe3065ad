#pragma once
/// \file
/// The problem of a block adjustment: images with their models, ground points, and where the points were measured.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "../frame/api.h"
#include "../rpc/rpc_model.h"

namespace SatCommonUtils {

/// What an adjustment may correct of an image. With p the image point that the image's model gives, and
/// u = (sample - offset) / scale, v = (line - offset) / scale of p, normalised by that model, the corrected point is
///
///     sample = p.sample + b0 + b1 u + b2 v,    line = p.line + a0 + a1 u + a2 v.
///
/// Source: Grodecki and Dial, "Block adjustment of high-resolution satellite images described by rational polynomials"
/// (2003), doi:10.14358/PERS.69.1.59.
enum class TBlockCorrection : std::int32_t {
  None,       ///< Nothing: the image is fixed, and holds the others.
  Shift,      ///< a0 and b0.
  Drift,      ///< Shift and drift along the lines: a0, a2, b0, b2.
  Affine,     ///< All six.
  Automatic,  ///< The simplest of shift, drift and affine that no richer one improves significantly.
};

/// "none", "shift", "drift", "affine" and "auto"; "unknown" for any other value.
ORBMATH_API const char* GetBlockCorrectionName(TBlockCorrection correction) noexcept;

/// One image.
struct TBlockImage {
  std::string name;  ///< As reports name it; any text.
  std::shared_ptr<const TRPC>
      model;  ///< Not null. An adjusted model counts with its refinement, see `AdjustedModelOf`.
  TBlockCorrection correction = TBlockCorrection::Affine;  ///< What may be corrected.
  /// Standard deviation of a0 and b0 about 0 before the adjustment, pixels; 0: that of the options.
  double sigmaShift = 0.0;
  /// The same of a1, a2, b1, b2: pixels at half the image's size from its centre; 0: that of the options.
  double sigmaDrift = 0.0;
  /// Images of one pass, those with the same number of 0 or above, share one correction: the same six numbers, each in
  /// its own normalised coordinates. They must ask for the same kind and sigmas. Negative: the image has its own.
  std::int32_t pass = -1;
};

/// What is known of a ground point.
enum class TBlockPointRole : std::int32_t {
  Tie,      ///< Nothing; latitude, longitude and height are not read.
  Control,  ///< Latitude, longitude and height, with their sigmas.
  Check,    ///< The same, but only to compare with: to the adjustment the point is a tie.
  Height,   ///< The height, with its sigma; latitude and longitude are not read.
};

/// "tie", "control", "check" and "height"; "unknown" for any other value.
ORBMATH_API const char* GetBlockPointRoleName(TBlockPointRole role) noexcept;

/// One ground point.
struct TBlockPoint {
  std::string name;                             ///< As reports name it; any text.
  TBlockPointRole role = TBlockPointRole::Tie;  ///< What is known.
  double lat = 0.0;                             ///< Degrees.
  double lon = 0.0;                             ///< Degrees, in any turn.
  double height = 0.0;                          ///< Metres above the ellipsoid.
  double sigmaHorizontal = 0.0;  ///< Standard deviation towards east and towards north, metres; 0: that of the options.
  double sigmaVertical = 0.0;    ///< The same of the height.
};

/// Where points were measured in images: one entry of each list a measurement, in any order.
struct ORBMATH_API TBlockMeasurements {
  std::vector<std::uint32_t> point;  ///< Place of the point in `TBlockProblem::points`.
  std::vector<std::uint32_t> image;  ///< Place of the image in `TBlockProblem::images`.
  std::vector<double> line;          ///< Pixels, counted as the image's model does.
  std::vector<double> sample;        ///< Pixels.
  /// Standard deviation of either coordinate, pixels; 0: that of the options. The whole list may be empty.
  std::vector<double> sigma;

  /// Number of measurements.
  std::size_t Size() const noexcept { return point.size(); }
  /// Appends one.
  void Add(std::uint32_t pointIndex, std::uint32_t imageIndex, double measuredLine, double measuredSample,
           double measuredSigma = 0.0);
};

/// All that an adjustment is given.
struct TBlockProblem {
  std::vector<TBlockImage> images;  ///< In any order.
  std::vector<TBlockPoint> points;  ///< In any order.
  TBlockMeasurements measurements;  ///< Where they were measured.
};

}  // namespace SatCommonUtils
