#pragma once
/// \file
/// A record with other offsets and scales.

#include "../frame/api.h"
#include "rpc_data.h"

namespace SatCommonUtils {

/// Expresses a record with other offsets and scales: the same model, up to rounding, with changed coefficients.
/// \param from a complete record. \param to holds the five pairs to use (scales finite and not 0) and receives the
///   coefficients.
/// \return false, `*to` untouched, when a number involved is not usable, or when a denominator vanishes at the new
///   origin.
ORBMATH_API bool RenormalizeRPC(const TRPCData& from, TRPCData* to);

}  // namespace SatCommonUtils
