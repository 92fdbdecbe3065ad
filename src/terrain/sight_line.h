#pragma once
// A line of sight as polynomials of the height, in the coordinates of the surface that it is to meet.

#include <cstddef>

#include "rpc/rpc_model.h"
#include "terrain/height_grid.h"

namespace SatCommonUtils::terrain {

/// Roughly, of latitude; of longitude no more.
constexpr double kMetresPerDegree = 111320.0;

/// Coefficients of 1, u, u^2 and u^3.
constexpr int kTerms = 4;

/// What a line of sight tells at a height. The last two are there only where the grid has a mapping: elsewhere latitude
/// and longitude follow from column and row.
enum TComponent { kColumn, kRow, kClearance, kLatitude, kLongitude, kComponents };

inline double Evaluate(const double* c, double u) { return c[0] + u * (c[1] + u * (c[2] + u * c[3])); }
inline double Slope(const double* c, double u) { return c[1] + u * (2.0 * c[2] + u * 3.0 * c[3]); }

/// The line of sight of one image point between two heights, h = center + half u with u from -1 to 1.
struct TSightLine {
  double center;
  double half;
  /// Column, row, height above the base, and latitude and longitude in the turn of the model, each in powers of u.
  double c[kComponents][kTerms];

  double GetHeight(double u) const { return center + half * u; }
  double GetU(double h) const { return (h - center) / half; }
};

/// The model and the parts of the surface that are looked at. A surface without cells stands as longitude ("column")
/// and latitude ("row") themselves.
struct TScene {
  const TRPC* model = nullptr;
  const THeightSurface* surface = nullptr;
  const THeightGrid* grid = nullptr;     ///< null: a surface without cells
  const THeightSurface* base = nullptr;  ///< what the grid's heights count from; null: the ellipsoid
  bool mapped = false;                   ///< the grid has a mapping
  double turn = 0.0;                     ///< degrees that bring the model's longitudes to the turn of the grid
  /// Without a mapping: lon = g[0] + column g[1] + row g[2], lat = g[3] + column g[4] + row g[5].
  double ground[6] = {0.0, 1.0, 0.0, 0.0, 0.0, 1.0};
  double metresPerUnit = kMetresPerDegree;  ///< of a column or row, roughly

  /// The components that a sight line needs: without a base the clearance is the height itself.
  int CountComponents() const { return mapped ? kComponents : (base != nullptr ? kLatitude : kClearance); }
  void GetLatLon(const TSightLine& line, double u, double* lat, double* lon) const;
  /// Column, row and height of the base of ground points, longitudes in the turn of the model.
  void Place(std::size_t count, const double* lat, const double* lon, double* column, double* row, double* base) const;
};

/// The box of the ground that the image can show at any height; false when no point of it can be had.
bool GetGroundBox(const TRPC& model, TTerrainBox* box);

TScene MakeScene(const TRPC& model, const THeightSurface& surface);

/// From values at four nodes to coefficients: `c[k] = sum of m[k][i] f[i]`.
struct TFourNodes {
  explicit TFourNodes(const double* nodes);
  double m[kTerms][kTerms];
};

/// The largest error of an interpolated line of sight, metres, that is let pass.
constexpr double kSightTolerance = 2e-5;

enum class TSightState {
  Good,
  Void,    ///< The base or the grid's mapping is unknown on the line.
  Coarse,  ///< The polynomials miss the line by more than the tolerance.
  Failed,  ///< The model gives no ground points.
};

/// The line of sight of one image point from inversions of the model.
TSightState BuildSightLine(const TScene& scene, double line, double sample, double lowest, double highest,
                           TSightLine* sight);

/// The larger of what two sets of components differ by, metres.
double GetMiss(const TScene& scene, const double* a, const double* b);

}  // namespace SatCommonUtils::terrain
