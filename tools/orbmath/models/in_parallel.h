#pragma once
/// \file
/// Work on many things at once, one thread each.

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include "frame/zxstd/threads.h"

namespace orbmath_tool {

/// Calls `work(i)` for each i below `count` on up to `threads` threads, each of which the library's own loops leave to
/// itself. The first exception ends the work and is thrown again. \param shown called between pieces of work, from the
/// calling thread alone, with how many have been begun.
template <class Work, class Shown>
void InParallel(std::size_t count, int threads, const Work& work, const Shown& shown) {
  std::atomic<std::size_t> next{0};
  std::mutex mutex;
  std::exception_ptr error;
  const auto run = [&](bool shows) {
    const SatCommonUtils::TZxThreadsScope one(1);
    for (std::size_t i; (i = next.fetch_add(1)) < count;) {
      try {
        work(i);
        if (shows) shown(std::min(next.load(), count));
      } catch (...) {
        next = count;
        const std::lock_guard<std::mutex> lock(mutex);
        if (!error) error = std::current_exception();
      }
    }
  };
  std::vector<std::thread> team;
  const std::size_t others =
      std::min(static_cast<std::size_t>(std::max(threads, 1)), std::max<std::size_t>(count, 1)) - 1;
  try {
    for (std::size_t i = 0; i < others; ++i) team.emplace_back(run, false);
  } catch (const std::system_error&) {
    // The system gives no more threads; those that there are do the work.
  }
  run(true);
  for (std::thread& thread : team) thread.join();
  if (error) std::rethrow_exception(error);
}

}  // namespace orbmath_tool
