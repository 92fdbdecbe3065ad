#pragma once
// Cholesky's factorisation of large matrices on a team of threads.

#include "linalg/kernels.h"

namespace SatCommonUtils::kernels {

/// As `CholeskyFactor`, by strips of columns.
TFactorState FactorByStrips(TConstRows a, std::size_t n, TPoll poll, TRows u);

}  // namespace SatCommonUtils::kernels
