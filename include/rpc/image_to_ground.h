#pragma once
/// \file
/// Ground points from several images: at a known height, with free height and with an observed height.
///
/// Angles are degrees, heights metres above the ellipsoid, line and sample pixels. An item names its model, its
/// measured line and its measured sample; its weight fields are not read, every observation has weight 1. The
/// result's longitude is in the turn of the first item's model. All functions are safe to call from several threads.
///
/// Each iterative function starts from its `...Approximately` counterpart and takes at most 10 Gauss-Newton steps
/// through the models' virtual `CalculateLineSample`. It applies a step first and stops when every component of it is
/// below 1e-10. It returns true also when that never happened: `SolveLatLonH` and `SolveLatLon` tell. False: fewer
/// than two items, an item without a model or no start (outputs untouched), or a singular normal matrix (outputs hold
/// the last estimate).

#include <cstddef>
#include <vector>

#include "../frame/api.h"
#include "ground_state.h"
#include "rpc_data.h"

namespace SatCommonUtils {

/// Latitude and longitude at the known height `h`.
ORBMATH_API bool CalculateLatLon(const std::vector<TRPCCoordsDataItem>& items, const double& h, double* lat,
                                 double* lon);
/// Latitude, longitude and height.
ORBMATH_API bool CalculateLatLonH(const std::vector<TRPCCoordsDataItem>& items, double* lat, double* lon, double* h);
/// Latitude, longitude and height, with the height `hObs` observed with variance `hVar` (square metres, where the
/// variance of a line or sample is 1 square pixel; not 0).
ORBMATH_API bool CalculateLatLonH(const std::vector<TRPCCoordsDataItem>& items, const double& hObs, const double& hVar,
                                  double* lat, double* lon, double* h);

/// \name Starts
/// Least squares over the linear equations that the models' first-order approximations give; models without one are
/// passed over. False, outputs untouched, for an item without a model, and when fewer equations are left than two or
/// than there are unknowns.
/// \{

/// At a known height. \param h metres.
ORBMATH_API bool CalculateLatLonApproximately(const std::vector<TRPCCoordsDataItem>& items, const double& h,
                                              double* lat, double* lon);
/// With the height free.
ORBMATH_API bool CalculateLatLonHApproximately(const std::vector<TRPCCoordsDataItem>& items, double* lat, double* lon,
                                               double* h);
/// With the height observed. \param hObs metres. \param hVar its variance, in those of an image coordinate (not 0).
ORBMATH_API bool CalculateLatLonHApproximatelyH(const std::vector<TRPCCoordsDataItem>& items, const double& hObs,
                                                const double& hVar, double* lat, double* lon, double* h);
/// \}

/// Many points seen by the same images: what the arrays below have in common.
struct TImageArrays {
  std::size_t images = 0;                 ///< number of images
  const TRPC* const* models = nullptr;    ///< `images` models, not owned
  std::size_t count = 0;                  ///< number of points
  const double* const* line = nullptr;    ///< `images` arrays of `count` measured lines
  const double* const* sample = nullptr;  ///< `images` arrays of `count` measured samples
};

/// \name Arrays of points
/// The functions above for each of `points.count` points, bit for bit (through the models' array projection), on up
/// to `ZxGetThreadsCount()` threads; nothing is allocated for a point. Outputs are `points.count` values each and
/// distinct from the inputs; those of a point that has no result stay untouched. `status` may be null.
/// \return the number of points that met the stopping rule.
/// \{

/// At known heights. \param h `points.count` of them, metres.
ORBMATH_API std::size_t CalculateLatLonArray(const TImageArrays& points, const double* h, double* lat, double* lon,
                                             TGroundStatus* status);
/// With the height free.
ORBMATH_API std::size_t CalculateLatLonHArray(const TImageArrays& points, double* lat, double* lon, double* h,
                                              TGroundStatus* status);
/// \param hObs `points.count` observed heights. \param hVar their variance.
ORBMATH_API std::size_t CalculateLatLonHArray(const TImageArrays& points, const double* hObs, const double& hVar,
                                              double* lat, double* lon, double* h, TGroundStatus* status);
/// \}

}  // namespace SatCommonUtils
