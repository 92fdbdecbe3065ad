#include "refine/refinement_kinds.h"

#include <string>

namespace SatCommonUtils {
namespace {

constexpr const char* kTypeKey = "RPCRefinementType";
constexpr const char* kTypeNameKey = "RPCRefinementTypeName";
constexpr const char* kVersionKey = "Ver";
constexpr int kVersion = 1;

}  // namespace

bool IsKnownKind(TRPCRefinementTransformType type) {
  return type >= TRPCRefinementTransformType::None && type <= TRPCRefinementTransformType::Projective;
}

bool SaveRefinementKeys(TZxXIniWriter* dst, TRPCRefinementTransformType type) {
  return dst != nullptr && dst->WriteS<int>(kTypeKey, static_cast<int>(type)) &&
         dst->WriteS<std::string>(kTypeNameKey, GetRPCRefinementTransformTypeName(type)) &&
         dst->WriteS<int>(kVersionKey, kVersion);
}

TRPCRefinementTransformType ReadRefinementType(TZxXIniReader* src) {
  constexpr int kNoKind = -1;
  if (src->FindF(kVersionKey, 0) == TZxXIniReader::npos) return TRPCRefinementTransformType::Affine;
  return static_cast<TRPCRefinementTransformType>(src->Read<int>(src->FindF(kTypeKey, 0), kNoKind));
}

unsigned long long ReadRefinementVersion(TZxXIniReader* src) {
  return src->Read<unsigned long long>(src->FindF(kVersionKey, 0), 0);
}

}  // namespace SatCommonUtils
