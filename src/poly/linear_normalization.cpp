// The map between a quantity and its normalised value; elementary.

#include "poly/linear_normalization.h"

#include <string>

#include "frame/sat_data_container/string_tree.h"
#include "frame/zxstd/message.h"

namespace SatCommonUtils {

namespace {

// Places of the two numbers under a tag.
constexpr int kOffsetIndex = 0;
constexpr int kScaleIndex = 1;

}  // namespace

TLinearNormalization::TLinearNormalization(const double& offset, const double& scale) {
  if (!Reset(offset, scale)) {
    throw TZxMessage("TLinearNormalization::TLinearNormalization(const double&,const double&)");
  }
}

TLinearNormalization::TLinearNormalization(const double& initial1, const double& initial2, const double& normalized1,
                                           const double& normalized2) {
  if (!Reset(initial1, initial2, normalized1, normalized2)) {
    throw TZxMessage(
        "TLinearNormalization::TLinearNormalization(const double&, const double&, const double&, const double&)");
  }
}

TLinearNormalization::TLinearNormalization(TStringTree* src, int tag) {
  if (!Reset(src, tag)) throw TZxMessage("TLinearNormalization::TLinearNormalization(TStringTree *src, int tag)");
}

TLinearNormalization TLinearNormalization::Unchecked(const double& offset, const double& scale) noexcept {
  TLinearNormalization result;
  result.offset_ = offset;
  result.scale_ = scale;
  return result;
}

double TLinearNormalization::Initial2Normalized(const double& x) const noexcept { return (x - offset_) / scale_; }

double TLinearNormalization::Normalized2Initial(const double& y) const noexcept { return scale_ * y + offset_; }

bool TLinearNormalization::Reset(const double& offset, const double& scale) noexcept {
  if (scale == 0.0) return false;
  *this = Unchecked(offset, scale);
  return true;
}

bool TLinearNormalization::Reset(const double& initial1, const double& initial2, const double& normalized1,
                                 const double& normalized2) noexcept {
  const double d = normalized1 - normalized2;
  const double span = initial1 - initial2;
  if (d == 0.0 || span == 0.0) return false;
  return Reset((initial2 * normalized1 - initial1 * normalized2) / d, span / d);
}

bool TLinearNormalization::Reset(TStringTree* src, int tag) {
  TLinearNormalization read;
  if (src == nullptr || !src->GetDouble(tag, kOffsetIndex, &read.offset_)) return false;
  if (!src->GetDouble(tag, kScaleIndex, &read.scale_)) return false;
  *this = read;
  return true;
}

bool TLinearNormalization::WriteToTree(TStringTree* dst, int tag, const char* prefix) const {
  if (dst == nullptr) return false;
  const std::string start = prefix == nullptr ? std::string() : std::string(prefix) + " ";
  return dst->InsertDouble(start + "offset", tag, kOffsetIndex, offset_) &&
         dst->InsertDouble(start + "scale", tag, kScaleIndex, scale_);
}

}  // namespace SatCommonUtils
