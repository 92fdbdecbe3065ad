// Models of windows. With S the map from the image to the window's result, S(x) = zoom x + c on both axes, a refinement
// T of the image is S T S^-1 in the result: elementary.

#include "refine/crop_model.h"

#include "frame/zxstd/message.h"
#include "refine/adjusted_rpc.h"

namespace SatCommonUtils {

namespace {

var_a<TRPCRefinementDataBase*> CropShift(const TRPCRefinementDataShift& from, const TImageWindow& window) {
  auto shift = make_var_a<TRPCRefinementDataShift>(from);
  shift->d_line = from.d_line * window.zoom;
  shift->d_sample = from.d_sample * window.zoom;
  return shift;
}

// bias' = zoom bias + c - (drift c_line + tilt c_sample); drift and tilt have no unit and stay.
var_a<TRPCRefinementDataBase*> CropAffine(const TRPCRefinementDataAffine& from, const TImageWindow& window) {
  const double line = window.MapLine(0.0);
  const double sample = window.MapSample(0.0);
  auto affine = make_var_a<TRPCRefinementDataAffine>(from);
  affine->LineBias = window.zoom * from.LineBias + line - (from.LineDrift * line + from.LineTilt * sample);
  affine->SampleBias = window.zoom * from.SampleBias + sample - (from.SampleDrift * line + from.SampleTilt * sample);
  return affine;
}

var_a<TRPCRefinementDataBase*> CropProjective(const TRPCRefinementDataProjective& from, const TImageWindow& window) {
  const double c[3] = {window.MapLine(0.0), window.MapSample(0.0), 0.0};
  const double z = window.zoom;
  auto projective = make_var_a<TRPCRefinementDataProjective>(from);
  // M S^-1: the third column takes the shift back, the others are divided by the zoom.
  double product[3][3];
  for (int i = 0; i < 3; ++i) {
    const double* const row = from.matr[i];
    product[i][0] = row[0] / z;
    product[i][1] = row[1] / z;
    product[i][2] = row[2] - (row[0] * c[0] + row[1] * c[1]) / z;
  }
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      projective->matr[i][j] = (i < 2 ? z : 1.0) * product[i][j] + c[i] * product[2][j];
    }
  }
  return projective;
}

}  // namespace

var_a<TRPCRefinementDataBase*> CropRefinement(const TRPCRefinementDataBase& refinement, const TImageWindow& window) {
  if (!window.IsValid() || !refinement) return nullptr;
  if (const auto* const shift = dynamic_cast<const TRPCRefinementDataShift*>(&refinement)) {
    return CropShift(*shift, window);
  }
  if (const auto* const affine = dynamic_cast<const TRPCRefinementDataAffine*>(&refinement)) {
    return CropAffine(*affine, window);
  }
  if (const auto* const projective = dynamic_cast<const TRPCRefinementDataProjective*>(&refinement)) {
    return CropProjective(*projective, window);
  }
  return refinement.CreateCopyE();
}

var_a<TRPC*> CropModel(const TRPC& model, const TImageWindow& window) {
  TRPCData record;
  model.GetRPCData(&record);
  if (!CropRPC(record, window, &record)) return nullptr;
  const auto* const adjusted = dynamic_cast<const TAdjustedRPC*>(&model);
  var_a<TRPC*> cropped;
  try {
    if (adjusted != nullptr && adjusted->IsAdjusted()) {
      const auto refinement = CropRefinement(*adjusted->GetRPCRefinementData(), window);
      if (!refinement) return nullptr;
      cropped = make_var_a<TAdjustedRPC>(&record, refinement.get());
    } else {
      cropped = make_var_a<TRPC>(record, nullptr);
    }
  } catch (const TZxMessage&) {
    return nullptr;
  }
  TPolygon margin;
  if (model.GetMargin(&margin)) cropped->SetMargin(margin);
  return cropped;
}

}  // namespace SatCommonUtils
