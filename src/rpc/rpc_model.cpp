#include "rpc/rpc_model.h"

#include <algorithm>
#include <limits>

#include "frame/zxstd/message.h"

namespace SatCommonUtils {

namespace {

constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();

using TOwned = std::unique_ptr<TLinearNormalization>;

TOwned MakeNormalization(double offset, double scale) {
  return std::make_unique<TLinearNormalization>(TLinearNormalization::Unchecked(offset, scale));
}

TOwned Clone(const TOwned& source) { return source ? std::make_unique<TLinearNormalization>(*source) : nullptr; }

double Denormalized(const TOwned& normalization, double value) {
  return normalization ? normalization->Normalized2Initial(value) : kNoNumber;
}

}  // namespace

TRPC::TRPC() { Reset(); }  // NOLINT(cppcoreguidelines-pro-type-member-init): all set by the call

TRPC::TRPC(const TRPCData& data, const TPolygon* margin) : TRPC() {
  SetRPCData(data);
  if (margin != nullptr && *margin) margin_ = *margin;
}

TRPC::TRPC(const TRPCData* data, const TPolygon* margin) : TRPC(*data, margin) {}

TRPC::TRPC(TZxXIniReader* src) : TRPC() {
  if (!TRPC::InitializeFromXML(src)) throw TZxMessage("TRPC::TRPC(TZxXIniReader *src)");
}

TRPC::TRPC(const TRPC& other) : TRPC() { CopyFrom(other); }

TRPC& TRPC::operator=(const TRPC& other) {
  if (this != &other) CopyFrom(other);
  return *this;
}

TRPC::~TRPC() = default;

var_a<TRPC*> TRPC::CreateVCopy() const {
  TRPCData data;
  GetRPCData(&data);
  var_a<TRPC*> copy = make_var_a<TRPC>(data, &margin_);
  copy->rasterWidth_ = rasterWidth_;
  copy->rasterHeight_ = rasterHeight_;
  return copy;
}

void TRPC::Reset() {
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
  PrepareEvaluation();
}

void TRPC::SetRPCData(const TRPCData& data) {
  Reset();
  line_ = MakeNormalization(data.lineOffset, data.lineScale);
  sample_ = MakeNormalization(data.sampOffset, data.sampScale);
  latitude_ = MakeNormalization(data.latOffset, data.latScale);
  longitude_ = MakeNormalization(data.longOffset, data.longScale);
  height_ = MakeNormalization(data.heightOffset, data.heightScale);
  std::copy_n(data.lineNumCoef, kTerms, lineNumCoef_);
  std::copy_n(data.lineDenCoef, kTerms, lineDenCoef_);
  std::copy_n(data.sampNumCoef, kTerms, sampNumCoef_);
  std::copy_n(data.sampDenCoef, kTerms, sampDenCoef_);
  PrepareEvaluation();
}

void TRPC::GetRPCData(TRPCData* out) const {
  out->Invalidate();
  if (!line_) return;
  std::copy_n(lineNumCoef_, kTerms, out->lineNumCoef);
  std::copy_n(lineDenCoef_, kTerms, out->lineDenCoef);
  std::copy_n(sampNumCoef_, kTerms, out->sampNumCoef);
  std::copy_n(sampDenCoef_, kTerms, out->sampDenCoef);
  out->lineOffset = line_->GetOffset();
  out->lineScale = line_->GetScale();
  out->sampOffset = sample_->GetOffset();
  out->sampScale = sample_->GetScale();
  out->latOffset = latitude_->GetOffset();
  out->latScale = latitude_->GetScale();
  out->longOffset = longitude_->GetOffset();
  out->longScale = longitude_->GetScale();
  out->heightOffset = height_->GetOffset();
  out->heightScale = height_->GetScale();
}

void TRPC::CopyFrom(const TRPC& other) {
  line_ = Clone(other.line_);
  sample_ = Clone(other.sample_);
  latitude_ = Clone(other.latitude_);
  longitude_ = Clone(other.longitude_);
  height_ = Clone(other.height_);
  std::copy_n(other.lineNumCoef_, kTerms, lineNumCoef_);
  std::copy_n(other.lineDenCoef_, kTerms, lineDenCoef_);
  std::copy_n(other.sampNumCoef_, kTerms, sampNumCoef_);
  std::copy_n(other.sampDenCoef_, kTerms, sampDenCoef_);
  margin_ = other.margin_;
  rasterWidth_ = other.rasterWidth_;
  rasterHeight_ = other.rasterHeight_;
  const bool built = other.hasApproximation_;  // asked first: another thread may be building it
  if (built) approximation_ = other.approximation_;
  hasApproximation_ = built;
  inverted_.reset();
  PrepareEvaluation();
}

void TRPC::PrepareEvaluation() {
  coefficients_[0] = lineNumCoef_;
  coefficients_[1] = lineDenCoef_;
  coefficients_[2] = sampNumCoef_;
  coefficients_[3] = sampDenCoef_;
  for (std::size_t k = 0; k < kTerms; ++k) {
    for (std::size_t p = 0; p < 4; ++p) evaluation_.terms[k][p] = coefficients_[p][k];
  }
  const TLinearNormalization* const owned[] = {line_.get(), sample_.get(), latitude_.get(), longitude_.get(),
                                               height_.get()};
  for (std::size_t i = 0; i < 5; ++i) {
    evaluation_.offset[i] = owned[i] == nullptr ? kNoNumber : owned[i]->GetOffset();
    evaluation_.scale[i] = owned[i] == nullptr ? kNoNumber : owned[i]->GetScale();
  }
}

void TRPC::SetMargin(const TPolygon& margin) { margin_ = margin; }

bool TRPC::GetMargin(TPolygon* out) const {
  if (!margin_) return false;
  *out = margin_;
  return true;
}

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

double TRPC::GetCenterLine() const { return Denormalized(line_, 0.0); }
double TRPC::GetCenterSample() const { return Denormalized(sample_, 0.0); }
double TRPC::GetCenterLatitude() const { return Denormalized(latitude_, 0.0); }
double TRPC::GetCenterLongitude() const { return Denormalized(longitude_, 0.0); }
double TRPC::GetAverageHeight() const { return Denormalized(height_, 0.0); }
double TRPC::GetMaxLine() const { return Denormalized(line_, 1.0); }
double TRPC::GetMaxSample() const { return Denormalized(sample_, 1.0); }
double TRPC::GetMaxLatitude() const { return Denormalized(latitude_, 1.0); }
double TRPC::GetMaxLongitude() const { return Denormalized(longitude_, 1.0); }
double TRPC::GetMaxHeight() const { return Denormalized(height_, 1.0); }
double TRPC::GetMinLine() const { return Denormalized(line_, -1.0); }
double TRPC::GetMinSample() const { return Denormalized(sample_, -1.0); }
double TRPC::GetMinLatitude() const { return Denormalized(latitude_, -1.0); }
double TRPC::GetMinLongitude() const { return Denormalized(longitude_, -1.0); }
double TRPC::GetMinHeight() const { return Denormalized(height_, -1.0); }

}  // namespace SatCommonUtils
