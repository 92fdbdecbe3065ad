#pragma once
/// \file
/// Fitting an RPC record to ground-to-image correspondences, and the inverse record of a model: the plain fits.
/// `refine/robust_fit.h` has the fit that holds with few or noisy points; `docs/fitting.md` compares them.

#include <vector>

#include "../frame/api.h"
#include "../frame/zxstd/progress.h"
#include "../rpc/rpc_data.h"

namespace SatCommonUtils {

/// One correspondence between a ground point and an image point: degrees, degrees, metres, pixels, pixels, or all five
/// normalised (dimensionless). In the estimation of an inverse model the first three slots, the variables of the
/// polynomials, carry line, sample and height, the last two latitude and longitude.
struct TRPCEstimationPoint {
  double Lat;     ///< Degrees.
  double Lon;     ///< Degrees.
  double Height;  ///< Metres.
  double Line;    ///< Pixels.
  double Sample;  ///< Pixels.
};

/// The correspondences that a record is fitted to.
struct TRPCEstimationDataSet {
  /// In any order.
  std::vector<TRPCEstimationPoint> Points;
  /// False: the points are in ground and image units, and the fit chooses offsets and scales from their ranges.
  /// True: every coordinate is normalised with the five offsets and scales that the output record already holds.
  bool IsNormalized = false;
};

/// \name Plain estimation
///
/// Undamped Gauss-Newton from the least-squares first-order model: for each output, line and sample, 39 unknowns (20
/// numerator and 19 denominator coefficients, the constant of the denominator held at 1), at most 10 iterations, the
/// normal equations solved by elimination. Reaching the limit is no failure.
///
/// At the first-order start the 39 columns have rank 30 for any points, so the first step rests on rounding: with few
/// points, or with noise in them, the result can miss by pixels. `FitRPC` does not have this weakness.
///
/// Time grows linearly with the points. Design rows are formed and summed in small blocks, so a million points take no
/// memory beyond the caller's 40 MB. From 50,000 points on, line and sample may be summed by two threads; the sums run
/// in the order of the points, whatever the threads.
///
/// Failures (false, `*rpc` untouched): fewer than 40 points; a coordinate that is not finite; a coordinate without
/// spread (unless normalised); a singular system in the last iteration; coefficients that are not finite. Nothing is
/// thrown but for want of memory. The functions share no state and may run on several threads.
/// \{

/// Stops when the largest absolute corrections of line and of sample are both below 1e-11.
/// \param data the correspondences. \param rpc receives the coefficients, and offsets and scales unless the points are
/// normalised.
ORBMATH_API bool EstimateRPC(const TRPCEstimationDataSet& data, TRPCData* rpc);

/// Stops when neither root mean square, of line and of sample, decreased by more than 1e-10 pixels in an iteration;
/// each output ends with the coefficients of its smallest root mean square. Normalised points take the two scales from
/// the record.
/// \param progress null, or called with 7 before each of the two first-order solutions and with 78 at the start of
///   each iteration: the sizes of the systems about to be solved.
/// \param cancel null, or asked between the steps of the solvers; a non-zero answer ends the estimation with false. The
///   answers to its calls after each row of a matrix product do not count. Every call comes from the calling thread.
ORBMATH_API bool EstimateRPC(const TRPCEstimationDataSet& data, TRPCData* rpc, void (*progress)(int), int (*cancel)());

/// \}

class TRPC;

/// Fits the inverse of a model: latitude and longitude as functions of line, sample and height, by the first
/// `EstimateRPC` on a grid of the model's normalised ground box, of which the nodes that fall into the normalised image
/// count. In the inverse record the line and sample slots carry latitude and longitude, the latitude and longitude
/// slots line and sample. A model made of it is evaluated with `CalculateLineSampleNormalized`: the form with units
/// would take whole turns, as of a longitude, off a sample.
/// \param rpc the model to invert. \param inverted receives the offsets and scales, which stay when the fit fails, and
///   the coefficients. \param gridSize steps of the grid along each axis. \param progress not used.
/// \return false, also when `gridSize` is below 1 or fewer than 40 nodes fall into the image.
ORBMATH_API bool EstimateInvertedRPC(const TRPC& rpc, TRPCData* inverted, int gridSize, TZxProgressHandler* progress);

}  // namespace SatCommonUtils
