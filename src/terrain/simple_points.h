#pragma once
// Ground points of image points in simple squares, by arrays: from the squares' polynomials to the model itself.

#include "terrain/single_crossing.h"

namespace SatCommonUtils::terrain {

/// Image points in simple squares over one tile, and what is found of them.
struct alignas(64) TSimplePoints {
  std::size_t count = 0;
  TSquarePlace places[TSightBatch::kMost];
  double line[TSightBatch::kMost];
  double sample[TSightBatch::kMost];

  double lat[TSightBatch::kMost];
  double lon[TSightBatch::kMost];
  double h[TSightBatch::kMost];
  double residual[TSightBatch::kMost];
  double miss[TSightBatch::kMost];  ///< metres of height between the point and the terrain
};

/// A point that misses the terrain by more than this, metres, is not solved.
constexpr double kCloseToTerrain = 1e-7;

/// Fills in the results. \param tile the tile of the points' squares.
void SolveSimplePoints(const TScene& scene, const TSightPatches& patches, const THeightTile& tile,
                       TSimplePoints* points);

}  // namespace SatCommonUtils::terrain
