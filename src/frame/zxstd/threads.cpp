#include "frame/zxstd/threads.h"

#include <algorithm>
#include <atomic>
#include <thread>

namespace SatCommonUtils {

namespace {

// 0 stands for "the machine's number".
std::atomic<int>& ChosenCount() {
  static std::atomic<int> count{0};
  return count;
}

}  // namespace

int ZxGetThreadsCount() {
  const int chosen = ChosenCount().load(std::memory_order_relaxed);
  if (chosen > 0) return chosen;
  static const int machine = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
  return machine;
}

void ZxSetThreadsCount(int count) { ChosenCount().store(std::max(0, count), std::memory_order_relaxed); }

}  // namespace SatCommonUtils
