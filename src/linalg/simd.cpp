// Which instruction set the kernels run on.

#include "linalg/simd.h"

#include <algorithm>
#include <cstdlib>
#include <string>

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
  const std::string name = text == nullptr ? "" : text;
  if (name == "base") return TLevel::Base;
  if (name == "avx2") return TLevel::Avx2;
  return TLevel::Avx512;
}

}  // namespace

TLevel Level() {
  static const TLevel level = std::min(LevelOfProcessor(), WantedLevel());
  return level;
}

}  // namespace SatCommonUtils::simd
