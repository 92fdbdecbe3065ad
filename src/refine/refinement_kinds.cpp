// The table of kinds, and the stored common keys.

#include "refine/refinement_kinds.h"

#include <iterator>
#include <string>

namespace SatCommonUtils {
namespace {

constexpr const char* kTypeKey = "RPCRefinementType";
constexpr const char* kTypeNameKey = "RPCRefinementTypeName";
constexpr const char* kVersionKey = "Ver";
constexpr int kVersion = 1;

using Type = TRPCRefinementTransformType;
using Record = TRPCRefinementDataBase;

constexpr std::size_t kShiftParameters[] = {2, 5};
constexpr std::size_t kAllParameters[] = {0, 1, 2, 3, 4, 5, 6, 7};

/// A new `Object` of `source` if that is of the class `Source`; empty otherwise.
template <class Object, class Source, class Base, class SourceBase>
var_a<Base*> MakeFrom(const SourceBase& source) {
  const auto* const own = dynamic_cast<const Source*>(&source);
  if (own == nullptr) return nullptr;
  return make_var_a<Object>(*own);
}

template <class Object, class Base>
var_a<Base*> MakeNew() {
  return make_var_a<Object>();
}

matr3x3 MatrixOfNone(const Record& /*record*/) {
  matr3x3 matrix;
  matrix.fill_unity();
  return matrix;
}

var_a<Record*> NoneOf(const matr3x3& /*matrix*/) { return make_var_a<TRPCRefinementDataNone>(); }

matr3x3 MatrixOfShift(const Record& record) {
  const auto& shift = dynamic_cast<const TRPCRefinementDataShift&>(record);
  matr3x3 matrix;
  matrix.fill_unity();
  matrix.m[0][2] = shift.d_line;
  matrix.m[1][2] = shift.d_sample;
  return matrix;
}

var_a<Record*> ShiftOf(const matr3x3& matrix) {
  auto record = make_var_a<TRPCRefinementDataShift>();
  record->d_line = matrix[0][2];
  record->d_sample = matrix[1][2];
  return record;
}

matr3x3 MatrixOfAffine(const Record& record) {
  const auto& affine = dynamic_cast<const TRPCRefinementDataAffine&>(record);
  return {{{affine.LineDrift, affine.LineTilt, affine.LineBias},
           {affine.SampleDrift, affine.SampleTilt, affine.SampleBias},
           {0.0, 0.0, 1.0}}};
}

var_a<Record*> AffineOf(const matr3x3& matrix) {
  auto record = make_var_a<TRPCRefinementDataAffine>();
  record->LineDrift = matrix[0][0], record->LineTilt = matrix[0][1], record->LineBias = matrix[0][2];
  record->SampleDrift = matrix[1][0], record->SampleTilt = matrix[1][1], record->SampleBias = matrix[1][2];
  return record;
}

matr3x3 MatrixOfProjective(const Record& record) {
  matr3x3 matrix = dynamic_cast<const TRPCRefinementDataProjective&>(record).matr;
  const double last = matrix[2][2];
  if (matrix[2][0] != 0.0 || matrix[2][1] != 0.0) return matrix;
  for (auto& row : matrix.m) {
    for (double& element : row) element /= last;
  }
  return matrix;
}

var_a<Record*> ProjectiveOf(const matr3x3& matrix) {
  auto record = make_var_a<TRPCRefinementDataProjective>();
  record->matr = matrix;
  return record;
}

template <class Data, class Transform>
constexpr TRefinementKind Row(Type type, const char* name, std::size_t least_points, const std::size_t* parameters,
                              std::size_t parameter_count, matr3x3 (*matrix_of)(const Record&),
                              var_a<Record*> (*record_of)(const matr3x3&)) {
  return {type,
          name,
          &MakeNew<Data, Record>,
          &MakeNew<Transform, TRPCRefinementBase>,
          &MakeFrom<Transform, Data, TRPCRefinementBase, Record>,
          &MakeFrom<Transform, Transform, TRPCRefinementBase, TRPCRefinementBase>,
          least_points,
          parameters,
          parameter_count,
          matrix_of,
          record_of};
}

constexpr TRefinementKind kKinds[] = {
    Row<TRPCRefinementDataNone, TRPCRefinementNone>(Type::None, "None", 0, nullptr, 0, &MatrixOfNone, &NoneOf),
    Row<TRPCRefinementDataShift, TRPCRefinementShift>(Type::Shift, "Shift", 1, kShiftParameters, 2, &MatrixOfShift,
                                                      &ShiftOf),
    Row<TRPCRefinementDataAffine, TRPCRefinementAffine>(Type::Affine, "Affine", 3, kAllParameters, 6, &MatrixOfAffine,
                                                        &AffineOf),
    Row<TRPCRefinementDataProjective, TRPCRefinementProjective>(Type::Projective, "Projective", 4, kAllParameters, 8,
                                                                &MatrixOfProjective, &ProjectiveOf)};

}  // namespace

TRefinementKinds RefinementKinds() noexcept { return {std::begin(kKinds), std::end(kKinds)}; }

const TRefinementKind* FindRefinementKind(TRPCRefinementTransformType type) noexcept {
  for (const TRefinementKind& kind : RefinementKinds()) {
    if (kind.type == type) return &kind;
  }
  return nullptr;
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
