#pragma once
// A model and refinements of every kind that the tests of this room share.

#include <string>
#include <vector>

#include "frame/zxstd/message.h"
#include "refine/refinement_data.h"
#include "rpc/rpc_data.h"

namespace orbmath_test {

/// A pushbroom scene of 8,000 x 10,000 pixels in mid latitudes, with different denominators of line and sample.
inline SatCommonUtils::TRPCData SceneRecord() {
  SatCommonUtils::TRPCData r;
  for (auto* values : {&r.lineNumCoef, &r.lineDenCoef, &r.sampNumCoef, &r.sampDenCoef}) {
    for (int k = 0; k < 20; ++k) (*values)[k] = 1e-7 * ((k * 7) % 11 - 5);
  }
  const double line_num[4] = {0.002, 0.13, -1.04, 0.011}, samp_num[4] = {-0.001, 1.02, 0.09, -0.025};
  const double line_den[4] = {1.0, 3e-4, -8e-4, 2e-4}, samp_den[4] = {1.0, -5e-4, 7e-4, -3e-4};
  for (int k = 0; k < 4; ++k) {
    r.lineNumCoef[k] = line_num[k];
    r.sampNumCoef[k] = samp_num[k];
    r.lineDenCoef[k] = line_den[k];
    r.sampDenCoef[k] = samp_den[k];
  }
  r.lineOffset = 4000.25, r.lineScale = 4050.5;
  r.sampOffset = 5000.75, r.sampScale = 5100.125;
  r.latOffset = 43.5, r.latScale = 0.04;
  r.longOffset = 1.5, r.longScale = 0.06;
  r.heightOffset = 300, r.heightScale = 500;
  return r;
}

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
