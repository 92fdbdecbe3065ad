#pragma once
// Whether a text is one JSON value, by the grammar of RFC 8259.

#include <cctype>
#include <string>

namespace orbmath_test {

class JsonChecker {
 public:
  explicit JsonChecker(const std::string& text) : text_(text) {}
  bool Check() { return Value() && at_ == text_.size(); }

 private:
  bool Take(const char* word) {
    const std::string expected = word;
    if (text_.compare(at_, expected.size(), expected) != 0) return false;
    at_ += expected.size();
    return true;
  }
  bool Digits() {
    const std::size_t begin = at_;
    while (at_ < text_.size() && std::isdigit(static_cast<unsigned char>(text_[at_])) != 0) ++at_;
    return at_ > begin;
  }
  bool Number() {
    Take("-");
    if (!Take("0") && !Digits()) return false;
    if (Take(".") && !Digits()) return false;
    if (Take("e") || Take("E")) {
      if (!Take("+")) Take("-");
      return Digits();
    }
    return true;
  }
  bool String() {
    if (!Take("\"")) return false;
    while (at_ < text_.size() && text_[at_] != '"') {
      if (static_cast<unsigned char>(text_[at_]) < 0x20) return false;
      at_ += text_[at_] == '\\' ? 2 : 1;
    }
    return Take("\"");
  }
  bool Member() { return String() && Take(":") && Value(); }
  /// Members or values between commas.
  template <class Part>
  bool List(const char* close, Part part) {
    if (Take(close)) return true;
    do {
      if (!part()) return false;
    } while (Take(","));
    return Take(close);
  }
  bool Value() {
    if (Take("{")) return List("}", [this] { return Member(); });
    if (Take("[")) return List("]", [this] { return Value(); });
    return Take("null") || Take("true") || Take("false") || String() || Number();
  }

  const std::string& text_;
  std::size_t at_ = 0;
};

inline bool IsJson(const std::string& text) { return JsonChecker(text).Check(); }

}  // namespace orbmath_test
