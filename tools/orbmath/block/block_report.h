#pragma once
/// \file
/// An adjustment's results as text, JSON, and tables of ground points.

#include <optional>
#include <string>
#include <vector>

#include "block/block_problem.h"
#include "block/block_result.h"
#include "block/block_setup.h"

namespace orbmath_tool {

/// The files of one image.
struct ImageFiles {
  std::string adjusted;  ///< name in the folder of results; empty: none
  std::string plain;     ///< the same of the plain model
  /// How far the plain model's file misses the adjusted model, pixels.
  double plain_worst = 0.0;
  double plain_rms = 0.0;
};

/// What a report tells of. Nothing is owned.
struct BlockStory {
  const SatCommonUtils::TBlockProblem& problem;
  const SatCommonUtils::TBlockResult& result;
  const std::vector<Finding>& findings;
  const std::vector<ImageFiles>& files;  ///< of each image, or none at all
  std::string folder;                    ///< empty: nothing was written
};

/// One object with everything but the ground points, with a line feed behind it.
std::string BlockJson(const BlockStory& story);
/// Sentences and tables for people.
std::string BlockText(const BlockStory& story);

/// The used ground points: 'point,lat,lon,height' (degrees, metres), their standard deviations towards east, north and
/// up (metres) and the correlations between them, rays and role.
std::string PointsCsv(const SatCommonUtils::TBlockProblem& problem, const SatCommonUtils::TBlockResult& result);
/// The same as a GeoJSON collection (RFC 7946).
std::string PointsGeoJson(const SatCommonUtils::TBlockProblem& problem, const SatCommonUtils::TBlockResult& result);

/// The length of the residual of measurement `i`, pixels; NaN where there is none.
double ResidualLength(const SatCommonUtils::TBlockResult& result, std::size_t i);

}  // namespace orbmath_tool
