// Transformations between plane systems, one for each thread that works.

#include "plane_transformation.h"

#include <cmath>
#include <limits>
#include <utility>

#include "gdal_session.h"

namespace SatCommonUtils {

namespace {

constexpr double kPi = 3.14159265358979323846;

}  // namespace

std::shared_ptr<const PlaneTransformation> PlaneTransformation::Make(const OGRSpatialReference& from,
                                                                     const OGRSpatialReference& to, bool with_heights) {
  OGRCoordinateTransformationOptions options;
  if (with_heights) options.SetBallparkAllowed(false);
  Handle first(OGRCreateCoordinateTransformation(&from, &to, options));
  if (first == nullptr) return nullptr;
  return std::shared_ptr<const PlaneTransformation>(new PlaneTransformation(std::move(first)));
}

/// The first one always stays, as a pattern for others.
PlaneTransformation::Handle PlaneTransformation::Take() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (free_.size() > 1) {
    Handle transformation = std::move(free_.back());
    free_.pop_back();
    return transformation;
  }
  return Handle(free_.front()->Clone());
}

void PlaneTransformation::Run(std::size_t count, double* x, double* y, double* z) const {
  const GdalSession session;
  Handle transformation = Take();
  std::vector<int> success(count, 0);
  if (transformation != nullptr) {
    transformation->Transform(static_cast<int>(count), x, y, z, success.data());
  }
  for (std::size_t i = 0; i < count; ++i) {
    const bool good = success[i] != 0 && std::isfinite(x[i]) && std::isfinite(y[i]);
    if (good && (z == nullptr || std::isfinite(z[i]))) continue;
    x[i] = y[i] = std::numeric_limits<double>::quiet_NaN();
    if (z != nullptr) z[i] = x[i];
  }
  if (transformation == nullptr) return;
  const std::lock_guard<std::mutex> lock(mutex_);
  free_.push_back(std::move(transformation));
}

OGRSpatialReference Wgs84() {
  OGRSpatialReference wgs84;
  wgs84.SetWellKnownGeogCS("WGS84");
  wgs84.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
  return wgs84;
}

OGRSpatialReference HorizontalPart(const OGRSpatialReference& system) {
  OGRSpatialReference plane(system);
  if (plane.IsCompound()) plane.StripVertical();
  plane.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
  return plane;
}

LongitudeTurn::LongitudeTurn(const OGRSpatialReference& plane)
    : turn_(plane.IsGeographic() != 0 ? 2.0 * kPi / plane.GetAngularUnits() : 0.0) {}

void LongitudeTurn::Bring(double center, std::size_t count, double* x) const {
  if (turn_ == 0.0) return;
  for (std::size_t i = 0; i < count; ++i) x[i] -= turn_ * std::nearbyint((x[i] - center) / turn_);
}

bool IsWgs84(const OGRSpatialReference& plane) {
  const OGRSpatialReference wgs84 = Wgs84();
  return plane.IsGeographic() && plane.IsSameGeogCS(&wgs84);
}

}  // namespace SatCommonUtils
