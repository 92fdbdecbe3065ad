#pragma once
// Cells of a grid one after another: holds the tile that the last cell was in.

#include <memory>

#include "terrain/cell.h"
#include "terrain/height_grid.h"

namespace SatCommonUtils::terrain {

/// The largest integer that is not above x, for |x| below 2^31: without a call where the processor's rounding
/// instruction is not in the baseline.
inline int Floor(double x) {
  const int truncated = static_cast<int>(x);
  return truncated - static_cast<int>(x < truncated);
}

/// The smaller and the larger of two numbers, the second where the first is NaN: without the calls that the standard
/// functions are.
inline double Least(double x, double y) { return x < y ? x : y; }
inline double Largest(double x, double y) { return x > y ? x : y; }

/// Columns and rows this far out are outside any grid and safe to truncate.
constexpr double kFarOut = 1e9;

/// One for each thread, kept while it works.
class TTileCursor {
 public:
  explicit TTileCursor(const THeightGrid& grid)
      : tiles_(grid.GetTiles()),
        size_(tiles_.GetTileSize()),
        period_(grid.GetPeriod()),
        columns_(period_ > 0 ? period_ : grid.GetFrame().columns - 1),
        rows_(grid.GetFrame().rows - 1),
        bicubic_(grid.GetFrame().interpolation == THeightInterpolation::Bicubic),
        voidHeight_(grid.GetFrame().voidHeight) {}

  bool IsBicubic() const { return bicubic_; }

  /// The cell (column, row), also outside the grid. \return whether it is known.
  bool Load(int column, int row, TCell* cell) {
    if (period_ > 0) column = Wrap(column);
    if (column < 0 || row < 0 || column >= columns_ || row >= rows_ || !EnterCell(column, row)) return LoadVoid(cell);
    const double* post = tile_->GetPost(column - tile_->GetFirstColumn(), row - tile_->GetFirstRow());
    return bicubic_ ? LoadBicubic(post, tile_->GetStride(), cell) : LoadBilinear(post, tile_->GetStride(), cell);
  }

  /// A tile, null where it cannot be had; valid until the cursor moves on.
  const THeightTile* GetTile(int tileColumn, int tileRow) { return Enter(tileColumn, tileRow) ? tile_.get() : nullptr; }

  /// Bounds over a rectangle of cells. \return false when it does not lie in one tile: nothing is known of it.
  bool GetRange(int firstColumn, int lastColumn, int firstRow, int lastRow, THeightRange* range) {
    if (period_ > 0) {
      const int wrapped = Wrap(firstColumn);
      lastColumn += wrapped - firstColumn;
      firstColumn = wrapped;
    }
    if (firstColumn < 0 || firstRow < 0 || lastColumn >= columns_ || lastRow >= rows_) return false;
    if (firstColumn / size_ != lastColumn / size_ || firstRow / size_ != lastRow / size_) return false;
    if (!EnterCell(firstColumn, firstRow)) return false;
    const int column = tile_->GetFirstColumn();
    const int row = tile_->GetFirstRow();
    *range = tile_->GetRange(firstColumn - column, lastColumn - column, firstRow - row, lastRow - row);
    return true;
  }

  /// The cell that holds (x, y). On the last column and row of posts, which begin no cell, the cell before it.
  void GetCell(double x, double y, int* column, int* row) const {
    *column = Floor(x);
    *row = Floor(y);
    if (*column == columns_ && x == columns_ && period_ == 0) --*column;
    if (*row == rows_ && y == rows_) --*row;
  }

 private:
  int Wrap(int column) const {
    const int rest = column % period_;
    return rest < 0 ? rest + period_ : rest;
  }

  bool LoadVoid(TCell* cell) const {
    *cell = {};
    cell->c[0] = voidHeight_;
    return !std::isnan(voidHeight_);
  }

  bool EnterCell(int column, int row) { return Enter(column / size_, row / size_); }

  bool Enter(int tileColumn, int tileRow) {
    if (tileColumn != tileColumn_ || tileRow != tileRow_) {
      tile_ = tiles_.GetTile(tileColumn, tileRow);
      tileColumn_ = tileColumn;
      tileRow_ = tileRow;
    }
    return tile_ != nullptr;
  }

  const THeightTiles& tiles_;
  int size_;
  int period_;
  int columns_;
  int rows_;
  bool bicubic_;
  double voidHeight_;
  std::shared_ptr<const THeightTile> tile_;
  int tileColumn_ = -1;
  int tileRow_ = -1;
};

}  // namespace SatCommonUtils::terrain
