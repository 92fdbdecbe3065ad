// Keyword lists of OSSIM (.geom): "key:  value" lines in small letters, coefficients from 00 to 19.
//
// Whole numbers are pixel centres and the first pixel is 0: the list of a Pleiades image has the DIMAP offsets less 1.
// (The Orfeo ToolBox adds half a pixel to such lists before use and so differs by that.) "polynomial_format: A" is the
// order of RPC00A.

#include <unordered_map>

#include "frame/zxstd/encoding.h"
#include "frame/zxstd/number_text.h"
#include "rpc/forms/forms.h"

namespace SatCommonUtils {

namespace RPCForms {

namespace {

constexpr std::string_view kSign = "line_num_coeff_00";

using Keys = std::unordered_map<std::string_view, KeyedText>;

// Splits "key: value"; false for other lines.
bool Split(std::string_view line, std::string_view* key, std::string_view* value) {
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos) return false;
  *key = Trimmed(line.substr(0, colon));
  *value = Trimmed(line.substr(colon + 1));
  return true;
}

// What stands before the keys of the model, e.g. "image0.", when this line is the first coefficient.
bool FindPrefix(std::string_view key, std::string_view* prefix) {
  if (key.size() < kSign.size() || key.substr(key.size() - kSign.size()) != kSign) return false;
  *prefix = key.substr(0, key.size() - kSign.size());
  return prefix->empty() || prefix->back() == '.';
}

bool LooksLikeKeywordList(std::string_view content) {
  for (std::string_view rest = ZxWithoutUtf8Mark(content); !rest.empty();) {
    std::string_view key, value, prefix;
    if (Split(TakeLine(&rest), &key, &value) && FindPrefix(key, &prefix)) return true;
  }
  return false;
}

Keys CollectKeys(std::string_view content, std::string* prefix) {
  Keys keys;
  std::size_t line = 0;
  for (std::string_view rest = ZxWithoutUtf8Mark(content); !rest.empty();) {
    std::string_view key, value, front;
    ++line;
    if (!Split(TakeLine(&rest), &key, &value)) continue;
    if (FindPrefix(key, &front)) *prefix = std::string(front);
    keys.emplace(key, KeyedText{value, line});
  }
  return keys;
}

bool ReadKeywordList(const std::string& content, TRPCFile* out, TRPCFileError* error) {
  std::string prefix;
  const Keys keys = CollectKeys(content, &prefix);
  const KeyLookup find = [&](const std::string& key) -> std::optional<KeyedText> {
    const auto found = keys.find(prefix + key);
    return found == keys.end() ? std::nullopt : std::make_optional(found->second);
  };
  const auto text = [&](const char* key) {
    const std::optional<KeyedText> found = find(key);
    return found ? found->text.substr(0, 64) : std::string_view();
  };
  const auto number = [&](const char* key) {
    double value = 0.0;
    return ParseDouble(text(key), &value) ? std::make_optional(value) : std::nullopt;
  };
  const auto count = [&](const char* key) {
    int value = 0;
    return ParseInt(text(key), &value) && value > 0 ? std::make_optional(value) : std::nullopt;
  };
  TRPCFileOrigin& origin = out->origin;
  origin.variant = text("type");
  const std::string satellite(text(text("support_data.sat_id").empty() ? "sensor" : "support_data.sat_id"));
  const std::string band(text("support_data.band_id"));
  if (!satellite.empty()) out->extras.satelliteId = satellite;
  if (!band.empty()) out->extras.bandId = band;
  out->extras.biasError = number("bias_error");
  out->extras.randomError = number("rand_error");
  origin.rasterHeight = count("number_lines");
  origin.rasterWidth = count("number_samples");
  origin.acquisitionTime =
      text(text("support_data.image_date").empty() ? "support_data.tlc_date" : "support_data.image_date");
  if (origin.variant == "ossimPleiadesModel") {
    origin.firstPixelRule =
        "keyword lists of Pleiades count from 0: DIMAP less 1 (the Orfeo ToolBox adds half a pixel)";
  }
  RecordKeys names = SmallTextKeys();
  names.index = "_%02d";
  return ReadRecord(names, TakeTermOrder(text("polynomial_format"), &origin), find, &out->record, error);
}

}  // namespace

const FileForm kKeywordList = {{TRPCFileForm::KeywordList, "keyword list", ".geom", false, nullptr},
                               LooksLikeKeywordList,
                               ReadKeywordList,
                               nullptr};

}  // namespace RPCForms

}  // namespace SatCommonUtils
