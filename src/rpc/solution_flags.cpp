// Flags of solutions from the boxes of the model. Elementary.

#include "rpc/solution_flags.h"

#include <cmath>

#include "rpc/rpc_axes.h"
#include "rpc/rpc_boxes.h"

namespace SatCommonUtils::rpc {

namespace {

bool OutsideMargin(const TPolygon* margin, const TRPCCoordsDataItem& item) {
  return margin != nullptr && !margin->Contains({item.sample, item.line});
}

}  // namespace

void SetFlags(const TRPCCoordsDataItem& item, TGroundSolution* solution) {
  const TGroundBox box = GroundBoxOf(*item.model);
  const bool in_height = box.HeightRemoteness(solution->h) <= 1.0;
  const bool in_ground = box.Remoteness({solution->lat, solution->lon, solution->h}) <= 1.0;
  const bool in_image = ImageBoxOf(*item.model).Contains({item.line, item.sample});
  solution->outsideImage = solution->outsideImage || !in_image;
  solution->outsideHeight = solution->outsideHeight || !in_height;
  solution->outsideGround = solution->outsideGround || !in_ground;
  solution->outsideMargin = solution->outsideMargin || OutsideMargin(item.model->FindMargin(), item);
}

bool IsFarOut(const TBranch& branch, const TRPCCoordsDataItem& item, const TGroundSolution& solution) {
  if (!IsOnGlobe(solution.lat, solution.lon)) return true;
  double ground[3];
  branch.Normalize(solution.lat, solution.lon, solution.h, ground);
  const TNormalizedImagePoint image = item.model->GetNormalization().Normalize(TImagePoint{item.line, item.sample});
  const double asked =
      std::fmax(std::fmax(1.0, std::fmax(std::fabs(image.line), std::fabs(image.sample))), std::fabs(ground[2]));
  return !(std::fmax(std::fabs(ground[0]), std::fabs(ground[1])) <= kWidestBox * asked);
}

TImageFlags::TImageFlags(const TRPC& model)
    : image_(ImageBoxOf(model)),
      hasRaster_(model.GetRasterDims(nullptr, nullptr)),
      margin_(model.FindMargin()),
      hasMore_(hasRaster_ || margin_ != nullptr) {}

void TImageFlags::SetMore(const TRPCCoordsDataItem& item, TGroundSolution* solution) const {
  if (hasRaster_) solution->outsideImage = !image_.Contains({item.line, item.sample});
  solution->outsideMargin = OutsideMargin(margin_, item);
}

}  // namespace SatCommonUtils::rpc
