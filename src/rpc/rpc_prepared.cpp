// A record turned around for its evaluation: by term instead of by polynomial. Elementary.
//
// One point reads 20 vectors of four coefficients for its values alone, or 40 of two. From aligned memory a vector of
// two is the operand of a multiplication; otherwise each needs an instruction of its own, which costs inversions 17 %
// (benchmarks/rpc.cpp).

#include "rpc/rpc_prepared.h"

#include <algorithm>
#include <limits>

#include "rpc/branch.h"

namespace SatCommonUtils {

namespace {

constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();

}  // namespace

// Emitted for hosts on Windows, whose programs import the constant where they take its address.
constexpr std::size_t TRPCPrepared::kAlignment;  // NOLINT(readability-redundant-declaration)

// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): filled below
TRPCPrepared::TRPCPrepared() noexcept
    : normalization(TRPCNormalization::None()), reciprocal{kNoNumber, kNoNumber, kNoNumber, kNoNumber, kNoNumber} {
  std::fill_n(storage_, kCount + kSpare, kNoNumber);
}

TRPCPrepared::TRPCPrepared(const TRPCData& record) noexcept : TRPCPrepared() {
  normalization = TRPCNormalization(record);
  reciprocal = {1.0 / record.lineScale, 1.0 / record.sampScale, 1.0 / record.latScale, 1.0 / record.longScale,
                1.0 / record.heightScale};
  free = rpc::FindFreeBox(record);
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
  reciprocal = other.reciprocal;
  free = other.free;
  std::copy_n(other.Terms(), kCount, storage_ + Shift());  // the other may stand at another place in its vector
  return *this;
}

}  // namespace SatCommonUtils
