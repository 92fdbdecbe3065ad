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

/// A box around a model's centre in which an image point at a height has one ground point at most.
struct ORBMATH_API TRPCFreeBox {
  double ground = 0.0;  ///< how far it reaches in latitude and in longitude, normalised; 0 where no box is known
  double height = 0.0;  ///< and in height, normalised
};

/// 1 / scale of each axis, for ways to a result whose bits nobody has promised.
struct ORBMATH_API TRPCReciprocals {
  double line;       ///< 1 / pixels
  double sample;     ///< 1 / pixels
  double latitude;   ///< 1 / degrees
  double longitude;  ///< 1 / degrees
  double height;     ///< 1 / metres
};

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

  static constexpr std::size_t kAlignment = 32;  ///< bytes: a vector of four numbers

  TRPCNormalization normalization;  ///< Of the five axes.
  TRPCReciprocals reciprocal;       ///< Of the five scales.
  TRPCFreeBox free;                 ///< The widest that could be shown.

 private:
  static constexpr std::size_t kCount = 4 * kRPCTermCount;

  static constexpr std::size_t kSpare = kAlignment / sizeof(double) - 1;

  /// Some numbers are left free before the rows or behind them.
  std::size_t Shift() const noexcept {
    return (kAlignment - reinterpret_cast<std::uintptr_t>(storage_) % kAlignment) % kAlignment / sizeof(double);
  }

  alignas(sizeof(double)) double storage_[kCount + kSpare];  // by itself, 32-bit x86 puts doubles at multiples of four
};

}  // namespace SatCommonUtils
