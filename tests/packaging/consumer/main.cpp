// A host that uses the installed library. It returns 0 when the library answers as it should.
#include <orbmath.h>

#include <cstdio>

int ThreadsOfSecondUnit();

int main() {
  if (ThreadsOfSecondUnit() < 1) return 1;
  try {
    throw SatCommonUtils::TZxMessage("a text");
  } catch (const std::exception& error) {
    std::printf("caught: %s\n", error.what());
  }
  return 0;
}
