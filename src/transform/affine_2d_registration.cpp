// The affine transform among the serializable ones: registered by the first start, taken out by the last stop.

#include "transform/affine_2d_registration.h"

#include <cstdint>

#include "transform/affine_2d.h"

namespace SatCommonUtils {
namespace {

std::uint32_t registrations = 0;

}  // namespace

void Register2DAffineTransform() {
  if (registrations++ > 0) return;
  TZx2DTransform::TSerializer::RegisterName(T2DAffineTransform::StaticGetContentName(),
                                            [] { return make_var_a<T2DAffineTransform>(); });
}

void Unregister2DAffineTransform() {
  if (registrations == 0 || --registrations > 0) return;
  TZx2DTransform::TSerializer::UnregisterName(T2DAffineTransform::StaticGetContentName());
}

}  // namespace SatCommonUtils
