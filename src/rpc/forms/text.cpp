// The text form: one `KEY: number unit` a line.

#include <algorithm>

#include "frame/zxstd/encoding.h"
#include "frame/zxstd/number_text.h"
#include "frame/zxstd/text.h"
#include "rpc/forms/forms.h"
#include "rpc/rpc_data.h"
#include "rpc/rpc_fields.h"
#include "rpc/rpc_file.h"

namespace SatCommonUtils {

namespace RPCForms {

namespace {

constexpr std::string_view kBlanks = " \t";

// One line of the text: what stands before the first colon, and what stands behind it.
struct TextLine {
  std::string_view key;
  std::string_view value;
};

// False when the line has no colon.
bool SplitLine(std::string_view line, TextLine* out) {
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos) return false;
  out->key = line.substr(0, colon);
  out->key = out->key.substr(0, out->key.find_last_not_of(kBlanks) + 1);
  out->value = line.substr(colon + 1);
  out->value.remove_prefix(std::min(out->value.find_first_not_of(kBlanks), out->value.size()));
  return true;
}

// What may stand directly behind a number: a word, such as "m" or "deg", but neither more of a number (as in "1,5" and
// "1.5D+03") nor a lone exponent letter.
bool IsUnit(std::string_view text) {
  for (const char c : text) {
    const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || static_cast<unsigned char>(c) >= 0x80;
    if (!letter) return false;
  }
  return text.size() != 1 || std::string_view("eEdD").find(text[0]) == std::string_view::npos;
}

// The number at the front of a value. What follows it after a blank does not matter.
bool ParseValue(std::string_view value, double* number) {
  double unchecked = 0.0;
  const std::size_t size = ParseDoublePrefix(value, &unchecked);
  const std::string_view behind = value.substr(size);
  if (size == 0 || !IsUnit(behind.substr(0, behind.find_first_of(kBlanks)))) return false;
  return ParseDouble(value.substr(0, size), number);
}

// Which number of the record a line gives.
enum class Target { Unknown, Number, NoSuchCoefficient };

Target FindCoefficient(std::string_view key, TRPCData* record, double** number) {
  for (const TRPCCoefficientField& field : RPCCoefficientFields()) {
    const std::string_view prefix = field.textKey;
    if (key.substr(0, prefix.size()) != prefix) continue;
    int k = 0;
    if (!ParseInt(key.substr(prefix.size()), &k) || k < 1 || k > 20) return Target::NoSuchCoefficient;
    *number = &(record->*field.values)[k - 1];
    return Target::Number;
  }
  return Target::Unknown;
}

Target FindTarget(std::string_view key, TRPCData* record, double** number) {
  for (const TRPCScalarField& field : RPCScalarFields()) {
    if (key != field.textKey) continue;
    *number = &(record->*field.value);
    return Target::Number;
  }
  return FindCoefficient(key, record, number);
}

// The errors beside the record, which no reader insists on.
void ReadErrorLine(const TextLine& line, TRPCFileExtras* extras) {
  double number = 0.0;
  for (const auto& extra : kExtraNumbers) {
    if (line.key == extra.textKey && ParseValue(line.value, &number)) extras->*extra.value = number;
  }
}

bool FailAtLine(const TextLine& line, std::size_t line_number, Target target, TRPCFileError* error) {
  const std::string key(line.key);
  if (target == Target::Number) return FailAsNumber(error, line_number, key, line.value);
  return Fail(error, line_number, key, "is no coefficient: they count from 1 to 20");
}

bool ReportMissing(const TRPCData& record, TRPCFileError* error) {
  for (const std::size_t i : kFileOrder) {
    const TRPCScalarField& field = RPCScalarFields()[i];
    if (record.*field.value == kUnsetMark) return Fail(error, 0, field.textKey, "is missing");
  }
  for (const TRPCCoefficientField& field : RPCCoefficientFields()) {
    for (int k = 0; k < 20; ++k) {
      if ((record.*field.values)[k] != kUnsetMark) continue;
      return Fail(error, 0, field.textKey + std::to_string(k + 1), "is missing");
    }
  }
  return true;
}

bool LooksLikeText(std::string_view content) {
  TRPCData scratch;
  double* number = nullptr;
  TextLine line;
  for (std::string_view rest = ZxWithoutUtf8Mark(content); !rest.empty();) {
    if (SplitLine(TakeLine(&rest), &line) && FindTarget(line.key, &scratch, &number) != Target::Unknown) return true;
  }
  return false;
}

bool ReadTextFile(const std::string& content, TRPCFile* out, TRPCFileError* error) {
  return ReadText(content, &out->record, &out->extras, error);
}

bool WriteText(TZxStream* dst, const TRPCData& record, const TRPCFileExtras& extras, TRPCTextErrors errors,
               TRPCFileError*) {
  if (!record.SaveToText(dst, "", "")) return false;
  if (errors == TRPCTextErrors::Omit) return true;
  for (const auto& extra : kExtraNumbers) {
    const std::optional<double>& number = extras.*extra.value;
    if (!number) continue;
    if (!WriteWhole(dst, Zentarix::ssprintf("%s: %07.2lf meters\r\n", extra.textKey, *number))) return false;
  }
  return true;
}

}  // namespace

bool ReadText(std::string_view content, TRPCData* record, TRPCFileExtras* extras, TRPCFileError* error) {
  record->Invalidate();
  std::string_view rest = ZxWithoutUtf8Mark(content);
  for (std::size_t line_number = 1; !rest.empty(); ++line_number) {
    TextLine line;
    if (!SplitLine(TakeLine(&rest), &line)) continue;
    double* number = nullptr;
    const Target target = FindTarget(line.key, record, &number);
    if (target == Target::Unknown) {
      ReadErrorLine(line, extras);
    } else if (target == Target::NoSuchCoefficient || !ParseValue(line.value, number)) {
      record->Invalidate();
      return FailAtLine(line, line_number, target, error);
    }
  }
  return ReportMissing(*record, error);
}

const FileForm kText = {{TRPCFileForm::Text, "text", ".txt .rpc", true,
                         "pixels to 0.01, degrees to 1e-8, metres to 0.001, coefficients to 16 digits"},
                        LooksLikeText,
                        ReadTextFile,
                        WriteText};

}  // namespace RPCForms

bool TRPCData::InitializeFromText(TZxStream* src) {
  Invalidate();
  std::string content;
  TRPCFileExtras extras;
  TRPCFileError error;
  return RPCForms::ReadContent(src, &content, &error) && RPCForms::ReadText(content, this, &extras, &error);
}

bool TRPCData::InitializeFromTextFile(const std::string& path) {
  Invalidate();
  TZxFileStream file;
  return file.Open(TZxPath(path), TZxOpenMode::Read) && InitializeFromText(&file);
}

bool TRPCData::SaveToText(TZxStream* dst, std::string latLonUnits, std::string heightUnits) const {
  if (latLonUnits.empty()) latLonUnits = "degrees";
  if (heightUnits.empty()) heightUnits = "meters";
  const auto unit = [&](TRPCFieldUnit of) -> std::string {
    if (of == TRPCFieldUnit::Pixels) return "pixels";
    return of == TRPCFieldUnit::Degrees ? latLonUnits : heightUnits;
  };
  for (const std::size_t i : RPCForms::kFileOrder) {
    const TRPCScalarField& field = RPCScalarFields()[i];
    const std::string number = Zentarix::ssprintf(field.textFormat, this->*field.value);
    if (!RPCForms::WriteWhole(dst, std::string(field.textKey) + ": " + number + " " + unit(field.unit) + "\r\n")) {
      return false;
    }
  }
  for (const TRPCCoefficientField& field : RPCCoefficientFields()) {
    for (int k = 0; k < 20; ++k) {
      const double coefficient = (this->*field.values)[k];
      if (!RPCForms::WriteWhole(dst, Zentarix::ssprintf("%s%d: %+.15lE\r\n", field.textKey, k + 1, coefficient))) {
        return false;
      }
    }
  }
  return true;
}

}  // namespace SatCommonUtils
