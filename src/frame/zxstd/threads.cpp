// The one number that parallel loops ask for.

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

// The same for the calls of one thread; 0 stands for "the process's number".
thread_local int g_calls_count = 0;

}  // namespace

int ZxGetThreadsCount() {
  if (g_calls_count > 0) return g_calls_count;
  const int chosen = ChosenCount().load(std::memory_order_relaxed);
  if (chosen > 0) return chosen;
  static const int machine = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
  return machine;
}

void ZxSetThreadsCount(int count) { ChosenCount().store(std::max(0, count), std::memory_order_relaxed); }

TZxThreadsScope::TZxThreadsScope(int count) noexcept : previous_(g_calls_count) { g_calls_count = std::max(0, count); }

TZxThreadsScope::~TZxThreadsScope() { g_calls_count = previous_; }

}  // namespace SatCommonUtils
