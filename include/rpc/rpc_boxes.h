#pragma once
/// \file
/// Where a model is at home: a box of the image and a box of the ground.
///
/// A box is its axes, normalised so that -1 and +1 are its edges. Edges belong to it; a NaN is never inside.

#include <vector>

#include "../frame/api.h"
#include "../poly/linear_normalization.h"
#include "rpc_axes.h"

namespace SatCommonUtils {

class TRPC;

/// Where the nodes of a grid lie on an axis of a box.
enum class TGridNodes {
  Ends,    ///< The first and the last on the edges; a single one in the middle.
  Middles  ///< In the middles of as many equal parts.
};

/// The normalised place, -1 to +1, of node `i` of `count`.
ORBMATH_API double GridPlace(int i, int count, TGridNodes nodes) noexcept;

/// A box of image points.
struct ORBMATH_API TImageBox {
  TLinearNormalization line;    ///< pixels
  TLinearNormalization sample;  ///< pixels

  /// How far out a point is, in half sizes of the box: the larger of both axes, 1 on the edge, NaN when one is NaN.
  double Remoteness(const TImagePoint& point) const noexcept;
  /// Whether the point lies in the box or on its edge.
  bool Contains(const TImagePoint& point) const noexcept;
  /// Distance in pixels from a point to the box, 0 inside, NaN when the point has one.
  double Distance(const TImagePoint& point) const noexcept;
  /// The point at a normalised place; (-1, -1) is the corner of least line and sample where the scales are positive.
  TImagePoint At(const TNormalizedImagePoint& place) const noexcept;
  /// `lines` times `samples` points, samples fastest.
  std::vector<TImagePoint> Grid(int lines, int samples, TGridNodes nodes) const;
};

/// What bounds a raster of known size.
enum class TRasterBounds {
  PixelEdges,   ///< -0.5 to size - 0.5: every position that lies on a pixel.
  PixelCentres  ///< 0 to size - 1.
};

/// The image of a model: its raster, or else, size unknown, what its record normalises to -1 ... +1.
ORBMATH_API TImageBox ImageBoxOf(const TRPC& model, TRasterBounds bounds = TRasterBounds::PixelEdges) noexcept;

/// A box of ground points. Longitudes count in the turn of the longitude axis' offset.
struct ORBMATH_API TGroundBox {
  TLinearNormalization latitude;   ///< degrees
  TLinearNormalization longitude;  ///< degrees
  TLinearNormalization height;     ///< metres

  /// Like that of an image box, of latitude and longitude; the height plays no part.
  double Remoteness(const TGroundPoint& point) const noexcept;
  /// The same of the height alone.
  double HeightRemoteness(double h) const noexcept;
  /// Whether latitude, longitude and height lie inside.
  bool Contains(const TGroundPoint& point) const noexcept;
  /// The point at a normalised place.
  TGroundPoint At(const TNormalizedGroundPoint& place) const noexcept;
  /// Points of a grid, heights fastest, then longitudes.
  std::vector<TGroundPoint> Grid(int latitudes, int longitudes, int heights, TGridNodes nodes) const;
};

/// What a model's record normalises to -1 ... +1 on the ground.
ORBMATH_API TGroundBox GroundBoxOf(const TRPC& model) noexcept;
/// The same of a normalisation.
ORBMATH_API TGroundBox GroundBoxOf(const TRPCNormalization& normalization) noexcept;

}  // namespace SatCommonUtils
