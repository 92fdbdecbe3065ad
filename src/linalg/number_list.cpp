// The reader of number lists.

#include "linalg/number_list.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frame/zxstd/c_locale.h"
#include "frame/zxstd/double_text.h"

namespace SatCommonUtils {

namespace {

// A token and its terminating zero fit into this many bytes.
constexpr std::size_t kTokenBuffer = 128;

// The next token at or after `*position`, which moves to the token's end. Returns its length, 0 at the end of the text.
std::size_t NextToken(const char** position, const char** begin, const char* delimiters) {
  *begin = *position + std::strspn(*position, delimiters);
  const std::size_t length = std::strcspn(*begin, delimiters);
  *position = *begin + length;
  return length;
}

// Reads a token as "%lg" does. Plain numbers take the short way, which rounds alike; blanks, a plus sign, hexadecimal
// digits, trailing letters and results out of range are left to the scanner itself.
bool ReadNumber(const char* token, std::size_t length, double* value) {
  if (length >= kTokenBuffer) {
    std::fputs("a number list holds a token of 128 or more characters\n", stderr);
    std::abort();
  }
  const DoubleText quick = ReadDouble(token, token + length);
  if (quick.end == token + length) {
    *value = quick.value;
    return true;
  }
  std::array<char, kTokenBuffer> buffer;
  std::memcpy(buffer.data(), token, length);
  buffer[length] = '\0';
  return std::sscanf(buffer.data(), "%lg", value) == 1;  // NOLINT(cert-err34-c): range errors are wanted as they are
}

}  // namespace

std::size_t ReadNumberList(const char* text, const char* delimiters, double* destination, std::size_t capacity,
                           TNumberOrder order) {
  const ScopedCLocale c_locale;
  std::size_t count = 0;
  const char* token = nullptr;
  while (const std::size_t length = NextToken(&text, &token, delimiters)) {
    double value = 0.0;
    if (!ReadNumber(token, length, &value)) continue;
    if (destination != nullptr && count < capacity) {
      destination[order == TNumberOrder::Forward ? count : capacity - 1 - count] = value;
    }
    ++count;
  }
  return count;
}

bool HasOverlongToken(const char* text, const char* delimiters) {
  const char* token = nullptr;
  while (const std::size_t length = NextToken(&text, &token, delimiters)) {
    if (length >= kTokenBuffer) return true;
  }
  return false;
}

}  // namespace SatCommonUtils
