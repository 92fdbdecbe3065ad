#pragma once
/// \file
/// Models as `orbmath invert` writes them.

#include <cstddef>

#include "poly/linear_normalization.h"
#include "rpc/rpc_model.h"

namespace orbmath_tool {

/// True for the record of an inverse model: line and sample stand in the places of latitude and longitude, which is
/// seen from their size.
bool IsInverse(const SatCommonUtils::TRPCData& record);

/// An inverse model, from line, sample and height to latitude and longitude.
///
/// A model takes whole turns off what stands in the place of the longitude. So the record that is evaluated has
/// normalised samples there.
class InverseModel {
 public:
  explicit InverseModel(const SatCommonUtils::TRPCData& record);

  /// Evaluates `count` points. \param line, sample pixels. \param height metres. \param lat, lon degrees.
  void Evaluate(std::size_t count, const double* line, const double* sample, const double* height, double* lat,
                double* lon) const;

 private:
  SatCommonUtils::TLinearNormalization sample_;
  SatCommonUtils::TRPC rpc_;
};

}  // namespace orbmath_tool
