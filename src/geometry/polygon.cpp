// Polygons in the plane: the shoelace formula and the crossing number; elementary. Sides are decided without rounding
// error, see segments.h.

#include "geometry/polygon.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "geometry/segments.h"

namespace SatCommonUtils {
namespace {

/// Extends [lowest, highest] by a value; a NaN compares false and changes nothing.
void Extend(double value, double* lowest, double* highest) {
  if (value < *lowest) *lowest = value;
  if (value > *highest) *highest = value;
}

bool IsFinite(const xy_d& p) { return std::isfinite(p.x) && std::isfinite(p.y); }

}  // namespace

TPolygon::TPolygon(std::vector<xy_d> vertices) : vertices_(std::move(vertices)) {}

TPolygon::~TPolygon() = default;

TPolygon::operator bool() const { return vertices_.size() > 2; }

void TPolygon::SetVertices(std::vector<xy_d> vertices) noexcept { vertices_ = std::move(vertices); }

void TPolygon::Clear() noexcept { vertices_.clear(); }

double TPolygon::GetSignedArea() const {
  if (vertices_.size() < 3) return 0.0;
  // The shoelace formula on differences to the first vertex: a small ring far from the origin keeps its digits.
  const xy_d& origin = vertices_.front();
  double doubled = 0.0;
  for (std::size_t i = 1; i + 1 < vertices_.size(); ++i) {
    const xy_d& a = vertices_[i];
    const xy_d& b = vertices_[i + 1];
    doubled += (a.x - origin.x) * (b.y - origin.y) - (a.y - origin.y) * (b.x - origin.x);
  }
  return doubled / 2.0;
}

bool TPolygon::GetBoundingBox(xy_d* lowest, xy_d* highest) const {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  xy_d low(kInfinity, kInfinity);
  xy_d high(-kInfinity, -kInfinity);
  for (const xy_d& vertex : vertices_) {
    Extend(vertex.x, &low.x, &high.x);
    Extend(vertex.y, &low.y, &high.y);
  }
  if (!(low.x <= high.x && low.y <= high.y)) return false;
  *lowest = low;
  *highest = high;
  return true;
}

bool TPolygon::Contains(const xy_d& point) const {
  if (vertices_.size() < 3) return false;
  bool inside = false;
  for (std::size_t i = 0, last = vertices_.size() - 1; i < vertices_.size(); last = i++) {
    const xy_d& a = vertices_[last];
    const xy_d& b = vertices_[i];
    if (IsOnSegment(point, a, b)) return true;
    // The half-open rule on y lets each vertex count for one of its two edges only.
    const bool upward = a.y <= point.y && point.y < b.y;
    const bool downward = b.y <= point.y && point.y < a.y;
    if (!upward && !downward) continue;
    if (Orientation(a, b, point) == (upward ? 1 : -1)) inside = !inside;
  }
  return inside;
}

double TPolygon::GetDistanceToBoundary(const xy_d& point) const {
  double nearest = std::numeric_limits<double>::infinity();
  for (std::size_t i = 0, last = vertices_.size() - 1; i < vertices_.size(); last = i++) {
    const double distance = DistanceToSegment(point, vertices_[last], vertices_[i]);
    if (!(distance >= nearest)) nearest = distance;
  }
  return nearest;
}

bool TPolygon::IsSimple() const {
  const std::size_t count = vertices_.size();
  if (count < 3 || !std::all_of(vertices_.begin(), vertices_.end(), IsFinite)) return false;
  for (std::size_t i = 0; i < count; ++i) {
    const xy_d& a = vertices_[i];
    const xy_d& b = vertices_[(i + 1) % count];
    const xy_d& c = vertices_[(i + 2) % count];
    // Neighbours share one vertex and nothing else: no spike back along the edge.
    if (a == b || IsOnSegment(c, a, b) || IsOnSegment(a, b, c)) return false;
    for (std::size_t j = i + 2; j < count; ++j) {
      if (i == 0 && j + 1 == count) continue;
      if (SegmentsMeet(a, b, vertices_[j], vertices_[(j + 1) % count])) return false;
    }
  }
  return true;
}

}  // namespace SatCommonUtils
