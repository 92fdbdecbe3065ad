#include "memory/failing_memory.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::ptrdiff_t> g_live{0};
std::atomic<std::size_t> g_count{0};
std::atomic<std::size_t> g_failing{0};  // 0: none
std::atomic<bool> g_goes_on{false};
std::atomic<bool> g_failed{false};

bool Fails() {
  const std::size_t failing = g_failing.load();
  if (failing == 0) return false;
  const std::size_t count = ++g_count;
  const bool fails = count == failing || (count > failing && g_goes_on.load());
  if (fails) g_failed = true;
  return fails;
}

void* Reserve(std::size_t size, std::size_t alignment) {
  void* block = nullptr;
  return posix_memalign(&block, alignment, size) == 0 ? block : nullptr;
}
void GiveBack(void* block) { std::free(block); }

void* Allocate(std::size_t size, std::size_t alignment) {
  if (Fails()) return nullptr;
  // Of the very size that was asked for: bytes for rounding would hide from sanitizers what is read behind the end.
  void* const block = Reserve(size == 0 ? 1 : size, alignment);
  if (block == nullptr) return nullptr;
  ++g_live;
  return block;
}

void* AllocateOrThrow(std::size_t size, std::size_t alignment) {
  void* const block = Allocate(size, alignment);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void Free(void* block) {
  if (block == nullptr) return;
  --g_live;
  GiveBack(block);
}

constexpr std::size_t kAlignment = alignof(std::max_align_t);

}  // namespace

namespace orbmath_test {

void FailAllocation(std::size_t n, Shortage shortage) {
  g_count = 0;
  g_failed = false;
  g_goes_on = shortage == Shortage::FromThereOn;
  g_failing = n;
}

bool EndShortage() {
  g_failing = 0;
  return g_failed;
}

std::ptrdiff_t LiveBlocks() { return g_live; }

}  // namespace orbmath_test

// clang-format off
void* operator new(std::size_t size) { return AllocateOrThrow(size, kAlignment); }
void* operator new[](std::size_t size) { return AllocateOrThrow(size, kAlignment); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size, kAlignment); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size, kAlignment); }
void* operator new(std::size_t size, std::align_val_t alignment) { return AllocateOrThrow(size, static_cast<std::size_t>(alignment)); }
void* operator new[](std::size_t size, std::align_val_t alignment) { return AllocateOrThrow(size, static_cast<std::size_t>(alignment)); }
void operator delete(void* block) noexcept { Free(block); }
void operator delete[](void* block) noexcept { Free(block); }
void operator delete(void* block, std::size_t) noexcept { Free(block); }
void operator delete[](void* block, std::size_t) noexcept { Free(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { Free(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { Free(block); }
void operator delete(void* block, std::align_val_t) noexcept { Free(block); }
void operator delete[](void* block, std::align_val_t) noexcept { Free(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { Free(block); }
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept { Free(block); }
// clang-format on
