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

bool OutsideMargin(const TPolygon* margin, const TRPCCoordsDataItem& item) {
  return margin != nullptr && !margin->Contains({item.sample, item.line});
}

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
  solution->outsideImage = solution->outsideImage || OutsideImage(item);
  solution->outsideHeight = solution->outsideHeight || Outside(item.model->GetHeightNormalization(), solution->h);
  solution->outsideGround = solution->outsideGround || OutsideGround(*item.model, solution->lat, solution->lon);
  solution->outsideMargin = solution->outsideMargin || OutsideMargin(item.model->FindMargin(), item);
}

bool IsFarOut(const TBranch& branch, const TRPCCoordsDataItem& item, const TGroundSolution& solution) {
  if (!IsOnGlobe(solution.lat, solution.lon)) return true;
  double ground[3];
  branch.Normalize(solution.lat, solution.lon, solution.h, ground);
  const TRPCData& record = branch.Record();
  const double image = std::fmax(std::fabs((item.line - record.lineOffset) / record.lineScale),
                                 std::fabs((item.sample - record.sampOffset) / record.sampScale));
  const double asked = std::fmax(std::fmax(1.0, image), std::fabs(ground[2]));
  return !(std::fmax(std::fabs(ground[0]), std::fabs(ground[1])) <= kWidestBox * asked);
}

TImageFlags::TImageFlags(const TRPC& model)
    : hasRaster_(model.GetRasterDims(&width_, &height_)),
      margin_(model.FindMargin()),
      hasMore_(hasRaster_ || margin_ != nullptr) {}

void TImageFlags::SetMore(const TRPCCoordsDataItem& item, TGroundSolution* solution) const {
  if (hasRaster_) solution->outsideImage = OutsideRaster(height_, item.line) || OutsideRaster(width_, item.sample);
  solution->outsideMargin = OutsideMargin(margin_, item);
}

}  // namespace SatCommonUtils::rpc
