#pragma once
/// \file
/// The fit of an RPC record that holds with few points, noisy points, bad points and any number of points.

#include <cstddef>
#include <string>
#include <vector>

#include "../frame/api.h"
#include "../frame/zxstd/progress.h"
#include "../rpc/rpc_data.h"
#include "../rpc/rpc_renormalize.h"
#include "rpc_estimation.h"

namespace SatCommonUtils {

class TRPC;

/// The share of bad points, of 100 points or more spread over the box, that cannot spoil a fit: what they say, in the
/// image or on the ground, no matter by how much, moves its result no more than if they were not there. Of 60 points it
/// is a tenth. Found by experiment, see docs/fitting.md, for models that a cubic polynomial follows more closely than
/// the bad points are off, as it follows those of real sensors over their images. Of others, of points that lie so that
/// few of them carry the model, and of bad ones that agree with each other, smaller numbers can do harm.
constexpr double kRPCFitBreakdown = 0.3;

/// What becomes of points that do not belong to the others.
enum class TRPCBadPoints {
  LeftOut,    ///< They are named and take no part.
  Kept,       ///< They are named but take part.
  NotSought,  ///< Nothing is tested: for points that are computed, whose residuals are the model's, not a blunder's.
};

/// What a caller may choose of a fit. The defaults choose from the points.
struct ORBMATH_API TRPCFitOptions {
  /// Degree of the polynomials, 1, 2 or 3, or 0: the best of the three for each output, by cross-validation.
  int order = 0;
  /// Ridge of the fit, dimensionless, 0 or above, as a share of the largest squared singular value of the design
  /// matrix, or negative: chosen by cross-validation. Order 1 needs none.
  double ridge = -1.0;
  /// Weight of each point (1 / variance; only ratios count), 0 or above; empty: all the same. A point of weight 0, or
  /// of less than 1e-20 of the largest, takes no part and is not counted.
  std::vector<double> weights;
  /// What becomes of bad points.
  TRPCBadPoints badPoints = TRPCBadPoints::LeftOut;
  /// Each `holdOut`-th point (2 or above) is kept out of the fit and checks it; 0: none.
  std::size_t holdOut = 0;
  /// More points to check the fit with, in the units of the fitted ones.
  std::vector<TRPCEstimationPoint> checkPoints;
  /// True: the fit is made onto the five offsets and scales that the record holds, though the points are in ground and
  /// image units; rounded ones, say, that a file form can hold. Normalised points are always fitted that way.
  bool keepNormalization = false;
  /// Null, or told the share of the work that is done; its answer false ends the fit.
  TZxProgressHandler* progress = nullptr;
};

/// Statistics of residuals over a set of points, in pixels (dimensionless when the record's scales are 1).
struct TRPCFitStatistics {
  double rms = 0.0;         ///< root mean square
  double percentile95 = 0;  ///< 95 of 100 absolute residuals are at most this
  double maximum = 0.0;     ///< largest absolute residual
};

/// The residuals of a model over a set of points.
struct TRPCFitResiduals {
  std::size_t count = 0;       ///< points
  TRPCFitStatistics line;      ///< of the line, pixels
  TRPCFitStatistics sample;    ///< of the sample, pixels
  TRPCFitStatistics distance;  ///< of the distance in the image, pixels
};

/// How the fit of one output, line or sample, went.
struct TRPCFitOutputReport {
  int order = 0;                  ///< degree of the polynomials
  int unknowns = 0;               ///< free coefficients: 7, 19 or 39
  int rank = 0;                   ///< numerical rank of the design matrix at the result
  double freedom = 0.0;           ///< effective number of unknowns under the ridge, at most `rank`
  double ridge = 0.0;             ///< ridge used, as in the options
  int iterations = 0;             ///< passes over the points with the final order
  bool converged = false;         ///< further steps would not have changed the residuals noticeably
  double leastDenominator = 0.0;  ///< smallest denominator over points and box, dimensionless; 1 at the box's centre
};

/// The story of a fit.
struct TRPCFitReport {
  bool success = false;        ///< Whether there is a model.
  TRPCFitOutputReport line;    ///< Of the fit of lines.
  TRPCFitOutputReport sample;  ///< Of the fit of samples.
  /// Share of 32 cells (4 x 4 over the range of line and sample, two slabs of height, one if the heights are all the
  /// same) that hold a fitted point, 0 to 1.
  double coverage = 0.0;
  /// True: the points share one height, and the model holds there only.
  bool flat = false;
  std::vector<std::size_t> bad;  ///< places of bad points in the list, ascending
  /// Points all of whose coordinates are those of an earlier one: no second measurement. They do not count, the earlier
  /// one has the largest of their weights.
  std::size_t copies = 0;
  TRPCFitResiduals fitted;  ///< over the fitted points
  TRPCFitResiduals check;   ///< over held-out and additional check points
  /// "not run", and in the end one sentence that a person can read.
  std::string message = "not run";
};

/// Fits a record to correspondences so that it cannot blow up.
///
/// Gauss-Newton steps with a ridge on the distance of the coefficients from the first-order model, so that directions
/// which the points do not determine stay there, instead of being filled with amplified rounding or noise; the ridge is
/// chosen by robust cross-validation in each step and the best iterate is kept. Denominators stay above 0.02 over all
/// points and over a grid of their box, so that no pole lies among them. Everything happens in the points' own box;
/// the result is then carried over to the offsets and scales of the record without loss.
///
/// Longitudes (unless normalised) may lie on both sides of the 180th meridian. Points that share one height give a
/// model without heights, which the report says.
///
/// \param data at least 40 points for order 3, 20 for order 2, 8 for order 1 (one more than unknowns), counting
///   neither held-out points nor those of weight 0.
/// \param rpc receives the record; its five offsets and scales are used and kept when the points are normalised or the
///   options say so. Untouched on failure.
/// \param report null, or receives the story, also of a failure.
/// \return false for too few points, values that are not finite or beyond 1e60, a latitude, longitude, line or sample
///   without spread, latitudes most of which are beyond 90 degrees, points of whose lines or samples the model explains
///   less than nine tenths (their columns are not what they should be), unusable options, offsets or scales, or when
///   the progress handler asked for a stop.
///
/// Bad points, which do not belong to the others by what chance and the model's own misfit allow (six standard
/// deviations of their residual, estimated from the others, more where few are redundant, and a ten-millionth of the
/// image), are named and left out. What stands out from a resistant polynomial (least median of squares, then an
/// M-estimate: P. Rousseeuw 1984, doi:10.1080/01621459.1984.10477105; P. Huber and E. Ronchetti, "Robust Statistics",
/// 2009) is suspect; suspects are left out when the others fit much better without them, and every point is then tested
/// against the fit of the others until none leaves or comes back. Without a bad point the result is that of the fit to
/// all points, bit for bit. See `kRPCFitBreakdown`.
///
/// Time is linear in the points: up to 4,096 are fitted through a triangular factor of the design matrix (no squared
/// condition number), more through their normal equations, started from a fit of 4,096 of them. Memory beyond the
/// caller's 40 bytes a point: 100 bytes a point while bad ones are sought, 40 more with held-out, unused or bad points,
/// 8 with weights. The result does not depend on threads, processor or earlier calls.
ORBMATH_API bool FitRPC(const TRPCEstimationDataSet& data, const TRPCFitOptions& options, TRPCData* rpc,
                        TRPCFitReport* report = nullptr);

/// Fits the inverse of a model by `FitRPC`: latitude and longitude (in the line and sample slots) as functions of line,
/// sample (in the latitude and longitude slots) and height. The grid lies in the image, so that the inverse holds up to
/// its corners: (`gridSize` + 1)^3 nodes over the normalised lines, samples and heights, located on the ground with the
/// model; nodes that cannot be located are left out. Evaluate the inverse in normalised form, as that of
/// `EstimateInvertedRPC`.
/// \param inverted receives the record; its offsets and scales are the model's own. Untouched on failure.
/// \param gridSize steps along each axis, 1 to 200. \param progress null, or as in the options.
/// \param report null, or receives the story; its residuals are in degrees.
/// \return false for a grid size out of range, fewer than 40 located nodes, or a failed fit.
ORBMATH_API bool FitInvertedRPC(const TRPC& rpc, TRPCData* inverted, int gridSize,
                                TZxProgressHandler* progress = nullptr, TRPCFitReport* report = nullptr);

/// The residuals of a record over points, in the units of the record. Longitudes in any turn.
/// \param normalized the points are normalised with the record's offsets and scales.
ORBMATH_API TRPCFitResiduals ResidualsOfRPC(const TRPCData& rpc, const std::vector<TRPCEstimationPoint>& points,
                                            bool normalized);

}  // namespace SatCommonUtils
