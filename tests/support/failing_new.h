#pragma once
// A program whose memory can run out. failing_new.cpp, which belongs to its sources, replaces operator new, also for
// the library that the program loads.

#include <new>

namespace orbmath_test {

extern thread_local bool memory_fails;

/// How a call without memory ended.
enum class MemoryOutcome { Finished, BadAlloc };

/// Runs `call()` while every allocation of this thread fails.
template <class Call>
MemoryOutcome RunWithoutMemory(const Call& call) {
  struct TRestore {
    ~TRestore() { memory_fails = false; }
  };
  try {
    const TRestore restore;
    memory_fails = true;
    call();
  } catch (const std::bad_alloc&) {
    return MemoryOutcome::BadAlloc;
  }
  return MemoryOutcome::Finished;
}

}  // namespace orbmath_test
