#pragma once
// Work on a team of threads. What a thread makes is its own, so that results do not depend on their number.

#include <omp.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <thread>
#include <vector>

#include "frame/zxstd/threads.h"
#include "linalg/kernels.h"

namespace SatCommonUtils::kernels {

/// The threads that the library may use now.
inline std::size_t TeamSize() { return static_cast<std::size_t>(ZxGetThreadsCount()); }

/// The run of `count` things that a static schedule gives to one thread of a team.
inline TRange StaticShare(std::size_t count, std::size_t thread, std::size_t threads) {
  const std::size_t chunk = count / threads;
  const std::size_t longer = count % threads;  // the first threads take one more
  const std::size_t first = thread * chunk + std::min(thread, longer);
  return {first, first + chunk + (thread < longer ? 1 : 0)};
}

/// Runs `work(thread, threads)` on a team of up to that many threads. It must not throw: memory is taken before.
template <class Work>
void OnTeam(std::size_t threads, const Work& work) {
  omp_set_dynamic(0);
#pragma omp parallel num_threads(static_cast <int>(threads))
  work(static_cast<std::size_t>(omp_get_thread_num()), static_cast<std::size_t>(omp_get_num_threads()));
}

/// `OnTeam` without the cost of a team where there is one thread only, for work that may be small.
template <class Work>
void OnTeamOrAlone(std::size_t threads, const Work& work) {
  if (threads == 1) return work(0, 1);
  OnTeam(threads, work);
}

/// Memory for every thread, taken where a failure can still be thrown.
inline std::vector<TWorkspace> Workspaces(const TProduct& product, std::size_t threads) {
  std::vector<TWorkspace> workspaces;
  workspaces.reserve(threads);
  for (std::size_t i = 0; i < threads; ++i) workspaces.emplace_back(product);
  return workspaces;
}

/// Waits for other threads of a team until `is_so()`. It looks again and again for some ten microseconds, which is what
/// meetings within a solution take; then it makes way for other threads, and after that it sleeps in between: the one
/// that is waited for may be in a caller's function.
template <class Condition>
void WaitUntil(const Condition& is_so) {
  constexpr int kLooks = 500, kYields = 200;
  for (int looks = 0; !is_so(); ++looks) {
    if (looks < kLooks) {
#if defined(__x86_64__) || defined(__i386__)
      __builtin_ia32_pause();
#endif
    } else if (looks < kLooks + kYields) {
      std::this_thread::yield();
    } else {
      looks = kLooks + kYields;
      std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
  }
}

/// Systems of fewer unknowns are solved on one thread: measured with two, meeting costs more than is gained below.
inline constexpr std::size_t kSmallestTeamSystem = 150;

/// The threads that a system of n unknowns is worth.
inline std::size_t SolverTeamSize(std::size_t n) { return n < kSmallestTeamSystem ? 1 : TeamSize(); }

}  // namespace SatCommonUtils::kernels
