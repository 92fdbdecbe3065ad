#pragma once
/// \file
/// The twenty terms of an RPC polynomial: how many, which, and their values at a point.

#include "../frame/api.h"
#include "rpc_axes.h"

namespace SatCommonUtils {

/// Number of terms, and so of coefficients, of one polynomial.
constexpr int kRPCTermCount = 20;

/// Exponents of normalised latitude P, longitude L and height H in one term.
struct TRPCTermPowers {
  int lat;  ///< Exponent of the normalised latitude.
  int lon;  ///< Exponent of the normalised longitude.
  int h;    ///< Exponent of the normalised height.
};

/// The terms in the order of the coefficients: RPC00B of STDI-0002, appendix E (the table stands with `TRPCData`).
constexpr TRPCTermPowers kRPCTermPowers[kRPCTermCount] = {
    {0, 0, 0}, {0, 1, 0}, {1, 0, 0}, {0, 0, 1}, {1, 1, 0}, {0, 1, 1}, {1, 0, 1}, {0, 2, 0}, {2, 0, 0}, {0, 0, 2},
    {1, 1, 1}, {0, 3, 0}, {2, 1, 0}, {0, 1, 2}, {1, 2, 0}, {3, 0, 0}, {1, 0, 2}, {0, 2, 1}, {2, 0, 1}, {0, 0, 3}};

/// The terms at a point: bit for bit those that a model sums.
/// \param terms receives `kRPCTermCount` values, dimensionless.
ORBMATH_API void FormRPCTerms(const TNormalizedGroundPoint& point, double* terms) noexcept;

/// One polynomial: the sum of coefficient times term, in their order, bit for bit as in a model.
/// \param coefficients, terms `kRPCTermCount` values each.
ORBMATH_API double SumRPCTerms(const double* coefficients, const double* terms) noexcept;

}  // namespace SatCommonUtils
