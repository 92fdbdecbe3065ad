#pragma once
// Where resistant fits of a map of the plane start: a map through as few ties as determine it, by which most are near.

#include <cstddef>
#include <optional>
#include <vector>

#include "refine/plane_fit.h"
#include "refine/plane_judges.h"
#include "refine/refinement_data.h"

namespace SatCommonUtils::refine {

/// What the searches of all kinds share. The ties must live as long.
class TPlaneStarts {
 public:
  explicit TPlaneStarts(const std::vector<TPlaneTie>& ties);

  /// The map whose median of squared residuals is least, and that median (a little above the half, as befits a map that
  /// passes through some ties). Where most ties lie at fewer places than determine a map, their median says nothing of
  /// it elsewhere: places count there, not ties, if their map suits the most ties too. \param noise floor of the
  /// standard deviation of a weighted residual. \return false when no few ties determine a map.
  bool Find(TRPCRefinementTransformType type, double noise, TPlaneMap* start, double* median) const;

  /// How many of the chosen ties say something of a map of their own: their places where those inside are crowded, or
  /// else all. \param inside ties that belong together, not none; places are those of the square around them, which
  /// wild ties do not widen.
  std::size_t CountOf(TRPCRefinementTransformType type, const std::vector<std::size_t>& chosen,
                      const std::vector<std::size_t>& inside) const;

 private:
  const std::vector<TPlaneTie>& ties_;
  TPlaneJudges judges_;
  /// Fewest places at which the half of the ties lies; 0: they are not crowded. The rest is known where they may be.
  std::size_t crowded_ = 0;
  std::vector<TPlaneTie> of_places_;       ///< the typical tie of each place
  std::optional<TPlaneJudges> by_places_;  ///< of these
};

}  // namespace SatCommonUtils::refine
