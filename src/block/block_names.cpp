// The names of kinds and roles, and the sentences of the states.

#include "block/block_problem.h"
#include "block/block_result.h"

namespace SatCommonUtils {

const char* GetBlockCorrectionName(TBlockCorrection correction) noexcept {
  switch (correction) {
    case TBlockCorrection::None:
      return "none";
    case TBlockCorrection::Shift:
      return "shift";
    case TBlockCorrection::Drift:
      return "drift";
    case TBlockCorrection::Affine:
      return "affine";
    case TBlockCorrection::Automatic:
      return "auto";
  }
  return "unknown";
}

const char* GetBlockPointRoleName(TBlockPointRole role) noexcept {
  switch (role) {
    case TBlockPointRole::Tie:
      return "tie";
    case TBlockPointRole::Control:
      return "control";
    case TBlockPointRole::Check:
      return "check";
    case TBlockPointRole::Height:
      return "height";
  }
  return "unknown";
}

const char* DescribeBlockState(TBlockState state) noexcept {
  switch (state) {
    case TBlockState::NotRun:
      return "not run";
    case TBlockState::Adjusted:
      return "adjusted";
    case TBlockState::NotConverged:
      return "the steps did not come to rest";
    case TBlockState::Checked:
      return "checked only";
    case TBlockState::BadProblem:
      return "the problem cannot be meant";
    case TBlockState::NothingToDo:
      return "no image can be adjusted";
    case TBlockState::Singular:
      return "the normal equations have no solution";
    case TBlockState::Cancelled:
      return "cancelled";
  }
  return "unknown";
}

const char* DescribeBlockState(TBlockImageState state) noexcept {
  switch (state) {
    case TBlockImageState::NotRun:
      return "not run";
    case TBlockImageState::Adjusted:
      return "adjusted";
    case TBlockImageState::Fixed:
      return "fixed";
    case TBlockImageState::TooFewTies:
      return "too few points to determine its correction";
    case TBlockImageState::NoModel:
      return "no usable model";
  }
  return "unknown";
}

const char* DescribeBlockState(TBlockPointState state) noexcept {
  switch (state) {
    case TBlockPointState::NotRun:
      return "not run";
    case TBlockPointState::Used:
      return "used";
    case TBlockPointState::TooFewRays:
      return "measured in too few images";
    case TBlockPointState::NoIntersection:
      return "its rays do not meet";
    case TBlockPointState::LostMeasurements:
      return "too few measurements are left without the bad ones";
    case TBlockPointState::NotFinite:
      return "its coordinates or sigmas are no usable numbers";
  }
  return "unknown";
}

const char* DescribeBlockState(TBlockMeasurementState state) noexcept {
  switch (state) {
    case TBlockMeasurementState::NotRun:
      return "not run";
    case TBlockMeasurementState::Used:
      return "used";
    case TBlockMeasurementState::Bad:
      return "does not belong to the others";
    case TBlockMeasurementState::Undecided:
      return "contradicts the other measurement of its point";
    case TBlockMeasurementState::PointLost:
      return "its point takes no part";
    case TBlockMeasurementState::ImageLost:
      return "its image takes no part";
    case TBlockMeasurementState::NotFinite:
      return "its numbers or its sigma cannot be used";
    case TBlockMeasurementState::Repeated:
      return "the point was measured in this image before";
  }
  return "unknown";
}

}  // namespace SatCommonUtils
