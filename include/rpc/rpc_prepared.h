#pragma once
/// \file
/// A record as it is evaluated.

#include "../frame/api.h"
#include "rpc_axes.h"
#include "rpc_data.h"
#include "rpc_terms.h"

namespace SatCommonUtils {

/// The numbers of a record in the order in which a projection reads them. A plain value that a model keeps beside its
/// record, so that the four polynomials of one point fill the lanes of vectors.
struct ORBMATH_API TRPCPrepared {
  /// Of each term the coefficients of line numerator, line denominator, sample numerator, sample denominator.
  double terms[kRPCTermCount][4];
  TRPCNormalization normalization;

  /// Of no record: everything NaN.
  TRPCPrepared() noexcept;
  /// The record's own validity is not tested.
  explicit TRPCPrepared(const TRPCData& record) noexcept;
};

}  // namespace SatCommonUtils
