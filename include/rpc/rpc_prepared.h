#pragma once
/// \file
/// A record as it is evaluated.

#include <cstddef>
#include <cstdint>

#include "../frame/api.h"
#include "rpc_axes.h"
#include "rpc_data.h"
#include "rpc_terms.h"

namespace SatCommonUtils {

/// The numbers of a record in the order in which a projection reads them. A plain value that a model keeps beside its
/// record, so that the four polynomials of one point fill the lanes of vectors.
class ORBMATH_API TRPCPrepared {
 public:
  /// Of no record: everything NaN.
  TRPCPrepared() noexcept;
  /// The record's own validity is not tested.
  explicit TRPCPrepared(const TRPCData& record) noexcept;
  TRPCPrepared(const TRPCPrepared& other) noexcept;
  TRPCPrepared& operator=(const TRPCPrepared& other) noexcept;
  ~TRPCPrepared() = default;

  /// `kRPCTermCount` rows of four, dimensionless: of each term the coefficients of line numerator, line denominator,
  /// sample numerator, sample denominator. The rows begin at a multiple of `kAlignment`, wherever the object stands.
  const double* Terms() const noexcept { return storage_ + Shift(); }

  static constexpr std::size_t kAlignment = 16;  ///< bytes: a vector of two numbers

  TRPCNormalization normalization;  ///< Of the five axes.

 private:
  static constexpr std::size_t kCount = 4 * kRPCTermCount;

  /// A number is left free before the rows or behind them.
  std::size_t Shift() const noexcept {
    return reinterpret_cast<std::uintptr_t>(storage_) % kAlignment / sizeof(double);
  }

  alignas(sizeof(double)) double storage_[kCount + 1];  // by itself, 32-bit x86 puts doubles at multiples of four
};

}  // namespace SatCommonUtils
