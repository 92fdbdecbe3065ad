// The RPB form: PVL text with the group IMAGE.

#include <algorithm>

#include "frame/sat_data_container/numbers.h"
#include "frame/sat_data_container/pvl.h"
#include "frame/zxstd/encoding.h"
#include "frame/zxstd/message.h"
#include "frame/zxstd/text.h"
#include "rpc/forms/forms.h"
#include "rpc/rpc_data.h"
#include "rpc/rpc_fields.h"
#include "rpc/rpc_file.h"

namespace SatCommonUtils {

namespace RPCForms {

namespace {

// What else begins a statement of such a file; used to recognise one.
constexpr std::string_view kOtherKeys[] = {"satId",       "bandId", "SpecId", "errBias",      "errRand",
                                           "BEGIN_GROUP", "GROUP",  "OBJECT", "BEGIN_OBJECT", "END_GROUP"};

bool IsRpbKey(std::string_view key) {
  for (const std::string_view other : kOtherKeys) {
    if (key == other) return true;
  }
  for (const TRPCScalarField& field : RPCScalarFields()) {
    if (key == field.rpbKey) return true;
  }
  for (const TRPCCoefficientField& field : RPCCoefficientFields()) {
    if (key == field.rpbKey) return true;
  }
  return false;
}

// Exactly twenty numbers; a longer list is malformed, not cut.
bool ReadList(const TZxXIniReader& src, const std::string& key, double (*list)[20], TRPCFileError* error) {
  const std::size_t index = src.FindF(key);
  if (index == TZxXIniReader::npos) return Fail(error, 0, key, "is missing");
  const std::size_t line = src.GetLine(index);
  const std::string* text = src.GetText(index);
  if (text == nullptr) return Fail(error, line, key, "is a group where a list is needed");
  double numbers[21];
  if (SplitStringIntoDoubles(*text, ",", numbers, 21) != 20) {
    const std::size_t count = SplitStringIntoDoubles(*text, ",", nullptr, 0);
    return Fail(error, line, key,
                count == 0 ? "is no list of numbers" : std::to_string(count) + " numbers where 20 are needed");
  }
  std::copy(numbers, numbers + 20, *list);
  return true;
}

bool ReadDocument(TZxXIniReader* src, TRPCData* record, TRPCFileExtras* extras, std::string* spec_id,
                  TRPCFileError* error) {
  *spec_id = OptionalText(*src, "SpecId").value_or("");
  for (const auto& extra : kExtraTexts) extras->*extra.value = OptionalText(*src, extra.rpbKey);
  const TZxXIniSection image(src, "IMAGE");
  if (!image) return Fail(error, 0, "IMAGE", "the group is missing");
  for (const auto& extra : kExtraNumbers) extras->*extra.value = OptionalNumber(*src, extra.rpbKey);
  for (const TRPCScalarField& field : RPCScalarFields()) {
    if (!ReadNumber(*src, field.rpbKey, &(record->*field.value), error)) return false;
  }
  for (const TRPCCoefficientField& field : RPCCoefficientFields()) {
    if (!ReadList(*src, field.rpbKey, &(record->*field.values), error)) return false;
  }
  return *record ? true : Fail(error, 0, "", "a number of the record is the mark for unset ones");
}

bool LooksLikeRpb(std::string_view content) {
  for (std::string_view rest = ZxWithoutUtf8Mark(content); !rest.empty();) {
    const std::string_view line = TakeLine(&rest);
    const std::string_view key = line.substr(0, line.find_first_of(" \t="));
    if (IsRpbKey(key) && line.find('=') != std::string_view::npos) return true;
  }
  return content.find(RPCCoefficientFields()[0].rpbKey) != std::string_view::npos;
}

bool FitsIntoQuotes(const std::string& text) {
  return std::none_of(text.begin(), text.end(),
                      [](char c) { return c == '"' || static_cast<unsigned char>(c) < 0x20; });
}

bool ReadRpbFile(const std::string& content, TRPCFile* out, TRPCFileError* error) {
  std::string spec_id;
  if (!ReadRpb(content, &out->record, &out->extras, &spec_id, error)) return false;
  SortTerms(TakeTermOrder(spec_id, &out->origin), &out->record);
  return true;
}

bool WriteRpb(TZxStream* dst, const TRPCData& record, const TRPCFileExtras& extras, TRPCTextErrors,
              TRPCFileError* error) {
  for (const auto& extra : kExtraTexts) {
    if (FitsIntoQuotes((extras.*extra.value).value_or(""))) continue;
    return Fail(error, 0, extra.rpbKey, "holds a character that the RPB form has no place for");
  }
  return record.SaveToRPB(dst, extras.satelliteId.value_or(""), extras.bandId.value_or(""),
                          extras.biasError.value_or(0.0), extras.randomError.value_or(0.0));
}

// Statements that a text of this form may have. Each becomes an element of a document, which takes a hundred bytes and
// more, so that a text of nothing but "a=" would grow a hundredfold.
constexpr std::ptrdiff_t kMaxStatements = 20000;

}  // namespace

bool ReadRpb(const std::string& content, TRPCData* record, TRPCFileExtras* extras, std::string* spec_id,
             TRPCFileError* error) {
  record->Invalidate();
  if (std::count(content.begin(), content.end(), '=') > kMaxStatements) {
    return Fail(error, 0, "", "has more than " + std::to_string(kMaxStatements) + " statements: that is no model file");
  }
  TZxStringStream pvl(content);
  TZxStringStream xml;
  TPVLError fault;
  if (!PVLtoXML(&pvl, &xml, &fault)) return Fail(error, fault.line, "", fault.text);
  try {
    TZxXIniStreamReader reader(&xml);
    return ReadDocument(&reader, record, extras, spec_id, error);
  } catch (const TZxMessage& message) {
    return Fail(error, 0, "", message.GetText());
  }
}

const FileForm kRpb = {{TRPCFileForm::RPB, "RPB", ".rpb", true,
                        "offsets and scales to 0.01 px, 0.01 m and 1e-8 degrees, coefficients to 9 digits"},
                       LooksLikeRpb,
                       ReadRpbFile,
                       WriteRpb};

}  // namespace RPCForms

bool TRPCData::InitializeFromRPBFile(const std::string& path, double* errBias, double* errRand) {
  Invalidate();
  std::string content;
  std::string spec_id;
  TRPCFileExtras extras;
  TRPCFileError error;
  if (!RPCForms::ReadContent(path, &content, &error)) return false;
  if (!RPCForms::ReadRpb(content, this, &extras, &spec_id, &error)) return false;
  if (errBias != nullptr) *errBias = extras.biasError.value_or(0.0);
  if (errRand != nullptr) *errRand = extras.randomError.value_or(0.0);
  return true;
}

bool TRPCData::SaveToRPB(TZxStream* dst, const std::string& satId, const std::string& bandId, const double& errBias,
                         const double& errRand) const {
  std::string text = "satId = \"" + satId + "\";\nbandId = \"" + bandId + "\";\n";
  text += "SpecId = \"RPC00B\";\nBEGIN_GROUP = IMAGE\n";
  text += Zentarix::ssprintf("\terrBias =%8.2lf;\n\terrRand =%8.2lf;\n", errBias, errRand);
  for (const std::size_t i : RPCForms::kFileOrder) {
    const TRPCScalarField& field = RPCScalarFields()[i];
    text += std::string("\t") + field.rpbKey + " = " + Zentarix::ssprintf(field.rpbFormat, this->*field.value) + ";\n";
  }
  for (const TRPCCoefficientField& field : RPCCoefficientFields()) {
    text += std::string("\t") + field.rpbKey + " = (\n";
    for (int k = 0; k < 20; ++k) {
      text += Zentarix::ssprintf(k < 19 ? "\t\t\t%+.8E,\n" : "\t\t\t%+.8E);\n", (this->*field.values)[k]);
    }
  }
  return RPCForms::WriteWhole(dst, text + "END_GROUP = IMAGE\nEND;");
}

}  // namespace SatCommonUtils
