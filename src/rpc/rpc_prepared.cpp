// A record turned around for its evaluation: by term instead of by polynomial. Elementary.

#include "rpc/rpc_prepared.h"

#include <limits>

namespace SatCommonUtils {

// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): the loop sets them all
TRPCPrepared::TRPCPrepared() noexcept : normalization(TRPCNormalization::None()) {
  for (auto& term : terms) {
    for (double& coefficient : term) coefficient = std::numeric_limits<double>::quiet_NaN();
  }
}

// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): the loop sets them all
TRPCPrepared::TRPCPrepared(const TRPCData& record) noexcept : normalization(record) {
  for (int k = 0; k < kRPCTermCount; ++k) {
    terms[k][0] = record.lineNumCoef[k];
    terms[k][1] = record.lineDenCoef[k];
    terms[k][2] = record.sampNumCoef[k];
    terms[k][3] = record.sampDenCoef[k];
  }
}

}  // namespace SatCommonUtils
