// Fixed digits by the standard character conversions.

#include "report/fixed_digits.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace orbmath_tool {

namespace {

/// Powers of ten that a double holds exactly, as many as the quick way has a use for.
constexpr double kPowers[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
constexpr int kQuickDigits = 15;
/// Below it a double has two bits or more behind the point.
constexpr double kQuickLimit = 2251799813685248.0;  // 2^51

/// The part of a * b that its rounding to `product` has lost, exactly.
/// Source: T. J. Dekker, "A floating-point technique for extending the available precision", 1971,
/// doi:10.1007/BF01397083.
double LostInProduct(double a, double b, double product) {
  constexpr double kSplit = 134217729.0;  // 2^27 + 1
  const double a_scaled = kSplit * a;
  const double b_scaled = kSplit * b;
  const double a_high = a_scaled - (a_scaled - a);
  const double b_high = b_scaled - (b_scaled - b);
  const double a_low = a - a_high;
  const double b_low = b - b_high;
  return ((a_high * b_high - product) + a_high * b_low + a_low * b_high) + a_low * b_low;
}

/// `magnitude` times ten to the `digits`, rounded correctly to a whole number, a tie to the even one.
///
/// What the rounding of the product lost is at most half a unit in its last place, while a part behind the point that
/// is not one half is at least a whole unit away from it: only at one half does the lost part decide.
std::uint64_t ScaledWhole(double magnitude, int digits, double product) {
  // Without a sign the conversion is the floor; to a signed number it is one instruction.
  const auto floor = static_cast<std::int64_t>(product);
  const double behind = product - static_cast<double>(floor);
  const auto whole = static_cast<std::uint64_t>(floor);
  if (behind != 0.5) return whole + (behind > 0.5 ? 1 : 0);
  const double lost = LostInProduct(magnitude, kPowers[digits], product);
  const bool up = lost > 0.0 || (lost == 0.0 && whole % 2 == 1);
  return whole + (up ? 1 : 0);
}

/// Eight decimal digits of `number`, below 1e8, as the values 0 to 9 of eight bytes, the first digit in the lowest one.
/// A division by a power of ten is a product and a shift, for two numbers of four digits at once, then for four of two
/// digits: the constants are the least that are exact in these ranges.
/// Source: P. Khuong, "How to print integers really fast (with open source AppNexus code!)", 2017.
std::uint64_t EightDigits(std::uint64_t number) {
  const std::uint64_t fours = number / 10000 | (number % 10000) << 32;
  const std::uint64_t upper = (fours * 10486 >> 20) & 0x0000007F0000007FULL;
  const std::uint64_t pairs = upper + ((fours - 100 * upper) << 16);
  const std::uint64_t tens = (pairs * 103 >> 10) & 0x000F000F000F000FULL;
  return tens + ((pairs - 10 * tens) << 8);
}

/// Sixteen characters in two words, the first one in the lowest byte of `head`.
struct Characters {
  std::uint64_t head;
  std::uint64_t tail;

  /// Without the first `count`, at most sixteen, of them. By shifts: copies within memory would read what was just
  /// written in other pieces, which makes the processor wait.
  Characters From(int count) const {
    const int bits = 8 * count;
    if (count <= 0) return *this;
    if (count >= 16) return {0, 0};
    if (count >= 8) return {tail >> (bits - 64), 0};
    return {head >> bits | tail << (64 - bits), tail >> bits};
  }

  void Write(char* to) const {
    WriteWord(head, to);
    WriteWord(tail, to + 8);
  }

 private:
  static void WriteWord(std::uint64_t word, char* to) {
    if constexpr (__BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__) word = __builtin_bswap64(word);
    std::memcpy(to, &word, sizeof word);
  }
};

/// `whole`, below 10^16, with its last `digits`, fifteen at most, behind a point.
char* PrintQuickly(std::uint64_t whole, bool negative, int digits, char* to) {
  constexpr std::uint64_t kHalf = 100000000;  // 1e8
  constexpr std::uint64_t kZeros = 0x3030303030303030ULL;
  if (negative && whole != 0) *to++ = '-';
  const std::uint64_t high = EightDigits(whole / kHalf);
  const std::uint64_t low = EightDigits(whole % kHalf);
  const Characters all{high + kZeros, low + kZeros};
  const int point = 16 - digits;
  const auto zeros = [](std::uint64_t word) { return __builtin_ctzll(word) / 8; };
  const int first = std::min(high != 0 ? zeros(high) : low != 0 ? 8 + zeros(low) : 16, point - 1);
  all.From(first).Write(to);
  to += point - first;
  if (digits == 0) return to;
  *to++ = '.';
  all.From(point).Write(to);
  return to + digits;
}

}  // namespace

char* PrintFixed(double value, int digits, char* to) {
  const double magnitude = std::abs(value);
  if (digits <= kQuickDigits) {
    const double product = magnitude * kPowers[digits];
    if (product < kQuickLimit) return PrintQuickly(ScaledWhole(magnitude, digits, product), value < 0.0, digits, to);
  }
  char* end = std::to_chars(to, to + kNumberBytes, value, std::chars_format::fixed, digits).ptr;
  // A small negative value that rounds to nothing would print as "-0.000".
  if (*to == '-' && to[1] == '0' && std::all_of(to + 1, end, [](char c) { return c == '0' || c == '.'; })) {
    std::copy(to + 1, end, to);
    --end;
  }
  return end;
}

std::string Fixed(double value, int digits) {
  char text[kNumberBytes];
  return std::string(text, PrintFixed(value, digits, text));
}

std::string PadRight(std::string text, std::size_t width) {
  text.resize(std::max(width, text.size() + 1), ' ');
  return text;
}

std::string PadLeft(const std::string& text, std::size_t width) {
  return std::string(std::max(width, text.size() + 1) - text.size(), ' ') + text;
}

}  // namespace orbmath_tool
