// Model files of the text form, and the record's own reader of that form, which reads any text.

#include "rpc/rpc_data.h"
#include "rpc_round_trip.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  orbmath_fuzz::ReadAndRewrite(data, size);
  SatCommonUtils::TZxStringStream stream(std::string(reinterpret_cast<const char*>(data), size));
  SatCommonUtils::TRPCData record;
  const bool good = record.InitializeFromText(&stream);
  orbmath_fuzz::Require(good == static_cast<bool>(record));
  return 0;
}
