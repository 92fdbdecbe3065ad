// The sentences for the states, and which states come with a point.

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
    case TGroundState::OtherBranch:
      return "the point lies beyond a pole or a fold of the model, where its polynomials mean nothing";
    case TGroundState::FarOut:
      return "the point lies far outside the model's ground box";
    case TGroundState::BehindSensor:
      return "the point lies behind a sensor, beyond a pole of its model";
    case TGroundState::FarHeight:
      return "the height lies far outside the heights of every model";
    case TGroundState::Misfit:
      return "the images do not see one point: they miss it by too much";
    case TGroundState::BadVariance:
      return "the variance of the height is not above 0";
  }
  return "unknown state";
}

bool HasDoubtfulPoint(TGroundState state) {
  return state == TGroundState::OtherBranch || state == TGroundState::FarOut || state == TGroundState::BehindSensor ||
         state == TGroundState::FarHeight || state == TGroundState::Misfit;
}

}  // namespace SatCommonUtils
