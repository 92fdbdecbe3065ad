#pragma once
/// \file
/// Inverse models: from line, sample and height to latitude and longitude.

#include <cstddef>

#include "../frame/api.h"
#include "../poly/linear_normalization.h"
#include "rpc_data.h"
#include "rpc_model.h"

namespace SatCommonUtils {

/// True for the record of an inverse model, in which line and sample (pixels) stand in the places of latitude and
/// longitude. It is seen from their size: a latitude's offset beyond 90, or a longitude's scale beyond 180.
ORBMATH_API bool IsInverseRPC(const TRPCData& record) noexcept;

/// An inverse model whose record `FitInvertedRPC` or `orbmath invert` made.
///
/// A `TRPC` takes whole turns off what stands in the place of the longitude; so the record that is evaluated here has
/// normalised samples there. Any number of threads may evaluate one object.
class ORBMATH_API TInverseRPC {
 public:
  /// \param record complete; copied.
  explicit TInverseRPC(const TRPCData& record);

  /// Evaluates `count` points. \param line, sample pixels. \param height metres. \param lat, lon receive degrees. The
  /// arrays have `count` numbers each and belong to the caller.
  void Evaluate(std::size_t count, const double* line, const double* sample, const double* height, double* lat,
                double* lon) const;

 private:
  TLinearNormalization sample_;
  TRPC rpc_;
};

}  // namespace SatCommonUtils
