// The rules of well-formed documents that the parser leaves out. Source: Extensible Markup Language (XML) 1.0, fifth
// edition (W3C 2008), sections 2.1, 2.2, 3.1 and 4.1, and its appendix F for the encodings.

#include "frame/zxstd/xml_check.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <system_error>
#include <vector>

#include "frame/zxstd/encoding.h"
#include "frame/zxstd/quoted.h"
#include "frame/zxstd/xml_text.h"

namespace SatCommonUtils {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";
/// No entity or character reference that can be read is longer.
constexpr std::size_t kLongestReference = 32;

/// Decodes units of 2 or 4 bytes. What is no character (a lone surrogate) becomes bytes that `CheckXml` refuses.
std::string FromUnits(std::string_view bytes, std::size_t unit, bool little_endian) {
  if (bytes.size() % unit != 0) throw XmlFault{bytes.size(), "the text ends in the middle of a character"};
  const auto at = [&](std::size_t i) {
    std::uint32_t code = 0;
    for (std::size_t k = 0; k < unit; ++k) {
      const auto byte = static_cast<unsigned char>(bytes[i + (little_endian ? unit - 1 - k : k)]);
      code = code << 8 | byte;
    }
    return code;
  };
  std::string text;
  text.reserve(bytes.size());
  for (std::size_t i = 0; i < bytes.size(); i += unit) {
    std::uint32_t code = at(i);
    const bool high = unit == 2 && code >= 0xD800 && code < 0xDC00 && i + unit < bytes.size();
    const std::uint32_t low = high ? at(i + unit) : 0;
    if (low >= 0xDC00 && low < 0xE000) {
      code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
      i += unit;
    }
    ZxAppendUtf8(code, &text);
  }
  return text;
}

/// The encoding that the declaration names, in lower case.
std::string DeclaredEncoding(std::string_view text) {
  const std::string_view declaration = text.substr(0, text.find("?>"));
  constexpr std::string_view kKey = "encoding";
  const std::size_t key = declaration.find(kKey);
  if (text.substr(0, 5) != "<?xml" || key == std::string_view::npos) return std::string();
  const std::size_t open = declaration.find_first_of("\"'", key + kKey.size());
  if (open == std::string_view::npos) return std::string();
  const std::size_t close = declaration.find(declaration[open], open + 1);
  std::string name(declaration.substr(open + 1, close == std::string_view::npos ? close : close - open - 1));
  std::transform(name.begin(), name.end(), name.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return name;
}

std::string FromLatin1(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size());
  for (const char c : bytes) ZxAppendUtf8(static_cast<unsigned char>(c), &text);
  return text;
}

class Checker {
 public:
  explicit Checker(std::string_view xml) : xml_(xml) {}

  void Check() {
    CheckCharacters();
    while (at_ < xml_.size()) {
      CheckText();
      if (at_ < xml_.size()) CheckMarkup();
    }
  }

 private:
  [[noreturn]] static void Refuse(std::size_t offset, const std::string& text) { throw XmlFault{offset, text}; }

  bool StartsWith(std::string_view mark) const { return xml_.compare(at_, mark.size(), mark) == 0; }

  void CheckCharacters() const {
    for (std::size_t i = 0; i < xml_.size();) {
      const auto byte = static_cast<unsigned char>(xml_[i]);
      const std::size_t size = byte >= 0x20 && byte < 0x80 ? 1 : XmlCharacterSize(xml_.substr(i));
      if (size == 0 && ZxUtf8Size(xml_.substr(i)) == 0) Refuse(i, "there are bytes that are no UTF-8");
      if (size == 0) Refuse(i, "there is a character that XML does not know");
      i += size;
    }
  }

  // The text up to the next "<".
  void CheckText() {
    const std::size_t end = std::min(xml_.find('<', at_), xml_.size());
    const std::string_view text = xml_.substr(at_, end - at_);
    const std::size_t first = depth_ == 0 ? text.find_first_not_of(kBlanks) : std::string_view::npos;
    if (first != std::string_view::npos) Refuse(at_ + first, "there is text outside of the root element");
    CheckReferences(at_, text);
    at_ = end;
  }

  static void CheckReferences(std::size_t offset, std::string_view text) {
    for (std::size_t i = text.find('&'); i != std::string_view::npos; i = text.find('&', i + 1)) {
      const std::string_view reference = text.substr(i, kLongestReference);
      const std::size_t end = reference.find(';');
      if (end == std::string_view::npos) Refuse(offset + i, "an ampersand begins no entity; it is written \"&amp;\"");
      if (!IsKnown(reference.substr(1, end - 1))) {
        Refuse(offset + i, "the entity " + Quoted(reference.substr(0, end + 1)) + " is unknown");
      }
    }
  }

  static bool IsKnown(std::string_view name) {
    for (const std::string_view known : {"amp", "lt", "gt", "quot", "apos"}) {
      if (name == known) return true;
    }
    if (name.substr(0, 1) != "#") return false;
    const bool hexadecimal = name.substr(1, 1) == "x";
    const std::string_view digits = name.substr(hexadecimal ? 2 : 1);
    std::uint32_t code = 0;
    const char* const end = digits.data() + digits.size();
    const std::from_chars_result result = std::from_chars(digits.data(), end, code, hexadecimal ? 16 : 10);
    if (result.ec != std::errc() || result.ptr != end || code > 0x10FFFF) return false;
    std::string character;
    ZxAppendUtf8(code, &character);
    return XmlCharacterSize(character) == character.size();
  }

  void CheckMarkup() {
    if (StartsWith("<!--")) {
      Skip(4, "-->", "a comment is not closed");
    } else if (StartsWith("<![CDATA[")) {
      if (depth_ == 0) Refuse(at_, "there is text outside of the root element");
      Skip(9, "]]>", "a CDATA section is not closed");
    } else if (StartsWith("<?")) {
      Skip(2, "?>", "a processing instruction is not closed");
    } else if (StartsWith("<!")) {
      SkipDeclaration();
    } else if (StartsWith("</")) {
      if (depth_ > 0) --depth_;
      Skip(2, ">", "a tag is not closed");
    } else {
      CheckTag();
    }
  }

  void Skip(std::size_t start, std::string_view end, const char* fault) {
    const std::size_t found = xml_.find(end, at_ + start);
    if (found == std::string_view::npos) Refuse(at_, fault);
    at_ = found + end.size();
  }

  // A document type, with declarations in brackets that may hold quoted texts and comments.
  void SkipDeclaration() {
    const std::size_t begin = at_;
    std::size_t brackets = 0;
    for (at_ += 2; at_ < xml_.size();) {
      const char c = xml_[at_];
      if (c == '"' || c == '\'') {
        Skip(1, std::string_view(&c, 1), "a text in the document type is not closed");
      } else if (StartsWith("<!--")) {
        Skip(4, "-->", "a comment is not closed");
      } else if (StartsWith("<?")) {
        Skip(2, "?>", "a processing instruction is not closed");
      } else {
        ++at_;
        if (c == '[') ++brackets;
        if (c == ']' && brackets > 0) --brackets;
        if (c == '>' && brackets == 0) return;
      }
    }
    Refuse(begin, "the document type is not closed");
  }

  void CheckTag() {
    const std::size_t begin = at_;
    names_.clear();
    at_ = std::min(xml_.find_first_of(" \t\r\n/>", at_ + 1), xml_.size());
    for (;;) {
      const std::size_t next = std::min(xml_.find_first_not_of(kBlanks, at_), xml_.size());
      const bool blank = next > at_;
      at_ = next;
      if (at_ == xml_.size()) Refuse(begin, "a tag is not closed");
      if (xml_[at_] == '>') {
        ++depth_;
        ++at_;
        break;
      }
      if (StartsWith("/>")) {
        at_ += 2;
        break;
      }
      if (!blank) Refuse(at_, "no blank stands between the attributes of a tag");
      CheckAttribute();
    }
    std::sort(names_.begin(), names_.end());
    const auto twin = std::adjacent_find(names_.begin(), names_.end());
    if (twin != names_.end()) Refuse(begin, "the attribute " + Quoted(*twin) + " is given twice in one tag");
  }

  void CheckAttribute() {
    const std::size_t begin = at_;
    const std::size_t name_end = std::min(xml_.find_first_of(" \t\r\n=/><\"'", at_), xml_.size());
    names_.push_back(xml_.substr(at_, name_end - at_));
    at_ = std::min(xml_.find_first_not_of(kBlanks, name_end), xml_.size());
    if (!StartsWith("=")) Refuse(begin, "the attribute " + Quoted(names_.back()) + " has no value");
    at_ = std::min(xml_.find_first_not_of(kBlanks, at_ + 1), xml_.size());
    const char quote = at_ < xml_.size() ? xml_[at_] : ' ';
    const std::size_t end = quote == '"' || quote == '\'' ? xml_.find(quote, at_ + 1) : std::string_view::npos;
    if (end == std::string_view::npos) Refuse(begin, "the value of " + Quoted(names_.back()) + " is not in quotes");
    const std::string_view value = xml_.substr(at_ + 1, end - at_ - 1);
    if (value.find('<') != std::string_view::npos) {
      Refuse(begin, "the value of " + Quoted(names_.back()) + " holds a \"<\"; it is written \"&lt;\"");
    }
    CheckReferences(at_ + 1, value);
    at_ = end + 1;
  }

  std::string_view xml_;
  std::size_t at_ = 0;
  std::size_t depth_ = 0;
  std::vector<std::string_view> names_;  // of the attributes of one tag
};

}  // namespace

std::string XmlToUtf8(std::string text) {
  std::size_t mark = 0;
  TZxTextEncoding encoding = ZxByteOrderMark(text, &mark);
  const auto begins = [&text](std::string_view with) { return text.compare(0, with.size(), with) == 0; };
  if (encoding == TZxTextEncoding::Unmarked) {
    using namespace std::string_view_literals;
    if (begins("<\0\0\0"sv)) {
      encoding = TZxTextEncoding::Utf32LittleEndian;
    } else if (begins("\0\0\0<"sv)) {
      encoding = TZxTextEncoding::Utf32BigEndian;
    } else if (begins("<\0"sv)) {
      encoding = TZxTextEncoding::Utf16LittleEndian;
    } else if (begins("\0<"sv)) {
      encoding = TZxTextEncoding::Utf16BigEndian;
    }
  }
  const std::string_view bytes = std::string_view(text).substr(mark);
  switch (encoding) {
    case TZxTextEncoding::Utf16LittleEndian:
    case TZxTextEncoding::Utf16BigEndian:
      return FromUnits(bytes, 2, encoding == TZxTextEncoding::Utf16LittleEndian);
    case TZxTextEncoding::Utf32LittleEndian:
    case TZxTextEncoding::Utf32BigEndian:
      return FromUnits(bytes, 4, encoding == TZxTextEncoding::Utf32LittleEndian);
    case TZxTextEncoding::Utf8:
      return std::string(bytes);
    case TZxTextEncoding::Unmarked:
      break;
  }
  for (const char* latin_1 : {"iso-8859-1", "latin1", "latin-1", "iso_8859-1"}) {
    if (DeclaredEncoding(text) == latin_1) return FromLatin1(text);
  }
  return text;
}

void CheckXml(std::string_view xml) { Checker(xml).Check(); }

}  // namespace SatCommonUtils
