// The projective refinement: the plane transform of the support layer with x the line and y the sample.

#include "frame/zxstd/keyed_fields.h"
#include "frame/zxstd/message.h"
#include "frame/zxstd/unset_mark.h"
#include "frame/zxstd/xy.h"
#include "refine/refinement.h"
#include "refine/refinement_kinds.h"

namespace SatCommonUtils {
namespace {

void Put(const xy_d& point, const xy_d& by_x, const xy_d& by_y, double* line, double* sample, double* by_line,
         double* by_sample) {
  *line = point.x;
  *sample = point.y;
  if (by_line == nullptr || by_sample == nullptr) return;
  by_line[0] = by_x.x;
  by_line[1] = by_x.y;
  by_sample[0] = by_y.x;
  by_sample[1] = by_y.y;
}

}  // namespace

TRPCRefinementProjective::TRPCRefinementProjective() : TRPCRefinementBase(TRPCRefinementTransformType::Projective) {
  TRPCRefinementProjective::Reset();
}

TRPCRefinementProjective::TRPCRefinementProjective(const TRPCRefinementDataProjective& data)
    : TRPCRefinementProjective() {
  if (!Setup(data)) {
    throw TZxMessage("TRPCRefinementProjective::TRPCRefinementProjective(const TRPCRefinementDataProjective&)");
  }
}

bool TRPCRefinementProjective::Setup(const TRPCRefinementDataProjective& data) {
  const auto transform = make_var_a<TProjectiveTransform>(data.matr);
  if (!transform->IsInvertible()) return false;
  data_ = data;
  transform_ = transform;
  return true;
}

TRPCRefinementDataProjective TRPCRefinementProjective::RefinementData() const { return data_; }

void TRPCRefinementProjective::Reset() {
  TRPCRefinementDataProjective unset;
  for (double(&row)[3] : unset.matr.m) {
    for (double& element : row) element = kUnsetMark;
  }
  // What may want for memory comes first: the two stay one map.
  transform_ = make_var_a<TProjectiveTransform>(unset.matr);
  data_ = unset;
}

void TRPCRefinementProjective::RawToRefined(const double& line, const double& sample, double* refLine,
                                            double* refSample, double* dByLine, double* dBySample) const {
  xy_d by_x, by_y;
  const xy_d refined = transform_->GetTraCoordDeriv(xy_d(line, sample), &by_x, &by_y);
  Put(refined, by_x, by_y, refLine, refSample, dByLine, dBySample);
}

void TRPCRefinementProjective::RefinedToRaw(const double& line, const double& sample, double* rawLine,
                                            double* rawSample, double* dByLine, double* dBySample) const {
  xy_d by_x, by_y;
  const xy_d raw = transform_->GetInverseTraCoordDeriv(xy_d(line, sample), &by_x, &by_y);
  Put(raw, by_x, by_y, rawLine, rawSample, dByLine, dBySample);
}

var_a<TRPCRefinementDataBase*> TRPCRefinementProjective::GetRefinementData() const { return data_.CreateCopyE(); }

bool TRPCRefinementProjective::InitializeFromXML(TZxXIniReader* src, std::uint64_t version) {
  Reset();
  TRPCRefinementDataProjective data;
  return data.InitializeFromXML(src, version) && Setup(data);
}

bool TRPCRefinementProjective::SaveToXML(TZxXIniWriter* dst) const {
  return TRPCRefinementBase::SaveToXML(dst) &&
         WriteSection(dst, kProjectiveSection, [&] { return data_.SaveToXML(dst); });
}

bool TRPCRefinementProjective::IsUnity() const { return data_.IsUnity(); }

TRPCRefinementProjective::operator bool() const { return transform_->IsInvertible(); }

}  // namespace SatCommonUtils
