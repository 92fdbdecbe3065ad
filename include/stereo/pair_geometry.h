#pragma once
/// \file
/// Pairs of images as stereo pairs: their overlap, their angles, the heights that they can give, and the search for the
/// pairs of many images that meet the criteria of `stereo/stereopairs_by_overlap.h`.

#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "../frame/api.h"
#include "../geometry/polygon.h"
#include "../rpc/rpc_axes.h"
#include "../rpc/rpc_model.h"
#include "stereopairs_by_overlap.h"

namespace SatCommonUtils {

/// An image that may be half of a pair.
struct TStereoImage {
  const TRPC* model = nullptr;  ///< not owned; null: a part of no pair
  std::string sensor;           ///< e.g. the file's satellite; empty: unknown
  std::string acquisitionTime;  ///< as `ParseAcquisitionTime` reads it; anything else: unknown
  bool radar = false;           ///< see `AsRadar` of `rpc/viewing_geometry.h`
};

/// How to look at pairs.
struct TStereoPairOptions {
  double matchingSigma = 0.5;  ///< standard deviation of a matched coordinate in each image, pixels
  /// Of the ground, metres above the ellipsoid; absent: for each pair the middle of the heights that both models were
  /// made for, or, where there are none, of their mean heights.
  std::optional<double> height;
  int pointsPerSide = 2;  ///< of the footprints
  bool overlaps = false;  ///< whether the areas of the overlaps are kept
};

/// How the look at a pair ended.
enum class TStereoPairState {
  NotRun,
  Done,
  Apart,        ///< the footprints have no area in common
  NoFootprint,  ///< the outline of an image was not found, or is not simple
};

/// Two images of one ground. NaN is what is not known.
struct TStereoPair {
  static constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();  ///< what is not known

  TStereoPairState state = TStereoPairState::NotRun;  ///< how the look ended
  std::size_t first = 0;                              ///< places of the images in the list
  std::size_t second = 0;                             ///< the larger of the two
  TGroundPoint place{kNaN, kNaN,
                     kNaN};         ///< where the angles are those of the pair: amid the largest part of the overlap
  double overlapArea = 0.0;         ///< square metres on the ellipsoid
  double overlapPercent = 0.0;      ///< of the smaller footprint
  double overlapPixels = 0.0;       ///< of the image with the larger pixels
  double convergence = kNaN;        ///< angle between the lines of sight, degrees
  double bisectorElevation = kNaN;  ///< of the bisector of the lines of sight above the horizon, degrees
  /// Between the bisector and the normal of the ellipsoid, the latter seen along the normal of the plane of both lines
  /// of sight, degrees: 0 when both sensors are equally oblique.
  double asymmetry = kNaN;
  double baseToHeight = kNaN;  ///< parallax of a height: how far the images shift apart on flat ground by a unit of it
  double heightSigma = kNaN;   ///< standard deviation of a height from matched points, metres
  double planSigma = kNaN;     ///< the larger semi-axis of the same in the plane, metres
  double gsd[2] = {kNaN, kNaN};          ///< of both images at the place, metres
  double gsdDifference = kNaN;           ///< percent of the larger
  double timeGap = kNaN;                 ///< days between both acquisitions
  double dateGap = kNaN;                 ///< whole days between both dates (UTC)
  double sunAzimuthDifference = kNaN;    ///< degrees, at the place
  double sunElevationDifference = kNaN;  ///< degrees
  std::optional<bool> sameSensor;        ///< absent when one of the two is unknown
  /// A rule of thumb for the order, 0 to 1: the overlap's share, times 1 at convergences from 15 to 35 degrees,
  /// falling to 0 at 0 (no parallax) and at 90 (images too unlike to be matched); 0 where it is not known.
  double quality = 0.0;
  std::vector<TPolygon> overlap;  ///< x longitude in the turn of the first model, y latitude; see the options

  /// True for `Done`.
  explicit operator bool() const noexcept { return state == TStereoPairState::Done; }
};

/// One of the criteria.
enum class TPairCriterion {
  OverlapPercentage,
  OverlapPixels,
  ConvergenceAngle,
  Sensor,
  TimeGap,
  DateGap,
  Gsd,
  SunAzimuth,
  SunElevation
};
/// "overlap", "pixels", "convergence", "sensor", "time-gap", "date-gap", "gsd", "sun-azimuth", "sun-elevation".
ORBMATH_API const char* PairCriterionName(TPairCriterion criterion) noexcept;

/// The criteria that a pair does not meet. Time gaps count in days, date gaps in whole days. A value that is unknown
/// fails where the criteria reject it. `TiesRequired` is not looked at: what ties there are is for the host to know.
ORBMATH_API std::vector<TPairCriterion> FailedCriteria(
    const TStereoPair& pair, const StereopairsByOverlap::TStereopairsByOverlapParams& criteria);

/// Two images as a pair; `first` and `second` are 0 and 1. Any number of threads may call.
///
/// Angles: J. Jeong and T. Kim, "Quantitative estimation and validation of the effects of the convergence, bisector
/// elevation, and asymmetry angles on the positioning accuracies of satellite stereo pairs" (2016),
/// doi:10.14358/PERS.82.8.625. The standard deviations are those of an intersection by least squares of one point that
/// is measured in both images with the given sigma; errors of the models' positions are not in them.
ORBMATH_API TStereoPair LookAtPair(const TStereoImage& first, const TStereoImage& second,
                                   const TStereoPairOptions& options = TStereoPairOptions());

/// How a search ended.
enum class TPairSearchState {
  NotRun,
  Done,
  BadCriteria,  ///< the criteria are not valid
};

/// The pairs of a list of images.
struct TPairSearch {
  TPairSearchState state = TPairSearchState::NotRun;  ///< how the search ended
  std::string message = "not run";                    ///< one sentence
  std::size_t candidates = 0;       ///< pairs whose footprints' boxes touch: those that were looked at
  std::size_t accepted = 0;         ///< pairs that meet the criteria; they come first
  std::vector<std::size_t> unseen;  ///< images without a footprint
  std::vector<TStereoPair>
      pairs;  ///< that overlap: those that meet the criteria, then the others, each by falling quality

  /// True for `Done`.
  explicit operator bool() const noexcept { return state == TPairSearchState::Done; }
};

/// Looks at every pair of images that overlap, on up to `ZxGetThreadsCount()` threads, with the same result on any
/// number of them. Boxes around the footprints, sorted by latitude, leave out the pairs that cannot overlap. Longitudes
/// may lie in any turn and across 180 degrees; footprints around a pole of the earth are not understood.
ORBMATH_API TPairSearch FindStereoPairs(const std::vector<TStereoImage>& images,
                                        const StereopairsByOverlap::TStereopairsByOverlapParams& criteria = {},
                                        const TStereoPairOptions& options = TStereoPairOptions());

}  // namespace SatCommonUtils
