#pragma once
// One number and a vector of numbers alike: flags, choices by flags, roots. `T` is a double or a vector of doubles with
// one point in each lane.
//
// A flag is an integer of the width of a lane with all bits set or none. Flags come from integer arithmetic on the
// numbers' bits: GCC 12 takes comparisons of vectors to pieces in code that is compiled for several instruction sets.

#include <cmath>
#include <cstdint>
#include <cstring>

namespace SatCommonUtils::rpc {

template <class T>
struct TFlagsOf {
  // A typedef: GCC drops the attributes of an alias declaration that depends on a template argument.
  typedef std::int64_t TType __attribute__((vector_size(sizeof(T))));
};
template <>
struct TFlagsOf<double> {
  using TType = std::int64_t;
};
template <class T>
using TFlags = typename TFlagsOf<T>::TType;

template <class T>
[[gnu::always_inline]] inline void BitsOf(const T& x, TFlags<T>& bits) {
  std::memcpy(&bits, &x, sizeof bits);
}

/// |x| <= limit in each lane, not where x is a NaN. \param limit positive or zero
template <class T>
[[gnu::always_inline]] inline void FlagWithin(const T& x, double limit, TFlags<T>& flags) {
  std::int64_t limitBits;
  BitsOf(limit, limitBits);
  TFlags<T> bits;
  BitsOf(x, bits);
  flags = ((bits & INT64_MAX) - (limitBits + 1)) >> 63;
}

/// |x| < limit in each lane, not where x is a NaN. \param limit positive
template <class T>
[[gnu::always_inline]] inline void FlagBelow(const T& x, double limit, TFlags<T>& flags) {
  std::int64_t limitBits;
  BitsOf(limit, limitBits);
  TFlags<T> bits;
  BitsOf(x, bits);
  flags = ((bits & INT64_MAX) - limitBits) >> 63;
}

/// x <= limit in each lane, where no lane is a NaN.
template <class T>
[[gnu::always_inline]] inline void FlagNotAbove(const T& x, double limit, TFlags<T>& flags) {
  BitsOf(T(limit - x), flags);
  flags = ~(flags >> 63);
}

[[gnu::always_inline]] inline bool AnySet(const std::int64_t& flags) { return flags != 0; }

template <class Flags>
[[gnu::always_inline]] inline bool AnySet(const Flags& flags) {
  std::int64_t any = 0;
  for (unsigned lane = 0; lane < sizeof(Flags) / sizeof(any); ++lane) any |= flags[lane];
  return any != 0;
}

/// `x` where the flag is set; untouched elsewhere.
template <class T>
[[gnu::always_inline]] inline void AssignWhere(const TFlags<T>& flags, const T& x, T& target) {
  TFlags<T> newBits, oldBits;
  BitsOf(x, newBits);
  BitsOf(target, oldBits);
  const TFlags<T> bits = (newBits & flags) | (oldBits & ~flags);
  std::memcpy(&target, &bits, sizeof target);
}

[[gnu::always_inline]] inline void Sqrt(const double& x, double& root) { root = std::sqrt(x); }

template <class T>
[[gnu::always_inline]] inline void Sqrt(const T& x, T& root) {
  for (unsigned lane = 0; lane < sizeof(T) / sizeof(double); ++lane) root[lane] = std::sqrt(x[lane]);
}

/// Two vectors under way together, for chains of operations that wait for each other: a processor looks some hundred
/// operations ahead, and each chain leaves it idle for half the time.
template <class V>
struct TTwo {
  V x, y;

  [[gnu::always_inline]] friend TTwo operator+(const TTwo& a, const TTwo& b) { return {a.x + b.x, a.y + b.y}; }
  [[gnu::always_inline]] friend TTwo operator-(const TTwo& a, const TTwo& b) { return {a.x - b.x, a.y - b.y}; }
  [[gnu::always_inline]] friend TTwo operator*(const TTwo& a, const TTwo& b) { return {a.x * b.x, a.y * b.y}; }
  [[gnu::always_inline]] friend TTwo operator/(const TTwo& a, const TTwo& b) { return {a.x / b.x, a.y / b.y}; }
  [[gnu::always_inline]] friend TTwo operator+(const TTwo& a, double b) { return {a.x + b, a.y + b}; }
  [[gnu::always_inline]] friend TTwo operator+(double a, const TTwo& b) { return {a + b.x, a + b.y}; }
  [[gnu::always_inline]] friend TTwo operator-(const TTwo& a, double b) { return {a.x - b, a.y - b}; }
  [[gnu::always_inline]] friend TTwo operator*(const TTwo& a, double b) { return {a.x * b, a.y * b}; }
};

}  // namespace SatCommonUtils::rpc
