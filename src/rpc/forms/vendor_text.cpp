// Texts with the keys of the text form in other spellings: small letters, "=" or blanks for the colon, lists of twenty
// behind one key, as distributors of IKONOS, OrbView, EROS and Cartosat have written them. No such file of Cartosat
// with numbers was at hand: untried there.

#include <string>
#include <unordered_map>

#include "frame/zxstd/encoding.h"
#include "frame/zxstd/number_text.h"
#include "frame/zxstd/text.h"
#include "rpc/forms/forms.h"

namespace SatCommonUtils {

namespace RPCForms {

namespace {

using Keys = std::unordered_map<std::string, KeyedText>;

struct Spelling {
  const char* other;
  const char* key;
};
// Other names of the same things.
constexpr Spelling kSpellings[] = {
    {"LON_OFF", "LONG_OFF"},       {"LON_SCALE", "LONG_SCALE"}, {"HGT_OFF", "HEIGHT_OFF"},
    {"HGT_SCALE", "HEIGHT_SCALE"}, {"SAMPLE_OFF", "SAMP_OFF"},  {"SAMPLE_SCALE", "SAMP_SCALE"},
};

bool IsKeyChar(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
}

// Splits a line at the end of its first word; blanks, a colon or an equals sign may follow.
bool Split(std::string_view line, std::string* key, std::string_view* value) {
  std::size_t end = 0;
  while (end < line.size() && IsKeyChar(line[end])) ++end;
  if (end == 0 || end > 32) return false;
  *key = toupper(std::string(line.substr(0, end)));
  for (const Spelling& spelling : kSpellings) {
    if (*key == spelling.other) *key = spelling.key;
  }
  *value = Trimmed(line.substr(end));
  if (!value->empty() && ((*value)[0] == ':' || (*value)[0] == '=')) *value = Trimmed(value->substr(1));
  if (!value->empty() && value->back() == ';') *value = Trimmed(value->substr(0, value->size() - 1));
  return true;
}

bool LooksLikeVendorText(std::string_view content) {
  bool offset = false;
  bool list = false;
  for (std::string_view rest = ZxWithoutUtf8Mark(content); !rest.empty() && !(offset && list);) {
    std::string key;
    std::string_view value;
    if (!Split(TakeLine(&rest), &key, &value)) continue;
    offset = offset || key == "LINE_OFF";
    list = list || key.compare(0, 14, "LINE_NUM_COEFF") == 0;
  }
  return offset && list;
}

bool ReadVendorText(const std::string& content, TRPCFile* out, TRPCFileError* error) {
  Keys keys;
  std::size_t line = 0;
  for (std::string_view rest = ZxWithoutUtf8Mark(content); !rest.empty();) {
    std::string key;
    std::string_view value;
    ++line;
    if (Split(TakeLine(&rest), &key, &value)) keys[key] = {value, line};
  }
  RecordKeys names = TextKeys();
  if (keys.count(names.lists[0]) == 0) {
    names.index = "_%d";
    names.firstIndex = keys.count(names.lists[0] + "_0") != 0 ? 0 : 1;
  }
  const KeyLookup find = [&](const std::string& key) -> std::optional<KeyedText> {
    const auto found = keys.find(key);
    if (found == keys.end()) return std::nullopt;
    const bool list = key.size() > 6 && key.compare(key.size() - 6, 6, "_COEFF") == 0;
    return KeyedText{list ? found->second.text : WithoutUnit(found->second.text), found->second.line};
  };
  for (const auto& extra : kExtraNumbers) {
    double number = 0.0;
    const std::optional<KeyedText> text = find(extra.textKey);
    if (text && ParseDouble(text->text, &number)) out->extras.*extra.value = number;
  }
  out->origin.notes.push_back("the keys are not spelled as in the usual text form; they were taken for the same");
  return ReadRecord(names, TRPCTermOrder::RPC00B, find, &out->record, error);
}

}  // namespace

const FileForm kVendorText = {{TRPCFileForm::VendorText, "text, other spelling", ".txt .rpc", false, nullptr},
                              LooksLikeVendorText,
                              ReadVendorText,
                              nullptr};

}  // namespace RPCForms

}  // namespace SatCommonUtils
