#pragma once
// Ground points that an image shows, found from the ground: where a model's inverse has two values or none, its
// projection still has one.

#include <array>
#include <vector>

#include "refine/adjusted_rpc.h"

namespace SatCommonUtils::refine {

/// A ground point and where the adjusted model puts it.
struct TImageNode {
  double lat = 0.0, lon = 0.0, height = 0.0;  ///< degrees, metres
  double p = 0.0, l = 0.0, h = 0.0;           ///< the same, normalised
  double line = 0.0, sample = 0.0;            ///< refined, pixels
};

/// How densely an image is sampled.
struct TNodeGrid {
  int across = 11;       ///< nodes over latitude and over longitude of the part of the ground that the image shows
  int heights = 11;      ///< levels over the height range
  bool middles = false;  ///< nodes in the middles of the parts of the ranges instead of from edge to edge
};

/// Samples the image of a model: the raster, when its size is known, or else what its raw box becomes, at heights over
/// the height range.
class TImageSampler {
 public:
  explicit TImageSampler(const TAdjustedRPC& model);

  /// Nodes that the image shows, inside the model's ground box or a little beside it, and on the branch of its centre,
  /// where both denominators and the determinant of the Jacobian have the sign that they have there.
  std::vector<TImageNode> Nodes(const TNodeGrid& grid) const;

  /// The node at a normalised ground point. \return false when the image does not show it.
  bool NodeAt(double p, double l, double h, TImageNode* node) const;

  /// True when a denominator of the model comes close to zero over the ground that the image shows, as far as bounds of
  /// the polynomials, and walks downhill from a dense grid, tell.
  bool ShowsPole() const;

 private:
  struct TRect {
    double least[2], largest[2];  // of P and L
  };

  double RemotenessAt(double p, double l, double h, bool* on_branch) const;
  double LeastDenominatorNear(const double* denominator, double p, double l, double h, double reach) const;
  bool FindRect(double h, TRect* rect) const;

  const TAdjustedRPC& model_;
  TRPCData record_;
  bool has_raster_ = false;
  double lines_ = 0.0, samples_ = 0.0;
  double orientation_ = 1.0;  // sign of the Jacobian's determinant at the centre
};

}  // namespace SatCommonUtils::refine
