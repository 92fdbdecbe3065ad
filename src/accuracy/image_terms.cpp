// Derivatives of images in metres, and sums of covariances; elementary.

#include "accuracy/image_terms.h"

#include <cmath>
#include <limits>

#include "refine/adjusted_rpc.h"

namespace SatCommonUtils::accuracy {

TErringImage::TErringImage(const TRPC& model, const TImageErrors& errors) : model_(model), errors_(errors) {
  good_ = IsSigma(errors.sigma) && IsSigma(errors.bias) && IsSigma(errors.random);
  if (!errors.refinement) return;
  const auto* const adjusted = dynamic_cast<const TAdjustedRPC*>(&model);
  refinement_ = adjusted != nullptr ? adjusted->GetRefinement() : nullptr;
  good_ = good_ && refinement_ && refinement_->GetType() == errors.refinement->type && errors.refinement->IsValid();
  if (good_) propagation_.emplace(*refinement_->GetRefinementData(), *errors.refinement);
}

void TErringImage::Evaluate(const TGroundBlock& block, TImageTerms* terms) const {
  double line[rpc::kLaneBlock], sample[rpc::kLaneBlock];
  double derivatives[6][rpc::kLaneBlock];
  double* const by_line[] = {derivatives[0], derivatives[1], derivatives[2]};
  double* const by_sample[] = {derivatives[3], derivatives[4], derivatives[5]};
  model_.CalculateLineSampleArray(block.count, block.lat, block.lon, block.h, line, sample, by_line, by_sample);
  for (std::size_t i = 0; i < block.count; ++i) {
    TImageTerms& at = terms[i];
    for (std::size_t axis = 0; axis < 2; ++axis) {
      at.by_north[axis] = derivatives[3 * axis][i] / block.scale[i].north;
      at.by_east[axis] = derivatives[3 * axis + 1][i] / block.scale[i].east;
      at.by_up[axis] = derivatives[3 * axis + 2][i];
    }
    at.refinement = TImageCovariance();
    if (!propagation_) continue;
    double raw[2];
    refinement_->RefinedToRaw(line[i], sample[i], &raw[0], &raw[1], nullptr, nullptr);
    at.refinement = propagation_->At(raw[0], raw[1]);
  }
}

void AddStep(const TGroundStep& step, double factor, TGroundStep* sum) noexcept {
  sum->east += factor * step.east;
  sum->north += factor * step.north;
  sum->up += factor * step.up;
}

void AddError(const TGroundStep& step, double variance, TGroundCovariance* sum) noexcept {
  sum->eastEast += variance * step.east * step.east;
  sum->eastNorth += variance * step.east * step.north;
  sum->eastUp += variance * step.east * step.up;
  sum->northNorth += variance * step.north * step.north;
  sum->northUp += variance * step.north * step.up;
  sum->upUp += variance * step.up * step.up;
}

void AddImageError(const TGroundGain& gain, const TImageCovariance& covariance, TGroundCovariance* sum) noexcept {
  // Both terms of a covariance c are those of the sum and the difference: c (a + b)(a + b)' / 2 - c (a - b)(a - b)'
  // / 2.
  AddError(gain.line, covariance.lineLine, sum);
  AddError(gain.sample, covariance.sampleSample, sum);
  TGroundStep both = gain.line;
  TGroundStep apart = gain.line;
  AddStep(gain.sample, 1.0, &both);
  AddStep(gain.sample, -1.0, &apart);
  AddError(both, 0.5 * covariance.lineSample, sum);
  AddError(apart, -0.5 * covariance.lineSample, sum);
}

bool IsSigma(double sigma) noexcept { return sigma >= 0.0 && std::isfinite(sigma); }

TGroundUncertainty NoUncertainty(TUncertaintyState state) noexcept {
  constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();
  constexpr TGroundCovariance kNone = {kNoNumber, kNoNumber, kNoNumber, kNoNumber, kNoNumber, kNoNumber};
  return {state, kNone, kNone, kNoNumber, kNoNumber, kNoNumber};
}

TGroundUncertainty UncertaintyOf(const TGroundCovariance& own, const TGroundCovariance& shared) noexcept {
  TGroundUncertainty result;
  result.shared = shared;
  result.covariance = {own.eastEast + shared.eastEast,     own.eastNorth + shared.eastNorth, own.eastUp + shared.eastUp,
                       own.northNorth + shared.northNorth, own.northUp + shared.northUp,     own.upUp + shared.upUp};
  const TPlaneCovariance plane = {result.covariance.eastEast, result.covariance.eastNorth,
                                  result.covariance.northNorth};
  const TCircularErrors circles = CircularErrorsOf(plane);
  result.ce90 = circles.ce90;
  result.ce95 = circles.ce95;
  result.le90 = kLinearError90 * std::sqrt(result.covariance.upUp);
  if (!std::isfinite(result.ce95) || !std::isfinite(result.le90)) return NoUncertainty(TUncertaintyState::Singular);
  result.state = TUncertaintyState::Known;
  return result;
}

}  // namespace SatCommonUtils::accuracy
