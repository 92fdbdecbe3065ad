// Reference systems through GDAL's classes on PROJ.

#include "raster/reference_system.h"

#include <ogr_spatialref.h>

#include "gdal_session.h"
#include "plane_transformation.h"

namespace SatCommonUtils {

namespace {

class ProjSystem final : public TReferenceSystem {
 public:
  ProjSystem(const OGRSpatialReference& system, const OGRSpatialReference& wgs84)
      : name_(system.GetName() == nullptr ? "" : system.GetName()),
        is_geographic_(system.IsGeographic() != 0),
        to_(PlaneTransformation::Make(system, wgs84, wgs84.GetAxesCount() == 3)),
        from_(PlaneTransformation::Make(wgs84, system, wgs84.GetAxesCount() == 3)) {}

  bool IsThere() const { return to_ != nullptr && from_ != nullptr; }
  bool IsGeographic() const override { return is_geographic_; }
  const std::string& Name() const override { return name_; }
  void ToWgs84(std::size_t count, double* x, double* y, double* z) const override { to_->Run(count, x, y, z); }
  void FromWgs84(std::size_t count, double* x, double* y, double* z) const override { from_->Run(count, x, y, z); }

 private:
  const std::string name_;
  const bool is_geographic_;
  const std::shared_ptr<const PlaneTransformation> to_;
  const std::shared_ptr<const PlaneTransformation> from_;
};

}  // namespace

std::shared_ptr<const TReferenceSystem> OpenReferenceSystem(const std::string& definition, std::string* error) {
  const GdalSession session;
  const auto fail = [&](const std::string& why) {
    if (error != nullptr) *error = definition + ": " + why;
    return nullptr;
  };
  OGRSpatialReference system;
  if (system.SetFromUserInput(definition.c_str()) != OGRERR_NONE) return fail("is no reference system that PROJ knows");
  if (!system.IsGeographic() && !system.IsProjected()) {
    return fail("has neither longitudes and latitudes nor a plane of east and north");
  }
  system.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
  // Heights take part where the system says what they are.
  const bool has_heights = system.IsCompound() || system.GetAxesCount() == 3;
  OGRSpatialReference wgs84;
  wgs84.importFromEPSG(has_heights ? 4979 : 4326);
  wgs84.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
  auto opened = std::make_shared<ProjSystem>(system, wgs84);
  if (!opened->IsThere() && has_heights) {
    return fail(
        "PROJ has no way between it and WGS84, perhaps for want of the grid that its heights need; name the system of "
        "the "
        "plane alone, and the geoid by its file");
  }
  if (!opened->IsThere()) return fail("PROJ has no way between it and WGS84");
  return opened;
}

}  // namespace SatCommonUtils
