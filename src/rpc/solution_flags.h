#pragma once
// What of a solution lies outside, and what lies so far out that it is none.

#include <cmath>

#include "rpc/branch.h"
#include "rpc/ground_solution.h"
#include "rpc/rpc_boxes.h"

namespace SatCommonUtils::rpc {

/// Sets the flags that hold for this image; flags that are set stay. A NaN lies outside.
void SetFlags(const TRPCCoordsDataItem& item, TGroundSolution* solution);

/// Whether a latitude and a longitude, degrees, are those of a ground point, the longitude in any of three turns.
inline bool IsOnGlobe(double lat, double lon) { return std::fabs(lat) <= 90.0 && std::fabs(lon) <= 540.0; }

/// Whether a solution lies off the globe, or farther out than twice the model's ground box, the image point or the
/// height, whichever is the most.
bool IsFarOut(const TBranch& branch, const TRPCCoordsDataItem& item, const TGroundSolution& solution);

/// The flags of many points of one model of which it is known what ranges of the model they lie in.
class TImageFlags {
 public:
  explicit TImageFlags(const TRPC& model);

  void Set(bool inImage, bool inHeight, bool inGround, const TRPCCoordsDataItem& item,
           TGroundSolution* solution) const {
    solution->outsideImage = !inImage;
    solution->outsideHeight = !inHeight;
    solution->outsideGround = !inGround;
    if (hasMore_) SetMore(item, solution);
  }

 private:
  void SetMore(const TRPCCoordsDataItem& item, TGroundSolution* solution) const;

  TImageBox image_;
  bool hasRaster_;
  const TPolygon* margin_;
  bool hasMore_;
};

}  // namespace SatCommonUtils::rpc
