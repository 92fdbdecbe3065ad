#pragma once
// JSON texts (RFC 8259) as a list of values with their places.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace SatCommonUtils {

namespace RPCForms {

enum class JsonKind { Null, Bool, Number, String, Array, Object };

/// One value. Children of arrays and objects follow their parent, each followed by its own.
struct JsonValue {
  JsonKind kind = JsonKind::Null;
  std::string key;    ///< its name in an object
  std::string text;   ///< of a string, without escapes; of a number as it is written
  double number = 0;  ///< of a number
  std::size_t line = 0;
  std::size_t end = 0;  ///< index behind its last descendant
};

/// A parsed text.
class JsonValues {
 public:
  /// \return false for what is no JSON, nests deeper than 64 or has more than 200,000 values; see `Fault`.
  bool Parse(std::string_view text);
  const std::string& Fault() const { return fault_; }
  std::size_t FaultLine() const { return line_; }

  const JsonValue& operator[](std::size_t index) const { return values_[index]; }
  std::size_t size() const { return values_.size(); }
  /// Index of the member of that name of the object at `index`, or `size()`.
  std::size_t Member(std::size_t index, std::string_view name) const;

 private:
  bool ParseValue(std::string key);
  bool ParseScalar(JsonValue* value);
  bool ParseString(std::string* text);
  bool ParseEscape(std::string* text);
  bool ParseUnit(std::uint32_t* unit);
  bool Refuse(const char* what);
  void SkipBlanks();
  char Peek() const { return position_ < text_.size() ? text_[position_] : '\0'; }

  std::string_view text_;
  std::size_t position_ = 0;
  std::size_t line_ = 1;
  std::size_t depth_ = 0;
  std::vector<JsonValue> values_;
  std::string fault_;
};

}  // namespace RPCForms

}  // namespace SatCommonUtils
