// A model and its refinement as one model. Elementary: the chain rule.

#include "refine/adjusted_rpc.h"

#include <array>
#include <atomic>
#include <memory>
#include <utility>
#include <vector>

#include "frame/zxstd/keyed_fields.h"
#include "frame/zxstd/message.h"
#include "rpc/blocks.h"

namespace SatCommonUtils {
namespace {

constexpr const char* kRefinementSection = "Refinement";
constexpr const char* kCovarianceSection = "RefinementCovariance";

/// Three arrays of derivatives, by latitude, longitude and height: the caller's, or own ones where it gave none.
class TDerivativeArrays {
 public:
  TDerivativeArrays(double* const* given, std::size_t count) {
    if (given != nullptr) {
      arrays_ = {given[0], given[1], given[2]};
      return;
    }
    own_.resize(3 * count);
    for (std::size_t variable = 0; variable < 3; ++variable) arrays_[variable] = own_.data() + variable * count;
  }

  /// The arrays from an index on.
  std::array<double*, 3> From(std::size_t first) const {
    return {arrays_[0] + first, arrays_[1] + first, arrays_[2] + first};
  }

 private:
  std::array<double*, 3> arrays_{};
  std::vector<double> own_;
};

/// From derivatives of raw to those of refined coordinates by the same variable.
void Chain(const double (&by_line)[2], const double (&by_sample)[2], double* d_line, double* d_sample) {
  const double line = *d_line, sample = *d_sample;
  *d_line = by_line[0] * line + by_sample[0] * sample;
  *d_sample = by_line[1] * line + by_sample[1] * sample;
}

}  // namespace

TAdjustedRPC::TAdjustedRPC(const TRPCData* rpc, const TRPCRefinementDataBase* refinement) : TRPC(rpc, nullptr) {
  if (refinement != nullptr) refinement_ = CreateRefinementE(*refinement);
}

TAdjustedRPC::TAdjustedRPC(TZxXIniReader* src) {
  if (!TAdjustedRPC::InitializeFromXML(src)) throw TZxMessage("TAdjustedRPC::TAdjustedRPC(TZxXIniReader *src)");
}

TAdjustedRPC::~TAdjustedRPC() = default;

var_a<TRPC*> TAdjustedRPC::CreateVCopy() const { return make_var_a<TAdjustedRPC>(*this); }

bool TAdjustedRPC::IsAdjusted() const noexcept { return static_cast<bool>(refinement_); }

var_a<TRPCRefinementDataBase*> TAdjustedRPC::GetRPCRefinementData() const {
  return refinement_ ? refinement_->GetRefinementData() : nullptr;
}

var_a<TRPCRefinementBase*> TAdjustedRPC::GetRefinement() const { return refinement_; }

void TAdjustedRPC::CalculateLineSample(const double& lat, const double& lon, const double& h, double* line,
                                       double* sample, double* dLine, double* dSample) const {
  if (!refinement_ || (dLine == nullptr && dSample == nullptr)) {
    TRPC::CalculateLineSample(lat, lon, h, line, sample, dLine, dSample);
    if (refinement_) refinement_->RawToRefined(*line, *sample, line, sample, nullptr, nullptr);
    return;
  }
  double d_line[3], d_sample[3], by_line[2], by_sample[2];
  TRPC::CalculateLineSample(lat, lon, h, line, sample, d_line, d_sample);
  refinement_->RawToRefined(*line, *sample, line, sample, by_line, by_sample);
  for (int variable = 0; variable < 3; ++variable) {
    Chain(by_line, by_sample, &d_line[variable], &d_sample[variable]);
    if (dLine != nullptr) dLine[variable] = d_line[variable];
    if (dSample != nullptr) dSample[variable] = d_sample[variable];
  }
}

bool TAdjustedRPC::CalculateLatLon(const double& line, const double& sample, const double& h, double* lat,
                                   double* lon) const {
  if (!refinement_) return TRPC::CalculateLatLon(line, sample, h, lat, lon);
  double raw_line, raw_sample;
  refinement_->RefinedToRaw(line, sample, &raw_line, &raw_sample, nullptr, nullptr);
  return TRPC::CalculateLatLon(raw_line, raw_sample, h, lat, lon);
}

// Both array operations go block by block: a block stays on the thread that has it, and in its cache.

void TAdjustedRPC::CalculateLineSampleArray(std::size_t count, const double* lat, const double* lon, const double* h,
                                            double* line, double* sample, double* const* dLine,
                                            double* const* dSample) const {
  if (!refinement_) return TRPC::CalculateLineSampleArray(count, lat, lon, h, line, sample, dLine, dSample);
  if (dLine == nullptr && dSample == nullptr) {
    rpc::ForEachBlock(count, [&](std::size_t first, std::size_t last) {
      TRPC::CalculateLineSampleArray(last - first, lat + first, lon + first, h + first, line + first, sample + first,
                                     nullptr, nullptr);
      refinement_->RawToRefinedArray(last - first, line + first, sample + first);
    });
    return;
  }
  const TDerivativeArrays d_line(dLine, count), d_sample(dSample, count);
  rpc::ForEachBlock(count, [&](std::size_t first, std::size_t last) {
    const std::array<double*, 3> by_ground_line = d_line.From(first), by_ground_sample = d_sample.From(first);
    TRPC::CalculateLineSampleArray(last - first, lat + first, lon + first, h + first, line + first, sample + first,
                                   by_ground_line.data(), by_ground_sample.data());
    double by_line[2], by_sample[2];
    for (std::size_t i = first; i < last; ++i) {
      refinement_->RawToRefined(line[i], sample[i], &line[i], &sample[i], by_line, by_sample);
      for (std::size_t v = 0; v < 3; ++v) {
        Chain(by_line, by_sample, &by_ground_line[v][i - first], &by_ground_sample[v][i - first]);
      }
    }
  });
}

std::size_t TAdjustedRPC::CalculateLatLonArray(std::size_t count, const double* line, const double* sample,
                                               const double* h, double* lat, double* lon, TGroundStatus* status) const {
  if (!refinement_) return TRPC::CalculateLatLonArray(count, line, sample, h, lat, lon, status);
  EnsureApproximation();
  // The outputs hold the raw coordinates first, unless the heights lie there.
  std::vector<double> own_heights;
  if (h == lat || h == lon) {
    own_heights.assign(h, h + count);
    h = own_heights.data();
  }
  std::atomic<std::size_t> converged{0};
  rpc::ForEachBlock(count, [&](std::size_t first, std::size_t last) {
    refinement_->RefinedToRawArray(last - first, line + first, sample + first, lat + first, lon + first);
    converged += TRPC::CalculateLatLonArray(last - first, lat + first, lon + first, h + first, lat + first, lon + first,
                                            status == nullptr ? nullptr : status + first);
  });
  return converged;
}

// What needs memory comes first: when there is none, the model is still what it was.
bool TAdjustedRPC::InitializeFromXML(TZxXIniReader* src) {
  var_a<TRPCRefinementBase*> refinement;
  const bool is_adjusted = src != nullptr && HasSection(*src, kRefinementSection);
  if (is_adjusted)
    ReadSection(src, kRefinementSection, [&] {
      refinement = CreateRefinementFromXMLN(src);
      return static_cast<bool>(refinement);
    });
  auto covariance = std::make_shared<TRefinementCovariance>();
  const bool says_covariance = src != nullptr && HasSection(*src, kCovarianceSection);
  if (says_covariance) ReadSection(src, kCovarianceSection, [&] { return covariance->InitializeFromXML(src); });
  const bool has_record = TRPC::InitializeFromXML(src);
  if (!has_record) refinement.reset();
  refinement_.swap(refinement);
  covariance_.reset();
  const bool has_covariance = says_covariance && SetRefinementCovariance(std::move(*covariance));
  return has_record && (!is_adjusted || refinement_) && (!says_covariance || has_covariance);
}

const TRefinementCovariance* TAdjustedRPC::FindRefinementCovariance() const noexcept { return covariance_.get(); }

bool TAdjustedRPC::SetRefinementCovariance(TRefinementCovariance covariance) {
  if (!refinement_ || refinement_->GetType() != covariance.type || !covariance.IsValid()) return false;
  covariance_ = std::make_shared<const TRefinementCovariance>(std::move(covariance));
  return true;
}

bool TAdjustedRPC::SaveToXML(TZxXIniWriter* dst) const {
  if (dst == nullptr || !TRPC::SaveToXML(dst)) return false;
  if (refinement_ && !WriteSection(dst, kRefinementSection, [&] { return refinement_->SaveToXML(dst); })) return false;
  return !covariance_ || WriteSection(dst, kCovarianceSection, [&] { return covariance_->SaveToXML(dst); });
}

}  // namespace SatCommonUtils
