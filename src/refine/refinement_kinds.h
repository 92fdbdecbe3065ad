#pragma once
// What the records and the transforms of refinements have in common: the table of kinds, the stored common keys, and
// the two forms of every factory.

#include <cstddef>

#include "frame/zxstd/message.h"
#include "frame/zxstd/var_a.h"
#include "frame/zxstd/xini_reader.h"
#include "frame/zxstd/xini_writer.h"
#include "refine/refinement.h"
#include "refine/refinement_data.h"

namespace SatCommonUtils {

// Sections of the stored refinement transforms; the records read from them too.
constexpr const char* kRawToRefinedSection = "RawToRefined";
constexpr const char* kRefinedToRawSection = "RefinedToRaw";
constexpr const char* kProjectiveSection = "data";

/// All that tells one kind from another outside of its record and its transform: a new kind is these two, a row of the
/// table and a value of the enumeration.
struct TRefinementKind {
  TRPCRefinementTransformType type;
  const char* name;
  /// New objects of the kind's classes, in their reset states.
  var_a<TRPCRefinementDataBase*> (*newRecord)();
  var_a<TRPCRefinementBase*> (*newTransform)();
  /// Made of a record, or of a transform, of the kind's class; empty for one of another class.
  var_a<TRPCRefinementBase*> (*transformOf)(const TRPCRefinementDataBase& record);
  var_a<TRPCRefinementBase*> (*copyOf)(const TRPCRefinementBase& transform);
  /// Points that a fit needs at least; 0: the kind is not fitted.
  std::size_t leastPoints;
  /// Which of the eight parameters of a projective map (row by row, its last element being 1) a fit frees.
  const std::size_t* parameters;
  std::size_t parameterCount;
  /// The matrix of a record of the kind's class, for (line, sample, 1), its last row (0, 0, 1) where there is no
  /// perspective; and the record of such a matrix.
  matr3x3 (*matrixOf)(const TRPCRefinementDataBase& record);
  var_a<TRPCRefinementDataBase*> (*recordOf)(const matr3x3& matrix);
};

/// The rows of the table, poorer kinds first.
struct TRefinementKinds {
  const TRefinementKind* first;
  const TRefinementKind* last;

  const TRefinementKind* begin() const noexcept { return first; }
  const TRefinementKind* end() const noexcept { return last; }
};
TRefinementKinds RefinementKinds() noexcept;

/// The row of a kind; null when there is none.
const TRefinementKind* FindRefinementKind(TRPCRefinementTransformType type) noexcept;

/// Writes the keys that open every stored refinement.
bool SaveRefinementKeys(TZxXIniWriter* dst, TRPCRefinementTransformType type);

/// The kind that the current section says, which may be no known one.
TRPCRefinementTransformType ReadRefinementType(TZxXIniReader* src);

/// The version that the current section says, 0 when it says none.
unsigned long long ReadRefinementVersion(TZxXIniReader* src);

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
