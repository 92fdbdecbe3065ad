#pragma once
// Running one kernel at the widest vector width that the processor has.
//
// A kernel is an object with a member template `template <int Width> void Run() const`, marked always-inline like all
// that it calls; it works on `Width` doubles at a time, as plain loops or with `TLanes<Width>`. It is compiled three
// times, and because every function is inlined into the clone, all of it is compiled for the clone's instruction set.
// Every width must give the same bits: IEEE arithmetic without contraction does, as long as no sum is reordered.

#include <cstddef>
#include <cstring>

namespace SatCommonUtils::simd {

/// Instruction sets that the kernels are compiled for.
enum class TLevel { Base, Avx2, Avx512 };

/// The widest level of this processor, or the one that the environment variable ORBMATH_SIMD names ("base", "avx2",
/// "avx512") when the processor has it. Read once, when the library starts; what runs before has the base level, which
/// has the same bits. A variable, since a call would cost one point a fifth of its projection.
extern const TLevel kLevel;
inline TLevel Level() { return kLevel; }

/// A vector of `Width` doubles: `TVector` in registers, `TUnaligned` for memory at any address. Never let `auto` deduce
/// a `TUnaligned` or a pointer to one: GCC drops the alignment and emits loads that fault; `Load` is safe.
template <int Width>
struct TLanes {
  // Typedefs: GCC drops the attributes of an alias declaration that depends on a template argument.
  typedef double TVector __attribute__((vector_size(Width * sizeof(double))));
  typedef double TUnaligned __attribute__((vector_size(Width * sizeof(double)), aligned(sizeof(double)), may_alias));
};

/// Reads a vector from memory at any address.
template <class TVector>
[[gnu::always_inline]] inline void Load(const double* from, TVector& vector) {
  std::memcpy(&vector, from, sizeof vector);
}

#if defined(__x86_64__) || defined(__i386__)

template <class Kernel>
[[gnu::target("avx2,prfchw")]] void RunAvx2(const Kernel& kernel) {
  kernel.template Run<4>();
}

template <class Kernel>
[[gnu::target("avx512f,avx512dq,avx512vl,prfchw")]] void RunAvx512(const Kernel& kernel) {
  kernel.template Run<8>();
}

#endif

/// Runs `kernel` at the level of this process.
template <class Kernel>
void Dispatch(const Kernel& kernel) {
#if defined(__x86_64__) || defined(__i386__)
  switch (Level()) {
    case TLevel::Avx512:
      return RunAvx512(kernel);
    case TLevel::Avx2:
      return RunAvx2(kernel);
    case TLevel::Base:
      break;
  }
#endif
  kernel.template Run<2>();
}

/// Runs a kernel that has work for four lanes at most: one point's four polynomials. GCC 12 makes code for AVX-512 of
/// such kernels that takes half as long again as that for AVX2.
template <class Kernel>
void DispatchPoint(const Kernel& kernel) {
#if defined(__x86_64__) || defined(__i386__)
  if (Level() != TLevel::Base) return RunAvx2(kernel);
#endif
  kernel.template Run<2>();
}

}  // namespace SatCommonUtils::simd
