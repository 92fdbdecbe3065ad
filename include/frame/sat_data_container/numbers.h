#pragma once
/// \file
/// Numbers out of texts and lists of numbers.

#include <cstddef>
#include <string>

#include "../api.h"
#include "../zxstd/number_text.h"
#include "../zxstd/progress.h"

namespace SatCommonUtils {

/// The number that the whole of `text` is (see `ParseDouble`), or `fallback` when it is none.
ORBMATH_API double StringToDoubleDef(const std::string& text, double fallback);

/// What `SplitStringIntoDoubles` does with a token that is no number.
enum TZxSplitFlag : int {
  kZxSplitStrict = 0,          ///< The whole list counts as malformed.
  kZxSplitSkipNonNumbers = 1,  ///< It is passed over.
};

/// Reads a list of numbers. Tokens stand between characters of `separators`; blanks around a token do not count, empty
/// tokens are passed over, each other one has to be a number as a whole (see `ParseDouble`).
/// \param out receives the numbers; may be null to count all of them. Untouched when the list is malformed.
/// \param max_count capacity of `out` in numbers. What stands behind the number that fills it is not looked at.
/// \param flag one of `TZxSplitFlag`.
/// \param progress may be null; asked now and then on long lists, a stop makes the list malformed.
/// \return the count of numbers in `out` (in the text when `out` is null); 0 when the list is malformed.
ORBMATH_API std::size_t SplitStringIntoDoubles(const std::string& text, const std::string& separators, double* out,
                                               std::size_t max_count, int flag = kZxSplitStrict,
                                               TZxProgressHandler* progress = nullptr);

}  // namespace SatCommonUtils
