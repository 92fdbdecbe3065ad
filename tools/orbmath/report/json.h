#pragma once
/// \file
/// The little JSON that the tool prints.

#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace orbmath_tool {

/// `text` as a JSON string with its quotes. Bytes that are not UTF-8 become U+FFFD.
std::string JsonString(std::string_view text);
/// The shortest text of a number that comes back bit for bit, or null when it is not finite.
std::string JsonNumber(double value);

/// Writes one JSON value piece by piece: objects and arrays nest, commas come by themselves.
/// In an object every value follows its Key; that keys and ends come in order is the caller's care.
class JsonWriter {
 public:
  JsonWriter& BeginObject() { return Open('{'); }
  JsonWriter& EndObject() { return Close('}'); }
  JsonWriter& BeginArray() { return Open('['); }
  JsonWriter& EndArray() { return Close(']'); }

  JsonWriter& Key(std::string_view key);
  JsonWriter& Value(double value) { return Raw(JsonNumber(value)); }
  JsonWriter& Value(std::string_view text) { return Raw(JsonString(text)); }
  JsonWriter& Value(const char* text) { return Value(std::string_view(text)); }
  JsonWriter& Value(bool value) { return Raw(value ? "true" : "false"); }
  template <class Integer, class = std::enable_if_t<std::is_integral_v<Integer> && !std::is_same_v<Integer, bool>>>
  JsonWriter& Value(Integer value) {
    return Raw(std::to_string(value));
  }
  /// Every number of a range, as an array.
  template <class Range>
  JsonWriter& Numbers(const Range& values) {
    BeginArray();
    for (const double value : values) Value(value);
    return EndArray();
  }
  JsonWriter& Null() { return Raw("null"); }
  /// A value that is JSON already.
  JsonWriter& Raw(std::string_view json);

  /// A key and its value.
  template <class T>
  JsonWriter& Member(std::string_view key, const T& value) {
    return Key(key).Value(value);
  }

  const std::string& Text() const { return text_; }
  std::string TakeText() && { return std::move(text_); }

 private:
  JsonWriter& Open(char bracket);
  JsonWriter& Close(char bracket);
  void Separate();

  std::string text_;
  bool follows_ = false;  ///< a value stands before the next one in the same object or array
};

}  // namespace orbmath_tool
