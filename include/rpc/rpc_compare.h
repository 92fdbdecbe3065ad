#pragma once
/// \file
/// Comparison of two RPC records number by number, for diagnostics.

#include "../frame/api.h"
#include "rpc_data.h"

namespace SatCommonUtils {

/// Each of the ninety numbers of `*diff` becomes that of `a` minus that of `b`, in the unit of the field. No
/// tolerance; unset marks take part like any value (two of them differ by 0). `diff` may be one of the two records.
ORBMATH_API void DebugEstimateRPCDataDifference(const TRPCData& a, const TRPCData& b, TRPCData* diff);

/// True when all ninety differences equal 0.0: +0 and -0 are the same, a NaN or an infinity is not even the same as
/// itself.
ORBMATH_API bool DebugRPCDataAreIdentical(const TRPCData& a, const TRPCData& b);

}  // namespace SatCommonUtils
