// Uncertainty of points from several images: the errors go through the least-squares solution as it is, which weighs
// all coordinates alike. With A the derivatives of all image coordinates by east, north and up, N = A'A (and the
// observed height's weight), the point moves by N^-1 A' e: E. Mikhail, "Observations and least squares" (1976),
// chapter 4.

#include <algorithm>
#include <cmath>
#include <vector>

#include "accuracy/ground_uncertainty.h"
#include "accuracy/image_terms.h"
#include "rpc/small_systems.h"

namespace SatCommonUtils {

namespace {

using accuracy::AddError;
using accuracy::AddStep;
using accuracy::TErringImage;
using accuracy::TGroundBlock;
using accuracy::TGroundGain;
using accuracy::TGroundStep;
using accuracy::TImageTerms;
using Height = TIntersectionHeight;

/// Normal equations of one point in metres, from which steps of the solution come.
template <int N>
class TSolution {
 public:
  TSolution(const TImageTerms* const* images, std::size_t count, std::size_t point, double height_weight) {
    for (std::size_t m = 0; m < count; ++m) {
      for (std::size_t axis = 0; axis < 2; ++axis) {
        const TImageTerms& at = images[m][point];
        const double terms[3] = {at.by_east[axis], at.by_north[axis], at.by_up[axis]};
        double row[N];
        for (int i = 0; i < N; ++i) row[i] = terms[i];
        equations_.Add(row, 0.0);
      }
    }
    if (N == 3) equations_.AddLast(0.0, height_weight);
  }

  /// What an error `by` of every unknown's right side moves. \return false when the images do not determine it.
  bool Solve(const double (&right)[3], TGroundStep* step) {
    /// Images that see a point from one direction leave this share of a pivot by rounding.
    constexpr double kRounding = 1e-11;
    double largest = 0.0;
    for (int i = 0; i < N; ++i) {
      equations_.right[i] = right[i];
      largest = std::max(largest, equations_.matrix[i][i]);
    }
    double x[N];
    double lowest;
    rpc::SolveCholesky(equations_, x, lowest);
    if (!(lowest > kRounding * largest)) return false;
    *step = {x[0], x[1], N == 3 ? x[N - 1] : 0.0};
    return true;
  }

 private:
  rpc::TNormalEquations<N, double> equations_ = {};
};

/// Everything that an error of one image or of the height does to one point.
struct TGains {
  std::vector<TGroundGain> images;
  TGroundStep height;  ///< a metre
};

template <int N>
bool FindGains(const TImageTerms* const* images, std::size_t point, const TIntersectionErrors& together,
               TGains* gains) {
  const bool observed = together.height == Height::Observed;
  const std::size_t count = gains->images.size();
  TSolution<N> solution(images, count, point, observed ? 1.0 / together.heightVariance : 0.0);
  double by_up[3] = {};
  bool good = true;
  for (std::size_t m = 0; m < count && good; ++m) {
    const TImageTerms& at = images[m][point];
    for (std::size_t axis = 0; axis < 2; ++axis) {
      const double row[3] = {at.by_east[axis], at.by_north[axis], at.by_up[axis]};
      for (std::size_t i = 0; i < 2; ++i) by_up[i] -= row[i] * row[2];
      good = good && solution.Solve(row, axis == 0 ? &gains->images[m].line : &gains->images[m].sample);
    }
  }
  gains->height = TGroundStep();
  if (observed) {
    const double weight[3] = {0.0, 0.0, 1.0 / together.heightVariance};
    good = good && solution.Solve(weight, &gains->height);
  } else if (N == 2) {
    good = good && solution.Solve(by_up, &gains->height);
    gains->height.up = 1.0;
  }
  return good;
}

TGroundUncertainty Propagate(const std::vector<TErringImage>& images, const TImageTerms* const* terms,
                             std::size_t point, const TIntersectionErrors& together, const TGains& gains) {
  TGroundCovariance own;
  TGroundCovariance shared;
  TGroundStep common_east, common_north;  // of the part of the biases that all images share
  for (std::size_t m = 0; m < images.size(); ++m) {
    const TImageErrors& errors = images[m].Errors();
    const TImageTerms& at = terms[m][point];
    const TGroundGain& gain = gains.images[m];
    const double measured = errors.sigma * errors.sigma;
    accuracy::AddImageError(gain, {measured, 0.0, measured}, &own);
    if (errors.refinement) accuracy::AddImageError(gain, at.refinement, &shared);
    // An image that lies off on the ground by a metre moves its coordinates by the derivatives.
    TGroundStep east, north;
    AddStep(gain.line, at.by_east[0], &east);
    AddStep(gain.sample, at.by_east[1], &east);
    AddStep(gain.line, at.by_north[0], &north);
    AddStep(gain.sample, at.by_north[1], &north);
    for (const TGroundStep* const step : {&east, &north}) {
      AddError(*step, errors.random * errors.random, &own);
      AddError(*step, (1.0 - together.biasCorrelation) * errors.bias * errors.bias, &shared);
    }
    AddStep(east, errors.bias, &common_east);
    AddStep(north, errors.bias, &common_north);
  }
  AddError(common_east, together.biasCorrelation, &shared);
  AddError(common_north, together.biasCorrelation, &shared);
  AddError(gains.height, together.heightSigma * together.heightSigma, &own);
  return accuracy::UncertaintyOf(own, shared);
}

bool IsGood(const TIntersectionErrors& together) {
  const bool height = together.height != Height::Observed || together.heightVariance > 0.0;
  return height && accuracy::IsSigma(together.heightSigma) && together.biasCorrelation >= 0.0 &&
         together.biasCorrelation <= 1.0;
}

}  // namespace

TGroundUncertainty IntersectionUncertainty(const std::vector<const TRPC*>& models,
                                           const std::vector<TImageErrors>& errors, const TIntersectionErrors& together,
                                           double lat, double lon, double h) {
  TGroundUncertainty uncertainty;
  IntersectionUncertaintyArray(models, errors, together, 1, &lat, &lon, &h, &uncertainty);
  return uncertainty;
}

std::size_t IntersectionUncertaintyArray(const std::vector<const TRPC*>& models,
                                         const std::vector<TImageErrors>& errors, const TIntersectionErrors& together,
                                         std::size_t count, const double* lat, const double* lon, const double* h,
                                         TGroundUncertainty* uncertainties) {
  std::vector<TErringImage> images;
  bool good = IsGood(together) && !models.empty() && models.size() == errors.size();
  for (std::size_t m = 0; m < models.size() && good; ++m) {
    if (models[m] != nullptr) images.emplace_back(*models[m], errors[m]);
    good = models[m] != nullptr && images.back().IsGood();
  }
  if (!good) {
    std::fill(uncertainties, uncertainties + count, accuracy::NoUncertainty(TUncertaintyState::BadErrors));
    return 0;
  }
  const auto work = [&](std::size_t /*first*/, const TGroundBlock& block, TGroundUncertainty* out) {
    std::vector<TImageTerms> terms(images.size() * rpc::kLaneBlock);
    std::vector<const TImageTerms*> rows;
    for (std::size_t m = 0; m < images.size(); ++m) {
      rows.push_back(terms.data() + m * rpc::kLaneBlock);
      images[m].Evaluate(block, terms.data() + m * rpc::kLaneBlock);
    }
    TGains gains;
    gains.images.resize(images.size());
    for (std::size_t i = 0; i < block.count; ++i) {
      if (!std::isfinite(block.lat[i]) || !std::isfinite(block.lon[i]) || !std::isfinite(block.h[i])) {
        out[i] = accuracy::NoUncertainty(TUncertaintyState::NoPoint);
        continue;
      }
      const bool solved = together.height == Height::Known ? FindGains<2>(rows.data(), i, together, &gains)
                                                           : FindGains<3>(rows.data(), i, together, &gains);
      out[i] = solved ? Propagate(images, rows.data(), i, together, gains)
                      : accuracy::NoUncertainty(TUncertaintyState::Singular);
    }
  };
  return accuracy::ForEachGroundBlock(count, lat, lon, h, uncertainties, work);
}

}  // namespace SatCommonUtils
