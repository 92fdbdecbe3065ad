// Bands of heights as grids: in memory, or in tiles read when they are needed.

#include "height_raster.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <mutex>
#include <utility>
#include <vector>

#include "plane_transformation.h"

namespace SatCommonUtils {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
/// Cells along a side of a tile.
constexpr int kTileSize = 256;
/// Memory of a post in a grid: its height and its share of the pyramid.
constexpr double kBytesOfPost = 15.0;

/// Reads posts of one band. GDAL's datasets are one thread's at a time.
class BandReader {
 public:
  BandReader(DatasetHandle dataset, const BandHeights& heights)
      : dataset_(std::move(dataset)), band_(dataset_->GetRasterBand(1)), heights_(heights) {
    masked_ = (band_->GetMaskFlags() & GMF_ALL_VALID) == 0;
  }

  int Columns() const { return dataset_->GetRasterXSize(); }
  int Rows() const { return dataset_->GetRasterYSize(); }

  /// `columns` x `rows` posts from (column, row), all inside the raster, into rows that lie `stride` apart.
  bool Read(int column, int row, int columns, int rows, double* posts, std::size_t stride) const {
    const GdalSession session;
    const std::lock_guard<std::mutex> lock(mutex_);
    const GSpacing line = static_cast<GSpacing>(stride) * static_cast<GSpacing>(sizeof(double));
    if (band_->RasterIO(GF_Read, column, row, columns, rows, posts, columns, rows, GDT_Float64, sizeof(double), line,
                        nullptr) != CE_None) {
      return false;
    }
    std::vector<unsigned char> mask;
    if (masked_) {
      mask.resize(std::size_t(columns) * rows);
      if (band_->GetMaskBand()->RasterIO(GF_Read, column, row, columns, rows, mask.data(), columns, rows, GDT_Byte, 0,
                                         0, nullptr) != CE_None) {
        return false;
      }
    }
    for (int r = 0; r < rows; ++r) {
      for (int c = 0; c < columns; ++c) {
        double& h = posts[r * stride + c];
        const bool known = !masked_ || mask[std::size_t(r) * columns + c] != 0;
        h = known ? h * heights_.scale + heights_.offset : kNaN;
      }
    }
    return true;
  }

 private:
  DatasetHandle dataset_;
  GDALRasterBand* band_;
  BandHeights heights_;
  bool masked_ = false;
  mutable std::mutex mutex_;
};

/// The tiles of a raster that does not fit in memory.
class BandTiles final : public THeightTiles {
 public:
  BandTiles(std::unique_ptr<BandReader> reader, const THeightGridFrame& frame)
      : reader_(std::move(reader)),
        interpolation_(frame.interpolation),
        voidHeight_(frame.voidHeight),
        period_(FindPeriod(frame)) {}

  int GetTileSize() const noexcept override { return kTileSize; }

  std::shared_ptr<const THeightTile> GetTile(int tileColumn, int tileRow) const override {
    const int column = tileColumn * kTileSize;
    const int row = tileRow * kTileSize;
    const int columns = std::min(kTileSize, (period_ > 0 ? period_ : reader_->Columns() - 1) - column);
    const int rows = std::min(kTileSize, reader_->Rows() - 1 - row);
    const std::size_t stride = std::size_t(columns) + 3;
    std::vector<double> posts(stride * (std::size_t(rows) + 3), kNaN);
    // One more post on each side, as far as there are any; on the other side of the Earth where the grid is closed.
    const int firstRow = std::max(row - 1, 0);
    const int lastRow = std::min(row + rows + 1, reader_->Rows() - 1);
    double* const first = posts.data() + std::size_t(firstRow - row + 1) * stride;
    for (int at = column - 1; at <= column + columns + 1;) {
      const int width = period_ > 0 ? period_ : reader_->Columns();
      const int from = period_ > 0 ? (at + width) % width : at;
      const int part = std::min(column + columns + 2 - at, from < 0 ? -from : width - from);
      if (from >= width) break;
      if (from >= 0) {
        const int readRows = lastRow - firstRow + 1;
        double* const to = first + (at - column + 1);
        if (!reader_->Read(from, firstRow, part, readRows, to, stride)) return nullptr;
        for (int r = 0; r < readRows; ++r) FillVoids(to + r * stride, part);
      }
      at += part;
    }
    return std::make_shared<THeightTile>(column, row, columns, rows, std::move(posts), interpolation_);
  }

 private:
  /// Not of the posts around the raster, which are none: there the surface is continued.
  void FillVoids(double* posts, int count) const {
    std::replace_if(
        posts, posts + count, [](double h) { return std::isnan(h); }, voidHeight_);
  }

  std::unique_ptr<BandReader> reader_;
  THeightInterpolation interpolation_;
  double voidHeight_;
  int period_;
};

/// PROJ's way from longitudes and latitudes to a plane.
class ProjMapping final : public TGridMapping {
 public:
  /// \param center x of the grid's middle.
  ProjMapping(std::shared_ptr<const PlaneTransformation> way, const LongitudeTurn& turn, double center)
      : way_(std::move(way)), turn_(turn), center_(center) {}

  void Map(std::size_t count, const double* lat, const double* lon, double* x, double* y) const override {
    std::copy_n(lon, count, x);
    std::copy_n(lat, count, y);
    way_->Run(count, x, y);
    turn_.Bring(center_, count, x);
  }

 private:
  std::shared_ptr<const PlaneTransformation> way_;
  LongitudeTurn turn_;
  double center_;
};

}  // namespace

std::shared_ptr<const THeightGrid> MakeGrid(DatasetHandle dataset, THeightGridFrame frame, const BandHeights& heights,
                                            std::size_t cacheBytes, std::string* error) {
  auto reader = std::make_unique<BandReader>(std::move(dataset), heights);
  frame.columns = reader->Columns();
  frame.rows = reader->Rows();
  frame.pixelIsArea = true;
  try {
    const double posts = double(frame.columns) * frame.rows;
    if (posts * kBytesOfPost > double(cacheBytes)) {
      auto tiles = std::make_shared<BandTiles>(std::move(reader), frame);
      return std::make_shared<THeightGrid>(frame, std::make_shared<THeightTileCache>(std::move(tiles), cacheBytes));
    }
    std::vector<double> all(std::size_t(frame.columns) * frame.rows);
    if (!reader->Read(0, 0, frame.columns, frame.rows, all.data(), std::size_t(frame.columns))) {
      *error = "its heights cannot be read";
      return nullptr;
    }
    return std::make_shared<THeightGrid>(frame, all);
  } catch (const std::exception& refused) {
    *error = refused.what();
    return nullptr;
  }
}

double GetCenterX(GDALDataset& dataset, const double* transform) {
  return transform[0] + 0.5 * (dataset.GetRasterXSize() * transform[1] + dataset.GetRasterYSize() * transform[2]);
}

bool MakeMapping(const OGRSpatialReference& system, double center, std::shared_ptr<const TGridMapping>* mapping) {
  mapping->reset();
  // The horizontal part alone: heights are brought to the ellipsoid by the geoid grids.
  const OGRSpatialReference plane = HorizontalPart(system);
  if (IsWgs84(plane)) return true;
  auto way = PlaneTransformation::Make(Wgs84(), plane);
  if (way == nullptr) return false;
  *mapping = std::make_shared<ProjMapping>(std::move(way), LongitudeTurn(plane), center);
  return true;
}

}  // namespace SatCommonUtils
