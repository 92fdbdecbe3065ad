// Which instruction set the kernels run on.

#include "linalg/simd.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace SatCommonUtils::simd {

namespace {

TLevel LevelOfProcessor() {
#if defined(__x86_64__) || defined(__i386__)
  if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl")) {
    return TLevel::Avx512;
  }
  if (__builtin_cpu_supports("avx2")) return TLevel::Avx2;
#endif
  return TLevel::Base;
}

// An unknown name means no wish.
TLevel WantedLevel() {
  const char* const text = std::getenv("ORBMATH_SIMD");
  const char* const name = text == nullptr ? "" : text;
  if (std::strcmp(name, "base") == 0) return TLevel::Base;
  if (std::strcmp(name, "avx2") == 0) return TLevel::Avx2;
  return TLevel::Avx512;
}

}  // namespace

const TLevel kLevel = std::min(LevelOfProcessor(), WantedLevel());

}  // namespace SatCommonUtils::simd
