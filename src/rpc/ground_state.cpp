#include "rpc/ground_state.h"

namespace SatCommonUtils {

const char* DescribeGroundState(TGroundState state) {
  switch (state) {
    case TGroundState::NotRun:
      return "nothing was computed";
    case TGroundState::Converged:
      return "converged";
    case TGroundState::NotConverged:
      return "the iteration did not converge";
    case TGroundState::Singular:
      return "the normal equations are singular: the images do not determine the point";
    case TGroundState::NoApproximation:
      return "the model has no approximation to start from";
    case TGroundState::NoStart:
      return "no start point could be computed";
    case TGroundState::TooFewImages:
      return "fewer than two images";
  }
  return "unknown state";
}

}  // namespace SatCommonUtils
