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

/// The refinement that a model has already.
struct TRefinementBefore {
  matr3x3 map;
  bool projective = false;
};

TRefinementBefore RefinementBefore(const TRPC& model) {
  TRefinementBefore before;
  before.map.fill_unity();
  const auto* const adjusted = dynamic_cast<const TAdjustedRPC*>(&model);
  if (adjusted == nullptr || !adjusted->IsAdjusted()) return before;
  const var_a<TRPCRefinementDataBase*> data = adjusted->GetRPCRefinementData();
  before.projective = data->type == TRPCRefinementTransformType::Projective;
  before.map = MapOf(*data);
  return before;
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
  const TRefinementBefore before = RefinementBefore(model);
  const matr3x3 map = Product(MapOf(model.GetNormalization(), parameters), before.map);
  if (!IsFinite(map)) return nullptr;
  if (before.projective) {
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

TRefinementCovariance CovarianceOfBlock(const TRPC& model, const TBlockResult& result, std::size_t image) {
  TRefinementCovariance covariance;
  const TBlockImageResult& own = result.images[image];
  if (own.state != TBlockImageState::Adjusted || std::isnan(own.covariance[0])) return covariance;
  const TRefinementBefore before = RefinementBefore(model);
  // The map is linear in the parameters: each has a matrix of its own.
  matr3x3 zero;
  zero.fill_unity();
  std::array<matr3x3, 6> steps;
  for (std::size_t p = 0; p < 6; ++p) {
    TBlockParameters one;
    (p < 3 ? one.sample : one.line)[p % 3] = 1.0;
    matr3x3 step = MapOf(model.GetNormalization(), one);
    for (std::size_t i = 0; i < 9; ++i) step[i / 3][i % 3] -= zero[i / 3][i % 3];
    steps[p] = Product(step, before.map);
  }
  using Type = TRPCRefinementTransformType;
  covariance.type = before.projective ? Type::Projective : Type::Affine;
  const std::size_t count = before.projective ? 9 : 6;
  covariance.values.resize(count * count);
  for (std::size_t i = 0; i < count; ++i) {
    for (std::size_t j = i; j < count; ++j) {
      double sum = 0.0;
      for (std::size_t p = 0; p < 6; ++p) {
        for (std::size_t q = 0; q < 6; ++q) {
          sum += steps[p][i / 3][i % 3] * own.covariance[6 * p + q] * steps[q][j / 3][j % 3];
        }
      }
      covariance.values[i * count + j] = covariance.values[j * count + i] = sum;
    }
  }
  if (result.redundancy > 0) {
    const auto redundancy = static_cast<double>(result.redundancy);
    covariance.sigma = result.rms * std::sqrt(2.0 * static_cast<double>(result.observations) / redundancy);
    if (result.scaled) covariance.redundancy = static_cast<std::size_t>(result.redundancy);
  }
  return covariance;
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
