#pragma once
// What the cells below a square of the image say of its lines of sight: where they can meet the terrain, and whether
// more than once.

#include "terrain/height_tile.h"

namespace SatCommonUtils::terrain {

/// Cells by which a line may be elsewhere than its bundle says: what a square's own polynomials leave out, and more.
constexpr double kEdge = 1e-3;
/// Metres, for what the polynomials leave out of the base between its posts.
constexpr double kBaseRoom = 1.0;

struct TSpan {
  double low;
  double high;
  bool IsEmpty() const { return !(low <= high); }
};

/// A component of the lines of sight of a square (column, row or clearance) by u.
class TReach {
 public:
  /// \param where u at which the values are `there`, give or take `give`. \param gain by u, of all lines, everywhere.
  TReach(double where, double there, double give, const TSpan& gain);

  const TSpan& GetSlope() const { return slope_; }
  /// The values over a span of u.
  TSpan Over(const TSpan& u) const;
  /// Where in a span of u some line may have one of `values`.
  TSpan When(const TSpan& values, const TSpan& u) const;

 private:
  double middle_;
  double value_;
  double room_;
  TSpan slope_;
  TSpan inverse_;  ///< of both ends of the slope
};

/// The lines of sight of a square.
struct TBundle {
  TReach column;
  TReach row;
  TReach clearance;
};

/// Looks at the cells below the lines between two u. True: none of them is void, and wherever a line can meet one, the
/// line comes down faster than the terrain along it, so that no line meets the terrain more than once.
/// \param u the span in question; cut to where lines may meet terrain or pass over voids.
bool MeetOnce(const THeightTile& tile, bool bicubic, const TBundle& bundle, TSpan* u);

}  // namespace SatCommonUtils::terrain
