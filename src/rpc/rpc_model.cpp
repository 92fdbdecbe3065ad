// What a model holds: record, margin, raster and approximation, and what becomes of them when it is set or copied.

#include "rpc/rpc_model.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "frame/zxstd/message.h"

namespace SatCommonUtils {

namespace {

constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();

using TOwned = std::unique_ptr<TLinearNormalization>;

TOwned Own(const TLinearNormalization& axis) { return std::make_unique<TLinearNormalization>(axis); }

}  // namespace

TRPC::TRPC() { Clear(); }  // NOLINT(cppcoreguidelines-pro-type-member-init): all set by the call

TRPC::TRPC(const TRPCData& data) : TRPC(data, nullptr) {}

TRPC::TRPC(const TRPCData& data, const TPolygon* margin) : TRPC() {
  SetRPCData(data);
  if (margin != nullptr && *margin) margin_ = *margin;
}

TRPC::TRPC(const TRPCData* data, const TPolygon* margin) : TRPC(*data, margin) {}

TRPC::TRPC(TZxXIniReader* src) : TRPC() {
  if (!TRPC::InitializeFromXML(src)) throw TZxMessage("TRPC::TRPC(TZxXIniReader *src)");
}

TRPC::TRPC(const TRPC& other) : TRPC() { *this = other; }  // NOLINT(*-init-variables): as in the default constructor

TRPC::~TRPC() = default;

var_a<TRPC*> TRPC::CreateVCopy() const {
  TRPCData data;
  GetRPCData(&data);
  var_a<TRPC*> copy = make_var_a<TRPC>(data, &margin_);
  copy->rasterWidth_ = rasterWidth_;
  copy->rasterHeight_ = rasterHeight_;
  return copy;
}

void TRPC::Reset() { Clear(); }

void TRPC::Clear() noexcept {
  for (TOwned* const normalization : {&line_, &sample_, &latitude_, &longitude_, &height_}) normalization->reset();
  margin_.Clear();
  rasterWidth_ = 0;
  rasterHeight_ = 0;
  hasApproximation_ = false;
  for (double* const group :
       {approximation_.lineNum, approximation_.lineDenom, approximation_.sampleNum, approximation_.sampleDenom}) {
    std::fill_n(group, 4, kNoNumber);
  }
  for (double* const numbers : {lineNumCoef_, lineDenCoef_, sampNumCoef_, sampDenCoef_}) {
    std::fill_n(numbers, kTerms, kNoNumber);
  }
  coefficients_[0] = lineNumCoef_;
  coefficients_[1] = lineDenCoef_;
  coefficients_[2] = sampNumCoef_;
  coefficients_[3] = sampDenCoef_;
  prepared_ = TRPCPrepared();
}

TRPC::TOwnedAxes TRPC::MakeAxes(const TRPCNormalization& normalization) {
  return {Own(normalization.line), Own(normalization.sample), Own(normalization.latitude), Own(normalization.longitude),
          Own(normalization.height)};
}

void TRPC::Install(const TRPCData& data, TOwnedAxes axes) noexcept {
  Clear();
  line_ = std::move(axes.line);
  sample_ = std::move(axes.sample);
  latitude_ = std::move(axes.latitude);
  longitude_ = std::move(axes.longitude);
  height_ = std::move(axes.height);
  std::copy_n(data.lineNumCoef, kTerms, lineNumCoef_);
  std::copy_n(data.lineDenCoef, kTerms, lineDenCoef_);
  std::copy_n(data.sampNumCoef, kTerms, sampNumCoef_);
  std::copy_n(data.sampDenCoef, kTerms, sampDenCoef_);
  prepared_ = TRPCPrepared(data);
}

// What needs memory comes first: when there is none, the model is still what it was.
void TRPC::SetRPCData(const TRPCData& data) { Install(data, MakeAxes(TRPCNormalization(data))); }

void TRPC::GetRPCData(TRPCData* out) const {
  out->Invalidate();
  if (!line_) return;
  double* const polynomials[] = {out->lineNumCoef, out->lineDenCoef, out->sampNumCoef, out->sampDenCoef};
  for (int i = 0; i < 4; ++i) std::copy_n(coefficients_[i], kTerms, polynomials[i]);
  prepared_.normalization.CopyTo(out);
}

TRPC& TRPC::operator=(const TRPC& other) {
  if (this == &other) return *this;
  TPolygon margin = other.margin_;
  if (other.line_) {
    TRPCData data;
    other.GetRPCData(&data);
    SetRPCData(data);
  } else {
    Clear();
  }
  margin_ = std::move(margin);
  rasterWidth_ = other.rasterWidth_;
  rasterHeight_ = other.rasterHeight_;
  const bool built = other.hasApproximation_;  // asked first: another thread may be building it
  if (built) approximation_ = other.approximation_;
  hasApproximation_ = built;
  inverted_.reset();
  return *this;
}

void TRPC::SetMargin(const TPolygon& margin) { margin_ = margin; }

bool TRPC::GetMargin(TPolygon* out) const {
  if (!margin_) return false;
  *out = margin_;
  return true;
}

const TPolygon* TRPC::FindMargin() const { return margin_ ? &margin_ : nullptr; }

bool TRPC::SetRasterDims(int width, int height) {
  if (width < 1 || height < 1) return false;
  rasterWidth_ = width;
  rasterHeight_ = height;
  return true;
}

bool TRPC::GetRasterDims(int* width, int* height) const {
  if (rasterWidth_ < 1 || rasterHeight_ < 1) return false;
  if (width != nullptr && height != nullptr) {
    *width = rasterWidth_;
    *height = rasterHeight_;
  }
  return true;
}

double TRPC::GetCenterLine() const { return prepared_.normalization.line.Normalized2Initial(0.0); }
double TRPC::GetCenterSample() const { return prepared_.normalization.sample.Normalized2Initial(0.0); }
double TRPC::GetCenterLatitude() const { return prepared_.normalization.latitude.Normalized2Initial(0.0); }
double TRPC::GetCenterLongitude() const { return prepared_.normalization.longitude.Normalized2Initial(0.0); }
double TRPC::GetAverageHeight() const { return prepared_.normalization.height.Normalized2Initial(0.0); }
double TRPC::GetMaxLine() const { return prepared_.normalization.line.Normalized2Initial(1.0); }
double TRPC::GetMaxSample() const { return prepared_.normalization.sample.Normalized2Initial(1.0); }
double TRPC::GetMaxLatitude() const { return prepared_.normalization.latitude.Normalized2Initial(1.0); }
double TRPC::GetMaxLongitude() const { return prepared_.normalization.longitude.Normalized2Initial(1.0); }
double TRPC::GetMaxHeight() const { return prepared_.normalization.height.Normalized2Initial(1.0); }
double TRPC::GetMinLine() const { return prepared_.normalization.line.Normalized2Initial(-1.0); }
double TRPC::GetMinSample() const { return prepared_.normalization.sample.Normalized2Initial(-1.0); }
double TRPC::GetMinLatitude() const { return prepared_.normalization.latitude.Normalized2Initial(-1.0); }
double TRPC::GetMinLongitude() const { return prepared_.normalization.longitude.Normalized2Initial(-1.0); }
double TRPC::GetMinHeight() const { return prepared_.normalization.height.Normalized2Initial(-1.0); }

}  // namespace SatCommonUtils
