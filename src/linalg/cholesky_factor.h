#pragma once
// Cholesky's factorisation of large matrices on a team of threads.

#include "linalg/kernels.h"

namespace SatCommonUtils::kernels {

/// As `CholeskyFactor`, by strips of columns, which carry a right-hand side along.
/// \param b null, or a right-hand side. \param y then receives the solution of uᵀ·y = b.
TFactorState FactorByStrips(TConstRows a, std::size_t n, TPoll poll, TRows u, const double* b, double* y);

}  // namespace SatCommonUtils::kernels
