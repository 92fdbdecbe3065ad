// JSON with the keys of rpcm (row_offset, col_num ...) or of GDAL (LINE_OFF, line_num_coeff ...), at the top or below
// "rpc". Whole numbers are pixel centres in both.

#include <cmath>
#include <vector>

#include "frame/zxstd/encoding.h"
#include "frame/zxstd/number_text.h"
#include "rpc/forms/forms.h"
#include "rpc/forms/json_values.h"
#include "rpc/rpc_fields.h"

namespace SatCommonUtils {

namespace RPCForms {

namespace {

RecordKeys RpcmKeys() {
  return {{"row_offset", "row_scale", "col_offset", "col_scale", "lat_offset", "lat_scale", "lon_offset", "lon_scale",
           "alt_offset", "alt_scale"},
          {"row_num", "row_den", "col_num", "col_den"},
          "",
          0};
}

/// An object that has the keys of a model.
struct ModelObject {
  std::size_t index = 0;
  RecordKeys keys;
};

// The objects with a model in the document; one at the top or below "rpc" is the document's own, and stands alone.
std::vector<ModelObject> FindObjects(const JsonValues& json) {
  const RecordKeys known[] = {RpcmKeys(), TextKeys(), SmallTextKeys()};
  std::vector<ModelObject> found;
  for (std::size_t i = 0; i < json.size(); ++i) {
    if (json[i].kind != JsonKind::Object) continue;
    for (const RecordKeys& candidate : known) {
      if (json.Member(i, candidate.lists[0]) == json.size()) continue;
      if (i == 0 || i == json.Member(0, "rpc")) return {{i, candidate}};
      found.push_back({i, candidate});
      break;
    }
  }
  return found;
}

// A list of numbers as a text; a number as it stands.
std::string TextOf(const JsonValues& json, std::size_t index) {
  if (json[index].kind != JsonKind::Array) return json[index].text;
  std::string list;
  for (std::size_t i = index + 1; i < json[index].end; i = json[i].end) {
    list += (json[i].text.empty() ? "?" : json[i].text) + " ";
  }
  return list;
}

std::optional<std::string> TextMember(const JsonValues& json, std::size_t object, const char* name) {
  const std::size_t index = json.Member(object, name);
  if (index == json.size() || json[index].kind != JsonKind::String) return std::nullopt;
  return json[index].text;
}

std::optional<double> NumberMember(const JsonValues& json, std::size_t object, const char* name) {
  const std::size_t index = json.Member(object, name);
  if (index == json.size() || json[index].kind != JsonKind::Number || !std::isfinite(json[index].number)) {
    return std::nullopt;
  }
  return json[index].number;
}

void ReadBeside(const JsonValues& json, std::size_t object, TRPCFile* out) {
  for (const std::size_t place : {object, std::size_t{0}}) {
    TRPCFileExtras& extras = out->extras;
    if (!extras.satelliteId) extras.satelliteId = TextMember(json, place, "satId");
    if (!extras.bandId) extras.bandId = TextMember(json, place, "bandId");
    if (!extras.biasError) extras.biasError = NumberMember(json, place, "err_bias");
    if (!extras.randomError) extras.randomError = NumberMember(json, place, "err_rand");
  }
  const auto pixels = [&](const char* name) -> std::optional<int> {
    const std::optional<double> number = NumberMember(json, 0, name);
    return number && *number >= 1 && *number <= 2147483647 ? std::make_optional(static_cast<int>(*number))
                                                           : std::nullopt;
  };
  out->origin.rasterWidth = pixels("width");
  out->origin.rasterHeight = pixels("height");
}

bool ReadJson(const std::string& content, TRPCFile* out, TRPCFileError* error) {
  JsonValues json;
  if (!json.Parse(ZxWithoutUtf8Mark(content))) return Fail(error, json.FaultLine(), "", json.Fault());
  const std::vector<ModelObject> found = FindObjects(json);
  if (found.empty()) return Fail(error, 0, "row_num", "is missing: the document has no model");
  if (found.size() > 1) {
    return Fail(
        error, json[found[1].index].line, "",
        "a second model of " + std::to_string(found.size()) + " in the document: which one is meant is not clear");
  }
  const std::size_t object = found.front().index;
  const RecordKeys& keys = found.front().keys;
  std::string text;
  const KeyLookup find = [&](const std::string& key) -> std::optional<KeyedText> {
    const std::size_t index = json.Member(object, key);
    if (index == json.size()) return std::nullopt;
    text = TextOf(json, index);
    return KeyedText{text, json[index].line};
  };
  ReadBeside(json, object, out);
  return ReadRecord(keys, TRPCTermOrder::RPC00B, find, &out->record, error);
}

std::string Quoted(const std::string& text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + "\"";
}

// Control characters would need escapes, and JSON is UTF-8.
bool CanBeQuoted(std::string_view text) {
  while (!text.empty()) {
    const std::size_t size = ZxUtf8Size(text);
    if (size == 0 || static_cast<unsigned char>(text[0]) < 0x20) return false;
    text.remove_prefix(size);
  }
  return true;
}

bool WriteJson(TZxStream* dst, const TRPCData& record, const TRPCFileExtras& extras, TRPCTextErrors,
               TRPCFileError* error) {
  const bool finite = VisitRPCNumbers(record, [](const double& number) { return std::isfinite(number); });
  if (!finite) return Fail(error, 0, "", "JSON has no numbers that are not finite");
  const RecordKeys keys = RpcmKeys();
  std::string text = "{\n  \"rpc\": {\n";
  for (const std::size_t i : kFileOrder) {
    text += "    \"" + keys.scalars[i] + "\": " + FormatDouble(record.*RPCScalarFields()[i].value) + ",\n";
  }
  for (std::size_t i = 0; i < keys.lists.size(); ++i) {
    std::string list;
    for (const double coefficient : record.*RPCCoefficientFields()[i].values) {
      list += (list.empty() ? "" : ", ") + FormatDouble(coefficient);
    }
    text += "    \"" + keys.lists[i] + "\": [" + list + "]" + (i < 3 ? ",\n" : "\n  }");
  }
  for (const auto& extra : kExtraTexts) {
    const std::optional<std::string>& value = extras.*extra.value;
    if (!value) continue;
    if (!CanBeQuoted(*value)) return Fail(error, 0, extra.rpbKey, "holds a character that JSON has no place for");
    text += std::string(",\n  \"") + extra.rpbKey + "\": " + Quoted(*value);
  }
  if (extras.biasError && std::isfinite(*extras.biasError)) {
    text += ",\n  \"err_bias\": " + FormatDouble(*extras.biasError);
  }
  if (extras.randomError && std::isfinite(*extras.randomError)) {
    text += ",\n  \"err_rand\": " + FormatDouble(*extras.randomError);
  }
  return WriteWhole(dst, text + "\n}\n");
}

bool LooksLikeJson(std::string_view content) { return Trimmed(ZxWithoutUtf8Mark(content)).substr(0, 1) == "{"; }

}  // namespace

const FileForm kJson = {{TRPCFileForm::Json, "JSON", ".json", true, "nothing"}, LooksLikeJson, ReadJson, WriteJson};

}  // namespace RPCForms

}  // namespace SatCommonUtils
