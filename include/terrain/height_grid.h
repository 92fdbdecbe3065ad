#pragma once
/// \file
/// Height grids: posts on a regular lattice with bilinear or bicubic heights between them.

#include <cstddef>
#include <memory>
#include <vector>

#include "../frame/api.h"
#include "height_surface.h"
#include "height_tile.h"

namespace SatCommonUtils {

/// From latitude and longitude to the plane coordinates of a grid's own reference system.
class ORBMATH_API TGridMapping {
 public:
  virtual ~TGridMapping();
  /// \param lat, lon `count` values each, degrees. \param x, y room for `count`: easting and northing in the unit of
  /// the grid's transform, NaN where there is none. Const and safe from several threads.
  virtual void Map(std::size_t count, const double* lat, const double* lon, double* x, double* y) const = 0;

 protected:
  TGridMapping() = default;
  TGridMapping(const TGridMapping&) = default;
  TGridMapping& operator=(const TGridMapping&) = default;
};

/// Where the posts of a grid lie and how heights are interpolated.
struct THeightGridFrame {
  int columns = 0;  ///< number of posts in a row, at least 2
  int rows = 0;     ///< number of rows, at least 2
  /// Plane coordinates of column c and row r: x = t[0] + c t[1] + r t[2], y = t[3] + c t[4] + r t[5].
  double transform[6] = {0.0, 1.0, 0.0, 0.0, 0.0, 1.0};
  /// The transform counts from the outer corner of the first pixel, and a post is a pixel's centre; false: whole
  /// numbers are posts.
  bool pixelIsArea = false;
  THeightInterpolation interpolation = THeightInterpolation::Bilinear;  ///< between the posts
  /// Null: x is the longitude and y the latitude, degrees.
  std::shared_ptr<const TGridMapping> mapping;
  /// Height of voids and of everything outside the grid, in the grid's own vertical reference; NaN: unknown there.
  double voidHeight = std::numeric_limits<double>::quiet_NaN();
};

/// The number of columns of a grid of longitudes that goes round the whole Earth, so that the last of them lies beside
/// the first; columns beyond are the first ones once more and are not used. 0 for any other grid.
ORBMATH_API int FindPeriod(const THeightGridFrame& frame) noexcept;

/// A grid of heights. The height of a cell needs all four corners. Bicubic (Keys' kernel with a = -1/2, through the
/// posts, continuous slope) uses sixteen posts; where outer ones are missing they are continued linearly.
///
/// Longitudes count in any turn. A grid of longitudes that goes round the Earth is closed between its last and its
/// first column (`FindPeriod`).
///
/// Source: R. Keys, "Cubic convolution interpolation for digital image processing" (1981),
/// doi:10.1109/TASSP.1981.1163711.
class ORBMATH_API THeightGrid final : public THeightSurface {
 public:
  /// A grid in memory.
  /// \param heights `frame.columns * frame.rows` heights, row by row from the first, metres; NaN: void.
  /// \param noData heights of exactly this value are voids; NaN: none is.
  /// \throws TZxMessage when the frame is not usable (fewer than 2 x 2 posts, singular transform) or the number of
  ///   heights is another.
  THeightGrid(const THeightGridFrame& frame, const std::vector<double>& heights,
              double noData = std::numeric_limits<double>::quiet_NaN());
  /// A grid whose tiles come from elsewhere, each when it is needed. \param tiles not null; of a grid with a period
  /// they have as many columns of cells. \throws TZxMessage when the frame is not
  /// usable.
  THeightGrid(const THeightGridFrame& frame, std::shared_ptr<const THeightTiles> tiles);
  ~THeightGrid() override;

  void GetHeights(std::size_t count, const double* lat, const double* lon, double* h) const override;
  THeightRange GetRange(const TTerrainBox& box) const override;
  bool Split(const THeightGrid** grid, const THeightSurface** base) const override;

  /// Size, mapping and interpolation.
  const THeightGridFrame& GetFrame() const noexcept { return frame_; }

  /// Column and row of points, whole numbers at posts. \param lat, lon `count` values, degrees; no longitude is turned.
  /// \param column, row room for `count`.
  void GetColumnsRows(std::size_t count, const double* lat, const double* lon, double* column, double* row) const;
  /// The longitude about which the grid lies, degrees; NaN where it is unknown (mapped grids take every turn).
  double GetCenterLongitude() const noexcept { return centerLongitude_; }
  /// Number of columns after which the cells come again, 0 when the grid is not closed around the Earth.
  int GetPeriod() const noexcept { return period_; }
  /// Bounds over the cells `firstColumn` to `lastColumn` and `firstRow` to `lastRow`, inclusive, also outside the grid.
  THeightRange GetCellRange(long firstColumn, long lastColumn, long firstRow, long lastRow) const;
  /// Where the heights come from; owned by the grid.
  const THeightTiles& GetTiles() const noexcept { return *tiles_; }

 private:
  void Prepare();
  THeightRange GetRangeInTurn(const TTerrainBox& box) const;

  THeightGridFrame frame_;
  std::shared_ptr<const THeightTiles> tiles_;
  /// column = i[0] + x i[1] + y i[2], row = i[3] + x i[4] + y i[5]
  double inverse_[6] = {};
  double centerLongitude_ = std::numeric_limits<double>::quiet_NaN();
  int period_ = 0;
};

}  // namespace SatCommonUtils
