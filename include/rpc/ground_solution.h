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
  Iteration,  ///< Newton's iteration of the solver; of several images also the plain iteration.
  Polished,   ///< Further steps, where the plain iteration of a derived model left more than 1e-7 pixels.
  Damped,     ///< Damped steps from the models' centres or from where the iteration got lost.
  Followed,   ///< Followed from the model's centre along the image, where the iteration does not answer for the branch.
};

/// One ground point with everything known about it.
struct TGroundSolution {
  double lat = 0.0;                                 ///< degrees
  double lon = 0.0;                                 ///< degrees
  double h = 0.0;                                   ///< metres
  TGroundStatus status;                             ///< State and what the point lies outside of.
  TGroundMethod method = TGroundMethod::Iteration;  ///< How it was found.
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

/// Image to ground at a known height, never silently wrong. The laws:
///
/// 1. Converged: the result, rounded as it is given back, projects back within 1e-6 pixels (1e-7 where doubles allow).
/// 2. Converged: the result lies on the branch of the model's centre. Interval arithmetic shows for most models that
///    neither pole nor fold is in twice their box, and so that no image point has a second ground point there.
///    Elsewhere the ground point is followed from the centre to the image point and the height, and each denominator
///    and the determinant of the derivatives by latitude and longitude keep the signs that they have at the centre.
///    What projects back but cannot be reached is `OtherBranch`.
/// 3. Converged: the result is not far out. Far out is a point whose larger absolute normalised ground coordinate is
///    above twice that of the image point, of the height or of the box (1), whichever is the most, or which is no place
///    on the globe: latitude beyond 90 degrees, longitude beyond 540.
/// 4. A point that breaks law 2 or 3 stands in the result with its residual. One that breaks law 1 is the best try.
/// 5. The promise is the result, not the way to it: `CalculateLatLon` may differ in the last digits. A point has the
///    same bits alone and in an array of any length, on every number of threads and every instruction set.
/// 6. A point without an answer costs at most some 200 evaluations of the model.
/// \param line, sample pixels. \param h metres.
ORBMATH_API TGroundSolution SolveLatLon(const TRPC& model, double line, double sample, double h);

/// `SolveLatLon` of `count` points, the same bits, on up to `ZxGetThreadsCount()` threads. Allocates nothing for a
/// model that is a `TRPC` and no class derived from it. \param line, sample, h `count` values each. \param solutions
/// room for `count`. \return the number of points that converged.
ORBMATH_API std::size_t SolveLatLonArray(const TRPC& model, std::size_t count, const double* line, const double* sample,
                                         const double* h, TGroundSolution* solutions);

/// What counts as a point seen by several images.
struct TIntersectionOptions {
  /// Largest root mean square of the residuals, pixels. Models without ground control disagree by what their positions
  /// are off, up to some tens of metres, which is below a hundred pixels also of half a metre; minima that have nothing
  /// to do with a point have hundreds.
  double largestRms = 100.0;
};

/// Several images at a known height. The laws:
///
/// 1. Converged: steps of Newton's method shrank until less than 1e-9 of the first image's box could be left, or, of
///    rays next to parallel, 1e-5 of the standard deviation that a pixel leaves; or the stopping rule of the plain
///    iteration was met, or its last step was below 1e-9 degrees, which rounding alone can cause; or damped steps from
///    the models' centres, or from where it got lost, arrived.
/// 2. Converged: the point lies in front of every image (no denominator has changed its sign since the model's centre;
///    else `BehindSensor`), unfolded (`OtherBranch`) and not far out of any model (`FarOut`, as above).
/// 3. Converged: the root mean square of the residuals is at most `options.largestRms` (else `Misfit`), and the images
///    see each coordinate beside the others, by more than rounding (else `Singular`).
/// 4. A minimum that breaks law 2 or 3 gives way to one from the damped steps that keeps them. Where there is none, the
///    lowest that they arrive at stands in the result with its residuals, or else the first; its covariance is NaN.
/// 5. The promise is the result, not the way to it: `CalculateLatLon` may differ in the last digits, by less than 1e-12
///    degrees and 1e-7 metres where rays meet well. A point has the same bits alone and in an array of any length and
///    any company, on every number of threads and every instruction set.
ORBMATH_API TGroundIntersection SolveLatLon(const std::vector<TRPCCoordsDataItem>& items, double h,
                                            const TIntersectionOptions& options = TIntersectionOptions());
/// Several images, free height; as above, and below 1e-4 metres in height. `FarHeight`: the height is farther from
/// every model's height offset than ten of its height scales and ten kilometres.
ORBMATH_API TGroundIntersection SolveLatLonH(const std::vector<TRPCCoordsDataItem>& items,
                                             const TIntersectionOptions& options = TIntersectionOptions());
/// Several images with an observed height `hObs` of variance `hVar`, in squared metres for a measurement of variance 1;
/// its weight is in the covariance. `BadVariance` when `hVar` is not above 0.
ORBMATH_API TGroundIntersection SolveLatLonH(const std::vector<TRPCCoordsDataItem>& items, double hObs, double hVar,
                                             const TIntersectionOptions& options = TIntersectionOptions());

/// Measurements of many points, each of images of its own: those of point i are items first[i] .. first[i + 1] - 1.
struct TMeasuredPoints {
  std::size_t count = 0;                      ///< number of points
  const std::size_t* first = nullptr;         ///< `count` + 1 places in `items`, ascending
  const TRPCCoordsDataItem* items = nullptr;  ///< measurements; the models are not owned
};

/// \name Arrays of points from several images
/// The functions above for each of `points.count` points, bit for bit, on up to `ZxGetThreadsCount()` threads. Points
/// of the same images go together, wherever they stand, and take a fraction of the time. `solutions` has room for
/// `points.count`; records that are used again keep the memory of their residuals. \return the number of points that
/// converged.
/// \{

/// At known heights. \param h `points.count` of them, metres.
ORBMATH_API std::size_t SolveLatLonArray(const TMeasuredPoints& points, const double* h, TGroundIntersection* solutions,
                                         const TIntersectionOptions& options = TIntersectionOptions());
/// With the height free.
ORBMATH_API std::size_t SolveLatLonHArray(const TMeasuredPoints& points, TGroundIntersection* solutions,
                                          const TIntersectionOptions& options = TIntersectionOptions());
/// \param hObs `points.count` observed heights, metres. \param hVar their variance, as in `SolveLatLonH`.
ORBMATH_API std::size_t SolveLatLonHArray(const TMeasuredPoints& points, const double* hObs, double hVar,
                                          TGroundIntersection* solutions,
                                          const TIntersectionOptions& options = TIntersectionOptions());
/// \}

/// Metres on the ground that a degree covers.
struct TGroundScale {
  double east = 0.0;   ///< metres a degree of longitude
  double north = 0.0;  ///< metres a degree of latitude
};

/// The scale at a point on or above the WGS84 ellipsoid. \param lat degrees. \param h metres.
ORBMATH_API TGroundScale GroundScaleAt(double lat, double h) noexcept;

/// Standard deviations in metres towards east, north and up of a point with the given covariance, on the WGS84
/// ellipsoid. \param covariance as in `TGroundIntersection`, 9 values. \param sigma receives east, north, up.
ORBMATH_API void GroundSigmas(double lat, double h, const double* covariance, double* sigma);

}  // namespace SatCommonUtils
