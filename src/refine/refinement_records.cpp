// The four records behind refinement_data.h.

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "frame/zxstd/debug_output.h"
#include "frame/zxstd/keyed_fields.h"
#include "frame/zxstd/text.h"
#include "frame/zxstd/unset_mark.h"
#include "refine/refinement_data.h"
#include "refine/refinement_kinds.h"

namespace SatCommonUtils {
namespace {

using Shift = TRPCRefinementDataShift;
using Affine = TRPCRefinementDataAffine;
using Type = TRPCRefinementTransformType;

constexpr TKeyedField<Shift> kShiftFields[] = {{"d_sample", &Shift::d_sample}, {"d_line", &Shift::d_line}};
/// In the order in which the values are given out.
constexpr TKeyedField<Shift> kShiftValues[] = {kShiftFields[1], kShiftFields[0]};

constexpr TKeyedField<Affine> kAffineFields[] = {
    {"LineBias", &Affine::LineBias},     {"LineDrift", &Affine::LineDrift},     {"LineTilt", &Affine::LineTilt},
    {"SampleBias", &Affine::SampleBias}, {"SampleDrift", &Affine::SampleDrift}, {"SampleTilt", &Affine::SampleTilt}};
/// In the order in which the values are given out.
constexpr TKeyedField<Affine> kAffineValues[] = {kAffineFields[1], kAffineFields[2], kAffineFields[0],
                                                 kAffineFields[4], kAffineFields[5], kAffineFields[3]};

constexpr const char* kMatrixKey = "matr";

template <class Fields>
std::vector<std::string> NamesOf(const Fields& fields) {
  std::vector<std::string> names;
  for (const auto& field : fields) names.emplace_back(field.key);
  return names;
}

template <class Fields, class Record>
void Append(const Fields& fields, const Record& record, std::vector<double>* values) {
  for (const auto& field : fields) values->push_back(record.*field.field);
}

bool AllSet(const Affine& record) {
  return std::all_of(std::begin(kAffineFields), std::end(kAffineFields),
                     [&record](auto& field) { return record.*field.field != kUnsetMark; });
}

void PrintRule() { ZxPrintDbgMsg(std::string(43, '-')); }

template <class Record>
void PrintField(const TKeyedField<Record>& field, const Record& record) {
  ZxPrintDbgMsg(Zentarix::ssprintf("%s %lg", field.key, record.*field.field));
}

}  // namespace

TRPCRefinementDataNone::TRPCRefinementDataNone() : TRPCRefinementDataBase(Type::None) {}

void TRPCRefinementDataNone::InitializeUnity() {}

void TRPCRefinementDataNone::Reset() {}

bool TRPCRefinementDataNone::InitializeFromXML(TZxXIniReader* src, std::uint64_t /*version*/) { return src != nullptr; }

var_a<TRPCRefinementDataBase*> TRPCRefinementDataNone::CreateCopyE() const {
  return make_var_a<TRPCRefinementDataNone>(*this);
}

TRPCRefinementDataNone::operator bool() const { return true; }

bool TRPCRefinementDataNone::IsUnity() const { return true; }

std::vector<std::string> TRPCRefinementDataNone::GetParametersNames() const { return {}; }

void TRPCRefinementDataNone::AppendParameters(std::vector<double>* /*values*/) const {}

TRPCRefinementDataShift::TRPCRefinementDataShift() : TRPCRefinementDataBase(Type::Shift) {}

void TRPCRefinementDataShift::InitializeUnity() { d_sample = d_line = 0.0; }

void TRPCRefinementDataShift::Reset() { TRPCRefinementDataShift::InitializeUnity(); }

bool TRPCRefinementDataShift::InitializeFromXML(TZxXIniReader* src, std::uint64_t /*version*/) {
  Reset();
  return src != nullptr && LoadPresentFields(src, kShiftFields, this);
}

bool TRPCRefinementDataShift::SaveToXML(TZxXIniWriter* dst) const {
  return TRPCRefinementDataBase::SaveToXML(dst) && SaveFields(dst, kShiftFields, *this);
}

var_a<TRPCRefinementDataBase*> TRPCRefinementDataShift::CreateCopyE() const {
  return make_var_a<TRPCRefinementDataShift>(*this);
}

TRPCRefinementDataShift::operator bool() const { return true; }

bool TRPCRefinementDataShift::IsUnity() const { return d_sample == 0.0 && d_line == 0.0; }

void TRPCRefinementDataShift::DebugOutput() const {
  PrintRule();
  for (const auto& field : kShiftFields) PrintField(field, *this);
  PrintRule();
}

std::vector<std::string> TRPCRefinementDataShift::GetParametersNames() const { return NamesOf(kShiftValues); }

void TRPCRefinementDataShift::AppendParameters(std::vector<double>* values) const {
  Append(kShiftValues, *this, values);
}

TRPCRefinementDataAffine::TRPCRefinementDataAffine() : TRPCRefinementDataBase(Type::Affine) {
  TRPCRefinementDataAffine::Reset();
}

void TRPCRefinementDataAffine::InitializeUnity() {
  LineBias = LineTilt = SampleBias = SampleDrift = 0.0;
  LineDrift = SampleTilt = 1.0;
}

void TRPCRefinementDataAffine::Reset() {
  for (const auto& field : kAffineFields) this->*field.field = kUnsetMark;
}

bool TRPCRefinementDataAffine::InitializeFromXML(TZxXIniReader* src, std::uint64_t /*version*/) {
  Reset();
  if (src == nullptr) return false;
  const auto read = [this, src] { return LoadPresentFields(src, kAffineFields, this) && AllSet(*this); };
  if (!HasSection(*src, kRawToRefinedSection)) return read();
  return ReadSection(src, kRawToRefinedSection, read);
}

bool TRPCRefinementDataAffine::SaveToXML(TZxXIniWriter* dst) const {
  return TRPCRefinementDataBase::SaveToXML(dst) && SaveFields(dst, kAffineFields, *this);
}

var_a<TRPCRefinementDataBase*> TRPCRefinementDataAffine::CreateCopyE() const {
  return make_var_a<TRPCRefinementDataAffine>(*this);
}

TRPCRefinementDataAffine::operator bool() const { return type == Type::Affine && AllSet(*this); }

bool TRPCRefinementDataAffine::IsUnity() const {
  TRPCRefinementDataAffine unity;
  unity.InitializeUnity();
  return std::all_of(std::begin(kAffineFields), std::end(kAffineFields),
                     [&](auto& field) { return this->*field.field == unity.*field.field; });
}

void TRPCRefinementDataAffine::DebugOutput() const {
  PrintRule();
  for (std::size_t i = 0; i < std::size(kAffineFields); ++i) {
    if (i == 3) ZxPrintDbgMsg("- - - - - - - - - - - - - - - - - - - - - -");
    PrintField(kAffineFields[i], *this);
  }
  PrintRule();
}

std::vector<std::string> TRPCRefinementDataAffine::GetParametersNames() const { return NamesOf(kAffineValues); }

void TRPCRefinementDataAffine::AppendParameters(std::vector<double>* values) const {
  Append(kAffineValues, *this, values);
}

TRPCRefinementDataProjective::TRPCRefinementDataProjective() : TRPCRefinementDataBase(Type::Projective) {
  TRPCRefinementDataProjective::Reset();
}

void TRPCRefinementDataProjective::InitializeUnity() { matr.fill_unity(); }

void TRPCRefinementDataProjective::Reset() { TRPCRefinementDataProjective::InitializeUnity(); }

bool TRPCRefinementDataProjective::InitializeFromXML(TZxXIniReader* src, std::uint64_t /*version*/) {
  Reset();
  if (src == nullptr) return false;
  const auto read = [this, src] {
    try {
      matr.XIniLoadE(src, kMatrixKey);
      return true;
    } catch (const TZxMessage&) {
      return false;
    }
  };
  if (!HasSection(*src, kProjectiveSection)) return read();
  return ReadSection(src, kProjectiveSection, read);
}

bool TRPCRefinementDataProjective::SaveToXML(TZxXIniWriter* dst) const {
  if (!TRPCRefinementDataBase::SaveToXML(dst)) return false;
  try {
    matr.XIniSaveE(dst, kMatrixKey);
    return true;
  } catch (const TZxMessage&) {
    return false;
  }
}

var_a<TRPCRefinementDataBase*> TRPCRefinementDataProjective::CreateCopyE() const {
  return make_var_a<TRPCRefinementDataProjective>(*this);
}

TRPCRefinementDataProjective::operator bool() const { return true; }

bool TRPCRefinementDataProjective::IsUnity() const {
  for (std::size_t row = 0; row < 3; ++row) {
    for (std::size_t column = 0; column < 3; ++column) {
      if (matr[row][column] != (row == column ? matr[2][2] : 0.0)) return false;
    }
  }
  return true;
}

void TRPCRefinementDataProjective::DebugOutput() const {
  PrintRule();
  for (std::size_t row = 0; row < 3; ++row) {
    for (std::size_t column = 0; column < 3; ++column) {
      ZxPrintDbgMsg(Zentarix::ssprintf("m[%zu][%zu] %lg", row, column, matr[row][column]));
    }
  }
  PrintRule();
}

std::vector<std::string> TRPCRefinementDataProjective::GetParametersNames() const {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < 9; ++i) names.push_back(Zentarix::ssprintf("m[%zu][%zu]", i / 3, i % 3));
  return names;
}

void TRPCRefinementDataProjective::AppendParameters(std::vector<double>* values) const {
  for (std::size_t row = 0; row < 3; ++row) values->insert(values->end(), matr[row], matr[row] + 3);
}

}  // namespace SatCommonUtils
