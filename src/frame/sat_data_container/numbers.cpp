// Numbers out of texts and lists of numbers, on the parser of the lowest layer.

#include "frame/sat_data_container/numbers.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace SatCommonUtils {

namespace {

constexpr std::size_t kTokensBetweenReports = 65536;

bool IsBlank(std::string_view token) { return token.find_first_not_of(" \t\r\n\v\f") == std::string_view::npos; }

}  // namespace

double StringToDoubleDef(const std::string& text, double fallback) {
  double value = fallback;
  ParseDouble(text, &value);
  return value;
}

std::size_t SplitStringIntoDoubles(const std::string& text, const std::string& separators, double* out,
                                   std::size_t max_count, int flag, TZxProgressHandler* progress) {
  const std::string_view all = text;
  std::vector<double> numbers;
  std::size_t count = 0;
  std::size_t tokens = 0;
  for (std::size_t begin = 0; begin < all.size() && (out == nullptr || count < max_count);) {
    const std::size_t end = std::min(all.find_first_of(separators, begin), all.size());
    const std::string_view token = all.substr(begin, end - begin);
    begin = end + 1;
    if (progress != nullptr && ++tokens % kTokensBetweenReports == 0 &&
        !progress->Progress(static_cast<double>(end) / static_cast<double>(all.size()))) {
      return 0;
    }
    if (IsBlank(token)) continue;
    double value = 0.0;
    if (ParseDouble(token, &value)) {
      if (out != nullptr) numbers.push_back(value);
      ++count;
    } else if ((flag & kZxSplitSkipNonNumbers) == 0) {
      return 0;
    }
  }
  std::copy(numbers.begin(), numbers.end(), out);
  return count;
}

}  // namespace SatCommonUtils
