// Vendors' model files of every form: the corpus has a small one of each.

#include "rpc_round_trip.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  orbmath_fuzz::ReadAndRewrite(data, size);
  return 0;
}
