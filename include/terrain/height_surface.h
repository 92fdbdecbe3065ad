#pragma once
/// \file
/// Height surfaces: what a line of sight can meet. Constant heights, sums, and one surface filling another's voids.
///
/// Latitudes and longitudes are degrees, heights metres above the ellipsoid unless a surface says otherwise (a DEM
/// above the geoid, the geoid above the ellipsoid: their sum is above the ellipsoid). Where a surface has no height it
/// gives NaN: a void, or outside of what it covers. All operations are const and safe from any number of threads.

#include <cstddef>
#include <limits>
#include <memory>

#include "../frame/api.h"

namespace SatCommonUtils {

class THeightGrid;

/// A box of latitudes and longitudes, degrees; `east` may be above 180 so that `west <= east`.
struct TTerrainBox {
  double south = 0.0;  ///< Degrees.
  double west = 0.0;   ///< Degrees.
  double north = 0.0;  ///< Degrees.
  double east = 0.0;   ///< Degrees, not below west.
};

/// Bounds of the heights over a box.
struct THeightRange {
  double lowest = std::numeric_limits<double>::infinity();    ///< metres; above `highest` when nothing is known
  double highest = -std::numeric_limits<double>::infinity();  ///< metres
  bool voids = false;                                         ///< heights may be unknown somewhere in the box

  /// Whether there is any height.
  bool IsKnown() const noexcept { return lowest <= highest; }
};

/// A height for every latitude and longitude, or none.
class ORBMATH_API THeightSurface {
 public:
  virtual ~THeightSurface();

  /// Heights of many points. \param count number of points. \param lat, lon `count` values each, the longitudes in any
  /// turn. \param h room for `count`: metres, NaN where unknown.
  virtual void GetHeights(std::size_t count, const double* lat, const double* lon, double* h) const = 0;

  /// Bounds that every known height over the box keeps; they may be wider than needed, but get tight for small boxes:
  /// a line of sight is searched only where they leave room for a crossing.
  virtual THeightRange GetRange(const TTerrainBox& box) const = 0;

  /// `surface` = `grid` + `base` (null: nothing is added), where the surface is of this kind: a line of sight is then
  /// walked cell by cell, which is far faster. \return false, outputs untouched, when it is not (the default).
  virtual bool Split(const THeightGrid** grid, const THeightSurface** base) const;

  /// The height of one point.
  double GetHeight(double lat, double lon) const;

 protected:
  THeightSurface() = default;
  THeightSurface(const THeightSurface&) = default;
  THeightSurface& operator=(const THeightSurface&) = default;
};

/// The same height everywhere.
class ORBMATH_API TConstantHeight final : public THeightSurface {
 public:
  /// \param h metres, finite.
  explicit TConstantHeight(double h) noexcept : h_(h) {}
  void GetHeights(std::size_t count, const double* lat, const double* lon, double* h) const override;
  THeightRange GetRange(const TTerrainBox& box) const override;

 private:
  double h_;
};

/// The sum of two surfaces, unknown where one of them is: a DEM above the geoid and the geoid above the ellipsoid.
class ORBMATH_API THeightSum final : public THeightSurface {
 public:
  /// Neither may be null. A grid in the first place is walked cell by cell; the second should be smooth.
  THeightSum(std::shared_ptr<const THeightSurface> terrain, std::shared_ptr<const THeightSurface> base);
  void GetHeights(std::size_t count, const double* lat, const double* lon, double* h) const override;
  THeightRange GetRange(const TTerrainBox& box) const override;
  bool Split(const THeightGrid** grid, const THeightSurface** base) const override;

 private:
  std::shared_ptr<const THeightSurface> terrain_;
  std::shared_ptr<const THeightSurface> base_;
};

/// The first surface where it has a height, else the second: neighbouring DEMs, or a height for voids and the sea.
/// Lines of sight meet it by the general search; `THeightGridFrame::voidHeight` fills the voids of one grid faster.
class ORBMATH_API TFirstKnownHeight final : public THeightSurface {
 public:
  /// Neither may be null.
  TFirstKnownHeight(std::shared_ptr<const THeightSurface> first, std::shared_ptr<const THeightSurface> second);
  void GetHeights(std::size_t count, const double* lat, const double* lon, double* h) const override;
  THeightRange GetRange(const TTerrainBox& box) const override;

 private:
  std::shared_ptr<const THeightSurface> first_;
  std::shared_ptr<const THeightSurface> second_;
};

}  // namespace SatCommonUtils
