// The record as keyed items and sections of XML, and the items that stand beside it.

#include <algorithm>

#include "frame/zxstd/keyed_fields.h"
#include "frame/zxstd/message.h"
#include "rpc/forms/forms.h"
#include "rpc/rpc_data.h"
#include "rpc/rpc_fields.h"
#include "rpc/rpc_file.h"

namespace SatCommonUtils {

namespace {

// The items of a coefficient section: "00" to "19".
TKeyedArray<TRPCData, 20> CoefficientItems(const TRPCCoefficientField& field) { return {"%02d", field.values}; }

bool ReadCoefficients(TZxXIniReader* src, const TRPCCoefficientField& field, TRPCData* record, TRPCFileError* error) {
  const bool other = field.xmlOtherKey != nullptr && src->FindF(field.xmlKey) == TZxXIniReader::npos;
  const std::string name = other ? field.xmlOtherKey : field.xmlKey;
  const TZxXIniSection section(src, name);
  if (!section) return RPCForms::Fail(error, 0, field.xmlKey, "the section is missing");
  const auto read = [&](const std::string& key, double& coefficient) {
    return RPCForms::ReadNumber(*src, key, &coefficient, error);
  };
  if (VisitField(CoefficientItems(field), *record, read)) return true;
  error->key = name + "/" + error->key;
  return false;
}

}  // namespace

bool RPCForms::ReadXml(TZxXIniReader* src, TRPCData* record, TRPCFileError* error) {
  record->Invalidate();
  if (src == nullptr) return Fail(error, 0, "", "there is no document");
  for (const TRPCScalarField& field : RPCScalarFields()) {
    if (!ReadNumber(*src, field.xmlKey, &(record->*field.value), error)) return false;
  }
  for (const TRPCCoefficientField& field : RPCCoefficientFields()) {
    if (!ReadCoefficients(src, field, record, error)) return false;
  }
  return true;
}

namespace RPCForms {

namespace {

bool ReadXmlFile(const std::string& content, TRPCFile* out, TRPCFileError* error) {
  TZxStringStream stream(content);
  try {
    TZxXIniStreamReader reader(&stream);
    out->form = TZxXIniSection(&reader, "Refinement") ? TRPCFileForm::AdjustedXML : TRPCFileForm::XML;
    out->extras.InitializeFromXML(&reader);
    if (!ReadXml(&reader, &out->record, error)) return false;
  } catch (const TZxMessage& message) {
    return FailAsXml(error, message.GetText());
  }
  out->xml = content;
  return true;
}

bool WriteXmlFile(TZxStream* dst, const TRPCData& record, const TRPCFileExtras& extras, TRPCTextErrors,
                  TRPCFileError*) {
  TZxXIniStreamWriter writer(dst);
  const bool good = record.SaveToXML(&writer) && extras.SaveToXML(&writer);
  return writer.Close() && good;
}

}  // namespace

// Any XML that is no vendor's is asked for a record, so that a damaged document is told what it lacks.
const FileForm kXml = {{TRPCFileForm::XML, "XML", ".xml", true, "nothing"}, LooksLikeXml, ReadXmlFile, WriteXmlFile};
// Found by the reader of XML.
const FileForm kAdjustedXml = {
    {TRPCFileForm::AdjustedXML, "adjusted XML", ".xml", false, nullptr}, nullptr, ReadXmlFile, nullptr};

}  // namespace RPCForms

bool TRPCData::InitializeFromXML(TZxXIniReader* src) {
  TRPCFileError error;
  return RPCForms::ReadXml(src, this, &error);
}

bool TRPCData::SaveToXML(TZxXIniWriter* dst) const {
  if (dst == nullptr) return false;
  const auto write = [dst](const std::string& key, const double& number) { return dst->WriteS<double>(key, number); };
  for (const TRPCScalarField& field : RPCScalarFields()) {
    if (!write(field.xmlKey, this->*field.value)) return false;
  }
  for (const TRPCCoefficientField& field : RPCCoefficientFields()) {
    const auto items = [&] { return VisitField(CoefficientItems(field), *this, write); };
    if (!WriteSection(dst, field.xmlKey, items)) return false;
  }
  return true;
}

void TRPCFileExtras::InitializeFromXML(TZxXIniReader* src) {
  *this = TRPCFileExtras();
  if (src == nullptr) return;
  for (const auto& extra : RPCForms::kExtraTexts) this->*extra.value = RPCForms::OptionalText(*src, extra.xmlKey);
  for (const auto& extra : RPCForms::kExtraNumbers) this->*extra.value = RPCForms::OptionalNumber(*src, extra.xmlKey);
}

bool TRPCFileExtras::SaveToXML(TZxXIniWriter* dst) const {
  if (dst == nullptr) return false;
  const auto write = [&](const auto& extra) {
    const auto& value = this->*extra.value;
    return !value || dst->WriteS(extra.xmlKey, *value);
  };
  const auto& texts = RPCForms::kExtraTexts;
  const auto& numbers = RPCForms::kExtraNumbers;
  return std::all_of(texts.begin(), texts.end(), write) && std::all_of(numbers.begin(), numbers.end(), write);
}

}  // namespace SatCommonUtils
