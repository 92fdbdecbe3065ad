// A host that uses the installed library. It returns 0 when the library answers as it should.
#include <orbmath.h>

#include <cstddef>
#include <cstdio>

int ThreadsOfSecondUnit();
std::size_t CornersOwnFirst();
std::size_t CornersOwnLast();

int main() {
  if (ThreadsOfSecondUnit() < 1) return 1;
  if (CornersOwnFirst() != 4 || CornersOwnLast() != 4) return 1;
  try {
    throw SatCommonUtils::TZxMessage("a text");
  } catch (const std::exception& error) {
    std::printf("caught: %s\n", error.what());
  }
  return 0;
}
