#pragma once
// The branch of a model's centre: the ground that can be reached from the centre without crossing a pole (a denominator
// is zero) or a fold (the determinant of the derivatives of line and sample by latitude and longitude is zero). Cubic
// quotients go on beyond both, but what they give there has nothing to do with the image.

#include <cstdint>

#include "rpc/rpc_model.h"

namespace SatCommonUtils::rpc {

/// A model at a ground point.
struct TProbe {
  double image[2];     ///< line, sample, pixels
  double slope[2][3];  ///< of both by normalised latitude, longitude, height
  double sides[3];     ///< denominators of line and sample, and the determinant: what must not change its sign
};

/// A ground point, normalised latitude, longitude and height, and the model there.
struct TBranchNode {
  double ground[3];
  TProbe probe;
};

/// The widest box that is tried: what lies outside of it is far out.
constexpr double kWidestBox = 2.0;

/// The widest of a few boxes in which neither pole nor fold can be, by interval arithmetic (R. E. Moore, "Interval
/// Analysis", 1966): there the model has one ground point at most for an image point at a height.
TRPCFreeBox FindFreeBox(const TRPCData& record) noexcept;

/// The branch of one model, which must outlive it. Cheap to make: one evaluation of the model. Allocates nothing; const
/// operations may run on several threads.
class TBranch {
 public:
  explicit TBranch(const TRPC& model);

  const TRPCData& Record() const noexcept { return record_; }
  const TRPCFreeBox& FreeBox() const noexcept { return model_.GetPrepared().free; }

  /// Normalised coordinates in the turn of the model, for `FreeBox` and `Probe`.
  void Normalize(double lat, double lon, double h, double (&ground)[3]) const;
  TProbe Probe(const double (&ground)[3]) const;

  /// Whether denominators have the sign that they have at the centre, and whether the determinant has.
  bool IsInFront(const TProbe& probe) const;
  bool IsUnfolded(const TProbe& probe) const;

  /// Whether a point lies in the free box.
  bool IsFree(const double (&ground)[3]) const;
  /// Whether no sign changes on the straight way from the centre to a point, looked at in steps.
  bool IsStraightWayFree(const double (&ground)[3], std::int32_t* evaluations) const;

  /// Follows the ground point of (line, sample, height) from the centre: straight in image and height together, or one
  /// after the other where that meets a pole or a fold. `end` receives where it arrived, or the last point that it
  /// reached. \return whether it arrived, within 1e-4 pixels.
  ///
  /// Source: predictor and corrector along a homotopy, E. L. Allgower and K. Georg, "Numerical Continuation Methods"
  /// (1990), doi:10.1007/978-3-642-61257-2.
  bool Follow(double line, double sample, double h, TBranchNode* end, std::int32_t* evaluations) const;

 private:
  bool FollowLine(const double (&target)[3], TBranchNode* at, std::int32_t* evaluations) const;
  bool Reach(const double (&aim)[3], TBranchNode* node, std::int32_t* evaluations) const;

  const TRPC& model_;
  TRPCData record_;
  TBranchNode center_;
};

}  // namespace SatCommonUtils::rpc
