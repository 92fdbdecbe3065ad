#pragma once
// Models with straight lines of sight and terrains that the tests share.

#include <algorithm>
#include <atomic>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

#include "rpc/rpc_model.h"
#include "terrain/height_grid.h"

namespace orbmath_test {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kMetresPerDegree = 111320.0;

/// A model about (lat 45, lon 7) with 10,000 lines and 8,000 samples of some half a metre. Each metre of height moves a
/// point by `tilt` metres against north-east in the image: the tangent of the angle from the vertical.
inline SatCommonUtils::TRPC TiltedModel(double tilt, double bend = 0.0) {
  SatCommonUtils::TRPCData record{};
  record.lineOffset = 5000.0;
  record.lineScale = 5000.0;
  record.sampOffset = 4000.0;
  record.sampScale = 4000.0;
  record.latOffset = 45.0;
  record.latScale = 0.0225;
  record.longOffset = 7.0;
  record.longScale = 0.0254;
  record.heightOffset = 1000.0;
  record.heightScale = 1000.0;
  for (int k = 0; k < 20; ++k) {
    record.lineNumCoef[k] = record.sampNumCoef[k] = record.lineDenCoef[k] = record.sampDenCoef[k] = 0.0;
  }
  record.lineDenCoef[0] = record.sampDenCoef[0] = 1.0;
  record.lineNumCoef[2] = -1.0;
  record.sampNumCoef[1] = 1.0;
  const double across = tilt * std::sqrt(0.5) * record.heightScale / kMetresPerDegree;
  record.lineNumCoef[3] = across / record.latScale;
  record.sampNumCoef[3] = -across / std::cos(45.0 * std::acos(-1.0) / 180.0) / record.longScale;
  // Terms of second and third order, as real models have them.
  record.lineNumCoef[5] = bend;
  record.sampNumCoef[9] = 0.7 * bend;
  record.lineDenCoef[3] = 0.5 * bend;
  record.sampNumCoef[12] = 0.1 * bend;
  return SatCommonUtils::TRPC(record, nullptr);
}

/// A surface given by a formula, with a bound of its slopes in metres per degree.
class Formula final : public SatCommonUtils::THeightSurface {
 public:
  Formula(std::function<double(double, double)> h, double steepest) : h_(std::move(h)), steepest_(steepest) {}
  void GetHeights(std::size_t count, const double* lat, const double* lon, double* h) const override {
    for (std::size_t i = 0; i < count; ++i) h[i] = h_(lat[i], lon[i]);
  }
  SatCommonUtils::THeightRange GetRange(const SatCommonUtils::TTerrainBox& box) const override {
    const double h = h_(0.5 * (box.south + box.north), 0.5 * (box.west + box.east));
    const double reach = 0.5 * steepest_ * std::hypot(box.north - box.south, box.east - box.west);
    return {std::fmax(h - reach, -100.0), std::fmin(h + reach, 2300.0), false};
  }

 private:
  std::function<double(double, double)> h_;
  double steepest_;
};

/// Ridges and a peak, up to 2,000 m high and steeper than 45 degrees.
inline double Mountain(double lat, double lon) {
  const double y = (lat - 45.0) * kMetresPerDegree;
  const double x = (lon - 7.0) * kMetresPerDegree * 0.7071;
  return 800.0 + 900.0 * std::exp(-(x * x + 1.3 * y * y) / 7e5) + 220.0 * std::sin(x / 120.0) * std::cos(y / 170.0);
}

/// Hills with slopes up to 17 degrees.
inline double GentleHills(double lat, double lon) {
  const double y = (lat - 45.0) * kMetresPerDegree;
  const double x = (lon - 7.0) * kMetresPerDegree * 0.7071;
  return 900.0 + 70.0 * std::sin(x / 250.0) * std::cos(y / 330.0);
}

/// A frame of geographic posts, row 0 in the north, 30 to 40 m apart, around the model's place.
inline SatCommonUtils::THeightGridFrame Frame(int columns = 281, int rows = 251) {
  SatCommonUtils::THeightGridFrame frame;
  frame.columns = columns;
  frame.rows = rows;
  const double transform[] = {6.94, 0.0005, 0.0, 45.05, 0.0, -0.0004};
  for (int i = 0; i < 6; ++i) frame.transform[i] = transform[i];
  return frame;
}

/// Heights at the posts of a frame.
template <class Function>
std::vector<double> Posts(const SatCommonUtils::THeightGridFrame& frame, const Function& h) {
  std::vector<double> posts;
  const double* t = frame.transform;
  for (int r = 0; r < frame.rows; ++r) {
    for (int c = 0; c < frame.columns; ++c) {
      posts.push_back(h(t[3] + c * t[4] + r * t[5], t[0] + c * t[1] + r * t[2]));
    }
  }
  return posts;
}

/// Tiles cut out of the posts of a grid, counting how often one is made.
class CutTiles final : public SatCommonUtils::THeightTiles {
 public:
  CutTiles(const SatCommonUtils::THeightGridFrame& frame, std::vector<double> posts, int size)
      : frame_(frame), size_(size), posts_(std::move(posts)) {}
  int GetTileSize() const noexcept override { return size_; }
  std::shared_ptr<const SatCommonUtils::THeightTile> GetTile(int column, int row) const override {
    if (++made > readable) return nullptr;
    const int columns = std::min(size_, frame_.columns - 1 - column * size_);
    const int rows = std::min(size_, frame_.rows - 1 - row * size_);
    std::vector<double> posts;
    for (int r = row * size_ - 1; r < row * size_ + rows + 2; ++r) {
      for (int c = column * size_ - 1; c < column * size_ + columns + 2; ++c) {
        const bool inside = r >= 0 && r < frame_.rows && c >= 0 && c < frame_.columns;
        posts.push_back(inside ? posts_[std::size_t(r) * frame_.columns + c] : kNaN);
      }
    }
    return std::make_shared<SatCommonUtils::THeightTile>(column * size_, row * size_, columns, rows, posts,
                                                         frame_.interpolation);
  }
  mutable std::atomic<int> made{0};
  int readable = std::numeric_limits<int>::max();  ///< tiles until the file breaks off

 private:
  SatCommonUtils::THeightGridFrame frame_;
  int size_;
  std::vector<double> posts_;
};

}  // namespace orbmath_test
