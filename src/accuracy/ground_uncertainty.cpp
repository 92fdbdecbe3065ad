// Uncertainty of points of one image. With e the error of the image point, J the derivatives of the image point by east
// and north, v the step of the line of sight a metre of height, g the slope of the ground and d the error of the
// height,
//
//   step = J^-1 e + v dh,   dh = g step + d,   so   dh = (g J^-1 e + d) / (1 - g v):
//
// propagation of errors as in C. Dolloff and R. Settergren, "An assessment of WorldView-1 positional accuracy based on
// fifty contiguous stereo pairs" (2010), doi:10.14358/PERS.76.8.935, with the ground's slope put in.

#include "accuracy/ground_uncertainty.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "accuracy/image_terms.h"

namespace SatCommonUtils {

namespace {

using accuracy::AddError;
using accuracy::AddImageError;
using accuracy::TErringImage;
using accuracy::TGroundBlock;
using accuracy::TGroundGain;
using accuracy::TGroundStep;
using accuracy::TImageTerms;

/// One image on level ground: what a metre of height and a pixel do.
struct TLevelTerms {
  double east_by_up, north_by_up;  ///< the line of sight, metres a metre
  double east_by[2], north_by[2];  ///< by line and sample, metres a pixel
  bool regular;
};

TLevelTerms LevelTermsOf(const TImageTerms& image) {
  const double det = image.by_east[0] * image.by_north[1] - image.by_east[1] * image.by_north[0];
  TLevelTerms level;
  level.east_by[0] = image.by_north[1] / det;
  level.east_by[1] = -image.by_north[0] / det;
  level.north_by[0] = -image.by_east[1] / det;
  level.north_by[1] = image.by_east[0] / det;
  level.east_by_up = -(level.east_by[0] * image.by_up[0] + level.east_by[1] * image.by_up[1]);
  level.north_by_up = -(level.north_by[0] * image.by_up[0] + level.north_by[1] * image.by_up[1]);
  level.regular = std::isfinite(level.east_by_up) && std::isfinite(level.north_by_up);
  return level;
}

/// Slope of the ground, metres a metre.
struct TSlope {
  double east = 0.0;
  double north = 0.0;
};

/// \param height_variance of the height at the place that was meant.
TGroundUncertainty OnSlope(const TImageErrors& errors, const TImageTerms& image, const TLevelTerms& level,
                           const TSlope& slope, double height_variance) {
  /// Below this the line of sight is all but parallel to the ground, and first order no answer.
  constexpr double kLeastOpening = 0.05;
  const double opening = 1.0 - (slope.east * level.east_by_up + slope.north * level.north_by_up);
  if (!(opening >= kLeastOpening)) return accuracy::NoUncertainty(TUncertaintyState::Grazing);
  const auto lifted = [&](double east, double north, double up) {
    const double dh = (slope.east * east + slope.north * north + up) / opening;
    return TGroundStep{east + level.east_by_up * dh, north + level.north_by_up * dh, dh};
  };
  const TGroundStep east = lifted(1.0, 0.0, 0.0);
  const TGroundStep north = lifted(0.0, 1.0, 0.0);
  const TGroundGain gain = {lifted(level.east_by[0], level.north_by[0], 0.0),
                            lifted(level.east_by[1], level.north_by[1], 0.0)};
  TGroundCovariance own;
  const double measured = errors.sigma * errors.sigma;
  AddImageError(gain, {measured, 0.0, measured}, &own);
  AddError(lifted(0.0, 0.0, 1.0), height_variance, &own);
  AddError(east, errors.random * errors.random, &own);
  AddError(north, errors.random * errors.random, &own);
  TGroundCovariance shared;
  AddError(east, errors.bias * errors.bias, &shared);
  AddError(north, errors.bias * errors.bias, &shared);
  if (errors.refinement) AddImageError(gain, image.refinement, &shared);
  return accuracy::UncertaintyOf(own, shared);
}

/// The state of a point before the ground is looked at.
TUncertaintyState StateOf(const TGroundBlock& block, std::size_t i, const TLevelTerms& level) {
  const bool point = std::isfinite(block.lat[i]) && std::isfinite(block.lon[i]) && std::isfinite(block.h[i]);
  if (!point) return TUncertaintyState::NoPoint;
  return level.regular ? TUncertaintyState::Known : TUncertaintyState::Singular;
}

/// Slopes at the points of a block over a reach of each.
void SlopesOf(const THeightSurface& surface, const TGroundBlock& block, const double* reach, TSlope* slopes) {
  constexpr std::size_t kSides = 4;  // east, west, north, south
  double lat[kSides * rpc::kLaneBlock], lon[kSides * rpc::kLaneBlock], h[kSides * rpc::kLaneBlock];
  for (std::size_t i = 0; i < block.count; ++i) {
    const double east = reach[i] / block.scale[i].east;
    const double north = reach[i] / block.scale[i].north;
    const double steps[kSides][2] = {{0.0, east}, {0.0, -east}, {north, 0.0}, {-north, 0.0}};
    for (std::size_t side = 0; side < kSides; ++side) {
      lat[kSides * i + side] = block.lat[i] + steps[side][0];
      lon[kSides * i + side] = block.lon[i] + steps[side][1];
    }
  }
  surface.GetHeights(kSides * block.count, lat, lon, h);
  for (std::size_t i = 0; i < block.count; ++i) {
    // Beside a void the slope is that of the side that is known.
    const auto along = [&](double ahead, double behind) {
      if (!std::isnan(ahead) && !std::isnan(behind)) return (ahead - behind) / (2.0 * reach[i]);
      return std::isnan(ahead) ? (block.h[i] - behind) / reach[i] : (ahead - block.h[i]) / reach[i];
    };
    slopes[i] = {along(h[kSides * i], h[kSides * i + 1]), along(h[kSides * i + 2], h[kSides * i + 3])};
  }
}

/// How far a point is uncertain on level ground: what slopes are taken over.
double ReachOf(const TImageErrors& errors, const TTerrainErrors& terrain, const TImageTerms& image,
               const TLevelTerms& level) {
  constexpr double kLeast = 1.0;
  if (terrain.slopeReach > 0.0) return terrain.slopeReach;
  const TGroundUncertainty flat = OnSlope(errors, image, level, {}, terrain.sigma * terrain.sigma);
  return std::max(kLeast, std::sqrt(std::max(flat.covariance.eastEast, flat.covariance.northNorth)));
}

void FillAll(std::size_t count, TUncertaintyState state, TGroundUncertainty* uncertainties) {
  std::fill(uncertainties, uncertainties + count, accuracy::NoUncertainty(state));
}

}  // namespace

const char* DescribeUncertaintyState(TUncertaintyState state) {
  switch (state) {
    case TUncertaintyState::NotRun:
      return "not computed";
    case TUncertaintyState::Known:
      return "known";
    case TUncertaintyState::NoPoint:
      return "there is no ground point";
    case TUncertaintyState::Singular:
      return "the images do not determine the point";
    case TUncertaintyState::Grazing:
      return "the line of sight runs along the terrain";
    case TUncertaintyState::NoSlope:
      return "the terrain has no heights around the point";
    case TUncertaintyState::BadErrors:
      return "an error is no standard deviation, or not one of this model";
  }
  return "unknown state";
}

TGroundUncertainty LocateUncertainty(const TRPC& model, const TImageErrors& errors, double lat, double lon, double h,
                                     double heightSigma) {
  TGroundUncertainty uncertainty;
  LocateUncertaintyArray(model, errors, 1, &lat, &lon, &h, &heightSigma, &uncertainty);
  return uncertainty;
}

std::size_t LocateUncertaintyArray(const TRPC& model, const TImageErrors& errors, std::size_t count, const double* lat,
                                   const double* lon, const double* h, const double* heightSigma,
                                   TGroundUncertainty* uncertainties) {
  const TErringImage image(model, errors);
  if (!image.IsGood()) return FillAll(count, TUncertaintyState::BadErrors, uncertainties), 0;
  const auto work = [&](std::size_t first, const TGroundBlock& block, TGroundUncertainty* out) {
    TImageTerms terms[rpc::kLaneBlock];
    image.Evaluate(block, terms);
    for (std::size_t i = 0; i < block.count; ++i) {
      const TLevelTerms level = LevelTermsOf(terms[i]);
      const double sigma = heightSigma[first + i];
      TUncertaintyState state = StateOf(block, i, level);
      if (!accuracy::IsSigma(sigma)) state = TUncertaintyState::BadErrors;
      out[i] = state == TUncertaintyState::Known ? OnSlope(errors, terms[i], level, {}, sigma * sigma)
                                                 : accuracy::NoUncertainty(state);
    }
  };
  return accuracy::ForEachGroundBlock(count, lat, lon, h, uncertainties, work);
}

TGroundUncertainty TerrainUncertainty(const TRPC& model, const TImageErrors& errors, const THeightSurface& surface,
                                      const TTerrainErrors& terrain, double lat, double lon, double h) {
  TGroundUncertainty uncertainty;
  TerrainUncertaintyArray(model, errors, surface, terrain, 1, &lat, &lon, &h, &uncertainty);
  return uncertainty;
}

std::size_t TerrainUncertaintyArray(const TRPC& model, const TImageErrors& errors, const THeightSurface& surface,
                                    const TTerrainErrors& terrain, std::size_t count, const double* lat,
                                    const double* lon, const double* h, TGroundUncertainty* uncertainties) {
  const TErringImage image(model, errors);
  if (!image.IsGood() || !accuracy::IsSigma(terrain.sigma) || !accuracy::IsSigma(terrain.slopeReach)) {
    return FillAll(count, TUncertaintyState::BadErrors, uncertainties), 0;
  }
  const auto work = [&](std::size_t /*first*/, const TGroundBlock& block, TGroundUncertainty* out) {
    TImageTerms terms[rpc::kLaneBlock];
    TLevelTerms levels[rpc::kLaneBlock];
    double reach[rpc::kLaneBlock];
    TSlope slopes[rpc::kLaneBlock];
    image.Evaluate(block, terms);
    for (std::size_t i = 0; i < block.count; ++i) {
      levels[i] = LevelTermsOf(terms[i]);
      reach[i] = ReachOf(errors, terrain, terms[i], levels[i]);
    }
    SlopesOf(surface, block, reach, slopes);
    for (std::size_t i = 0; i < block.count; ++i) {
      TUncertaintyState state = StateOf(block, i, levels[i]);
      const bool sloped = std::isfinite(slopes[i].east) && std::isfinite(slopes[i].north);
      if (state == TUncertaintyState::Known && !sloped) state = TUncertaintyState::NoSlope;
      out[i] = state == TUncertaintyState::Known
                   ? OnSlope(errors, terms[i], levels[i], slopes[i], terrain.sigma * terrain.sigma)
                   : accuracy::NoUncertainty(state);
    }
  };
  return accuracy::ForEachGroundBlock(count, lat, lon, h, uncertainties, work);
}

}  // namespace SatCommonUtils
