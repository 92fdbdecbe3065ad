// Model files of the XML form.

#include "rpc_round_trip.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  orbmath_fuzz::ReadAndRewrite(data, size);
  return 0;
}
