#pragma once
// Work on arrays of points: blocks on several threads, and small blocks that fit the registers' needs within.

#include <algorithm>
#include <cstddef>
#include <exception>

#include "frame/zxstd/threads.h"

namespace SatCommonUtils::rpc {

/// Points that one thread takes at a time; arrays up to this length stay on the caller's thread.
constexpr std::size_t kThreadBlock = 2048;

/// Points that a kernel takes at a time: a multiple of every vector width, small enough for buffers on the stack.
constexpr std::size_t kLaneBlock = 64;

/// Calls `work(first, last)` for ranges that make up [0, count), on up to `ZxGetThreadsCount()` threads. Which thread
/// takes which range has no influence on a result as long as `work` keeps to its range. What `work` throws is thrown
/// again once all have ended: nothing may leave a thread of a team.
template <class Work>
void ForEachBlock(std::size_t count, const Work& work) {
  const std::ptrdiff_t blocks = static_cast<std::ptrdiff_t>((count + kThreadBlock - 1) / kThreadBlock);
  const int threads = static_cast<int>(std::min<std::ptrdiff_t>(ZxGetThreadsCount(), blocks));
  if (threads <= 1) {
    if (count > 0) work(std::size_t{0}, count);
    return;
  }
  std::exception_ptr failure;
#pragma omp parallel for schedule(static) num_threads(threads)
  for (std::ptrdiff_t block = 0; block < blocks; ++block) {
    try {
      const std::size_t first = static_cast<std::size_t>(block) * kThreadBlock;
      work(first, std::min(first + kThreadBlock, count));
    } catch (...) {
#pragma omp critical(OrbmathRpcFailure)
      failure = std::current_exception();
    }
  }
  if (failure) std::rethrow_exception(failure);
}

}  // namespace SatCommonUtils::rpc
