#pragma once
// What the errors of one image do around ground points: derivatives in metres, and the image's own covariances.

#include <algorithm>
#include <cstddef>
#include <optional>

#include "accuracy/error_model.h"
#include "accuracy/ground_uncertainty.h"
#include "refine/refinement.h"
#include "rpc/blocks.h"
#include "rpc/ground_solution.h"

namespace SatCommonUtils::accuracy {

/// Ground points that are computed at a time; the arrays are the caller's.
struct TGroundBlock {
  std::size_t count = 0;  ///< at most `rpc::kLaneBlock`
  const double* lat = nullptr;
  const double* lon = nullptr;
  const double* h = nullptr;
  TGroundScale scale[rpc::kLaneBlock];

  TGroundBlock(std::size_t points, const double* lats, const double* lons, const double* heights)
      : count(points), lat(lats), lon(lons), h(heights) {
    for (std::size_t i = 0; i < count; ++i) scale[i] = GroundScaleAt(lat[i], h[i]);
  }
};

/// An image around one ground point.
struct TImageTerms {
  double by_east[2];   ///< of line and sample, pixels a metre
  double by_north[2];  ///< the same
  double by_up[2];     ///< the same
  TImageCovariance refinement;
};

/// One image with its errors.
class TErringImage {
 public:
  TErringImage(const TRPC& model, const TImageErrors& errors);

  /// False when an error is no standard deviation, or the refinement's covariance not that of the model's refinement.
  bool IsGood() const noexcept { return good_; }
  const TImageErrors& Errors() const noexcept { return errors_; }
  /// The terms at the points of a block. \param terms room for as many.
  void Evaluate(const TGroundBlock& block, TImageTerms* terms) const;

 private:
  const TRPC& model_;
  TImageErrors errors_;
  bool good_ = false;
  var_a<TRPCRefinementBase*> refinement_;  ///< empty where its errors do not count
  std::optional<TRefinementPropagation> propagation_;
};

/// Steps of a ground point towards east, north and up.
struct TGroundStep {
  double east = 0.0;
  double north = 0.0;
  double up = 0.0;
};

/// What a pixel of line and of sample does to a ground point, metres.
struct TGroundGain {
  TGroundStep line;
  TGroundStep sample;
};

/// `step` times `factor`, on top of `sum`.
void AddStep(const TGroundStep& step, double factor, TGroundStep* sum) noexcept;
/// Adds the covariance of an error of that variance that moves the point by `step` a unit.
void AddError(const TGroundStep& step, double variance, TGroundCovariance* sum) noexcept;
/// Adds the covariance of an error in the image.
void AddImageError(const TGroundGain& gain, const TImageCovariance& covariance, TGroundCovariance* sum) noexcept;

/// Whether a number is a standard deviation: finite and not below 0.
bool IsSigma(double sigma) noexcept;

/// A result without a covariance.
TGroundUncertainty NoUncertainty(TUncertaintyState state) noexcept;
/// A result of the covariance that points do not share and the one that they do.
TGroundUncertainty UncertaintyOf(const TGroundCovariance& own, const TGroundCovariance& shared) noexcept;

/// Fills `uncertainties` block by block with `work(first, block, uncertainties + first)`. \return how many are known.
template <class Work>
std::size_t ForEachGroundBlock(std::size_t count, const double* lat, const double* lon, const double* h,
                               TGroundUncertainty* uncertainties, const Work& work) {
  rpc::ForEachBlock(count, [&](std::size_t first, std::size_t last) {
    for (std::size_t i = first; i < last; i += rpc::kLaneBlock) {
      const std::size_t points = std::min(rpc::kLaneBlock, last - i);
      work(i, TGroundBlock(points, lat + i, lon + i, h + i), uncertainties + i);
    }
  });
  std::size_t known = 0;
  for (std::size_t i = 0; i < count; ++i) known += uncertainties[i] ? 1 : 0;
  return known;
}

}  // namespace SatCommonUtils::accuracy
