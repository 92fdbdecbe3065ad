// The affine refinement. The inverse comes from the 3 x 3 homogeneous matrix of the map.

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "frame/zxstd/keyed_fields.h"
#include "frame/zxstd/message.h"
#include "linalg/matrix.h"
#include "linalg/vector.h"
#include "refine/refinement.h"
#include "refine/refinement_kinds.h"

namespace SatCommonUtils {
namespace {

/// True when no parameter is unset or not finite.
bool IsUsable(const TRPCRefinementDataAffine& data) {
  std::vector<double> values;
  return data.GetParametersValues(&values) > 0 &&
         std::all_of(values.begin(), values.end(), [](double value) { return std::isfinite(value); });
}

/// True when the determinant of the linear part is nothing but rounding of its two products.
bool IsSingular(const TRPCRefinementDataAffine& data) {
  const double a = data.LineDrift * data.SampleTilt;
  const double b = data.LineTilt * data.SampleDrift;
  return !(std::fabs(a - b) > 4.0 * std::numeric_limits<double>::epsilon() * (std::fabs(a) + std::fabs(b)));
}

bool Invert(const TRPCRefinementDataAffine& data, TRPCRefinementDataAffine* inverse) {
  if (!IsUsable(data) || IsSingular(data)) return false;
  TMatrix map(3, 3);
  map[0] = TVector(data.LineDrift, data.LineTilt, data.LineBias);
  map[1] = TVector(data.SampleDrift, data.SampleTilt, data.SampleBias);
  map[2] = TVector(0.0, 0.0, 1.0);
  const TMatrix back = ~map;
  if (back(2, 2) == 0.0) return false;  // the zero matrix: no inverse
  TRPCRefinementDataAffine result;
  result.LineBias = back(0, 2);
  result.LineDrift = back(0, 0);
  result.LineTilt = back(0, 1);
  result.SampleBias = back(1, 2);
  result.SampleDrift = back(1, 0);
  result.SampleTilt = back(1, 1);
  if (!IsUsable(result)) return false;
  *inverse = result;
  return true;
}

inline double Row(double bias, double drift, double tilt, double line, double sample) {
  return bias + drift * line + tilt * sample;
}

/// The coefficients are copied first, so that the compiler knows that no output changes them.
void MapArray(const TRPCRefinementDataAffine& data, std::size_t count, const double* line, const double* sample,
              double* out_line, double* out_sample) {
  const double lb = data.LineBias, ld = data.LineDrift, lt = data.LineTilt;
  const double sb = data.SampleBias, sd = data.SampleDrift, st = data.SampleTilt;
  for (std::size_t i = 0; i < count; ++i) {
    const double l = line[i], s = sample[i];
    out_line[i] = Row(lb, ld, lt, l, s);
    out_sample[i] = Row(sb, sd, st, l, s);
  }
}

void Map(const TRPCRefinementDataAffine& map, double line, double sample, double* out_line, double* out_sample,
         double* by_line, double* by_sample) {
  *out_line = Row(map.LineBias, map.LineDrift, map.LineTilt, line, sample);
  *out_sample = Row(map.SampleBias, map.SampleDrift, map.SampleTilt, line, sample);
  if (by_line == nullptr || by_sample == nullptr) return;
  by_line[0] = map.LineDrift;
  by_line[1] = map.SampleDrift;
  by_sample[0] = map.LineTilt;
  by_sample[1] = map.SampleTilt;
}

}  // namespace

TRPCRefinementAffine::TRPCRefinementAffine() : TRPCRefinementBase(TRPCRefinementTransformType::Affine) {}

TRPCRefinementAffine::TRPCRefinementAffine(const TRPCRefinementDataAffine& data) : TRPCRefinementAffine() {
  if (!Setup(data)) throw TZxMessage("TRPCRefinementAffine::TRPCRefinementAffine(const TRPCRefinementDataAffine&)");
}

TRPCRefinementAffine::TRPCRefinementAffine(const TRPCRefinementAffine& src)
    : TRPCRefinementBase(src), raw_to_refined_(src.raw_to_refined_), refined_to_raw_(src.refined_to_raw_) {
  if (!*this) throw TZxMessage("TRPCRefinementAffine::TRPCRefinementAffine(const TRPCRefinementAffine&)");
}

bool TRPCRefinementAffine::Setup(const TRPCRefinementDataAffine& data) {
  TRPCRefinementDataAffine inverse;
  if (!Invert(data, &inverse)) return false;
  SetRawToRefined(data);
  SetRefinedToRaw(inverse);
  return true;
}

bool TRPCRefinementAffine::GetRefinementData(TRPCRefinementDataAffine* data) const {
  if (data == nullptr || !*this) return false;
  *data = raw_to_refined_;
  return true;
}

void TRPCRefinementAffine::Reset() {
  raw_to_refined_.Reset();
  refined_to_raw_.Reset();
}

void TRPCRefinementAffine::RawToRefined(const double& line, const double& sample, double* refLine, double* refSample,
                                        double* dByLine, double* dBySample) const {
  Map(raw_to_refined_, line, sample, refLine, refSample, dByLine, dBySample);
}

void TRPCRefinementAffine::RefinedToRaw(const double& line, const double& sample, double* rawLine, double* rawSample,
                                        double* dByLine, double* dBySample) const {
  Map(refined_to_raw_, line, sample, rawLine, rawSample, dByLine, dBySample);
}

var_a<TRPCRefinementDataBase*> TRPCRefinementAffine::GetRefinementData() const { return raw_to_refined_.CreateCopyE(); }

bool TRPCRefinementAffine::InitializeFromXML(TZxXIniReader* src, std::uint64_t version) {
  Reset();
  TRPCRefinementDataAffine data, inverse;
  if (!data.InitializeFromXML(src, version) || !IsUsable(data)) return false;
  const bool is_stored = ReadSection(src, kRefinedToRawSection,
                                     [&] { return inverse.InitializeFromXML(src, version) && IsUsable(inverse); });
  if (!is_stored) return Setup(data);
  SetRawToRefined(data);
  SetRefinedToRaw(inverse);
  return true;
}

bool TRPCRefinementAffine::SaveToXML(TZxXIniWriter* dst) const {
  return TRPCRefinementBase::SaveToXML(dst) &&
         WriteSection(dst, kRawToRefinedSection, [&] { return raw_to_refined_.SaveToXML(dst); }) &&
         WriteSection(dst, kRefinedToRawSection, [&] { return refined_to_raw_.SaveToXML(dst); });
}

bool TRPCRefinementAffine::IsUnity() const { return raw_to_refined_.IsUnity(); }

TRPCRefinementAffine::operator bool() const {
  return static_cast<bool>(raw_to_refined_) && static_cast<bool>(refined_to_raw_);
}

void TRPCRefinementAffine::RawToRefinedArray(std::size_t count, double* line, double* sample) const {
  MapArray(raw_to_refined_, count, line, sample, line, sample);
}

void TRPCRefinementAffine::RefinedToRawArray(std::size_t count, const double* line, const double* sample,
                                             double* rawLine, double* rawSample) const {
  MapArray(refined_to_raw_, count, line, sample, rawLine, rawSample);
}

void TRPCRefinementAffine::SetRawToRefined(const TRPCRefinementDataAffine& data) { raw_to_refined_ = data; }

void TRPCRefinementAffine::SetRefinedToRaw(const TRPCRefinementDataAffine& data) { refined_to_raw_ = data; }

}  // namespace SatCommonUtils
