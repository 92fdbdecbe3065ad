// The affine transform among the serializable ones: registered by the first start, taken out by the last stop.

#include "transform/affine_2d_registration.h"

#include <cstdint>
#include <new>
#include <string>

#include "transform/affine_2d.h"

namespace SatCommonUtils {
namespace {

using Registry = TZx2DTransform::TSerializer;

std::uint32_t registrations = 0;

var_a<TZx2DTransform*> NewAffine() { return make_var_a<T2DAffineTransform>(); }

}  // namespace

bool Register2DAffineTransform() noexcept {
  try {
    if (registrations == 0) {
      Registry::RegisterName(T2DAffineTransform::StaticGetContentName(), NewAffine);
    }
  } catch (const std::bad_alloc&) {
    return false;
  }
  ++registrations;
  return true;
}

void Unregister2DAffineTransform() noexcept {
  if (registrations == 0 || --registrations > 0) return;
  try {
    const std::string name = T2DAffineTransform::StaticGetContentName();
    const Registry::TFactory factory = Registry::FindFactory(name);
    const auto* const ours = factory.target<var_a<TZx2DTransform*> (*)()>();
    Registry::UnregisterName(name);
    if (factory && (ours == nullptr || *ours != &NewAffine)) Registry::RegisterName(name, factory);
  } catch (const std::bad_alloc&) {
    // Without memory to keep it meanwhile, a host's factory would be lost: everything stays as it is.
  }
}

}  // namespace SatCommonUtils
