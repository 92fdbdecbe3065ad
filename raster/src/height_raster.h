#pragma once
// One band of heights as a grid of the core.

#include <memory>
#include <string>

#include "gdal_session.h"
#include "terrain/height_grid.h"

namespace SatCommonUtils {

/// What turns the numbers of a band into heights, and which are none.
struct BandHeights {
  double scale = 1.0;
  double offset = 0.0;
};

/// The grid of the first band of `dataset`, which it takes. Files within `cacheBytes` lie in memory.
/// \param frame transform, mapping, interpolation and void height; size and pixel convention are filled in.
/// \return null on failure, `error` says why.
std::shared_ptr<const THeightGrid> MakeGrid(DatasetHandle dataset, THeightGridFrame frame, const BandHeights& heights,
                                            std::size_t cacheBytes, std::string* error);

/// The mapping from latitudes and longitudes of WGS84 to the plane of `system`; null when that is longitudes and
/// latitudes of WGS84 itself. \param center x of the grid's middle: longitudes come out in its turn.
/// \return false when PROJ has no way.
bool MakeMapping(const OGRSpatialReference& system, double center, std::shared_ptr<const TGridMapping>* mapping);

/// x of the middle of a raster.
double GetCenterX(GDALDataset& dataset, const double* transform);

}  // namespace SatCommonUtils
