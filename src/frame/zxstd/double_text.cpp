// Doubles at the beginning of texts. Elementary.

#include "frame/zxstd/double_text.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>

#include "frame/zxstd/c_locale.h"
#include "frame/zxstd/plain_decimal.h"

namespace SatCommonUtils {

namespace {

// Whether the C++ library reads doubles: LLVM's has the function for integers alone, and a deleted one that a double
// would reach.
template <class T, class = void>
struct HasFromChars : std::false_type {};
template <class T>
struct HasFromChars<T, std::void_t<decltype(std::from_chars(std::declval<const char*>(), std::declval<const char*>(),
                                                            std::declval<T&>()))>> : std::true_type {};

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

const char* SkipDigits(const char* at, const char* last) {
  while (at != last && IsDigit(*at)) ++at;
  return at;
}

/// The end of `lower_case_word` where the text begins with it, or null.
const char* SkipWord(const char* at, const char* last, std::string_view lower_case_word) {
  for (const char c : lower_case_word) {
    if (at == last || Lower(*at) != c) return nullptr;
    ++at;
  }
  return at;
}

/// The end of digits with at most one point and an exponent, null without a digit.
const char* SkipDecimal(const char* first, const char* last) {
  const char* at = SkipDigits(first, last);
  bool digits = at != first;
  if (at != last && *at == '.') {
    const char* const point = at;
    at = SkipDigits(point + 1, last);
    digits = digits || at != point + 1;
  }
  if (!digits) return nullptr;
  if (at != last && Lower(*at) == 'e') {
    const char* exponent = at + 1;
    if (exponent != last && (*exponent == '-' || *exponent == '+')) ++exponent;
    const char* const end = SkipDigits(exponent, last);
    if (end != exponent) at = end;
  }
  return at;
}

/// The end of "(...)" after "nan", where letters, digits and underscores stand in it, or its beginning.
const char* SkipPayload(const char* first, const char* last) {
  if (first == last || *first != '(') return first;
  const char* at = first + 1;
  while (at != last && (IsDigit(*at) || *at == '_' || (Lower(*at) >= 'a' && Lower(*at) <= 'z'))) ++at;
  return at != last && *at == ')' ? at + 1 : first;
}

double ByCLibrary(const char* first, const char* last) {
  const ScopedCLocale c_locale;
  return std::strtod(std::string(first, last).c_str(), nullptr);
}

template <class T>
DoubleText Read(const char* first, const char* last) {
  if constexpr (HasFromChars<T>::value) {
    T value{};
    const std::from_chars_result result = std::from_chars(first, last, value);
    if (result.ec == std::errc::invalid_argument) return {};
    // Too large or too small, which from_chars does not tell apart.
    if (result.ec == std::errc::result_out_of_range) value = ByCLibrary(first, result.ptr);
    return {result.ptr, value};
  } else {
    return ReadDoubleByCLibrary(first, last);
  }
}

}  // namespace

DoubleText ReadDouble(const char* first, const char* last) {
  const DoubleText plain = ReadPlainDecimal(first, last);
  return plain.end != nullptr ? plain : Read<double>(first, last);
}

DoubleText ReadDoubleByCLibrary(const char* first, const char* last) {
  const char* const digits = first != last && *first == '-' ? first + 1 : first;
  const double sign = digits == first ? 1.0 : -1.0;
  if (const char* const end = SkipDecimal(digits, last)) return {end, ByCLibrary(first, end)};
  for (const std::string_view word : {"infinity", "inf"}) {
    const char* const end = SkipWord(digits, last, word);
    if (end != nullptr) return {end, std::copysign(std::numeric_limits<double>::infinity(), sign)};
  }
  if (const char* const end = SkipWord(digits, last, "nan")) {
    return {SkipPayload(end, last), std::copysign(std::numeric_limits<double>::quiet_NaN(), sign)};
  }
  return {};
}

}  // namespace SatCommonUtils
