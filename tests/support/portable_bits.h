#pragma once
// Results whose bits are promised on every processor: numbers that every compiler makes alike, and one number for the
// bits of many, noted on x86-64 and checked wherever the tests run.

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "support/bits.h"

namespace orbmath_test {

/// Numbers in [-1, 1) from Lehmer's generator (Park & Miller 1988, doi:10.1145/63039.63042, with a better multiplier).
class Lehmer {
 public:
  double Next() {
    state_ = state_ * 48271u % 2147483647u;
    return static_cast<double>(state_) / 1073741823.5 - 1.0;
  }

 private:
  std::uint64_t state_ = 20240229u;
};

inline std::vector<double> LehmerNumbers(Lehmer* numbers, std::size_t count) {
  std::vector<double> values(count);
  for (double& value : values) value = numbers->Next();
  return values;
}

/// One number for many bytes (FNV-1a: Fowler, Noll, Vo).
inline std::uint64_t HashOf(std::string_view text) {
  std::uint64_t hash = 14695981039346656037u;
  for (const char character : text) hash = (hash ^ static_cast<unsigned char>(character)) * 1099511628211u;
  return hash;
}

/// The same for the bits of numbers, lowest byte first, all NaN counting as one.
inline std::uint64_t HashOf(const double* values, std::size_t count) {
  std::string bytes;
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint64_t bits = Bits(values[i] == values[i] ? values[i] : std::numeric_limits<double>::quiet_NaN());
    for (int byte = 0; byte < 8; ++byte) bytes += static_cast<char>(bits >> (8 * byte) & 255u);
  }
  return HashOf(bytes);
}

inline std::uint64_t HashOf(const std::vector<double>& values) { return HashOf(values.data(), values.size()); }

/// Numbers with the hash that was noted. The message has the hash for the table, and numbers to find the first that
/// differs.
inline ::testing::AssertionResult HasHash(const std::vector<double>& values, std::uint64_t noted) {
  const std::uint64_t hash = HashOf(values);
  if (hash == noted) return ::testing::AssertionSuccess();
  std::ostringstream text;
  text << "0x" << std::hex << hash << "u instead of 0x" << noted << "u; it begins with" << std::hexfloat;
  for (std::size_t i = 0; i < values.size() && i < 6; ++i) text << ' ' << values[i];
  return ::testing::AssertionFailure() << text.str();
}

}  // namespace orbmath_test
