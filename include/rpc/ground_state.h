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
};

/// State and number of steps of one point.
struct TGroundStatus {
  TGroundState state = TGroundState::NotRun;
  std::int32_t iterations = 0;  ///< evaluations of the model(s), the last test included
};

/// One short sentence without a full stop, in English, for a message to people; never null.
ORBMATH_API const char* DescribeGroundState(TGroundState state);

}  // namespace SatCommonUtils
