#pragma once
/// \file
/// A file path.

#include <string>

#include "../api.h"

namespace SatCommonUtils {

/// A file path built from UTF-8 text. On POSIX systems its bytes go to the system unchanged.
class ORBMATH_API TZxPath {
 public:
  TZxPath() = default;
  /// \param text UTF-8; a null pointer counts as an empty text.
  explicit TZxPath(const char* text);
  /// \param text UTF-8.
  explicit TZxPath(std::string text);

  /// The path as UTF-8 text.
  const std::string& GetText() const noexcept { return text_; }

 private:
  std::string text_;
};

}  // namespace SatCommonUtils
