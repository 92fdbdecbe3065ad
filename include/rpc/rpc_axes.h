#pragma once
/// \file
/// The five axes of a sensor model: points of the image and of the ground, and their normalised forms.
///
/// Image and ground, pixels and normalised numbers are types of their own, so that a line cannot pass for a latitude.

#include "../frame/api.h"
#include "../poly/linear_normalization.h"
#include "rpc_data.h"

namespace SatCommonUtils {

/// A point of the image.
struct TImagePoint {
  double line = 0.0;    ///< pixels
  double sample = 0.0;  ///< pixels
};

/// A point on or above the ground.
struct TGroundPoint {
  double lat = 0.0;  ///< latitude, degrees
  double lon = 0.0;  ///< longitude, degrees
  double h = 0.0;    ///< height above the ellipsoid, metres
};

/// A point of the image in normalised coordinates, dimensionless.
struct TNormalizedImagePoint {
  double line = 0.0;    ///< -1 to 1 over the model's lines
  double sample = 0.0;  ///< -1 to 1 over the model's samples
};

/// A point of the ground in normalised coordinates, dimensionless: P, L and H of the terms (`rpc/rpc_terms.h`).
struct TNormalizedGroundPoint {
  double lat = 0.0;  ///< -1 to 1 over the model's latitudes: P
  double lon = 0.0;  ///< -1 to 1 over the model's longitudes: L
  double h = 0.0;    ///< -1 to 1 over the model's heights: H
};

/// `lon` moved by whole turns of 360 degrees to within 180 degrees of `center`; as it is where it is near already or
/// where one of the two is NaN.
ORBMATH_API double LongitudeNear(double center, double lon) noexcept;

/// The normalisations of the five axes of a record. A plain value; a new one is the identity on every axis.
struct ORBMATH_API TRPCNormalization {
  TLinearNormalization line;       ///< pixels
  TLinearNormalization sample;     ///< pixels
  TLinearNormalization latitude;   ///< degrees
  TLinearNormalization longitude;  ///< degrees
  TLinearNormalization height;     ///< metres

  TRPCNormalization() = default;
  /// The five pairs of a record as they stand, unset marks and zero scales included.
  explicit TRPCNormalization(const TRPCData& record) noexcept;
  /// Offset and scale NaN on every axis: what a model without a record has.
  static TRPCNormalization None() noexcept;

  /// The five axes of the inverse model: line and latitude have changed places, and so have sample and longitude.
  TRPCNormalization OfInverse() const noexcept;

  /// Writes the five pairs into a record; its coefficients stay.
  void CopyTo(TRPCData* record) const noexcept;
  /// True when all offsets and scales are finite, none is the unset mark and no scale is 0.
  bool IsUsable() const noexcept;

  /// Longitudes are taken in the turn of the longitude offset.
  TNormalizedGroundPoint Normalize(const TGroundPoint& point) const noexcept;
  /// Pixels to normalised.
  TNormalizedImagePoint Normalize(const TImagePoint& point) const noexcept;
  /// Normalised to degrees and metres.
  TGroundPoint Denormalize(const TNormalizedGroundPoint& point) const noexcept;
  /// Normalised to pixels.
  TImagePoint Denormalize(const TNormalizedImagePoint& point) const noexcept;
};

}  // namespace SatCommonUtils
