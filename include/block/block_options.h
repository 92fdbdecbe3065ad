#pragma once
/// \file
/// What a caller may choose of a block adjustment.

#include <cstdint>
#include <memory>

#include "../frame/zxstd/progress.h"
#include "../terrain/height_surface.h"

namespace SatCommonUtils {

/// How much covariance an adjustment works out.
enum class TBlockCovariance : std::int32_t {
  None,    ///< None; outliers are tested by redundancies that take the corrections for known.
  Images,  ///< Of each image's correction.
  Points,  ///< And of each ground point, with the uncertainty of the corrections.
};

/// The options. The defaults suit measurements of half a pixel and models whose errors nobody knows.
struct TBlockOptions {
  /// True: measurements that do not belong to the others are found, named and left out. False: plain least squares of
  /// all measurements.
  bool robust = true;
  /// True: only what is wrong with the problem is said, nothing is adjusted.
  bool checkOnly = false;
  /// Standard deviation of either coordinate of a measurement that states none, pixels.
  double sigmaMeasurement = 0.5;
  /// A-priori standard deviations of an image that states none, pixels; see `TBlockImage`.
  double sigmaShift = 100.0;
  double sigmaDrift = 100.0;  ///< The same of drifts.
  /// Standard deviations of control, check and height points that state none, metres.
  double sigmaHorizontal = 1.0;
  double sigmaVertical = 1.0;  ///< Of heights.
  /// Null, or heights that every tie lies on, within `sigmaSurface` metres; metres above the ellipsoid. Where the
  /// surface has no height nothing is added.
  std::shared_ptr<const THeightSurface> surface;
  double sigmaSurface = 10.0;  ///< Standard deviation of the surface, metres.
  /// Probability with which a good measurement is named as bad, dimensionless.
  double significance = 1e-4;
  /// Gauss-Newton steps of one adjustment, at most.
  int maxIterations = 20;
  TBlockCovariance covariance = TBlockCovariance::Points;  ///< What is worked out.
  /// True: covariances and standardized residuals hold for the measurements' spread that was found (they are
  /// multiplied by sigma0), as the stated sigmas are often guesses. False: for the stated sigmas.
  bool scaleBySigma0 = true;
  /// Threads; 0: `ZxGetThreadsCount()`. The result has the same bits for any number.
  int threads = 0;
  /// Null, or told the share of the work that is done, by the calling thread; its answer false ends the adjustment.
  TZxProgressHandler* progress = nullptr;
};

}  // namespace SatCommonUtils
