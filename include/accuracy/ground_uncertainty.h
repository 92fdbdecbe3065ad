#pragma once
/// \file
/// How uncertain ground points are that were computed from image points: covariance in the local east, north and up,
/// circular and linear errors. First order in the errors; docs/uncertainty.md explains them.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "../frame/api.h"
#include "../rpc/rpc_model.h"
#include "../terrain/height_surface.h"
#include "ellipse_probability.h"
#include "error_model.h"

namespace SatCommonUtils {

/// How the computation of an uncertainty ended.
enum class TUncertaintyState : std::int32_t {
  NotRun,     ///< Nothing was computed.
  Known,      ///< There is a covariance.
  NoPoint,    ///< The ground point is no number.
  Singular,   ///< The images do not determine the point to first order.
  Grazing,    ///< The line of sight runs along the terrain, or meets it from below.
  NoSlope,    ///< The terrain has no heights around the point.
  BadErrors,  ///< An error is no standard deviation, or the refinement's covariance is not of the model's refinement.
};

/// One short sentence without a full stop, in English, for a message to people; never null.
ORBMATH_API const char* DescribeUncertaintyState(TUncertaintyState state);

/// A covariance in the local frame of a ground point, square metres.
struct TGroundCovariance {
  double eastEast = 0.0;    ///< variance towards east
  double eastNorth = 0.0;   ///< covariance of east and north
  double eastUp = 0.0;      ///< covariance of east and up
  double northNorth = 0.0;  ///< variance towards north
  double northUp = 0.0;     ///< covariance of north and up
  double upUp = 0.0;        ///< variance of the height
};

/// How uncertain a ground point is. All numbers are NaN unless the state is `Known`.
struct TGroundUncertainty {
  TUncertaintyState state = TUncertaintyState::NotRun;  ///< whether the rest is known, or why not
  TGroundCovariance covariance;                         ///< of all errors together
  /// The part that points near each other in the same images share: bias and refinement. What is left of `covariance`
  /// without it is what distances between such points suffer from.
  TGroundCovariance shared;
  double ce90 = 0.0;  ///< radius of the horizontal circle that holds the point with a probability of 90 %, metres
  double ce95 = 0.0;  ///< the same for 95 %, metres
  double le90 = 0.0;  ///< height error that is kept with a probability of 90 %, metres

  /// True when there is a covariance.
  explicit operator bool() const noexcept { return state == TUncertaintyState::Known; }
};

/// How uncertain a point of one image at a given height is.
///
/// The line of sight moves the point by what the height is off. \param model of the image; \param errors its errors.
/// \param lat, lon degrees, \param h metres: the point that was located, e.g. by `SolveLatLon`.
/// \param heightSigma standard deviation of the height, metres.
ORBMATH_API TGroundUncertainty LocateUncertainty(const TRPC& model, const TImageErrors& errors, double lat, double lon,
                                                 double h, double heightSigma);
/// `LocateUncertainty` of `count` points, the same bits, on up to `ZxGetThreadsCount()` threads.
/// \param lat, lon, h, heightSigma `count` values each. \param uncertainties room for `count`.
/// \return the number of points whose uncertainty is known.
ORBMATH_API std::size_t LocateUncertaintyArray(const TRPC& model, const TImageErrors& errors, std::size_t count,
                                               const double* lat, const double* lon, const double* h,
                                               const double* heightSigma, TGroundUncertainty* uncertainties);

/// The errors of a terrain.
struct TTerrainErrors {
  /// Standard deviation of its heights, metres, independent of those of the image.
  double sigma = 0.0;
  /// The slope is that between points so far on both sides of the located one, metres; 0: as far as the point is
  /// uncertain on level ground, at least a metre. Rocks that are smaller than the error do not steer it.
  double slopeReach = 0.0;
};

/// How uncertain a point of one image on a terrain is.
///
/// On ground that falls away from the sensor an error of the height, and one of the image, moves the point farther than
/// on level ground: by 1 / (1 - slope along the line of sight's foot). \param surface the one that the point was found
/// on, e.g. by `TTerrainLocator`.
ORBMATH_API TGroundUncertainty TerrainUncertainty(const TRPC& model, const TImageErrors& errors,
                                                  const THeightSurface& surface, const TTerrainErrors& terrain,
                                                  double lat, double lon, double h);
/// `TerrainUncertainty` of `count` points, the same bits, on up to `ZxGetThreadsCount()` threads.
/// \param lat, lon, h `count` values each. \param uncertainties room for `count`.
/// \return the number of points whose uncertainty is known.
ORBMATH_API std::size_t TerrainUncertaintyArray(const TRPC& model, const TImageErrors& errors,
                                                const THeightSurface& surface, const TTerrainErrors& terrain,
                                                std::size_t count, const double* lat, const double* lon,
                                                const double* h, TGroundUncertainty* uncertainties);

/// What an intersection knew of the height.
enum class TIntersectionHeight : std::int32_t {
  Free,      ///< Nothing: `SolveLatLonH(items)`.
  Known,     ///< It was held: `SolveLatLon(items, h)`.
  Observed,  ///< It was observed: `SolveLatLonH(items, hObs, hVar)`.
};

/// What holds for all images of an intersection together.
struct TIntersectionErrors {
  TIntersectionHeight height = TIntersectionHeight::Free;  ///< what the solution knew of it
  double heightSigma = 0.0;     ///< true standard deviation of a known or observed height, metres
  double heightVariance = 0.0;  ///< `hVar` as the solution had it; only for an observed one, above 0 there
  /// Correlation of the biases of any two images, as vectors on the ground, 0 to 1: images of one pass share what the
  /// satellite's clock and attitude were off. (The refinements of two images count as independent.)
  double biasCorrelation = 0.0;
};

/// How uncertain a point from several images is.
///
/// The solutions weigh all image coordinates alike; the errors of each image go through those weights, whatever sigmas
/// they have. \param models, errors one of each image, in the same order, at least one, none null.
/// \param lat, lon degrees, \param h metres: the solution (`rpc/ground_solution.h`).
ORBMATH_API TGroundUncertainty IntersectionUncertainty(const std::vector<const TRPC*>& models,
                                                       const std::vector<TImageErrors>& errors,
                                                       const TIntersectionErrors& together, double lat, double lon,
                                                       double h);
/// `IntersectionUncertainty` of `count` points, the same bits, on up to `ZxGetThreadsCount()` threads.
/// \param lat, lon, h `count` values each. \param uncertainties room for `count`.
/// \return the number of points whose uncertainty is known.
ORBMATH_API std::size_t IntersectionUncertaintyArray(const std::vector<const TRPC*>& models,
                                                     const std::vector<TImageErrors>& errors,
                                                     const TIntersectionErrors& together, std::size_t count,
                                                     const double* lat, const double* lon, const double* h,
                                                     TGroundUncertainty* uncertainties);

}  // namespace SatCommonUtils
