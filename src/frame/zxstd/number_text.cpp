// Numbers from text and back without a look at the locale, on the standard character conversions.

#include "frame/zxstd/number_text.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <system_error>

#include "frame/zxstd/double_text.h"

namespace SatCommonUtils {

namespace {

constexpr std::string_view kBlanks = " \t\r\n\v\f";

// Bits of an IEEE 754 double.
constexpr std::uint64_t kSignBit = 1ULL << 63;
constexpr std::uint64_t kExponentBits = 0x7ffULL << 52;
constexpr std::uint64_t kPayloadBits = (1ULL << 52) - 1;
constexpr std::uint64_t kQuietNaN = kExponentBits | (1ULL << 51);

std::string_view WithoutBlanks(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// The reader takes no plus sign. One is dropped, unless another sign follows.
std::string_view WithoutPlus(std::string_view text) {
  const bool plus = text.size() > 1 && text[0] == '+' && text[1] != '-' && text[1] != '+';
  return plus ? text.substr(1) : text;
}

// What a text says of a double. `size` is the number of bytes used, 0 when there is no number.
struct DoubleScan {
  std::size_t size = 0;
  double value = 0.0;
};

DoubleScan ScanDouble(std::string_view text) {
  DoubleScan scan;
  const std::string_view digits = WithoutPlus(text);
  const DoubleText read = ReadDouble(digits.data(), digits.data() + digits.size());
  if (read.end == nullptr) return scan;
  scan.value = read.value;
  scan.size = static_cast<std::size_t>(read.end - text.data());
  return scan;
}

bool IsInfinityWord(std::string_view text) {
  const std::size_t sign = !text.empty() && (text[0] == '-' || text[0] == '+') ? 1 : 0;
  return text.size() > sign && (text[sign] == 'i' || text[sign] == 'I');
}

// The bits in "nan(0x...)", which the reader passes over without looking at them.
double WithPayload(std::string_view text, double value) {
  const std::size_t open = text.find("(0x");
  if (open == std::string_view::npos) return value;
  std::uint64_t payload = 0;
  const char* const end = text.data() + text.size() - 1;
  const std::from_chars_result result = std::from_chars(text.data() + open + 3, end, payload, 16);
  if (result.ec != std::errc() || result.ptr != end || payload == 0 || payload > kPayloadBits) return value;
  const std::uint64_t bits = (text[0] == '-' ? kSignBit : 0) | kExponentBits | payload;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

template <class T>
bool ParseWhole(std::string_view text, T* value) {
  const std::string_view digits = WithoutPlus(WithoutBlanks(text));
  T parsed{};
  const std::from_chars_result result = std::from_chars(digits.data(), digits.data() + digits.size(), parsed);
  if (result.ec != std::errc() || result.ptr != digits.data() + digits.size()) return false;
  *value = parsed;
  return true;
}

bool EqualWord(std::string_view text, std::string_view lower_case_word) {
  if (text.size() != lower_case_word.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i] >= 'A' && text[i] <= 'Z' ? static_cast<char>(text[i] - 'A' + 'a') : text[i];
    if (c != lower_case_word[i]) return false;
  }
  return true;
}

}  // namespace

bool ParseDouble(std::string_view text, double* value) {
  const std::string_view token = WithoutBlanks(text);
  const DoubleScan scan = ScanDouble(token);
  if (scan.size == 0 || scan.size != token.size()) return false;
  if (std::isinf(scan.value) && !IsInfinityWord(token)) return false;
  *value = std::isnan(scan.value) ? WithPayload(token, scan.value) : scan.value;
  return true;
}

std::size_t ParseDoublePrefix(std::string_view text, double* value) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return 0;
  const DoubleScan scan = ScanDouble(text.substr(first));
  if (scan.size == 0) return 0;
  *value = scan.value;
  return first + scan.size;
}

bool ParseInt(std::string_view text, int* value) { return ParseWhole(text, value); }

bool ParseUnsigned(std::string_view text, unsigned long long* value) { return ParseWhole(text, value); }

bool ParseBool(std::string_view text, bool* value) {
  const std::string_view token = WithoutBlanks(text);
  const bool yes = token == "1" || EqualWord(token, "true");
  if (!yes && token != "0" && !EqualWord(token, "false")) return false;
  *value = yes;
  return true;
}

std::string FormatDouble(double value) {
  char buffer[40];
  if (std::isnan(value)) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    std::string text = (bits & kSignBit) != 0 ? "-nan" : "nan";
    if ((bits & ~kSignBit) == kQuietNaN) return text;
    const std::to_chars_result result = std::to_chars(buffer, buffer + sizeof buffer, bits & kPayloadBits, 16);
    return text.append("(0x").append(buffer, result.ptr).append(")");
  }
  const std::to_chars_result result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}

}  // namespace SatCommonUtils
