#pragma once
// PROJ's way between two reference systems, for any number of threads.

#include <ogr_spatialref.h>

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

namespace SatCommonUtils {

/// Points from one plane system to another. A transformation of GDAL is one thread's at a time: those that wait are
/// kept, and a thread that finds none makes its own.
class PlaneTransformation {
 public:
  /// Null when PROJ has no way. \param with_heights heights are to be transformed too: ways that leave them as they are
  /// for want of a grid do not count.
  static std::shared_ptr<const PlaneTransformation> Make(const OGRSpatialReference& from, const OGRSpatialReference& to,
                                                         bool with_heights = false);
  /// In place; NaN where there is no result. \param z heights that go along, or null.
  void Run(std::size_t count, double* x, double* y, double* z = nullptr) const;

 private:
  struct Destroy {
    void operator()(OGRCoordinateTransformation* transformation) const {
      OGRCoordinateTransformation::DestroyCT(transformation);
    }
  };
  using Handle = std::unique_ptr<OGRCoordinateTransformation, Destroy>;

  explicit PlaneTransformation(Handle first) { free_.push_back(std::move(first)); }
  Handle Take() const;

  mutable std::mutex mutex_;
  mutable std::vector<Handle> free_;
};

/// WGS84 as longitude and latitude, in this order.
OGRSpatialReference Wgs84();

/// The horizontal part of a system, x before y.
OGRSpatialReference HorizontalPart(const OGRSpatialReference& system);

/// The turn in which a system counts x, where that is a longitude: PROJ gives longitudes in its own, and what lies
/// across its end would fall apart.
class LongitudeTurn {
 public:
  explicit LongitudeTurn(const OGRSpatialReference& plane);
  /// Brings each x to within half a turn of `center`; nothing changes where x is no longitude.
  void Bring(double center, std::size_t count, double* x) const;

 private:
  double turn_;  ///< in the system's unit; 0 where x is no longitude
};

/// Whether coordinates in `plane` are longitudes and latitudes of WGS84.
bool IsWgs84(const OGRSpatialReference& plane);

}  // namespace SatCommonUtils
