// What every 2D transform does unless it knows better: arrays point by point, and no matrix.

#include "frame/zxstd/transform_2d.h"

#include <cmath>

namespace SatCommonUtils {

namespace {

bool Accept(const xy_d& image, xy_d& result) {
  if (!std::isfinite(image.x) || !std::isfinite(image.y)) return false;
  result = image;
  return true;
}

}  // namespace

TZx2DTransform::~TZx2DTransform() = default;

var_a<TZxCLInstance*> TZx2DTransform::CreateCLInstance(TZxEnvCL& /*environment*/) const { return nullptr; }

bool TZx2DTransform::GetTraCoordB(const xy_d& point, xy_d& result) const { return Accept(GetTraCoord(point), result); }

bool TZx2DTransform::GetInverseTraCoordB(const xy_d& point, xy_d& result) const {
  return Accept(GetInverseTraCoord(point), result);
}

void TZx2DTransform::GetTraCoordM(const xy_d* points, xy_d* results, std::size_t count) const {
  for (std::size_t i = 0; i < count; ++i) results[i] = GetTraCoord(points[i]);
}

void TZx2DTransform::GetInverseTraCoordM(const xy_d* points, xy_d* results, std::size_t count) const {
  for (std::size_t i = 0; i < count; ++i) results[i] = GetInverseTraCoord(points[i]);
}

unsigned int TZx2DTransform::GetTransformFlags() const { return 0; }

bool TZx2DTransform::GetMatrix(matr3x3* /*matrix*/) const { return false; }

bool TZx2DTransform::GetInverseMatrix(matr3x3* /*matrix*/) const { return false; }

}  // namespace SatCommonUtils
