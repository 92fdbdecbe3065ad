// Records from the keys and lists of vendors' files.
//
// Vendors put words, zeros or nothing where a product has no model. Such a record would project every point to a
// division by zero, so it is refused here, with the key, while the library's own forms keep any number.

#include <cmath>

#include "frame/zxstd/number_text.h"
#include "frame/zxstd/text.h"
#include "rpc/forms/forms.h"
#include "rpc/rpc_fields.h"

namespace SatCommonUtils {

namespace RPCForms {

namespace {

constexpr std::string_view kSeparators = " \t\r\n,";

// Offsets stand at even, scales at odd places of the record's table.
bool IsScale(std::size_t field) { return field % 2 == 1; }

bool CheckUsable(double number, bool scale, std::size_t line, const std::string& key, TRPCFileError* error) {
  if (!std::isfinite(number) || number == kUnsetMark) return Fail(error, line, key, "is no finite number");
  return !scale || number != 0.0 ? true : Fail(error, line, key, "is 0, which no scale of a model can be");
}

void MakeSmall(std::string* key) {
  for (char& c : *key) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
}

bool FindNumber(const std::string& key, const KeyLookup& find, bool scale, double* number, TRPCFileError* error) {
  const std::optional<KeyedText> found = find(key);
  if (!found) return Fail(error, 0, key, "is missing");
  if (!ParseDouble(found->text, number)) return FailAsNumber(error, found->line, key, Trimmed(found->text));
  return CheckUsable(*number, scale, found->line, key, error);
}

bool FindList(const RecordKeys& keys, const std::string& key, const KeyLookup& find, double* list,
              TRPCFileError* error) {
  if (keys.index.empty()) {
    const std::optional<KeyedText> found = find(key);
    return found ? ReadNumbers(*found, key, 20, list, error) : Fail(error, 0, key, "is missing");
  }
  for (int k = 0; k < 20; ++k) {
    const std::string numbered = key + Zentarix::ssprintf(keys.index.c_str(), k + keys.firstIndex);
    if (!FindNumber(numbered, find, false, &list[k], error)) return false;
  }
  return true;
}

}  // namespace

RecordKeys TextKeys() {
  RecordKeys keys;
  for (std::size_t i = 0; i < keys.scalars.size(); ++i) keys.scalars[i] = RPCScalarFields()[i].textKey;
  for (std::size_t i = 0; i < keys.lists.size(); ++i) {
    keys.lists[i] = RPCCoefficientFields()[i].textKey;
    keys.lists[i].pop_back();
  }
  return keys;
}

RecordKeys SmallTextKeys() {
  RecordKeys keys = TextKeys();
  for (std::string& key : keys.scalars) MakeSmall(&key);
  for (std::string& key : keys.lists) MakeSmall(&key);
  return keys;
}

std::string_view WithoutUnit(std::string_view value) {
  double ignored = 0.0;
  const std::size_t size = ParseDoublePrefix(value, &ignored);
  const std::string_view unit = Trimmed(value.substr(size));
  if (size == 0 || unit.find_first_of("0123456789,.+-") != std::string_view::npos) return value;
  return value.substr(0, size);
}

bool ReadNumbers(const KeyedText& text, const std::string& key, std::size_t count, double* numbers,
                 TRPCFileError* error) {
  std::string_view rest = text.text;
  std::size_t found = 0;
  for (;;) {
    const std::size_t first = rest.find_first_not_of(kSeparators);
    if (first == std::string_view::npos) break;
    rest.remove_prefix(first);
    const std::string_view word = rest.substr(0, rest.find_first_of(kSeparators));
    rest.remove_prefix(word.size());
    if (found == count) {
      return Fail(error, text.line, key, "has more than the " + std::to_string(count) + " numbers that are needed");
    }
    if (!ParseDouble(word, &numbers[found])) return FailAsNumber(error, text.line, key, word);
    if (!CheckUsable(numbers[found], false, text.line, key, error)) return false;
    ++found;
  }
  if (found == count) return true;
  return Fail(error, text.line, key, std::to_string(found) + " numbers where " + std::to_string(count) + " are needed");
}

bool ReadRecord(const RecordKeys& keys, TRPCTermOrder order, const KeyLookup& find, TRPCData* record,
                TRPCFileError* error) {
  for (std::size_t i = 0; i < keys.scalars.size(); ++i) {
    double TRPCData::*const value = RPCScalarFields()[i].value;
    if (!FindNumber(keys.scalars[i], find, IsScale(i), &(record->*value), error)) return false;
  }
  for (std::size_t i = 0; i < keys.lists.size(); ++i) {
    if (!FindList(keys, keys.lists[i], find, record->*RPCCoefficientFields()[i].values, error)) return false;
  }
  SortTerms(order, record);
  return true;
}

bool ReadRecord(const std::array<double, 90>& numbers, TRPCData* record, TRPCFileError* error) {
  const double* next = numbers.data();
  for (const std::size_t i : kFileOrder) {
    const TRPCScalarField& field = RPCScalarFields()[i];
    if (!CheckUsable(*next, IsScale(i), 0, field.textKey, error)) return false;
    record->*field.value = *next++;
  }
  for (const TRPCCoefficientField& field : RPCCoefficientFields()) {
    for (double& coefficient : record->*field.values) {
      if (!CheckUsable(*next, false, 0, field.textKey, error)) return false;
      coefficient = *next++;
    }
  }
  return true;
}

}  // namespace RPCForms

}  // namespace SatCommonUtils
