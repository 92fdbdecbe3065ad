// Taking characters and numbers off the front of a text.

#include "geometry/text_scan.h"

#include <algorithm>
#include <cstddef>

#include "frame/zxstd/number_text.h"

namespace SatCommonUtils {

void TakeBlanks(std::string_view* text) {
  text->remove_prefix(std::min(text->find_first_not_of(" \t\r\n"), text->size()));
}

bool Take(char expected, std::string_view* text) {
  TakeBlanks(text);
  if (text->empty() || text->front() != expected) return false;
  text->remove_prefix(1);
  TakeBlanks(text);
  return true;
}

bool TakeNumber(char terminator, std::string_view* text, double* number) {
  // The first call says how far the number goes, the second one is strict about its range.
  const std::size_t length = ParseDoublePrefix(*text, number);
  if (length == 0 || !ParseDouble(text->substr(0, length), number)) return false;
  text->remove_prefix(length);
  return Take(terminator, text);
}

}  // namespace SatCommonUtils
