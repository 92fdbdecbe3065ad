// From the correction of a block to the records and models of the other rooms: the change from normalised image
// coordinates to pixels, and the product with a refinement that is there already. Elementary.

#include <algorithm>
#include <cmath>

#include "block/block_adjustment.h"
#include "rpc/rpc_axes.h"

namespace SatCommonUtils {
namespace {

/// Homogeneous map of (line, sample, 1).
matr3x3 MapOf(const TRPCNormalization& axes, const TBlockParameters& parameters) {
  const double line_scale = axes.line.GetScale();
  const double sample_scale = axes.sample.GetScale();
  matr3x3 map;
  map.fill_unity();
  for (std::size_t row = 0; row < 2; ++row) {
    const std::array<double, 3>& a = row == 0 ? parameters.line : parameters.sample;
    const double by_sample = a[1] / sample_scale;
    const double by_line = a[2] / line_scale;
    map[row][0] += by_line;
    map[row][1] += by_sample;
    map[row][2] = a[0] - by_sample * axes.sample.GetOffset() - by_line * axes.line.GetOffset();
  }
  return map;
}

matr3x3 Product(const matr3x3& a, const matr3x3& b) {
  matr3x3 product;
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t j = 0; j < 3; ++j) {
      for (std::size_t k = 0; k < 3; ++k) product[i][j] += a[i][k] * b[k][j];
    }
  }
  return product;
}

matr3x3 MapOf(const TRPCRefinementDataBase& data) {
  matr3x3 map;
  map.fill_unity();
  if (const auto* shift = dynamic_cast<const TRPCRefinementDataShift*>(&data)) {
    map[0][2] = shift->d_line;
    map[1][2] = shift->d_sample;
  } else if (const auto* affine = dynamic_cast<const TRPCRefinementDataAffine*>(&data)) {
    const double rows[2][3] = {{affine->LineDrift, affine->LineTilt, affine->LineBias},
                               {affine->SampleDrift, affine->SampleTilt, affine->SampleBias}};
    for (std::size_t i = 0; i < 2; ++i) std::copy(rows[i], rows[i] + 3, map[i]);
  } else if (const auto* projective = dynamic_cast<const TRPCRefinementDataProjective*>(&data)) {
    map = projective->matr;
  }
  return map;
}

bool IsFinite(const matr3x3& map) {
  for (const auto& row : map.m) {
    for (const double value : row) {
      if (!std::isfinite(value)) return false;
    }
  }
  return true;
}

}  // namespace

var_a<TRPCRefinementDataBase*> RefinementOfBlock(const TRPC& model, const TBlockParameters& parameters) {
  matr3x3 map = MapOf(model.GetNormalization(), parameters);
  bool projective = false;
  if (const auto* adjusted = dynamic_cast<const TAdjustedRPC*>(&model); adjusted != nullptr && adjusted->IsAdjusted()) {
    const var_a<TRPCRefinementDataBase*> before = adjusted->GetRPCRefinementData();
    projective = before->type == TRPCRefinementTransformType::Projective;
    map = Product(map, MapOf(*before));
  }
  if (!IsFinite(map)) return nullptr;
  if (projective) {
    var_a<TRPCRefinementDataProjective*> data(new TRPCRefinementDataProjective);
    data->matr = map;
    return data;
  }
  var_a<TRPCRefinementDataAffine*> data(new TRPCRefinementDataAffine);
  data->LineDrift = map[0][0];
  data->LineTilt = map[0][1];
  data->LineBias = map[0][2];
  data->SampleDrift = map[1][0];
  data->SampleTilt = map[1][1];
  data->SampleBias = map[1][2];
  return data;
}

std::shared_ptr<TAdjustedRPC> AdjustedModelOf(const TRPC& model, const TBlockParameters& parameters) {
  const var_a<TRPCRefinementDataBase*> refinement = RefinementOfBlock(model, parameters);
  if (!refinement) return nullptr;
  TRPCData record;
  model.GetRPCData(&record);
  std::shared_ptr<TAdjustedRPC> adjusted = std::make_shared<TAdjustedRPC>(&record, refinement.get());
  if (const TPolygon* const margin = model.FindMargin()) adjusted->SetMargin(*margin);
  int width = 0;
  int height = 0;
  if (model.GetRasterDims(&width, &height)) adjusted->SetRasterDims(width, height);
  return adjusted;
}

}  // namespace SatCommonUtils
