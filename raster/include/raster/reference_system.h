#pragma once
/// \file
/// Ground points in any reference system: to WGS84 and back, by PROJ.

#include <cstddef>
#include <memory>
#include <string>

#include "api.h"

namespace SatCommonUtils {

/// The two ways between a reference system and WGS84. Any number of threads may call.
class ORBMATH_RASTER_API TReferenceSystem {
 public:
  // Inline, so that a host that loads the library at run time needs none of its symbols.
  virtual ~TReferenceSystem() = default;

  /// True when the first two coordinates are longitude and latitude in degrees.
  virtual bool IsGeographic() const = 0;
  /// The system's name in the EPSG registry or in its own definition.
  virtual const std::string& Name() const = 0;

  /// Points of the system to WGS84, `count` of them, in place. \param x, y, z in: east and north (or longitude and
  /// latitude, degrees), in this order whatever the registry says, and height; out: longitude and latitude, degrees,
  /// and height above the ellipsoid, metres. A system of two dimensions leaves the height as it is. Points that PROJ
  /// cannot map are NaN.
  virtual void ToWgs84(std::size_t count, double* x, double* y, double* z) const = 0;
  /// The way back; the same arrays with in and out exchanged.
  virtual void FromWgs84(std::size_t count, double* x, double* y, double* z) const = 0;
};

/// Opens a reference system. \param definition "EPSG:32631", "EPSG:32631+5773", WKT, PROJ's strings: what PROJ
/// understands. \param error may be null; one sentence on failure. \return null on failure.
ORBMATH_RASTER_API std::shared_ptr<const TReferenceSystem> OpenReferenceSystem(const std::string& definition,
                                                                               std::string* error);

}  // namespace SatCommonUtils
