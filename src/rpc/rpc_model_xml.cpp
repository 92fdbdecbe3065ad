// The XML form of a model: the record, and beside it margin, raster dimensions and approximation where there are any.

#include <string>

#include "frame/zxstd/keyed_fields.h"
#include "frame/zxstd/message.h"
#include "rpc/rpc_model.h"

namespace SatCommonUtils {

namespace {

/// Calls `visit(key, value)` for the 16 numbers of an approximation, given as four groups of four, until it gives
/// false. \return false when it did.
template <class Number, class Visit>
bool VisitApproximation(Number* const (&groups)[4], const Visit& visit) {
  static constexpr const char* kGroups[] = {"LineNum", "LineDenom", "SampleNum", "SampleDenom"};
  static constexpr const char* kNumbers[] = {"LatCoef", "LonCoef", "HCoef", "FreeTerm"};
  for (int group = 0; group < 4; ++group) {
    for (int i = 0; i < 4; ++i) {
      if (!visit(std::string(kGroups[group]) + kNumbers[i], groups[group][i])) return false;
    }
  }
  return true;
}

}  // namespace

bool TRPC::ReadApproximation(TZxXIniReader* src) {
  TApproximation read;
  try {
    VisitApproximation<double>({read.lineNum, read.lineDenom, read.sampleNum, read.sampleDenom},
                               [src](const std::string& key, double& value) {
                                 value = src->ReadKeyE<double>(key);
                                 return true;
                               });
  } catch (const TZxMessage&) {
    return false;
  }
  approximation_ = read;
  hasApproximation_ = true;
  return true;
}

bool TRPC::WriteApproximation(TZxXIniWriter* dst) const {
  const TApproximation& a = approximation_;
  return VisitApproximation<const double>(
      {a.lineNum, a.lineDenom, a.sampleNum, a.sampleDenom},
      [dst](const std::string& key, double value) { return dst->WriteS<double>(key, value); });
}

bool TRPC::InitializeFromXML(TZxXIniReader* src) {
  TRPCData data;
  if (!data.InitializeFromXML(src)) return false;
  SetRPCData(data);
  if (TZxXIniSection section(src, "Margin"); section && !margin_.InitializeFromXML(src)) return false;
  rasterWidth_ = src->ReadKey<int>("RasterWidth", 0);
  rasterHeight_ = src->ReadKey<int>("RasterHeight", 0);
  if (const TZxXIniSection section(src, "Approximation"); section) return ReadApproximation(src);
  return true;
}

bool TRPC::SaveToXML(TZxXIniWriter* dst) const {
  TRPCData data;
  GetRPCData(&data);
  if (!data.SaveToXML(dst)) return false;
  if (margin_ && !WriteSection(dst, "Margin", [&] { return margin_.SaveToXML(dst); })) return false;
  if (rasterWidth_ > 0 && rasterHeight_ > 0) {
    if (!dst->WriteS<int>("RasterWidth", rasterWidth_) || !dst->WriteS<int>("RasterHeight", rasterHeight_))
      return false;
  }
  return !hasApproximation_ || WriteSection(dst, "Approximation", [&] { return WriteApproximation(dst); });
}

}  // namespace SatCommonUtils
