// Tiles of posts with a pyramid of bounds. Elementary.

#include "terrain/height_tile.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "frame/zxstd/message.h"
#include "terrain/cell.h"

namespace SatCommonUtils {

namespace {

/// Keys' kernel in two dimensions has weights whose absolute values sum to at most 1.25^2, so that heights leave the
/// range of the sixteen posts by at most (1.25^2 - 1) / 2 of its width.
constexpr double kOvershoot = 0.28125;

/// The derivative of Keys' cubic has weights of the differences of posts whose absolute values sum to at most 1.5, and
/// the kernel across it such of at most 1.25.
constexpr double kSlopeOvershoot = 1.875;

/// Nodes of the level that bounds a rectangle, in each direction, at most one more than this.
constexpr int kNodesAcross = 2;

constexpr float kInfinity = std::numeric_limits<float>::infinity();

float RoundDown(double x) {
  const float rounded = static_cast<float>(x);
  return rounded > x ? std::nextafter(rounded, -std::numeric_limits<float>::infinity()) : rounded;
}

float RoundUp(double x) {
  const float rounded = static_cast<float>(x);
  return rounded < x ? std::nextafter(rounded, std::numeric_limits<float>::infinity()) : rounded;
}

}  // namespace

THeightTile::THeightTile(int firstColumn, int firstRow, int columns, int rows, std::vector<double> posts,
                         THeightInterpolation interpolation)
    : firstColumn_(firstColumn), firstRow_(firstRow), columns_(columns), rows_(rows), posts_(std::move(posts)) {
  if (columns < 1 || rows < 1 || posts_.size() != (std::size_t(columns) + 3) * (std::size_t(rows) + 3)) {
    throw TZxMessage("a tile of heights needs one cell and three more posts than cells in each direction");
  }
  BuildPyramid(interpolation);
}

void THeightTile::TNode::Include(const TNode& other) {
  lowest = std::min(lowest, other.lowest);
  highest = std::max(highest, other.highest);
  byColumn = std::max(byColumn, other.byColumn);
  byRow = std::max(byRow, other.byRow);
  voids = voids || other.voids;
}

THeightTile::TNode THeightTile::BoundCell(const double* post, std::ptrdiff_t stride,
                                          THeightInterpolation interpolation) {
  if (interpolation == THeightInterpolation::Bilinear) {
    const double p00 = post[0];
    const double p10 = post[1];
    const double p01 = post[stride];
    const double p11 = post[stride + 1];
    if (std::isnan(p00 + p10 + p01 + p11)) return {kInfinity, -kInfinity, 0.0f, 0.0f, true};
    const auto [low, high] = std::minmax({p00, p10, p01, p11});
    return {RoundDown(low), RoundUp(high), RoundUp(std::max(std::fabs(p10 - p00), std::fabs(p11 - p01))),
            RoundUp(std::max(std::fabs(p01 - p00), std::fabs(p11 - p10))), false};
  }
  double p[4][4];
  if (!terrain::GatherPosts(post, stride, p)) return {kInfinity, -kInfinity, 0.0f, 0.0f, true};
  double low = p[0][0];
  double high = p[0][0];
  double byColumn = 0.0;
  double byRow = 0.0;
  for (int i = 0; i < 4; ++i) {
    const auto [lowest, highest] = std::minmax_element(p[i], p[i] + 4);
    low = std::min(low, *lowest);
    high = std::max(high, *highest);
    for (int j = 0; j < 3; ++j) {
      byColumn = std::max(byColumn, std::fabs(p[i][j + 1] - p[i][j]));
      byRow = std::max(byRow, std::fabs(p[j + 1][i] - p[j][i]));
    }
  }
  const double margin = kOvershoot * (high - low);
  return {RoundDown(low - margin), RoundUp(high + margin), RoundUp(kSlopeOvershoot * byColumn),
          RoundUp(kSlopeOvershoot * byRow), false};
}

void THeightTile::BuildPyramid(THeightInterpolation interpolation) {
  const auto addLevel = [this](int columns, int rows) -> TLevel& {
    const TNode empty = {kInfinity, -kInfinity, 0.0f, 0.0f, false};
    levels_.push_back({columns, rows, {}});
    levels_.back().nodes.assign(std::size_t(columns) * std::size_t(rows), empty);
    return levels_.back();
  };
  TLevel& first = addLevel((columns_ + 1) / 2, (rows_ + 1) / 2);
  for (int row = 0; row < rows_; ++row) {
    for (int column = 0; column < columns_; ++column) {
      first.nodes[std::size_t(row / 2) * first.columns + column / 2].Include(
          BoundCell(GetPost(column, row), GetStride(), interpolation));
    }
  }
  while (levels_.back().columns > 1 || levels_.back().rows > 1) {
    const int columns = levels_.back().columns;
    const int rows = levels_.back().rows;
    TLevel& level = addLevel((columns + 1) / 2, (rows + 1) / 2);
    const TLevel& finer = levels_[levels_.size() - 2];
    for (int row = 0; row < rows; ++row) {
      for (int column = 0; column < columns; ++column) {
        level.nodes[std::size_t(row / 2) * level.columns + column / 2].Include(
            finer.nodes[std::size_t(row) * columns + column]);
      }
    }
  }
}

THeightTile::TNode THeightTile::Bound(int firstColumn, int lastColumn, int firstRow, int lastRow) const {
  const int size = std::max(lastColumn - firstColumn, lastRow - firstRow) + 1;
  std::size_t level = 1;
  while (level < levels_.size() && (size >> level) >= kNodesAcross) ++level;
  const TLevel& nodes = levels_[level - 1];
  TNode bounds = {kInfinity, -kInfinity, 0.0f, 0.0f, false};
  for (int row = firstRow >> level; row <= lastRow >> level; ++row) {
    for (int column = firstColumn >> level; column <= lastColumn >> level; ++column) {
      bounds.Include(nodes.nodes[std::size_t(row) * nodes.columns + column]);
    }
  }
  return bounds;
}

THeightRange THeightTile::GetRange(int firstColumn, int lastColumn, int firstRow, int lastRow) const {
  const TNode bounds = Bound(firstColumn, lastColumn, firstRow, lastRow);
  return {bounds.lowest, bounds.highest, bounds.voids};
}

void THeightTile::GetSteepness(int firstColumn, int lastColumn, int firstRow, int lastRow, double* byColumn,
                               double* byRow) const {
  const TNode bounds = Bound(firstColumn, lastColumn, firstRow, lastRow);
  *byColumn = bounds.byColumn;
  *byRow = bounds.byRow;
}

std::size_t THeightTile::GetBytes() const noexcept {
  std::size_t bytes = sizeof(THeightTile) + posts_.capacity() * sizeof(double);
  for (const TLevel& level : levels_) bytes += sizeof(TLevel) + level.nodes.capacity() * sizeof(TNode);
  return bytes;
}

THeightTiles::~THeightTiles() = default;

}  // namespace SatCommonUtils
