// The record as keyed items and sections of XML, and the items that stand beside it.

#include <algorithm>

#include "frame/zxstd/keyed_fields.h"
#include "rpc/rpc_data.h"
#include "rpc/rpc_fields.h"
#include "rpc/rpc_file.h"
#include "rpc/rpc_forms.h"

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
