#pragma once
/// \file
/// Image to ground with an answer to "is this point right?": residuals, what lies outside, retries.

#include <cstddef>
#include <vector>

#include "../frame/api.h"
#include "ground_state.h"
#include "rpc_data.h"
#include "rpc_model.h"

namespace SatCommonUtils {

/// Which way led to a solution.
enum class TGroundMethod : std::int32_t {
  Iteration,  ///< The plain iteration: the point is bit for bit that of `CalculateLatLon` or `CalculateLatLonH`.
  Polished,   ///< One more step, where the plain iteration's limit left more than 1e-7 pixels.
  Damped,     ///< Damped steps from the model's centre or from where the plain iteration got lost.
  Grid,       ///< Damped steps from the best of a grid of starts.
};

/// One ground point with everything known about it.
struct TGroundSolution {
  double lat = 0.0;  ///< degrees
  double lon = 0.0;  ///< degrees
  double h = 0.0;    ///< metres
  TGroundStatus status;
  TGroundMethod method = TGroundMethod::Iteration;
  /// Distance in pixels between the measured point and the projection of the result: of the one image, or root mean
  /// square over all images. NaN when there is no point.
  double residual = 0.0;
  bool outsideImage = false;   ///< the image point lies outside the raster, or, size unknown, the model's box
  bool outsideHeight = false;  ///< the height lies outside the model's height range
  bool outsideGround = false;  ///< the ground point lies outside the model's latitude and longitude range
  bool outsideMargin = false;  ///< there is a margin, and (x = sample, y = line) lies outside it

  /// True when the point is a solution.
  explicit operator bool() const noexcept { return status.state == TGroundState::Converged; }
};

/// Residual of one image: measured minus projected.
struct TImageResidual {
  double line = 0.0;    ///< pixels
  double sample = 0.0;  ///< pixels
};

/// A ground point from several images. The flags of the base hold when they hold for any image.
struct TGroundIntersection : TGroundSolution {
  std::vector<TImageResidual> residuals;  ///< one of each image, in the order of the items
  /// Covariance of (lat, lon, h), by rows, in degrees and metres, for measurements with a standard deviation of 1
  /// pixel: the inverse of the normal matrix. Multiply by the variance of yours. Zero in row and column of a
  /// known height; NaN when there is no point.
  double covariance[9] = {};
};

/// Image to ground at a known height, never silently wrong.
///
/// Runs the model's own `CalculateLatLon`. That stops at a step of 1e-10 normalised units, some 1e-6 pixels in a large
/// image; when more than 1e-7 pixels are left, one more step follows. When it does not converge, its result does not
/// project back within 1e-5 pixels or is suspiciously far out, damped steps (Levenberg-Marquardt) through the virtual
/// projection follow: from the plain iteration's result, from the model's centre, then from the best points of grids
/// that shrink towards the centre. Of what they find, the first root that is not far out is taken; without one, the
/// plain result stays. Converged means: projects back within 1e-5 pixels. Far out is a point whose larger absolute
/// normalised ground coordinate is above 1.5 and above 1.5 times that of the image point.
/// \param line, sample pixels. \param h metres.
ORBMATH_API TGroundSolution SolveLatLon(const TRPC& model, double line, double sample, double h);

/// `SolveLatLon` of `count` points, the same bits, on up to `ZxGetThreadsCount()` threads.
/// \param line, sample, h `count` values each. \param solutions room for `count`.
/// \return the number of points that converged.
ORBMATH_API std::size_t SolveLatLonArray(const TRPC& model, std::size_t count, const double* line, const double* sample,
                                         const double* h, TGroundSolution* solutions);

/// Several images at a known height. Converged: the stopping rule was met, or the last step was below 1e-9 degrees,
/// which rounding alone can cause. When the plain iteration fails, damped steps follow from its start and from the
/// models' centres.
ORBMATH_API TGroundIntersection SolveLatLon(const std::vector<TRPCCoordsDataItem>& items, double h);
/// Several images, free height; as above, and below 1e-4 metres in height.
ORBMATH_API TGroundIntersection SolveLatLonH(const std::vector<TRPCCoordsDataItem>& items);
/// Several images with an observed height `hObs` of variance `hVar`; its weight is in the covariance.
ORBMATH_API TGroundIntersection SolveLatLonH(const std::vector<TRPCCoordsDataItem>& items, double hObs, double hVar);

/// Standard deviations in metres towards east, north and up of a point with the given covariance, on the WGS84
/// ellipsoid. \param covariance as in `TGroundIntersection`, 9 values. \param sigma receives east, north, up.
ORBMATH_API void GroundSigmas(double lat, double h, const double* covariance, double* sigma);

}  // namespace SatCommonUtils
