#pragma once
// What the records and the transforms of refinements have in common: the dispatch on the kind, the stored common keys,
// and the two forms of every factory.

#include "frame/zxstd/message.h"
#include "frame/zxstd/var_a.h"
#include "frame/zxstd/xini_reader.h"
#include "frame/zxstd/xini_writer.h"
#include "refine/refinement_data.h"

namespace SatCommonUtils {

// Sections of the stored refinement transforms; the records read from them too.
constexpr const char* kRawToRefinedSection = "RawToRefined";
constexpr const char* kRefinedToRawSection = "RefinedToRaw";
constexpr const char* kProjectiveSection = "data";

/// True for the four kinds that there are.
bool IsKnownKind(TRPCRefinementTransformType type);

/// Writes the keys that open every stored refinement.
bool SaveRefinementKeys(TZxXIniWriter* dst, TRPCRefinementTransformType type);

/// The kind that the current section says, which may be no known one.
TRPCRefinementTransformType ReadRefinementType(TZxXIniReader* src);

/// The version that the current section says, 0 when it says none.
unsigned long long ReadRefinementVersion(TZxXIniReader* src);

/// A new default object of the class for `type`; empty for an unknown kind.
template <class Base, class None, class Shift, class Affine, class Projective>
var_a<Base*> CreateOfKind(TRPCRefinementTransformType type) {
  switch (type) {
    case TRPCRefinementTransformType::None:
      return make_var_a<None>();
    case TRPCRefinementTransformType::Shift:
      return make_var_a<Shift>();
    case TRPCRefinementTransformType::Affine:
      return make_var_a<Affine>();
    case TRPCRefinementTransformType::Projective:
      return make_var_a<Projective>();
  }
  return nullptr;
}

/// What `create()` returns, which must not be empty; every failure becomes a `TZxMessage` with `text`.
template <class Create>
auto CreateOrThrow(const char* text, const Create& create) -> decltype(create()) {
  try {
    if (auto result = create()) return result;
  } catch (const TZxMessage&) {
    // reported below, as this factory's own failure
  }
  throw TZxMessage(text);
}

/// What `create()` returns, empty when it throws.
template <class Create>
auto CreateOrEmpty(const Create& create) -> decltype(create()) {
  try {
    return create();
  } catch (const TZxMessage&) {
    return nullptr;
  }
}

}  // namespace SatCommonUtils
