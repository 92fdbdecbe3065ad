// The transforms that only shift, and the factories of all kinds.

#include "refine/refinement.h"

#include "frame/zxstd/unset_mark.h"
#include "refine/refinement_kinds.h"

namespace SatCommonUtils {
namespace {

/// The derivatives of a map that only shifts.
void SetUnitDerivatives(double* by_line, double* by_sample) {
  if (by_line == nullptr || by_sample == nullptr) return;
  by_line[0] = by_sample[1] = 1.0;
  by_line[1] = by_sample[0] = 0.0;
}

void Shift(double line, double sample, double* out_line, double* out_sample, double* by_line, double* by_sample) {
  *out_line = line;
  *out_sample = sample;
  SetUnitDerivatives(by_line, by_sample);
}

var_a<TRPCRefinementBase*> CreateFromRecord(const TRPCRefinementDataBase& src) {
  const TRefinementKind* const kind = FindRefinementKind(src.type);
  return kind == nullptr ? nullptr : kind->transformOf(src);
}

var_a<TRPCRefinementBase*> CreateCopy(const TRPCRefinementBase& src) {
  const TRefinementKind* const kind = FindRefinementKind(src.GetType());
  return kind == nullptr ? nullptr : kind->copyOf(src);
}

}  // namespace

TRPCRefinementBase::~TRPCRefinementBase() = default;

void TRPCRefinementBase::Reset() {}

bool TRPCRefinementBase::SaveToXML(TZxXIniWriter* dst) const { return SaveRefinementKeys(dst, type_); }

TRPCRefinementBase::operator bool() const { return FindRefinementKind(type_) != nullptr; }

void TRPCRefinementBase::RawToRefinedArray(std::size_t count, double* line, double* sample) const {
  for (std::size_t i = 0; i < count; ++i) RawToRefined(line[i], sample[i], &line[i], &sample[i], nullptr, nullptr);
}

void TRPCRefinementBase::RefinedToRawArray(std::size_t count, const double* line, const double* sample, double* rawLine,
                                           double* rawSample) const {
  for (std::size_t i = 0; i < count; ++i) {
    RefinedToRaw(line[i], sample[i], &rawLine[i], &rawSample[i], nullptr, nullptr);
  }
}

TRPCRefinementNone::TRPCRefinementNone() : TRPCRefinementBase(TRPCRefinementTransformType::None) {}

TRPCRefinementNone::TRPCRefinementNone(const TRPCRefinementDataNone& data) : TRPCRefinementNone() { Setup(data); }

bool TRPCRefinementNone::Setup(const TRPCRefinementDataNone& /*data*/) { return true; }

void TRPCRefinementNone::RawToRefined(const double& line, const double& sample, double* refLine, double* refSample,
                                      double* dByLine, double* dBySample) const {
  Shift(line, sample, refLine, refSample, dByLine, dBySample);
}

void TRPCRefinementNone::RefinedToRaw(const double& line, const double& sample, double* rawLine, double* rawSample,
                                      double* dByLine, double* dBySample) const {
  Shift(line, sample, rawLine, rawSample, dByLine, dBySample);
}

var_a<TRPCRefinementDataBase*> TRPCRefinementNone::GetRefinementData() const {
  return make_var_a<TRPCRefinementDataNone>();
}

bool TRPCRefinementNone::InitializeFromXML(TZxXIniReader* src, std::uint64_t /*version*/) { return src != nullptr; }

bool TRPCRefinementNone::IsUnity() const { return true; }

TRPCRefinementShift::TRPCRefinementShift() : TRPCRefinementBase(TRPCRefinementTransformType::Shift) {
  TRPCRefinementShift::Reset();
}

TRPCRefinementShift::TRPCRefinementShift(const TRPCRefinementDataShift& data) : TRPCRefinementShift() { Setup(data); }

bool TRPCRefinementShift::Setup(const TRPCRefinementDataShift& data) {
  data_ = data;
  return true;
}

TRPCRefinementDataShift TRPCRefinementShift::RefinementData() const { return data_; }

void TRPCRefinementShift::Reset() { data_.d_line = data_.d_sample = kUnsetMark; }

void TRPCRefinementShift::RawToRefined(const double& line, const double& sample, double* refLine, double* refSample,
                                       double* dByLine, double* dBySample) const {
  Shift(line + data_.d_line, sample + data_.d_sample, refLine, refSample, dByLine, dBySample);
}

void TRPCRefinementShift::RefinedToRaw(const double& line, const double& sample, double* rawLine, double* rawSample,
                                       double* dByLine, double* dBySample) const {
  Shift(line - data_.d_line, sample - data_.d_sample, rawLine, rawSample, dByLine, dBySample);
}

var_a<TRPCRefinementDataBase*> TRPCRefinementShift::GetRefinementData() const { return data_.CreateCopyE(); }

bool TRPCRefinementShift::InitializeFromXML(TZxXIniReader* src, std::uint64_t version) {
  Reset();
  TRPCRefinementDataShift data;
  return data.InitializeFromXML(src, version) && Setup(data);
}

bool TRPCRefinementShift::SaveToXML(TZxXIniWriter* dst) const { return data_.SaveToXML(dst); }

bool TRPCRefinementShift::IsUnity() const { return data_.IsUnity(); }

TRPCRefinementShift::operator bool() const { return data_.d_line != kUnsetMark && data_.d_sample != kUnsetMark; }

var_a<TRPCRefinementBase*> CreateRefinementE(TRPCRefinementTransformType type) {
  return CreateOrThrow("var_a<TRPCRefinementBase*> CreateRefinementE(TRPCRefinementType::TType type)", [type] {
    const TRefinementKind* const kind = FindRefinementKind(type);
    return kind == nullptr ? nullptr : kind->newTransform();
  });
}

var_a<TRPCRefinementBase*> CreateRefinementN(TRPCRefinementTransformType type) {
  return CreateOrEmpty([type] { return CreateRefinementE(type); });
}

var_a<TRPCRefinementBase*> CreateRefinementE(const TRPCRefinementDataBase& src) {
  return CreateOrThrow("var_a<TRPCRefinementBase*> CreateRefinementE(const TRPCRefinementDataBase& src)",
                       [&src] { return CreateFromRecord(src); });
}

var_a<TRPCRefinementBase*> CreateRefinementN(const TRPCRefinementDataBase& src) {
  return CreateOrEmpty([&src] { return CreateRefinementE(src); });
}

var_a<TRPCRefinementBase*> CreateRefinementCopyE(const TRPCRefinementBase& src) {
  return CreateOrThrow("var_a<TRPCRefinementBase*> CreateRefinementCopyE(const TRPCRefinementBase& src)",
                       [&src] { return CreateCopy(src); });
}

var_a<TRPCRefinementBase*> CreateRefinementCopyN(const TRPCRefinementBase& src) {
  return CreateOrEmpty([&src] { return CreateRefinementCopyE(src); });
}

var_a<TRPCRefinementBase*> CreateRefinementFromXMLE(TZxXIniReader* from_xml) {
  return CreateOrThrow("var_a<TRPCRefinementBase*> CreateRefinementFromXMLE(TZxXIniReader* from_xml)", [from_xml] {
    var_a<TRPCRefinementBase*> refinement = CreateRefinementE(*CreateRefinementDataFromXMLE(from_xml));
    // What a transform has stored beside its record, too.
    if (!refinement->InitializeFromXML(from_xml, ReadRefinementVersion(from_xml))) refinement.reset();
    return refinement;
  });
}

var_a<TRPCRefinementBase*> CreateRefinementFromXMLN(TZxXIniReader* from_xml) {
  return CreateOrEmpty([from_xml] { return CreateRefinementFromXMLE(from_xml); });
}

}  // namespace SatCommonUtils
