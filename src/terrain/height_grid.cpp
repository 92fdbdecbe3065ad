// Height grids. Elementary.

#include "terrain/height_grid.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <utility>

#include "frame/zxstd/message.h"
#include "rpc/longitude_turns.h"
#include "terrain/tile_cursor.h"

namespace SatCommonUtils {

namespace {

using terrain::TCell;
using terrain::TTileCursor;

constexpr std::size_t kBlock = 256;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// The longitudes of a closed grid make up 360 degrees to within this part of a column.
constexpr double kClosed = 1e-3;

void Include(const THeightRange& other, THeightRange* range) {
  range->lowest = std::min(range->lowest, other.lowest);
  range->highest = std::max(range->highest, other.highest);
  range->voids = range->voids || other.voids;
}

/// All of a grid as one tile.
class TWholeGrid final : public THeightTiles {
 public:
  explicit TWholeGrid(std::shared_ptr<const THeightTile> tile) : tile_(std::move(tile)) {}
  int GetTileSize() const noexcept override { return INT_MAX; }
  std::shared_ptr<const THeightTile> GetTile(int, int) const override { return tile_; }

 private:
  std::shared_ptr<const THeightTile> tile_;
};

int CellColumns(const THeightGridFrame& frame, int period) { return period > 0 ? period : frame.columns - 1; }

/// The posts of a tile over the whole grid: one more around, taken from the other side where the grid is closed.
std::vector<double> SurroundPosts(const THeightGridFrame& frame, int period, const std::vector<double>& heights,
                                  double noData) {
  const std::size_t stride = std::size_t(CellColumns(frame, period)) + 3;
  std::vector<double> posts(stride * (std::size_t(frame.rows) + 2), kNaN);
  for (int row = 0; row < frame.rows; ++row) {
    const double* from = heights.data() + std::size_t(row) * frame.columns;
    double* to = posts.data() + (std::size_t(row) + 1) * stride + 1;
    for (int column = period > 0 ? -1 : 0; column < (period > 0 ? period + 2 : frame.columns); ++column) {
      const double h = from[period > 0 ? (column + period) % period : column];
      to[column] = h == noData || std::isnan(h) ? frame.voidHeight : h;
    }
  }
  return posts;
}

}  // namespace

TGridMapping::~TGridMapping() = default;

int FindPeriod(const THeightGridFrame& frame) noexcept {
  const double* t = frame.transform;
  if (frame.mapping != nullptr || t[2] != 0.0 || t[4] != 0.0) return 0;
  const double columns = 360.0 / std::fabs(t[1]);
  const double whole = std::round(columns);
  return whole <= frame.columns && std::fabs(columns - whole) < kClosed ? static_cast<int>(whole) : 0;
}

THeightGrid::THeightGrid(const THeightGridFrame& frame, const std::vector<double>& heights, double noData)
    : frame_(frame) {
  Prepare();
  if (heights.size() != std::size_t(frame_.columns) * std::size_t(frame_.rows)) {
    throw TZxMessage("a height grid needs one height for each post");
  }
  tiles_ = std::make_shared<TWholeGrid>(
      std::make_shared<THeightTile>(0, 0, CellColumns(frame_, period_), frame_.rows - 1,
                                    SurroundPosts(frame_, period_, heights, noData), frame_.interpolation));
}

THeightGrid::THeightGrid(const THeightGridFrame& frame, std::shared_ptr<const THeightTiles> tiles)
    : frame_(frame), tiles_(std::move(tiles)) {
  if (tiles_ == nullptr) throw TZxMessage("a height grid needs tiles");
  Prepare();
}

THeightGrid::~THeightGrid() = default;

void THeightGrid::Prepare() {
  if (frame_.columns < 2 || frame_.rows < 2 || frame_.columns > INT_MAX / 4 || frame_.rows > INT_MAX / 4) {
    throw TZxMessage("a height grid needs at least 2 columns and 2 rows");
  }
  const double* t = frame_.transform;
  const double determinant = t[1] * t[5] - t[2] * t[4];
  if (!(std::fabs(determinant) > 0.0) || !std::isfinite(determinant)) {
    throw TZxMessage("the transform of a height grid is singular");
  }
  period_ = FindPeriod(frame_);
  const double half = frame_.pixelIsArea ? 0.5 : 0.0;
  inverse_[1] = t[5] / determinant;
  inverse_[2] = -t[2] / determinant;
  inverse_[4] = -t[4] / determinant;
  inverse_[5] = t[1] / determinant;
  inverse_[0] = -(inverse_[1] * t[0] + inverse_[2] * t[3]) - half;
  inverse_[3] = -(inverse_[4] * t[0] + inverse_[5] * t[3]) - half;
  if (frame_.mapping == nullptr) {
    const double column = 0.5 * (frame_.columns - 1) + half;
    const double row = 0.5 * (frame_.rows - 1) + half;
    centerLongitude_ = t[0] + column * t[1] + row * t[2];
  }
}

void THeightGrid::GetColumnsRows(std::size_t count, const double* lat, const double* lon, double* column,
                                 double* row) const {
  double mappedX[kBlock], mappedY[kBlock];
  for (std::size_t start = 0; start < count; start += kBlock) {
    const std::size_t part = std::min(kBlock, count - start);
    const double* x = lon + start;
    const double* y = lat + start;
    if (frame_.mapping != nullptr) {
      frame_.mapping->Map(part, lat + start, lon + start, mappedX, mappedY);
      x = mappedX;
      y = mappedY;
    }
    for (std::size_t i = 0; i < part; ++i) {
      const double xi = x[i];
      const double yi = y[i];
      column[start + i] = inverse_[0] + xi * inverse_[1] + yi * inverse_[2];
      row[start + i] = inverse_[3] + xi * inverse_[4] + yi * inverse_[5];
    }
  }
}

void THeightGrid::GetHeights(std::size_t count, const double* lat, const double* lon, double* h) const {
  TTileCursor cursor(*this);
  double turned[kBlock], column[kBlock], row[kBlock];
  // Neighbours often share a cell.
  TCell cell;
  int loadedColumn = INT_MIN;
  int loadedRow = INT_MIN;
  bool known = false;
  for (std::size_t start = 0; start < count; start += kBlock) {
    const std::size_t part = std::min(kBlock, count - start);
    for (std::size_t i = 0; i < part; ++i) {
      turned[i] = lon[start + i] + 360.0 * rpc::LongitudeTurns(centerLongitude_, lon[start + i]);
    }
    GetColumnsRows(part, lat + start, turned, column, row);
    for (std::size_t i = 0; i < part; ++i) {
      double& height = h[start + i];
      height = kNaN;
      if (!(std::fabs(column[i]) < terrain::kFarOut && std::fabs(row[i]) < terrain::kFarOut)) continue;
      int cellColumn, cellRow;
      cursor.GetCell(column[i], row[i], &cellColumn, &cellRow);
      if (cellColumn != loadedColumn || cellRow != loadedRow) {
        known = cursor.Load(cellColumn, cellRow, &cell);
        loadedColumn = cellColumn;
        loadedRow = cellRow;
      }
      if (!known) continue;
      const double x = column[i] - cellColumn;
      const double y = row[i] - cellRow;
      height = cursor.IsBicubic() ? terrain::BicubicGradient(cell, x, y).h : terrain::BilinearValue(cell, x, y);
    }
  }
}

THeightRange THeightGrid::GetCellRange(long firstColumn, long lastColumn, long firstRow, long lastRow) const {
  THeightRange range;
  const long columns = CellColumns(frame_, period_);
  const long rows = frame_.rows - 1;
  bool outside = firstRow < 0 || lastRow >= rows;
  if (period_ > 0 && lastColumn - firstColumn + 1 >= columns) {
    firstColumn = 0;
    lastColumn = columns - 1;
  } else if (period_ > 0 && (firstColumn < 0 || lastColumn >= columns)) {
    const long wrapped = (firstColumn % columns + columns) % columns;
    lastColumn += wrapped - firstColumn;
    firstColumn = wrapped;
    if (lastColumn >= columns) {
      // Over the seam: the columns on its other side by themselves.
      range = GetCellRange(0, lastColumn - columns, firstRow, lastRow);
      lastColumn = columns - 1;
    }
  }
  outside = outside || firstColumn < 0 || lastColumn >= columns;
  const auto addVoid = [this, &range] {
    if (std::isnan(frame_.voidHeight))
      range.voids = true;
    else
      Include({frame_.voidHeight, frame_.voidHeight, false}, &range);
  };
  if (outside) addVoid();
  firstColumn = std::max(firstColumn, 0L);
  lastColumn = std::min(lastColumn, columns - 1);
  firstRow = std::max(firstRow, 0L);
  lastRow = std::min(lastRow, rows - 1);
  if (firstColumn > lastColumn || firstRow > lastRow) return range;
  const long size = tiles_->GetTileSize();
  for (long tileRow = firstRow / size; tileRow <= lastRow / size; ++tileRow) {
    for (long tileColumn = firstColumn / size; tileColumn <= lastColumn / size; ++tileColumn) {
      const auto tile = tiles_->GetTile(static_cast<int>(tileColumn), static_cast<int>(tileRow));
      if (tile == nullptr) {
        addVoid();
        continue;
      }
      const long column = tile->GetFirstColumn();
      const long row = tile->GetFirstRow();
      Include(tile->GetRange(static_cast<int>(std::max(firstColumn, column) - column),
                             static_cast<int>(std::min(lastColumn, column + tile->GetColumns() - 1) - column),
                             static_cast<int>(std::max(firstRow, row) - row),
                             static_cast<int>(std::min(lastRow, row + tile->GetRows() - 1) - row)),
              &range);
    }
  }
  return range;
}

THeightRange THeightGrid::GetRange(const TTerrainBox& box) const {
  const double turn = 360.0 * rpc::LongitudeTurns(centerLongitude_, 0.5 * (box.west + box.east));
  TTerrainBox here = {box.south, box.west + turn, box.north, box.east + turn};
  THeightRange range = GetRangeInTurn(here);
  // What lies beyond half the Earth from the grid's middle is looked up on its other side.
  if (period_ == 0 && (here.east > centerLongitude_ + 180.0 || here.west < centerLongitude_ - 180.0)) {
    const double other = here.east > centerLongitude_ + 180.0 ? -360.0 : 360.0;
    here.west += other;
    here.east += other;
    Include(GetRangeInTurn(here), &range);
  }
  return range;
}

THeightRange THeightGrid::GetRangeInTurn(const TTerrainBox& box) const {
  // A mapping bends the box's edges and may turn it: nodes along and across it, and half their spacing around.
  constexpr int kNodes = 9;
  double lat[kNodes * kNodes], lon[kNodes * kNodes], column[kNodes * kNodes], row[kNodes * kNodes];
  for (int i = 0; i < kNodes * kNodes; ++i) {
    const int along = i % kNodes;
    const int across = i / kNodes;
    lat[i] = box.south + (box.north - box.south) * across / (kNodes - 1);
    lon[i] = box.west + (box.east - box.west) * along / (kNodes - 1);
  }
  GetColumnsRows(kNodes * kNodes, lat, lon, column, row);
  double low[2] = {HUGE_VAL, HUGE_VAL};
  double high[2] = {-HUGE_VAL, -HUGE_VAL};
  bool unmapped = false;
  for (int i = 0; i < kNodes * kNodes; ++i) {
    if (std::isnan(column[i] + row[i])) {
      unmapped = true;
      continue;
    }
    low[0] = std::min(low[0], column[i]);
    high[0] = std::max(high[0], column[i]);
    low[1] = std::min(low[1], row[i]);
    high[1] = std::max(high[1], row[i]);
  }
  if (low[0] > high[0])
    return {std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(), true};
  const auto whole = [](double x) { return static_cast<long>(std::floor(std::clamp(x, -1e9, 1e9))); };
  const double margin = frame_.mapping == nullptr ? 0.0 : 0.5 / (kNodes - 1);
  const double marginColumn = margin * (high[0] - low[0]);
  const double marginRow = margin * (high[1] - low[1]);
  THeightRange range = GetCellRange(whole(low[0] - marginColumn), whole(high[0] + marginColumn),
                                    whole(low[1] - marginRow), whole(high[1] + marginRow));
  range.voids = range.voids || unmapped;
  return range;
}

bool THeightGrid::Split(const THeightGrid** grid, const THeightSurface** base) const {
  *grid = this;
  *base = nullptr;
  return true;
}

}  // namespace SatCommonUtils
