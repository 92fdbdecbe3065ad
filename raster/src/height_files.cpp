// DEM files as height surfaces: files to one raster, its plane, and what its heights count from.

#include "raster/height_files.h"

#include <gdal_utils.h>
#include <ogr_spatialref.h>

#include <atomic>
#include <cmath>
#include <utility>

#include "height_raster.h"

namespace SatCommonUtils {

namespace {

/// What heights count from, as a file's reference system says.
struct VerticalReference {
  enum class Kind { Unsaid, Ellipsoid, Geoid, Other };
  Kind kind = Kind::Unsaid;
  std::string name;   ///< as the file has it
  std::string geoid;  ///< name for `OpenGeoid`
};

VerticalReference ReadVertical(const OGRSpatialReference* system) {
  VerticalReference vertical;
  if (system == nullptr) return vertical;
  if (!system->IsCompound()) {
    if (system->GetAxesCount() == 3) {
      vertical.kind = VerticalReference::Kind::Ellipsoid;
      vertical.name = "height above the ellipsoid";
    }
    return vertical;
  }
  const char* const name = system->GetAttrValue("COMPD_CS|VERT_CS");
  const char* const code = system->GetAuthorityCode("COMPD_CS|VERT_CS");
  vertical.kind = VerticalReference::Kind::Other;
  vertical.name = name == nullptr ? "a vertical datum without a name" : name;
  const std::string epsg = code == nullptr ? "" : code;
  const auto says = [&vertical](const char* word) { return vertical.name.find(word) != std::string::npos; };
  if (epsg == "5773" || says("EGM96")) vertical.geoid = "egm96";
  if (epsg == "3855" || says("EGM2008")) vertical.geoid = "egm2008";
  if (!vertical.geoid.empty()) vertical.kind = VerticalReference::Kind::Geoid;
  if (says("llipsoid")) vertical.kind = VerticalReference::Kind::Ellipsoid;
  return vertical;
}

/// One raster of several files, as a VRT in memory that goes when the dataset is closed.
DatasetHandle BuildMosaic(const std::vector<std::string>& files, std::string* error) {
  std::vector<DatasetHandle> open;
  std::vector<GDALDatasetH> handles;
  const OGRSpatialReference* first = nullptr;
  for (const std::string& file : files) {
    open.push_back(OpenRaster(file, false));
    if (open.back() == nullptr) {
      *error = file + ": cannot be opened as a DEM";
      return nullptr;
    }
    const OGRSpatialReference* const system = open.back()->GetSpatialRef();
    if (open.size() == 1) first = system;
    if ((system == nullptr) != (first == nullptr) || (system != nullptr && !system->IsSame(first))) {
      *error = file + ": has another reference system than " + files.front() + "; bring them to one";
      return nullptr;
    }
    handles.push_back(open.back().get());
  }
  // GDAL's mosaic resamples what does not lie on the first file's lattice; by default to the finest of them all.
  GDALBuildVRTOptions* const options = GDALBuildVRTOptionsNew(nullptr, nullptr);
  std::vector<const char*> names;
  names.reserve(files.size());
  for (const std::string& file : files) names.push_back(file.c_str());
  DatasetHandle mosaic(static_cast<GDALDataset*>(
      GDALBuildVRT("", static_cast<int>(names.size()), nullptr, names.data(), options, nullptr)));
  GDALBuildVRTOptionsFree(options);
  if (mosaic == nullptr) *error = files.front() + ": makes no mosaic with the others";
  return mosaic;
}

/// Whether a transform may well count degrees.
bool LooksLikeDegrees(const double* t, int columns, int rows) {
  const auto inside = [](double value, double limit) { return std::fabs(value) <= limit; };
  return inside(t[0], 360.0) && inside(t[0] + columns * t[1], 360.0) && inside(t[3], 91.0) &&
         inside(t[3] + rows * t[5], 91.0);
}

/// The unit of heights that are not metres, as the band or its vertical system has it; empty for metres and where
/// nothing is said.
std::string ForeignUnit(GDALRasterBand* band, const OGRSpatialReference* system) {
  std::string unit = band->GetUnitType();
  for (const char* metre : {"m", "metre", "metres", "meter", "meters"}) {
    if (EQUAL(unit.c_str(), metre)) return "";
  }
  if (!unit.empty() || system == nullptr || !system->IsCompound()) return unit;
  const char* name = nullptr;
  const double metres = system->GetTargetLinearUnits("VERT_CS", &name);
  return metres == 1.0 || name == nullptr ? "" : name;
}

/// Chooses the geoid; empty where heights count from the ellipsoid. \return false when there is no telling.
bool ChooseGeoid(const TDemOptions& options, const VerticalReference& file, TDemSurface* out, std::string* geoid,
                 std::string* error) {
  using Kind = VerticalReference::Kind;
  geoid->clear();
  if (!options.geoid.empty()) {
    if (options.geoid != "none") *geoid = options.geoid;
    const bool same = file.kind == Kind::Unsaid || (file.kind == Kind::Ellipsoid && geoid->empty()) ||
                      (file.kind == Kind::Geoid && *geoid == file.geoid);
    if (!same) {
      out->notes.push_back(options.files.front() + ": its heights are '" + file.name + "', taken as " +
                           (geoid->empty() ? "above the ellipsoid" : "above the geoid " + *geoid) + " as asked for");
    }
    return true;
  }
  if (file.kind == Kind::Other) {
    *error = options.files.front() + ": heights are '" + file.name +
             "', for which no geoid is known here: name a grid, or 'none' for heights above the ellipsoid";
    return false;
  }
  if (file.kind == Kind::Geoid) {
    *geoid = file.geoid;
    out->notes.push_back(options.files.front() + ": heights above the geoid " + file.geoid + ", as it says ('" +
                         file.name + "')");
  }
  if (file.kind == Kind::Unsaid) {
    out->warnings.push_back(options.files.front() +
                            ": does not say what its heights count from; they are taken as above the ellipsoid");
  }
  return true;
}

}  // namespace

bool OpenDem(const TDemOptions& options, TDemSurface* out, std::string* error) {
  const GdalSession session;
  const auto fail = [&](const std::string& why) {
    if (error != nullptr) *error = why + (session.LastError().empty() ? "" : " (" + session.LastError() + ")");
    return false;
  };
  if (options.files.empty()) return fail("a DEM needs a file");
  const std::string& name = options.files.front();
  std::string reason;
  DatasetHandle dataset = options.files.size() == 1 ? OpenRaster(name, false) : BuildMosaic(options.files, &reason);
  if (dataset == nullptr) return fail(reason.empty() ? name + ": cannot be opened as a DEM" : reason);
  if (dataset->GetRasterCount() < 1) return fail(name + ": has no band of heights");

  TDemSurface opened;
  THeightGridFrame frame;
  frame.interpolation = options.interpolation;
  frame.voidHeight = options.voidHeight;
  if (dataset->GetGeoTransform(frame.transform) != CE_None) return fail(name + ": has no georeference");
  const OGRSpatialReference* const system = dataset->GetSpatialRef();
  if (system == nullptr) {
    if (!LooksLikeDegrees(frame.transform, dataset->GetRasterXSize(), dataset->GetRasterYSize())) {
      return fail(name + ": has no reference system");
    }
    opened.warnings.push_back(name + ": has no reference system; taken as longitudes and latitudes of WGS84");
  } else if (!MakeMapping(*system, GetCenterX(*dataset, frame.transform), &frame.mapping)) {
    return fail(name + ": PROJ has no way into its reference system");
  }
  std::string geoidName;
  if (!ChooseGeoid(options, ReadVertical(system), &opened, &geoidName, &reason)) return fail(reason);

  BandHeights heights;
  GDALRasterBand* const band = dataset->GetRasterBand(1);
  const std::string unit = ForeignUnit(band, system);
  if (!unit.empty()) opened.warnings.push_back(name + ": its heights are in '" + unit + "'; they are taken as metres");
  heights.scale = band->GetScale();
  heights.offset = band->GetOffset();
  const std::shared_ptr<const THeightGrid> grid =
      MakeGrid(std::move(dataset), frame, heights, options.cacheBytes, &reason);
  if (grid == nullptr) return fail(name + ": " + reason);
  opened.surface = grid;
  if (!geoidName.empty()) {
    const auto geoid = OpenGeoid(geoidName, options.cacheBytes, &reason);
    if (geoid == nullptr) return fail(reason);
    opened.surface = std::make_shared<THeightSum>(grid, geoid);
    opened.hasGeoid = true;
  }
  *out = std::move(opened);
  return true;
}

}  // namespace SatCommonUtils
