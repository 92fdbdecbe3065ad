#pragma once
/// \file
/// How far two models of one image lie apart.

#include <limits>

#include "../frame/api.h"
#include "rpc_model.h"

namespace SatCommonUtils {

/// Distances of image points, pixels; NaN when nothing can be said.
struct TImageDistance {
  double worst = std::numeric_limits<double>::quiet_NaN();  ///< Largest distance, pixels.
  double rms = std::numeric_limits<double>::quiet_NaN();    ///< root mean square
};

/// How far `other` misses `model` over the ground that `model` sees: 41 x 41 points of its image (the centres of its
/// raster's outer pixels, or else what its record normalises to -1 ... +1) at 9 heights, those left out that it cannot
/// find. What a model gives far outside of its image, as some do over most of their ground box, does not count. NaN
/// when no point is left, or when one of them has no image point in either model. Any number of threads may call.
ORBMATH_API TImageDistance DistanceInImage(const TRPC& model, const TRPC& other);

}  // namespace SatCommonUtils
