#include "rpc/solution_flags.h"

#include <cmath>

#include "rpc/longitude_turns.h"

namespace SatCommonUtils::rpc {

namespace {

bool Outside(const TLinearNormalization* range, double value) {
  return range == nullptr || !(std::fabs(range->Initial2Normalized(value)) <= 1.0);
}

/// The raster reaches half a pixel beyond the centres of its outermost pixels.
bool OutsideRaster(int size, double coordinate) { return !(coordinate >= -0.5 && coordinate <= size - 0.5); }

bool OutsideImage(const TRPCCoordsDataItem& item) {
  int width = 0;
  int height = 0;
  if (item.model->GetRasterDims(&width, &height)) {
    return OutsideRaster(height, item.line) || OutsideRaster(width, item.sample);
  }
  return Outside(item.model->GetLineNormalization(), item.line) ||
         Outside(item.model->GetSampleNormalization(), item.sample);
}

/// Longitudes count in the turn of the model.
bool OutsideGround(const TRPC& model, double lat, double lon) {
  const double turned = lon + 360.0 * LongitudeTurns(model.GetCenterLongitude(), lon);
  return Outside(model.GetLatitudeNormalization(), lat) || Outside(model.GetLongitudeNormalization(), turned);
}

}  // namespace

void SetFlags(const TRPCCoordsDataItem& item, TGroundSolution* solution) {
  TPolygon margin;
  solution->outsideImage = solution->outsideImage || OutsideImage(item);
  solution->outsideHeight = solution->outsideHeight || Outside(item.model->GetHeightNormalization(), solution->h);
  solution->outsideGround = solution->outsideGround || OutsideGround(*item.model, solution->lat, solution->lon);
  if (item.model->GetMargin(&margin) && !margin.Contains({item.sample, item.line})) solution->outsideMargin = true;
}

}  // namespace SatCommonUtils::rpc
