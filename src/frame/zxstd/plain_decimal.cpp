// Eight digits at a time by multiplications within a word (D. Lemire, "Number parsing at a gigabyte per second",
// Software: Practice and Experience 51, 2021, doi:10.1002/spe.2984), and one correctly rounded division (W. D. Clinger,
// "How to read floating point numbers accurately", PLDI 1990, doi:10.1145/93542.93557).

#include "frame/zxstd/plain_decimal.h"

#include <cstdint>
#include <cstring>

namespace SatCommonUtils {

namespace {

constexpr int kWordBytes = 8;
// Up to it every whole number is a double.
constexpr std::uint64_t kExactLimit = 1ULL << 53;
// Two words of digits are read on each side of the point; of so many together the value fits 64 bits.
constexpr int kMostOfASide = 2 * kWordBytes;
constexpr int kMostDigits = 19;

constexpr std::uint64_t kWholePowers[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000};
constexpr double kPowers[] = {1e0, 1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7, 1e8,
                              1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16};

// Eight bytes of a text, the first one lowest; behind its end zeros, which are no digits.
std::uint64_t LoadWord(const char* at, const char* last) {
  std::uint64_t word = 0;
  if (last - at >= kWordBytes) {
    std::memcpy(&word, at, sizeof word);
    if constexpr (__BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__) word = __builtin_bswap64(word);
    return word;
  }
  for (int i = 0; at + i < last; ++i) word |= std::uint64_t{static_cast<unsigned char>(at[i])} << (8 * i);
  return word;
}

// How many of the lowest bytes of a word are digits, where '0' has been taken off each by an exclusive or: only 0 to 9
// then stay without their highest bit when 0x76 is added. A carry can but reach bytes above one that is none.
int CountDigits(std::uint64_t values) {
  const std::uint64_t others = ((values + 0x7676767676767676ULL) | values) & 0x8080808080808080ULL;
  return others == 0 ? kWordBytes : __builtin_ctzll(others) / 8;
}

// The number of eight digits, the first one in the lowest byte: pairs, then fours and eights by two products.
std::uint64_t EightDigits(std::uint64_t values) {
  constexpr std::uint64_t kMask = 0x000000FF000000FFULL;
  const std::uint64_t pairs = values * 10 + (values >> 8);
  return ((pairs & kMask) * 0x000F424000000064ULL + ((pairs >> 16) & kMask) * 0x0000271000000001ULL) >> 32;
}

// Digits read so far: what they say and how many they are.
struct TDigits {
  std::uint64_t value = 0;
  int count = 0;

  // Takes the digits from `at` on, up to two words of them. Returns where they end.
  const char* Take(const char* at, const char* last) {
    for (int words = 0; words < 2; ++words) {
      const std::uint64_t values = LoadWord(at, last) ^ 0x3030303030303030ULL;
      const int digits = CountDigits(values);
      if (digits == 0) return at;
      // Zeros in front of the digits fill the word.
      value = value * kWholePowers[digits] + EightDigits(values << (8 * (kWordBytes - digits)));
      count += digits;
      at += digits;
      if (digits < kWordBytes) return at;
    }
    return at;
  }
};

}  // namespace

DoubleText ReadPlainDecimal(const char* first, const char* last) {
  const bool negative = first != last && *first == '-';
  TDigits digits;
  const char* at = digits.Take(first + (negative ? 1 : 0), last);
  const int before = digits.count;
  int behind = 0;
  if (before == 0 || before == kMostOfASide) return {};
  if (at != last && *at == '.') {
    at = digits.Take(at + 1, last);
    behind = digits.count - before;
    // With too many digits the value has overflowed; it is not looked at.
    if (behind == 0 || behind == kMostOfASide || digits.count > kMostDigits) return {};
  }
  if (digits.value > kExactLimit || (at != last && (*at == 'e' || *at == 'E'))) return {};
  const double magnitude = static_cast<double>(digits.value) / kPowers[behind];
  return {at, negative ? -magnitude : magnitude};
}

}  // namespace SatCommonUtils
