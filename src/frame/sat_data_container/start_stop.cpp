// Counting the users of the data container.

#include "frame/sat_data_container/start_stop.h"

#include <atomic>

namespace SatCommonUtils {

namespace {

std::atomic<unsigned long long> user_count{0};

}  // namespace

void Init_SatDataContainer() { ++user_count; }

void Deinit_SatDataContainer() {
  unsigned long long count = user_count.load();
  while (count > 0 && !user_count.compare_exchange_weak(count, count - 1)) {
  }
}

unsigned long long GetSatDataContainerUsers() { return user_count.load(); }

}  // namespace SatCommonUtils
