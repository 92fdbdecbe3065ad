// Models of windows. With S the map from the image to the window's result, S(x) = zoom x + c on both axes, a refinement
// T of the image is S T S^-1 in the result: elementary.

#include "refine/crop_model.h"

#include "frame/zxstd/message.h"
#include "refine/adjusted_rpc.h"
#include "refine/plane_similarity.h"
#include "refine/refinement_kinds.h"

namespace SatCommonUtils {

namespace {

/// S M S^-1 of the matrix of a refinement. A shift keeps its bits but for the zoom: what S puts on and takes off again
/// is subtracted before it meets another number.
matr3x3 Cropped(const matr3x3& m, const TImageWindow& window) {
  const double c[2] = {window.MapLine(0.0), window.MapSample(0.0)};
  const double z = window.zoom;
  const double last = m[2][2] - (m[2][0] * c[0] + m[2][1] * c[1]) / z;
  matr3x3 cropped;
  for (int i = 0; i < 2; ++i) {
    for (int j = 0; j < 2; ++j) cropped[i][j] = m[i][j] + c[i] * (m[2][j] / z);
    cropped[i][2] = z * m[i][2] + (c[i] * last - (m[i][0] * c[0] + m[i][1] * c[1]));
    cropped[2][i] = m[2][i] / z;
  }
  cropped[2][2] = last;
  return cropped;
}

/// The covariance of that. The elements of a matrix that are no parameters have no steps.
TRefinementCovariance Cropped(const TRefinementCovariance& covariance, const TImageWindow& window) {
  const refine::TPlaneSimilarity to_window{window.zoom, {window.MapLine(0.0), window.MapSample(0.0)}};
  const TRefinementKind& kind = *FindRefinementKind(covariance.type);
  const bool projective = covariance.type == TRPCRefinementTransformType::Projective;
  const std::size_t count = projective ? 9 : kind.parameterCount;
  const auto place = [&](std::size_t k) { return projective ? k : kind.parameters[k]; };
  TRefinementCovariance cropped = covariance;
  cropped.sigma *= window.zoom;
  for (std::size_t row = 0; row < count; ++row) {
    for (std::size_t column = row; column < count; ++column) {
      double sum = 0.0;
      for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t j = 0; j < count; ++j) {
          sum += to_window.Step(place(row), place(i)) * covariance.values[i * count + j] *
                 to_window.Step(place(column), place(j));
        }
      }
      cropped.values[row * count + column] = cropped.values[column * count + row] = sum;
    }
  }
  return cropped;
}

}  // namespace

var_a<TRPCRefinementDataBase*> CropRefinement(const TRPCRefinementDataBase& refinement, const TImageWindow& window) {
  const TRefinementKind* const kind = FindRefinementKind(refinement.type);
  if (!window.IsValid() || !refinement || kind == nullptr) return nullptr;
  return kind->recordOf(Cropped(kind->matrixOf(refinement), window));
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
      auto refined = make_var_a<TAdjustedRPC>(&record, refinement.get());
      if (const auto* known = adjusted->FindRefinementCovariance())
        refined->SetRefinementCovariance(Cropped(*known, window));
      cropped = refined;
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
