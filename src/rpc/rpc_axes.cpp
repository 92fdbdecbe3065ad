// The maps of the five axes, and longitudes in the turn that is meant. Elementary.

#include "rpc/rpc_axes.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "frame/zxstd/unset_mark.h"
#include "rpc/longitude_turns.h"
#include "rpc/rpc_fields.h"

namespace SatCommonUtils {

namespace {

TLinearNormalization Axis(double offset, double scale) noexcept {
  return TLinearNormalization::Unchecked(offset, scale);
}

bool IsUsableAxis(const TLinearNormalization& axis) noexcept {
  for (const double number : {axis.GetOffset(), axis.GetScale()}) {
    if (!std::isfinite(number) || number == kUnsetMark) return false;
  }
  return axis.GetScale() != 0.0;
}

}  // namespace

double LongitudeNear(double center, double lon) noexcept { return rpc::LongitudeInTurn(center, lon); }

TRPCNormalization::TRPCNormalization(const TRPCData& record) noexcept
    : line(Axis(record.lineOffset, record.lineScale)),
      sample(Axis(record.sampOffset, record.sampScale)),
      latitude(Axis(record.latOffset, record.latScale)),
      longitude(Axis(record.longOffset, record.longScale)),
      height(Axis(record.heightOffset, record.heightScale)) {}

TRPCNormalization TRPCNormalization::None() noexcept {
  constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();
  TRPCNormalization none;
  none.line = none.sample = none.latitude = none.longitude = none.height = Axis(kNoNumber, kNoNumber);
  return none;
}

TRPCNormalization TRPCNormalization::OfInverse() const noexcept {
  TRPCNormalization inverse = *this;
  std::swap(inverse.line, inverse.latitude);
  std::swap(inverse.sample, inverse.longitude);
  return inverse;
}

void TRPCNormalization::CopyTo(TRPCData* record) const noexcept {
  record->lineOffset = line.GetOffset();
  record->lineScale = line.GetScale();
  record->sampOffset = sample.GetOffset();
  record->sampScale = sample.GetScale();
  record->latOffset = latitude.GetOffset();
  record->latScale = latitude.GetScale();
  record->longOffset = longitude.GetOffset();
  record->longScale = longitude.GetScale();
  record->heightOffset = height.GetOffset();
  record->heightScale = height.GetScale();
}

bool TRPCNormalization::IsUsable() const noexcept {
  return IsUsableAxis(line) && IsUsableAxis(sample) && IsUsableAxis(latitude) && IsUsableAxis(longitude) &&
         IsUsableAxis(height);
}

TNormalizedGroundPoint TRPCNormalization::Normalize(const TGroundPoint& point) const noexcept {
  return {latitude.Initial2Normalized(point.lat),
          longitude.Initial2Normalized(LongitudeNear(longitude.GetOffset(), point.lon)),
          height.Initial2Normalized(point.h)};
}

TNormalizedImagePoint TRPCNormalization::Normalize(const TImagePoint& point) const noexcept {
  return {line.Initial2Normalized(point.line), sample.Initial2Normalized(point.sample)};
}

TGroundPoint TRPCNormalization::Denormalize(const TNormalizedGroundPoint& point) const noexcept {
  return {latitude.Normalized2Initial(point.lat), longitude.Normalized2Initial(point.lon),
          height.Normalized2Initial(point.h)};
}

TImagePoint TRPCNormalization::Denormalize(const TNormalizedImagePoint& point) const noexcept {
  return {line.Normalized2Initial(point.line), sample.Normalized2Initial(point.sample)};
}

}  // namespace SatCommonUtils
