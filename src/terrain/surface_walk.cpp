// Lines of sight over any surface: halving between bounds, then bisection-safeguarded false position.
//
// Source of the root finder's safeguard: G. E. Forsythe, M. A. Malcolm and C. B. Moler, "Computer Methods for
// Mathematical Computations" (1977), after R. P. Brent.

#include <algorithm>
#include <cmath>

#include "terrain/walk.h"

namespace SatCommonUtils::terrain {

namespace {

using TSide = TWalk::TSide;

/// Pieces of less height than this, metres, are judged by the signs at their ends.
constexpr double kShort = 0.5;
/// Pieces with one end in a void are halved on to this height, metres.
constexpr double kShortAtVoids = 1e-3;
constexpr int kMostPieces = 64;

struct TEnd {
  double u;
  double lat;
  double lon;
  double clearance;  ///< metres above the surface, NaN where it is unknown
};

TEnd GetEnd(const TScene& scene, const TSightLine& sight, double u) {
  TEnd end = {u, 0.0, 0.0, 0.0};
  scene.GetLatLon(sight, u, &end.lat, &end.lon);
  end.clearance = sight.GetHeight(u) - scene.surface->GetHeight(end.lat, end.lon);
  return end;
}

/// The place between `above` and `below` where the clearance changes its sign.
double FindRoot(const TScene& scene, const TSightLine& sight, TEnd above, TEnd below) {
  constexpr int kMostSteps = 100;
  constexpr double kClose = 1e-9;  // metres
  for (int step = 0; step < kMostSteps && above.u - below.u > 0.0; ++step) {
    // Every third step halves, so that a curve that hugs one end does not hold the search up.
    const double part = step % 3 == 2 ? 0.5 : above.clearance / (above.clearance - below.clearance);
    const double u = above.u - part * (above.u - below.u);
    if (!(u < above.u && u > below.u)) break;
    const TEnd middle = GetEnd(scene, sight, u);
    if (std::isnan(middle.clearance) || std::fabs(middle.clearance) <= kClose) return u;
    (middle.clearance >= 0.0 ? above : below) = middle;
  }
  return -below.clearance < above.clearance ? below.u : above.u;
}

/// The box around two ends, with room for the bending of the line between.
TTerrainBox GetBox(const TSightLine& sight, const TEnd& a, const TEnd& b, const TScene& scene) {
  const double du = a.u - b.u;
  // Columns stand for longitudes and rows for latitudes where there is no grid; of a grid their spacing counts.
  const double degrees = scene.metresPerUnit / kMetresPerDegree;
  const double bending = 0.125 * du * du * degrees *
                         (2.0 * (std::fabs(sight.c[kColumn][2]) + std::fabs(sight.c[kRow][2])) +
                          6.0 * (std::fabs(sight.c[kColumn][3]) + std::fabs(sight.c[kRow][3])));
  return {std::fmin(a.lat, b.lat) - bending, std::fmin(a.lon, b.lon) - bending, std::fmax(a.lat, b.lat) + bending,
          std::fmax(a.lon, b.lon) + bending};
}

/// A short piece, or one that bounds cannot tell more of.
bool JudgeBySigns(const TScene& scene, const TSightLine& sight, const TEnd& a, const TEnd& b, TWalk* walk,
                  double* crossing) {
  if (std::isnan(a.clearance) || std::isnan(b.clearance)) {
    walk->voids = true;
    walk->known = walk->known || !std::isnan(a.clearance) || !std::isnan(b.clearance);
    walk->side = std::isnan(b.clearance) ? TSide::Unknown : (b.clearance >= 0.0 ? TSide::Above : TSide::Below);
    return false;
  }
  walk->known = true;
  const bool wasAbove = walk->side == TSide::Above || a.clearance >= 0.0;
  walk->side = b.clearance >= 0.0 ? TSide::Above : TSide::Below;
  if (!wasAbove || walk->side == TSide::Above) return false;
  *crossing = a.clearance >= 0.0 ? FindRoot(scene, sight, a, b) : a.u;
  return true;
}

}  // namespace

bool WalkSurface(const TScene& scene, const TSightLine& sight, double top, double bottom, TWalk* walk,
                 double* crossing) {
  struct TPiece {
    TEnd top;
    TEnd bottom;
  };
  if (!(top > bottom)) return false;
  TPiece waiting[kMostPieces];
  int count = 0;
  waiting[count++] = {GetEnd(scene, sight, top), GetEnd(scene, sight, bottom)};
  while (count > 0) {
    const TPiece piece = waiting[--count];
    const double high = sight.GetHeight(piece.top.u);
    const double low = sight.GetHeight(piece.bottom.u);
    const THeightRange range = scene.surface->GetRange(GetBox(sight, piece.top, piece.bottom, scene));
    if (!range.IsKnown()) {
      walk->voids = true;
      walk->side = TSide::Unknown;
      continue;
    }
    if (!range.voids || walk->voids) {
      const bool above = low > range.highest;
      if (above || high < range.lowest) {
        walk->side = above ? TSide::Above : TSide::Below;
        walk->known = true;
        continue;
      }
    }
    const double middle = 0.5 * (piece.top.u + piece.bottom.u);
    const bool atVoid = std::isnan(piece.top.clearance) != std::isnan(piece.bottom.clearance);
    if (high - low <= (atVoid ? kShortAtVoids : kShort) || count + 2 > kMostPieces || middle >= piece.top.u ||
        middle <= piece.bottom.u) {
      if (JudgeBySigns(scene, sight, piece.top, piece.bottom, walk, crossing)) return true;
      continue;
    }
    const TEnd between = GetEnd(scene, sight, middle);
    waiting[count++] = {between, piece.bottom};
    waiting[count++] = {piece.top, between};
  }
  return false;
}

}  // namespace SatCommonUtils::terrain
