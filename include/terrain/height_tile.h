#pragma once
/// \file
/// Tiles of a height grid: posts with a pyramid of bounds, and where tiles come from.

#include <cstddef>
#include <memory>
#include <vector>

#include "../frame/api.h"
#include "height_surface.h"

namespace SatCommonUtils {

/// How heights follow from posts.
enum class THeightInterpolation { Bilinear, Bicubic };

/// A rectangle of cells of a grid: the posts at their corners, one more around, and bounds of the heights over squares
/// of 2, 4, 8 ... cells. Immutable.
class ORBMATH_API THeightTile {
 public:
  /// \param firstColumn, firstRow the first cell; cell (c, r) lies between the posts c and c + 1, r and r + 1.
  /// \param columns, rows number of cells, at least 1.
  /// \param posts (columns + 3) * (rows + 3) heights, row by row from post (firstColumn - 1, firstRow - 1); NaN: void.
  /// \throws TZxMessage when the number of posts is another.
  THeightTile(int firstColumn, int firstRow, int columns, int rows, std::vector<double> posts,
              THeightInterpolation interpolation);

  /// Column of the grid at which the tile begins.
  int GetFirstColumn() const noexcept { return firstColumn_; }
  /// Row of the grid at which the tile begins.
  int GetFirstRow() const noexcept { return firstRow_; }
  /// Width in posts.
  int GetColumns() const noexcept { return columns_; }
  /// Height in posts.
  int GetRows() const noexcept { return rows_; }
  /// Number of posts from one row to the next.
  std::ptrdiff_t GetStride() const noexcept { return columns_ + 3; }
  /// The post of the first corner of a cell of this tile, counted from the tile's first cell.
  const double* GetPost(int column, int row) const noexcept {
    return posts_.data() + (row + 1) * GetStride() + column + 1;
  }
  /// Bounds over cells of this tile, counted from its first one, inclusive; may cover up to as much again around.
  THeightRange GetRange(int firstColumn, int lastColumn, int firstRow, int lastRow) const;
  /// Upper bounds of how much heights change from one column to the next and from one row to the next (metres, never
  /// negative), over the same cells as `GetRange`.
  void GetSteepness(int firstColumn, int lastColumn, int firstRow, int lastRow, double* byColumn, double* byRow) const;
  /// Memory that the tile takes, bytes.
  std::size_t GetBytes() const noexcept;

 private:
  /// Bounds rounded outwards; lowest above highest where nothing is known.
  struct TNode {
    float lowest;
    float highest;
    float byColumn;  ///< largest change of height from a column to the next
    float byRow;
    bool voids;
    void Include(const TNode& other);
  };
  struct TLevel {
    int columns;
    int rows;
    std::vector<TNode> nodes;
  };

  static TNode BoundCell(const double* post, std::ptrdiff_t stride, THeightInterpolation interpolation);
  void BuildPyramid(THeightInterpolation interpolation);
  TNode Bound(int firstColumn, int lastColumn, int firstRow, int lastRow) const;

  int firstColumn_;
  int firstRow_;
  int columns_;
  int rows_;
  std::vector<double> posts_;
  std::vector<TLevel> levels_;  ///< nodes of 2, 4, 8 ... cells
};

/// Where the tiles of a grid come from.
class ORBMATH_API THeightTiles {
 public:
  virtual ~THeightTiles();
  /// Cells along a side of a tile; the last ones may be smaller.
  virtual int GetTileSize() const noexcept = 0;
  /// The tile with cell (column * size, row * size). Null where it cannot be had: void. The same whenever it is asked
  /// for. Safe from several threads.
  virtual std::shared_ptr<const THeightTile> GetTile(int column, int row) const = 0;

 protected:
  THeightTiles() = default;
  THeightTiles(const THeightTiles&) = default;
  THeightTiles& operator=(const THeightTiles&) = default;
};

/// Keeps the tiles used last, up to a limit of memory. Tiles that somebody still holds live on until let go.
class ORBMATH_API THeightTileCache final : public THeightTiles {
 public:
  /// \param source not null. \param bytes limit of memory, at least one tile is kept.
  THeightTileCache(std::shared_ptr<const THeightTiles> source, std::size_t bytes);
  ~THeightTileCache() override;
  int GetTileSize() const noexcept override;
  std::shared_ptr<const THeightTile> GetTile(int column, int row) const override;
  /// Bytes of the tiles kept now. Safe from several threads.
  std::size_t GetBytes() const;

 private:
  struct TState;
  std::shared_ptr<const THeightTiles> source_;
  std::unique_ptr<TState> state_;
};

}  // namespace SatCommonUtils
