// Height surfaces of one and two parts. Elementary.

#include "terrain/height_surface.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "frame/zxstd/message.h"

namespace SatCommonUtils {

namespace {

/// Points whose second heights are on the stack at a time.
constexpr std::size_t kBlock = 256;

void RequireBoth(const std::shared_ptr<const THeightSurface>& a, const std::shared_ptr<const THeightSurface>& b) {
  if (a == nullptr || b == nullptr) throw TZxMessage("a height surface is missing");
}

/// Heights of two surfaces, brought together point by point in the place of the first's.
template <class Join>
void GetJoined(const THeightSurface& first, const THeightSurface& second, std::size_t count, const double* lat,
               const double* lon, double* h, const Join& join) {
  double other[kBlock];
  for (std::size_t start = 0; start < count; start += kBlock) {
    const std::size_t part = std::min(kBlock, count - start);
    first.GetHeights(part, lat + start, lon + start, h + start);
    second.GetHeights(part, lat + start, lon + start, other);
    for (std::size_t i = 0; i < part; ++i) h[start + i] = join(h[start + i], other[i]);
  }
}

}  // namespace

THeightSurface::~THeightSurface() = default;

bool THeightSurface::Split(const THeightGrid**, const THeightSurface**) const { return false; }

double THeightSurface::GetHeight(double lat, double lon) const {
  double h = std::numeric_limits<double>::quiet_NaN();
  GetHeights(1, &lat, &lon, &h);
  return h;
}

void TConstantHeight::GetHeights(std::size_t count, const double*, const double*, double* h) const {
  std::fill_n(h, count, h_);
}

THeightRange TConstantHeight::GetRange(const TTerrainBox&) const { return {h_, h_, false}; }

THeightSum::THeightSum(std::shared_ptr<const THeightSurface> terrain, std::shared_ptr<const THeightSurface> base)
    : terrain_(std::move(terrain)), base_(std::move(base)) {
  RequireBoth(terrain_, base_);
}

void THeightSum::GetHeights(std::size_t count, const double* lat, const double* lon, double* h) const {
  GetJoined(*terrain_, *base_, count, lat, lon, h, [](double a, double b) { return a + b; });
}

THeightRange THeightSum::GetRange(const TTerrainBox& box) const {
  const THeightRange a = terrain_->GetRange(box);
  const THeightRange b = base_->GetRange(box);
  THeightRange sum;
  sum.voids = a.voids || b.voids;
  if (a.IsKnown() && b.IsKnown()) {
    sum.lowest = a.lowest + b.lowest;
    sum.highest = a.highest + b.highest;
  }
  return sum;
}

bool THeightSum::Split(const THeightGrid** grid, const THeightSurface** base) const {
  const THeightGrid* terrainGrid = nullptr;
  const THeightSurface* terrainBase = nullptr;
  // A sum of a sum has two bases: left to the general search.
  if (!terrain_->Split(&terrainGrid, &terrainBase) || terrainBase != nullptr) return false;
  *grid = terrainGrid;
  *base = base_.get();
  return true;
}

TFirstKnownHeight::TFirstKnownHeight(std::shared_ptr<const THeightSurface> first,
                                     std::shared_ptr<const THeightSurface> second)
    : first_(std::move(first)), second_(std::move(second)) {
  RequireBoth(first_, second_);
}

void TFirstKnownHeight::GetHeights(std::size_t count, const double* lat, const double* lon, double* h) const {
  GetJoined(*first_, *second_, count, lat, lon, h, [](double a, double b) { return std::isnan(a) ? b : a; });
}

THeightRange TFirstKnownHeight::GetRange(const TTerrainBox& box) const {
  const THeightRange a = first_->GetRange(box);
  if (!a.voids) return a;
  const THeightRange b = second_->GetRange(box);
  return {std::min(a.lowest, b.lowest), std::max(a.highest, b.highest), b.voids};
}

}  // namespace SatCommonUtils
