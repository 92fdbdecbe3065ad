#pragma once
// A height surface as Python holds it.

#include <memory>

#include "terrain/height_surface.h"

namespace orbmath_python {

struct THeld {
  std::shared_ptr<const SatCommonUtils::THeightSurface> surface;
};

}  // namespace orbmath_python
