#pragma once
/// \file
/// What a block adjustment found: corrections, ground points, residuals, and all that is wrong, by name.

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "../frame/api.h"
#include "block_problem.h"

namespace SatCommonUtils {

/// How an adjustment ended.
enum class TBlockState : std::int32_t {
  NotRun,        ///< Nothing was computed.
  Adjusted,      ///< The steps came to rest.
  NotConverged,  ///< The largest number of steps was made without coming to rest; the result is the last step's.
  Checked,       ///< Only a check was asked for; states of images and points and the pieces are filled in.
  BadProblem,    ///< The problem or the options cannot be meant; the sentence says which.
  NothingToDo,   ///< No image can be adjusted.
  Singular,      ///< The normal equations have no solution.
  Cancelled,     ///< The progress handler ended it.
};

/// What became of an image.
enum class TBlockImageState : std::int32_t {
  NotRun,      ///< Nothing was computed.
  Adjusted,    ///< It has a correction.
  Fixed,       ///< No correction was asked for.
  TooFewTies,  ///< Its measurements do not determine the correction asked for; it stays as it was and takes no part.
  NoModel,     ///< Its model is missing or unusable; it takes no part.
};

/// What became of a ground point.
enum class TBlockPointState : std::int32_t {
  NotRun,            ///< Nothing was computed.
  Used,              ///< It took part in the adjustment.
  TooFewRays,        ///< Fewer measurements in images that take part than its position needs.
  NoIntersection,    ///< Its rays meet nowhere that its images' models look at.
  LostMeasurements,  ///< Too few measurements are left without the bad ones.
  NotFinite,         ///< Stated coordinates or sigmas that are no numbers or out of range.
};

/// What became of a measurement.
enum class TBlockMeasurementState : std::int32_t {
  NotRun,     ///< Nothing was computed.
  Used,       ///< It took part.
  Bad,        ///< It does not belong to the others; it was left out.
  Undecided,  ///< It and the other one of its point contradict each other; which is bad cannot be told, both were left
              ///< out.
  PointLost,  ///< Its point takes no part.
  ImageLost,  ///< Its image takes no part.
  NotFinite,  ///< Numbers that are none, or a sigma below 0.
  Repeated,   ///< A later measurement of the same point in the same image.
};

/// Short sentences without a full stop, in English; never null.
ORBMATH_API const char* DescribeBlockState(TBlockState state) noexcept;
ORBMATH_API const char* DescribeBlockState(TBlockImageState state) noexcept;        ///< The same of an image.
ORBMATH_API const char* DescribeBlockState(TBlockPointState state) noexcept;        ///< The same of a point.
ORBMATH_API const char* DescribeBlockState(TBlockMeasurementState state) noexcept;  ///< The same of a measurement.

/// The correction of an image, in pixels; see `TBlockCorrection`. The constant first, then the factors of u and of v.
struct TBlockParameters {
  std::array<double, 3> sample{};  ///< b0, b1, b2
  std::array<double, 3> line{};    ///< a0, a1, a2
};

/// Residuals of an image: measured minus corrected projection, over the measurements that were used.
struct TBlockImageResiduals {
  std::size_t used = 0;     ///< Measurements used.
  std::size_t bad = 0;      ///< Measurements named bad or undecided.
  double meanLine = 0.0;    ///< Pixels.
  double meanSample = 0.0;  ///< Pixels.
  double rmsLine = 0.0;     ///< Pixels.
  double rmsSample = 0.0;   ///< Pixels.
  double largest = 0.0;     ///< Longest residual, pixels.
};

/// The story of one image.
struct TBlockImageResult {
  TBlockImageState state = TBlockImageState::NotRun;  ///< What became of it.
  /// The kind of correction: that of the problem, or what took the place of `Automatic`.
  TBlockCorrection correction = TBlockCorrection::None;
  /// Which of `TBlockResult::pieces` it belongs to; negative when it takes no part.
  std::int32_t piece = -1;
  TBlockParameters parameters;  ///< The correction; zeros without one.
  /// Covariance of b0, b1, b2, a0, a1, a2 by rows, squared pixels; 0 in rows and columns of parameters that the kind
  /// does not have; NaN where it was not worked out.
  std::array<double, 36> covariance{};
  /// The largest standard deviation of the correction, in either coordinate, over the corners of the model's box of the
  /// image, pixels; NaN as above.
  double cornerSigma = std::numeric_limits<double>::quiet_NaN();
  TBlockImageResiduals residuals;  ///< Over its measurements.
};

/// The story of one ground point.
struct TBlockPointResult {
  TBlockPointState state = TBlockPointState::NotRun;         ///< What became of it.
  double lat = std::numeric_limits<double>::quiet_NaN();     ///< Degrees; NaN unless `Used`.
  double lon = std::numeric_limits<double>::quiet_NaN();     ///< Degrees, in the turn of the point's first image.
  double height = std::numeric_limits<double>::quiet_NaN();  ///< Metres.
  /// Covariance towards east, north and up by rows, squared metres; NaN where it was not worked out.
  std::array<double, 9> covariance{};
  std::uint32_t rays = 0;  ///< Measurements that were used.
  std::uint32_t bad = 0;   ///< Measurements named bad or undecided.
};

/// The story of the measurements: lists of the problem's length and order.
struct TBlockMeasurementResults {
  std::vector<TBlockMeasurementState> state;  ///< What became of each.
  /// Measured minus corrected projection, pixels; of bad ones too where the point is known, else NaN.
  std::vector<double> line;
  std::vector<double> sample;  ///< The same of the sample.
  /// Length of the residual in standard deviations of a good one, dimensionless: the root of v'Q^-1 v / n with v the
  /// residual, Q its covariance and n the number of directions, 1 or 2, in which it shows an error (of bad ones: as it
  /// would be for a measurement that did not take part); NaN as above.
  std::vector<double> standardized;
  /// Share of an error in the measurement that its residual shows, mean of both coordinates, 0 to 1.
  std::vector<double> redundancy;
};

/// How far an adjusted point lies from where a control, check or height point says.
struct TBlockMisclosure {
  std::uint32_t point = 0;  ///< Place in `TBlockProblem::points`.
  double east = 0.0;        ///< Adjusted minus known, metres; 0 for a height point.
  double north = 0.0;       ///< The same towards north.
  double up = 0.0;          ///< The same of the height.
  double sigmaEast = 0.0;   ///< What the covariances expect of it, metres; NaN where they were not worked out.
  double sigmaNorth = 0.0;  ///< The same towards north.
  double sigmaUp = 0.0;     ///< The same of the height.
  /// The misclosure's length in its standard deviations, dimensionless: root mean square over its coordinates; NaN as
  /// above, and where the point rests on what is known of it alone.
  double standardized = std::numeric_limits<double>::quiet_NaN();
  bool isBad = false;  ///< It does not belong to the others; as control it was left out.
};

/// Statistics of misclosures, metres; NaN without points.
struct TBlockMisclosureStatistics {
  std::size_t count = 0;                                       ///< Points.
  double rmsEast = std::numeric_limits<double>::quiet_NaN();   ///< Root mean square towards east.
  double rmsNorth = std::numeric_limits<double>::quiet_NaN();  ///< Towards north.
  double rmsUp = std::numeric_limits<double>::quiet_NaN();     ///< Of heights.
  /// Nine of ten points lie within it, horizontally and vertically: the order statistic that is not below 90 % of the
  /// points, so the largest of fewer than ten.
  double ce90 = std::numeric_limits<double>::quiet_NaN();
  double le90 = std::numeric_limits<double>::quiet_NaN();  ///< Nine of ten heights lie within it, in the same way.
};

/// Images that hang together through points; no point links two pieces.
struct TBlockPiece {
  std::vector<std::uint32_t> images;  ///< Places of the images, ascending.
  std::size_t ties = 0;               ///< Ties and check points used.
  std::size_t control = 0;            ///< Control points used.
  std::size_t heights = 0;            ///< Height points and heights of the surface used.
  std::size_t fixedImages = 0;        ///< Images without a correction.
  bool isFree = false;                ///< Nothing but a-priori sigmas holds its place on the ground.
};

/// The result of an adjustment.
struct ORBMATH_API TBlockResult {
  TBlockState state = TBlockState::NotRun;  ///< How it ended.
  /// One sentence that a person can read.
  std::string message = "not run";
  /// More sentences, each about one thing to know: what holds the datum, pieces, images that were left out.
  std::vector<std::string> notes;

  double sigma0 = std::numeric_limits<double>::quiet_NaN();  ///< Root of the weighted square sum over the redundancy.
  double rms = std::numeric_limits<double>::quiet_NaN();  ///< Root mean square of the coordinates' residuals, pixels.
  std::int64_t redundancy = 0;    ///< Equations minus unknowns; a-priori knowledge of corrections is not counted.
  std::int64_t observations = 0;  ///< Measurements used, two coordinates each.
  std::int64_t unknowns = 0;      ///< Parameters of corrections and three for each ground point.
  int iterations = 0;             ///< Gauss-Newton steps, of all passes of the outlier search together.
  int factorizations = 0;         ///< How often the reduced normal matrix was factored.
  bool scaled = false;            ///< Covariances were multiplied by the square of sigma0.
  bool dense = false;             ///< The reduced normal matrix was factored as a full one.

  std::vector<TBlockImageResult> images;         ///< Those of the problem, in order.
  std::vector<TBlockPointResult> points;         ///< Those of the problem, in order.
  TBlockMeasurementResults measurements;         ///< Those of the problem, in order.
  std::vector<TBlockMisclosure> control;         ///< Control and height points that were used or named bad, in order.
  std::vector<TBlockMisclosure> check;           ///< Check points that were used as ties, in order.
  TBlockMisclosureStatistics controlStatistics;  ///< Control points that were used.
  TBlockMisclosureStatistics checkStatistics;    ///< Check points.
  std::vector<TBlockPiece> pieces;               ///< That with the most images first.

  std::vector<std::uint32_t> badMeasurements;  ///< Bad and undecided ones, worst first.
  std::vector<std::uint32_t> lostPoints;       ///< Points that take no part.
  std::vector<std::uint32_t> lostImages;       ///< Images that take no part.
  std::vector<std::uint32_t> badControl;       ///< Places in `control`, worst first.

  /// True when there are corrections.
  explicit operator bool() const noexcept {
    return state == TBlockState::Adjusted || state == TBlockState::NotConverged;
  }
};

}  // namespace SatCommonUtils
