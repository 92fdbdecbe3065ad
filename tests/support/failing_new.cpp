#include "support/failing_new.h"

#include <cstddef>
#include <cstdlib>

namespace orbmath_test {

thread_local bool memory_fails = false;

}  // namespace orbmath_test

void* operator new(std::size_t size) {
  void* const memory = orbmath_test::memory_fails ? nullptr : std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
