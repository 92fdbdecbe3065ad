// Lines of sight, pixels and outlines of images on the ground. Elementary; the ellipsoid's formulas in ellipsoid.h.

#include "rpc/viewing_geometry.h"

#include <algorithm>
#include <cmath>

#include "geometry/polygon_intersection.h"
#include "rpc/ellipsoid.h"
#include "rpc/ground_solution.h"
#include "rpc/rpc_boxes.h"

namespace SatCommonUtils {

namespace {

// Half of the way along which a line of sight is taken, metres: long beside the error of a record's fit, which is
// some hundredths of a pixel, short beside the heights of most records.
constexpr double kHalfSight = 250.0;

double HalfSightOf(const TRPC& model) {
  const double scale = std::abs(model.GetNormalization().height.GetScale());
  return std::clamp(0.5 * scale, 1.0, kHalfSight);
}

TGroundPoint PointOf(const TGroundSolution& solution) { return {solution.lat, solution.lon, solution.h}; }

/// Sizes of a pixel from the derivatives of line and sample by metres towards east and north.
void SetPixel(const TRPC& model, TViewingGeometry* out) {
  double line, sample, dLine[3], dSample[3];
  model.CalculateLineSample(out->ground.lat, out->ground.lon, out->ground.h, &line, &sample, dLine, dSample);
  const ellipsoid::TDegree degree = ellipsoid::DegreeAt(out->ground.lat, out->ground.h);
  const double lineNorth = dLine[0] / degree.north, lineEast = dLine[1] / degree.east;
  const double sampleNorth = dSample[0] / degree.north, sampleEast = dSample[1] / degree.east;
  const double determinant = std::abs(lineNorth * sampleEast - lineEast * sampleNorth);
  // Columns of the inverse of the two by two matrix: the ground that a line, and a sample, steps over.
  out->lineSize = std::hypot(sampleNorth, sampleEast) / determinant;
  out->sampleSize = std::hypot(lineNorth, lineEast) / determinant;
  out->gsd = 1.0 / std::sqrt(determinant);
}

void SetSight(const ellipsoid::TVector& sight, TViewingGeometry* out) {
  out->east = sight.x;
  out->north = sight.y;
  out->up = sight.z;
  out->incidence = std::atan2(std::hypot(sight.x, sight.y), sight.z) / ellipsoid::kRadian;
  const double azimuth = std::atan2(sight.x, sight.y) / ellipsoid::kRadian;
  out->azimuth = azimuth < 0.0 ? azimuth + 360.0 : azimuth;
}

}  // namespace

TViewingGeometry ViewingGeometryAt(const TRPC& model, double line, double sample, double h) {
  const double half = HalfSightOf(model);
  TViewingGeometry out;
  TGroundSolution at[3];
  const double heights[3] = {h - half, h, h + half};
  for (int k = 0; k < 3; ++k) {
    at[k] = SolveLatLon(model, line, sample, heights[k]);
    out.state = at[k].status.state;
    if (!out) return out;
  }
  out.ground = PointOf(at[1]);
  const ellipsoid::TVector rise = ellipsoid::PlaceOf(PointOf(at[2])) - ellipsoid::PlaceOf(PointOf(at[0]));
  SetSight(ellipsoid::AtGround(out.ground, (1.0 / ellipsoid::Length(rise)) * rise), &out);
  SetPixel(model, &out);
  return out;
}

TViewingGeometry AsRadar(const TViewingGeometry& geometry) noexcept {
  TViewingGeometry radar = geometry;
  const double flat = std::hypot(geometry.east, geometry.north);
  SetSight({-geometry.up * geometry.east / flat, -geometry.up * geometry.north / flat, flat}, &radar);
  return radar;
}

TImageFootprint FootprintAt(const TRPC& model, double h, int pointsPerSide) {
  const int side = std::max(1, pointsPerSide);
  const TImageBox image = ImageBoxOf(model, TRasterBounds::PixelEdges);
  const TNormalizedImagePoint corners[] = {{-1, -1}, {1, -1}, {1, 1}, {-1, 1}, {-1, -1}};
  TImageFootprint out;
  out.height = h;
  std::vector<xy_d> ring;
  for (int k = 0; k < 4; ++k) {
    for (int i = 0; i < side; ++i) {
      const double t = static_cast<double>(i) / side;
      const TImagePoint point = image.At({corners[k].line + t * (corners[k + 1].line - corners[k].line),
                                          corners[k].sample + t * (corners[k + 1].sample - corners[k].sample)});
      const TGroundSolution ground = SolveLatLon(model, point.line, point.sample, h);
      out.state = ground.status.state;
      if (!out) return out;
      ring.emplace_back(ground.lon, ground.lat);
    }
  }
  out.ring.SetVertices(std::move(ring));
  if (out.ring.GetSignedArea() < 0.0) {
    std::vector<xy_d> turned(out.ring.GetVertices().rbegin(), out.ring.GetVertices().rend());
    out.ring.SetVertices(std::move(turned));
  }
  out.area = EllipsoidArea(out.ring);
  return out;
}

double EllipsoidArea(const TPolygon& polygon) {
  std::vector<xy_d> flat;
  for (const xy_d& vertex : polygon.GetVertices()) {
    flat.emplace_back(vertex.x * ellipsoid::kRadian * ellipsoid::kAxis, ellipsoid::EqualAreaNorthing(vertex.y));
  }
  return std::abs(TPolygon(std::move(flat)).GetSignedArea());
}

std::vector<TPolygon> CutAtAntimeridian(const TPolygon& polygon) {
  xy_d low, high;
  if (!polygon.GetBoundingBox(&low, &high) || (low.x >= -180.0 && high.x <= 180.0)) return {polygon};
  std::vector<TPolygon> parts;
  // From the turn in which the polygon begins to that in which it ends.
  const double first = std::floor((low.x + 180.0) / 360.0), last = std::floor((high.x + 180.0) / 360.0);
  for (double turn = first; turn <= last; turn += 1.0) {
    const double west = 360.0 * turn - 180.0;
    const TPolygon window({{west, -91.0}, {west + 360.0, -91.0}, {west + 360.0, 91.0}, {west, 91.0}});
    std::vector<TPolygon> pieces;
    if (!IntersectPolygons(polygon, window, &pieces)) return {polygon};
    for (const TPolygon& piece : pieces) {
      std::vector<xy_d> moved = piece.GetVertices();
      for (xy_d& vertex : moved) vertex.x -= 360.0 * turn;
      parts.emplace_back(std::move(moved));
    }
  }
  return parts.empty() ? std::vector<TPolygon>{polygon} : parts;
}

}  // namespace SatCommonUtils
