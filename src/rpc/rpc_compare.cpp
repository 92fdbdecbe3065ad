// Two records number by number, in the order of the table of fields.

#include "rpc/rpc_compare.h"

#include "rpc/rpc_fields.h"

namespace SatCommonUtils {

void DebugEstimateRPCDataDifference(const TRPCData& a, const TRPCData& b, TRPCData* diff) {
  for (const TRPCScalarField& field : RPCScalarFields()) diff->*field.value = a.*field.value - b.*field.value;
  for (const TRPCCoefficientField& field : RPCCoefficientFields()) {
    for (int k = 0; k < 20; ++k) (diff->*field.values)[k] = (a.*field.values)[k] - (b.*field.values)[k];
  }
}

bool DebugRPCDataAreIdentical(const TRPCData& a, const TRPCData& b) {
  TRPCData difference;
  DebugEstimateRPCDataDifference(a, b, &difference);
  return VisitRPCNumbers(difference, [](const double& number) { return number == 0.0; });
}

}  // namespace SatCommonUtils
