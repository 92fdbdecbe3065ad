#pragma once
/// \file
/// How a text is encoded: byte order marks and UTF-8 (RFC 3629).

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "../api.h"

namespace SatCommonUtils {

/// What the first bytes of a text say of its encoding.
enum class TZxTextEncoding {
  Unmarked,  ///< no byte order mark: UTF-8 as a rule
  Utf8,
  Utf16LittleEndian,
  Utf16BigEndian,
  Utf32LittleEndian,
  Utf32BigEndian,
};

/// The encoding that a byte order mark at the front of `text` names.
/// \param size may be null; becomes the number of bytes of the mark, 0 when there is none.
ORBMATH_API TZxTextEncoding ZxByteOrderMark(std::string_view text, std::size_t* size = nullptr) noexcept;

/// `text` without the byte order mark of UTF-8; other marks stay.
ORBMATH_API std::string_view ZxWithoutUtf8Mark(std::string_view text) noexcept;

/// Bytes at the front of `text` that form one character in UTF-8, without overlong forms and surrogates; 0 when there
/// is no such character.
ORBMATH_API std::size_t ZxUtf8Size(std::string_view text) noexcept;

/// Appends the character of a code point up to U+10FFFF in UTF-8. A surrogate, which is no character, becomes bytes of
/// which `ZxUtf8Size` says so.
ORBMATH_API void ZxAppendUtf8(std::uint32_t code, std::string* text);

}  // namespace SatCommonUtils
