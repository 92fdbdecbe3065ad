// Byte order marks and UTF-8. Source: RFC 3629 (Yergeau, 2003), the table of well-formed sequences in its section 4.

#include "frame/zxstd/encoding.h"

namespace SatCommonUtils {

TZxTextEncoding ZxByteOrderMark(std::string_view text, std::size_t* size) noexcept {
  struct Mark {
    std::string_view bytes;
    TZxTextEncoding encoding;
  };
  // Those of UTF-32 first: the shorter mark of little-endian UTF-16 begins one of them.
  constexpr Mark kMarks[] = {
      {std::string_view("\xFF\xFE\0\0", 4), TZxTextEncoding::Utf32LittleEndian},
      {std::string_view("\0\0\xFE\xFF", 4), TZxTextEncoding::Utf32BigEndian},
      {"\xEF\xBB\xBF", TZxTextEncoding::Utf8},
      {"\xFF\xFE", TZxTextEncoding::Utf16LittleEndian},
      {"\xFE\xFF", TZxTextEncoding::Utf16BigEndian},
  };
  for (const Mark& mark : kMarks) {
    if (text.substr(0, mark.bytes.size()) != mark.bytes) continue;
    if (size != nullptr) *size = mark.bytes.size();
    return mark.encoding;
  }
  if (size != nullptr) *size = 0;
  return TZxTextEncoding::Unmarked;
}

std::string_view ZxWithoutUtf8Mark(std::string_view text) noexcept {
  std::size_t size = 0;
  if (ZxByteOrderMark(text, &size) == TZxTextEncoding::Utf8) text.remove_prefix(size);
  return text;
}

std::size_t ZxUtf8Size(std::string_view text) noexcept {
  if (text.empty()) return 0;
  const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(0);
  if (lead < 0x80) return 1;
  const std::size_t size = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < size) return 0;
  for (std::size_t i = 1; i < size; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
  }
  // The second byte rules out overlong forms (E0, F0), surrogates (ED) and what is beyond U+10FFFF (F4).
  const bool bad_second = (lead == 0xE0 && byte(1) < 0xA0) || (lead == 0xED && byte(1) > 0x9F) ||
                          (lead == 0xF0 && byte(1) < 0x90) || (lead == 0xF4 && byte(1) > 0x8F);
  return bad_second ? 0 : size;
}

void ZxAppendUtf8(std::uint32_t code, std::string* text) {
  const auto put = [text](std::uint32_t byte) { text->push_back(static_cast<char>(byte)); };
  if (code < 0x80) {
    put(code);
  } else if (code < 0x800) {
    put(0xC0 | code >> 6);
    put(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    put(0xE0 | code >> 12);
    put(0x80 | (code >> 6 & 0x3F));
    put(0x80 | (code & 0x3F));
  } else {
    put(0xF0 | (code >> 18 & 0x07));
    put(0x80 | (code >> 12 & 0x3F));
    put(0x80 | (code >> 6 & 0x3F));
    put(0x80 | (code & 0x3F));
  }
}

}  // namespace SatCommonUtils
