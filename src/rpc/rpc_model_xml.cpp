// The XML form of a model: the record, and beside it margin, raster dimensions and approximation where there are any.

#include <string>
#include <utility>

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

bool TRPC::ReadApproximation(TZxXIniReader* src, TApproximation* read) {
  try {
    VisitApproximation<double>({read->lineNum, read->lineDenom, read->sampleNum, read->sampleDenom},
                               [src](const std::string& key, double& value) {
                                 value = src->ReadKeyE<double>(key);
                                 return true;
                               });
  } catch (const TZxMessage&) {
    return false;
  }
  return true;
}

bool TRPC::WriteApproximation(TZxXIniWriter* dst) const {
  const TApproximation& a = approximation_;
  return VisitApproximation<const double>(
      {a.lineNum, a.lineDenom, a.sampleNum, a.sampleDenom},
      [dst](const std::string& key, double value) { return dst->WriteS<double>(key, value); });
}

// All is read before anything is replaced.
bool TRPC::InitializeFromXML(TZxXIniReader* src) {
  TRPCData data;
  if (src == nullptr || !data.InitializeFromXML(src)) return false;
  TPolygon margin;
  bool good = true;
  if (const TZxXIniSection section(src, "Margin"); section) good = margin.InitializeFromXML(src);
  int width = 0;
  int height = 0;
  TApproximation approximation;
  bool approximated = false;
  if (good) {
    width = src->ReadKey<int>("RasterWidth", 0);
    height = src->ReadKey<int>("RasterHeight", 0);
    if (const TZxXIniSection section(src, "Approximation"); section) {
      good = approximated = ReadApproximation(src, &approximation);
    }
  }
  SetRPCData(data);
  margin_ = std::move(margin);
  rasterWidth_ = width;
  rasterHeight_ = height;
  if (approximated) approximation_ = approximation;
  hasApproximation_ = approximated;
  return good;
}

bool TRPC::SaveToXML(TZxXIniWriter* dst) const {
  if (dst == nullptr) return false;
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
