#pragma once
/// \file
/// How an image looks at the ground: direction of the line of sight, size of a pixel, footprint and its area.

#include <limits>
#include <vector>

#include "../frame/api.h"
#include "../geometry/polygon.h"
#include "ground_state.h"
#include "rpc_axes.h"
#include "rpc_model.h"

namespace SatCommonUtils {

/// How one image point looks at the ground. All numbers are NaN unless the state is `Converged`.
struct TViewingGeometry {
  static constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();  ///< what is not known

  TGroundState state = TGroundState::NotRun;  ///< how the search for the ground points ended
  TGroundPoint ground{kNaN, kNaN, kNaN};      ///< what the image point shows
  double east = kNaN;        ///< of the unit vector along the line of sight, from the ground towards the sensor
  double north = kNaN;       ///< of the same
  double up = kNaN;          ///< of the same: along the normal of the WGS84 ellipsoid
  double incidence = kNaN;   ///< between the line of sight and the normal of the ellipsoid, degrees
  double azimuth = kNaN;     ///< towards the sensor, clockwise from north, 0 to 360 degrees
  double lineSize = kNaN;    ///< on the ground between the centres of neighbouring lines, metres
  double sampleSize = kNaN;  ///< the same of neighbouring samples
  /// Ground sample distance, metres: the side of a square as large as a pixel on the ground.
  double gsd = kNaN;

  /// True for `Converged`.
  explicit operator bool() const noexcept { return state == TGroundState::Converged; }
};

/// The geometry of an image point at a height. The line of sight leads through the ground points of the image point
/// above and below that height, up to 250 m off as the model's heights reach. Sizes are those of a plane at that
/// height. Of a radar image the line is no line of sight: see `AsRadar`.
/// \param line, sample pixels. \param h metres above the ellipsoid. Any number of threads may call.
ORBMATH_API TViewingGeometry ViewingGeometryAt(const TRPC& model, double line, double sample, double h);

/// What the same numbers mean for a radar image: points of equal line and sample lie on a circle around the sensor's
/// path, at right angles to the line of sight, which leans the other way.
ORBMATH_API TViewingGeometry AsRadar(const TViewingGeometry& geometry) noexcept;

/// The outline of an image on the ground at one height.
struct TImageFootprint {
  TGroundState state = TGroundState::NotRun;  ///< `Converged`, or how the first search that failed ended
  double height = 0.0;                        ///< metres above the ellipsoid
  /// Counter-clockwise, x the longitude in the turn of the model, y the latitude, degrees; empty unless `Converged`.
  TPolygon ring;
  double area = std::numeric_limits<double>::quiet_NaN();  ///< square metres on the ellipsoid

  /// True for `Converged`.
  explicit operator bool() const noexcept { return state == TGroundState::Converged; }
};

/// The footprint of the whole raster, or, size unknown, of what the record normalises to -1 ... +1.
/// \param h metres above the ellipsoid. \param pointsPerSide at least 1: 1 gives the four corners. Any number of
/// threads may call.
ORBMATH_API TImageFootprint FootprintAt(const TRPC& model, double h, int pointsPerSide = 8);

/// Area of a polygon on the WGS84 ellipsoid, square metres, whatever its sense; x longitude, y latitude, degrees.
/// Between vertices longitude and equal-area northing change together. Parts that a ring winds around in opposite
/// senses cancel.
ORBMATH_API double EllipsoidArea(const TPolygon& polygon);

/// Polygons as maps want them (RFC 7946): what reaches beyond the longitudes -180 to 180 is cut there and brought in.
/// \param polygon simple, x longitude in any turn, y latitude, degrees. \return its parts; the polygon as it is when it
/// cannot be cut.
ORBMATH_API std::vector<TPolygon> CutAtAntimeridian(const TPolygon& polygon);

}  // namespace SatCommonUtils
