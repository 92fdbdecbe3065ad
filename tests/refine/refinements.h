#pragma once
// Refinements of every kind that the tests of this room share.

#include <string>
#include <vector>

#include "frame/zxstd/message.h"
#include "refine/refinement_data.h"

namespace orbmath_test {

inline SatCommonUtils::TRPCRefinementDataShift Shift(double line, double sample) {
  SatCommonUtils::TRPCRefinementDataShift data;
  data.d_line = line;
  data.d_sample = sample;
  return data;
}

/// A correction of a few pixels with drifts of 1e-4.
inline SatCommonUtils::TRPCRefinementDataAffine Affine() {
  SatCommonUtils::TRPCRefinementDataAffine data;
  data.LineBias = 3.25, data.LineDrift = 1.0 + 1e-4, data.LineTilt = -1e-4;
  data.SampleBias = -2.5, data.SampleDrift = 5e-5, data.SampleTilt = 1.0 - 1e-4;
  return data;
}

inline SatCommonUtils::TRPCRefinementDataProjective Projective() {
  SatCommonUtils::TRPCRefinementDataProjective data;
  const double rows[3][3] = {{1.0001, -5e-5, 4.0}, {2e-5, 0.9999, -3.0}, {1e-8, -2e-8, 1.0}};
  for (int i = 0; i < 9; ++i) data.matr[i / 3][i % 3] = rows[i / 3][i % 3];
  return data;
}

/// One of each kind, the kind at its value.
inline std::vector<SatCommonUtils::var_a<SatCommonUtils::TRPCRefinementDataBase*>> OneOfEachKind() {
  return {SatCommonUtils::TRPCRefinementDataNone().CreateCopyE(), Shift(1.5, -2.0).CreateCopyE(),
          Affine().CreateCopyE(), Projective().CreateCopyE()};
}

/// The text of the `TZxMessage` that `function` throws.
template <class Function>
std::string MessageOf(const Function& function) {
  try {
    function();
  } catch (const SatCommonUtils::TZxMessage& message) {
    return message.what();
  }
  return "nothing was thrown";
}

}  // namespace orbmath_test
