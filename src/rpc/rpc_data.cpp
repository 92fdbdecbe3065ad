// When a record is complete.

#include "rpc/rpc_data.h"

#include "frame/zxstd/unset_mark.h"
#include "rpc/rpc_fields.h"

namespace SatCommonUtils {

TRPCData::TRPCData() { Invalidate(); }  // NOLINT(cppcoreguidelines-pro-type-member-init): all set by the call

void TRPCData::Invalidate() {
  VisitRPCNumbers(*this, [](double& number) {
    number = kUnsetMark;
    return true;
  });
}

TRPCData::operator bool() const {
  return VisitRPCNumbers(*this, [](const double& number) { return number != kUnsetMark; });
}

}  // namespace SatCommonUtils
