// A record turned around for its evaluation: by term instead of by polynomial. Elementary.
//
// One point reads 40 vectors of two coefficients for its values alone. From aligned memory a vector is the operand of a
// multiplication; otherwise each needs an instruction of its own, which costs inversions 17 % (benchmarks/rpc.cpp).

#include "rpc/rpc_prepared.h"

#include <algorithm>
#include <limits>

namespace SatCommonUtils {

// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): filled below
// Emitted for hosts on Windows, whose programs import the constant where they take its address.
constexpr std::size_t TRPCPrepared::kAlignment;

TRPCPrepared::TRPCPrepared() noexcept : normalization(TRPCNormalization::None()) {
  std::fill_n(storage_, kCount + 1, std::numeric_limits<double>::quiet_NaN());
}

TRPCPrepared::TRPCPrepared(const TRPCData& record) noexcept : TRPCPrepared() {
  normalization = TRPCNormalization(record);
  double* row = storage_ + Shift();
  for (int k = 0; k < kRPCTermCount; ++k) {
    *row++ = record.lineNumCoef[k];
    *row++ = record.lineDenCoef[k];
    *row++ = record.sampNumCoef[k];
    *row++ = record.sampDenCoef[k];
  }
}

TRPCPrepared::TRPCPrepared(const TRPCPrepared& other) noexcept : TRPCPrepared() { *this = other; }

TRPCPrepared& TRPCPrepared::operator=(const TRPCPrepared& other) noexcept {
  if (this == &other) return *this;
  normalization = other.normalization;
  std::copy_n(other.Terms(), kCount, storage_ + Shift());  // the other may stand at another place in its vector
  return *this;
}

}  // namespace SatCommonUtils
