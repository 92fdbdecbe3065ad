// The threads of a parallel region count in one variable, some frames down: a race that the sanitizer must see.

#include <cstdio>
#include <vector>

namespace {

int counted = 0;

[[gnu::noinline]] void Count() { ++counted; }

[[gnu::noinline]] void CountDeeper(int depth) {
  if (depth > 0) return CountDeeper(depth - 1);
  Count();
}

}  // namespace

int main() {
  std::vector<int> apart(1000);
#pragma omp parallel for num_threads(4)
  for (int i = 0; i < 1000; ++i) {
    apart[static_cast<std::size_t>(i)] = i;
    CountDeeper(6);
  }
  std::printf("%d %d\n", counted, apart[999]);
  return 0;
}
