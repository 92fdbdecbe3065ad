// What the records of all kinds share, and their factories.

#include "refine/refinement_data.h"

#include "frame/zxstd/debug_output.h"
#include "frame/zxstd/text.h"
#include "refine/refinement_kinds.h"

namespace SatCommonUtils {

const char* GetRPCRefinementTransformTypeName(TRPCRefinementTransformType type) noexcept {
  const TRefinementKind* const kind = FindRefinementKind(type);
  return kind == nullptr ? "Unknown" : kind->name;
}

TRPCRefinementDataBase::~TRPCRefinementDataBase() = default;

bool TRPCRefinementDataBase::SaveToXML(TZxXIniWriter* dst) const { return SaveRefinementKeys(dst, type); }

std::size_t TRPCRefinementDataBase::GetParametersValues(std::vector<double>* values) const {
  values->clear();
  if (*this) AppendParameters(values);
  return values->size();
}

std::vector<std::string> TRPCRefinementDataBase::GetParametersNames() const { return {}; }

void TRPCRefinementDataBase::AppendParameters(std::vector<double>* /*values*/) const {}

void TRPCRefinementDataBase::DebugOutput() const {
  const std::string rule = std::string(60, '-') + "\n";
  ZxPrintDbgMsg(rule);
  if (*this) {
    ZxPrintDbgMsg(Zentarix::ssprintf("RPC refinement type:%s", GetRPCRefinementTransformTypeName(type)));
    ZxPrintDbgMsg("\nParameters:\n");
    ZxPrintDbgMsg("\nParameters names:\n");
    for (const std::string& name : GetParametersNames()) ZxPrintDbgMsg(name + "\n");
    ZxPrintDbgMsg("\nParameters values:\n");
    std::vector<double> values;
    GetParametersValues(&values);
    for (const double value : values) ZxPrintDbgMsg(Zentarix::ssprintf("%lg\n", value));
  } else {
    ZxPrintDbgMsg("The refinement data ara INCORRECT!!!\n");
  }
  ZxPrintDbgMsg(rule);
}

var_a<TRPCRefinementDataBase*> TRPCRefinementDataBase::CreateCopyN() const {
  return CreateOrEmpty([this] { return CreateCopyE(); });
}

var_a<TRPCRefinementDataBase*> CreateRefinementDataE(TRPCRefinementTransformType type) {
  return CreateOrThrow("var_a<TRPCRefinementDataBase*> CreateE(const TRPCRefinementType& src)", [type] {
    const TRefinementKind* const kind = FindRefinementKind(type);
    return kind == nullptr ? nullptr : kind->newRecord();
  });
}

var_a<TRPCRefinementDataBase*> CreateRefinementDataN(TRPCRefinementTransformType type) {
  return CreateOrEmpty([type] { return CreateRefinementDataE(type); });
}

var_a<TRPCRefinementDataBase*> CreateRefinementDataCopyE(const TRPCRefinementDataBase& src) {
  return CreateOrThrow("var_a<TRPCRefinementDataBase*> CreateRefinementDataCopyE(const TRPCRefinementDataBase&)",
                       [&] { return FindRefinementKind(src.type) != nullptr ? src.CreateCopyE() : nullptr; });
}

var_a<TRPCRefinementDataBase*> CreateRefinementDataCopyN(const TRPCRefinementDataBase& src) {
  return CreateOrEmpty([&src] { return CreateRefinementDataCopyE(src); });
}

var_a<TRPCRefinementDataBase*> CreateRefinementDataFromXMLE(TZxXIniReader* src) {
  return CreateOrThrow("var_a<TRPCRefinementDataBase*> CreateFromXMLE(TZxXIniReader* XML_reader)", [src] {
    if (src == nullptr) return var_a<TRPCRefinementDataBase*>();
    var_a<TRPCRefinementDataBase*> record = CreateRefinementDataE(ReadRefinementType(src));
    if (!record->InitializeFromXML(src, ReadRefinementVersion(src))) record.reset();
    return record;
  });
}

var_a<TRPCRefinementDataBase*> CreateRefinementDataFromXMLN(TZxXIniReader* src) {
  return CreateOrEmpty([src] { return CreateRefinementDataFromXMLE(src); });
}

}  // namespace SatCommonUtils
