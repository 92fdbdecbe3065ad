// Evaluation of inverse models; elementary.

#include "rpc/inverse_rpc.h"

#include <cmath>
#include <vector>

namespace SatCommonUtils {

namespace {

TRPCData WithNormalizedLongitude(TRPCData record) {
  record.longOffset = 0.0;
  record.longScale = 1.0;
  return record;
}

}  // namespace

bool IsInverseRPC(const TRPCData& record) noexcept {
  return std::abs(record.latOffset) > 90.0 || std::abs(record.longScale) > 180.0;
}

TInverseRPC::TInverseRPC(const TRPCData& record)
    : sample_(record.longOffset, record.longScale), rpc_(WithNormalizedLongitude(record)) {}

void TInverseRPC::Evaluate(std::size_t count, const double* line, const double* sample, const double* height,
                           double* lat, double* lon) const {
  std::vector<double> normalized(sample, sample + count);
  for (double& value : normalized) value = sample_.Initial2Normalized(value);
  rpc_.CalculateLineSampleArray(count, line, normalized.data(), height, lat, lon, nullptr, nullptr);
}

}  // namespace SatCommonUtils
