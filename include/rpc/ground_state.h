#pragma once
/// \file
/// How an image-to-ground solution ended.

#include <cstdint>

#include "../frame/api.h"

namespace SatCommonUtils {

/// How an iteration ended.
enum class TGroundState : std::int32_t {
  NotRun,           ///< Nothing was computed.
  Converged,        ///< The iteration's own stopping rule was met.
  NotConverged,     ///< Ten steps without meeting it.
  Singular,         ///< A normal matrix was not positive definite: the images do not determine the point.
  NoApproximation,  ///< The model has no usable first-order approximation to start from.
  NoStart,          ///< The start of several images could not be computed (fewer than two equations).
  TooFewImages,     ///< Fewer than two images.
  OtherBranch,      ///< A point projects back, but a pole or a fold of the model lies between it and the centre.
  FarOut,           ///< A point projects back, but lies far outside the ground box, or off the globe.
  BehindSensor,     ///< A denominator of an image's model has changed its sign: the image does not look that way.
  FarHeight,        ///< The height lies far outside the heights of every image's model.
  Misfit,           ///< The images miss the point by more than the largest root mean square that is allowed.
  BadVariance,      ///< The variance of an observed height is not above zero.
};

/// Whether a point was found that is no answer all the same: it stands in the result, for whoever wants to extrapolate.
ORBMATH_API bool HasDoubtfulPoint(TGroundState state);

/// State and number of steps of one point.
struct TGroundStatus {
  TGroundState state = TGroundState::NotRun;  ///< How the solution ended.
  std::int32_t iterations = 0;                ///< evaluations of the model(s), the last test included
};

/// One short sentence without a full stop, in English, for a message to people; never null.
ORBMATH_API const char* DescribeGroundState(TGroundState state);

}  // namespace SatCommonUtils
