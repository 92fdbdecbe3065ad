#pragma once
// Loops over many things on several threads. What a run of them makes is its own, so that results do not depend on
// the number of threads.

#include <algorithm>
#include <cstddef>
#include <exception>
#include <vector>

#include "frame/zxstd/threads.h"

namespace SatCommonUtils::block {

/// Calls `work(first, last)` for the runs of `length` that make up [0, count), on up to `ZxGetThreadsCount()` threads.
/// What a run throws is thrown again, once all have ended.
template <class Work>
void ForRuns(std::size_t count, std::size_t length, const Work& work) {
  const std::ptrdiff_t runs = static_cast<std::ptrdiff_t>((count + length - 1) / length);
  [[maybe_unused]] const int threads = static_cast<int>(std::min<std::ptrdiff_t>(ZxGetThreadsCount(), runs));
  std::exception_ptr failure;
#pragma omp parallel for schedule(dynamic) num_threads(threads) if (threads > 1)
  for (std::ptrdiff_t run = 0; run < runs; ++run) {
    const TZxThreadsScope alone(1);
    try {
      const std::size_t first = static_cast<std::size_t>(run) * length;
      work(first, std::min(first + length, count));
    } catch (...) {
#pragma omp critical(OrbmathBlockFailure)
      failure = std::current_exception();
    }
  }
  if (failure) std::rethrow_exception(failure);
}

/// The sum over [0, count) of `part(first, last)`, whose runs of `length` are added in order.
template <class Part>
double SumOverRuns(std::size_t count, std::size_t length, const Part& part) {
  std::vector<double> sums((count + length - 1) / length);
  ForRuns(count, length, [&](std::size_t first, std::size_t last) { sums[first / length] = part(first, last); });
  double sum = 0.0;
  for (const double value : sums) sum += value;
  return sum;
}

}  // namespace SatCommonUtils::block
