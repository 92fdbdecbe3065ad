// Frames of maps: what is given, and for the rest what a person would choose. Elementary.

#include "raster/map_frame.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "frame/zxstd/number_text.h"
#include "gdal_session.h"
#include "plane_transformation.h"
#include "rpc/ground_solution.h"
#include "terrain/terrain_locator.h"

namespace SatCommonUtils {

namespace {

/// Points on a side of the image's border that are brought to the ground, at most, and pixels between them.
constexpr int kMostOnSide = 4096;
constexpr int kBetween = 16;

/// GDAL counts pixels of a side by ints, and tiles of all are counted so here.
constexpr double kMostPixels = 2147483000.0;
constexpr double kMostInAll = 1e13;

OGRSpatialReference ZoneOf(double lat, double lon, std::string* name) {
  const double turned = lon - 360.0 * std::floor((lon + 180.0) / 360.0);
  const int zone = std::clamp(static_cast<int>(std::floor((turned + 180.0) / 6.0)) + 1, 1, 60);
  int code = (lat >= 0.0 ? 32600 : 32700) + zone;
  if (lat > 84.0) code = 32661;
  if (lat < -80.0) code = 32761;
  OGRSpatialReference system;
  system.importFromEPSG(code);
  *name = "EPSG:" + std::to_string(code);
  return system;
}

/// Two digits: 0.4967 becomes 0.5.
double Rounded(double value) {
  const double unit = std::pow(10.0, std::floor(std::log10(value)) - 1.0);
  double rounded;
  // Through text, so that the result is the double nearest to the decimal.
  return ParseDouble(FormatDouble(std::nearbyint(value / unit)) + "e" + FormatDouble(std::nearbyint(std::log10(unit))),
                     &rounded)
             ? rounded
             : value;
}

bool IsPossible(double columns, double rows, std::string* error) {
  if (columns < kMostPixels && rows < kMostPixels && columns * rows < kMostInAll) return true;
  *error = "the map has " + FormatDouble(columns) + " x " + FormatDouble(rows) + " pixels, more than a raster can have";
  return false;
}

/// Plane coordinates, not those of a globe's centre nor heights.
bool IsOfMaps(const OGRSpatialReference& system) { return system.IsGeographic() != 0 || system.IsProjected() != 0; }

class Planner {
 public:
  Planner(const TRPC& model, const THeightSurface& surface, int width, int height)
      : model_(model), surface_(surface), width_(width), height_(height) {}

  bool ChooseSystem(const std::string& asked, std::string* error);
  bool ChooseResolution(double asked, std::string* error);
  bool ChooseBounds(const std::optional<TMapBounds>& asked, std::string* error);
  bool Finish(TMapFrame* out, std::string* error) const;

  std::vector<std::string> notes;

 private:
  bool Plane(double* x, double* y, std::size_t count) const;
  bool FindGround(std::vector<double>* lat, std::vector<double>* lon) const;
  double CenterHeight() const;

  const TRPC& model_;
  const THeightSurface& surface_;
  int width_;
  int height_;
  OGRSpatialReference system_;
  std::shared_ptr<const PlaneTransformation> toPlane_;
  double resolution_[2] = {0.0, 0.0};
  TMapBounds bounds_;
};

bool Planner::Plane(double* x, double* y, std::size_t count) const {
  if (toPlane_ != nullptr) {
    toPlane_->Run(count, x, y);
    LongitudeTurn(system_).Bring(x[0], count, x);
  }
  return std::all_of(x, x + count, [](double value) { return std::isfinite(value); });
}

double Planner::CenterHeight() const {
  const double h = surface_.GetHeight(model_.GetCenterLatitude(), model_.GetCenterLongitude());
  return std::isnan(h) ? model_.GetAverageHeight() : h;
}

bool Planner::ChooseSystem(const std::string& asked, std::string* error) {
  if (!asked.empty()) {
    if (system_.SetFromUserInput(asked.c_str()) != OGRERR_NONE) {
      *error = "'" + asked + "' is no reference system that PROJ knows";
      return false;
    }
    if (!IsOfMaps(system_)) {
      *error = "'" + asked + "' has neither longitudes and latitudes nor a plane of east and north";
      return false;
    }
  } else {
    const TGroundSolution center = SolveLatLon(model_, 0.5 * height_, 0.5 * width_, CenterHeight());
    if (!center) {
      *error = "the image's centre has no ground point, by which a reference system is chosen";
      return false;
    }
    std::string name;
    system_ = ZoneOf(center.lat, center.lon, &name);
    notes.push_back("reference system " + name + ", " + system_.GetName() + ", chosen by the image's centre");
  }
  system_ = HorizontalPart(system_);
  if (IsWgs84(system_)) return true;
  toPlane_ = PlaneTransformation::Make(Wgs84(), system_);
  if (toPlane_ == nullptr) *error = "PROJ has no way into '" + asked + "'";
  return toPlane_ != nullptr;
}

bool Planner::ChooseResolution(double asked, std::string* error) {
  if (!(asked >= 0.0) || std::isinf(asked)) {
    *error = "a resolution is a number above 0, or 0 for the image's own";
    return false;
  }
  if (asked > 0.0) {
    resolution_[0] = resolution_[1] = asked;
    return true;
  }
  const double h = CenterHeight();
  double x[3], y[3];
  for (int i = 0; i < 3; ++i) {
    const TGroundSolution ground =
        SolveLatLon(model_, 0.5 * height_ + (i == 1 ? 1.0 : 0.0), 0.5 * width_ + (i == 2 ? 1.0 : 0.0), h);
    x[i] = ground ? ground.lon : std::numeric_limits<double>::quiet_NaN();
    y[i] = ground.lat;
  }
  const bool known = Plane(x, y, 3);
  const double area = std::fabs((x[1] - x[0]) * (y[2] - y[0]) - (x[2] - x[0]) * (y[1] - y[0]));
  if (!known || !(area > 0.0)) {
    *error = "the size of the image's pixels on the ground is unknown: give a resolution";
    return false;
  }
  resolution_[0] = resolution_[1] = Rounded(std::sqrt(area));
  notes.push_back("resolution " + FormatDouble(resolution_[0]) + ", the image's own (" + FormatDouble(std::sqrt(area)) +
                  ") rounded");
  return true;
}

/// Where the image's border meets the terrain; at the centre's height where that is unknown.
bool Planner::FindGround(std::vector<double>* lat, std::vector<double>* lon) const {
  std::vector<double> line, sample;
  const auto side = [](int pixels) { return std::clamp(pixels / kBetween, 16, kMostOnSide); };
  const auto add = [&](double l, double s) {
    line.push_back(l * height_ - 0.5);
    sample.push_back(s * width_ - 0.5);
  };
  for (int i = 0; i <= side(width_); ++i) add(0.0, i / double(side(width_))), add(1.0, i / double(side(width_)));
  for (int i = 0; i <= side(height_); ++i) add(i / double(side(height_)), 0.0), add(i / double(side(height_)), 1.0);
  const TTerrainLocator locator(model_, surface_);
  std::vector<TTerrainSolution> found(line.size());
  locator.LocateArray(line.size(), line.data(), sample.data(), found.data());
  const double h = CenterHeight();
  for (std::size_t i = 0; i < found.size(); ++i) {
    if (found[i]) {
      lat->push_back(found[i].lat);
      lon->push_back(found[i].lon);
    } else if (const TGroundSolution flat = SolveLatLon(model_, line[i], sample[i], h)) {
      lat->push_back(flat.lat);
      lon->push_back(flat.lon);
    }
  }
  return !lat->empty();
}

bool Planner::ChooseBounds(const std::optional<TMapBounds>& asked, std::string* error) {
  if (asked) {
    bounds_ = *asked;
    if (bounds_.xMin < bounds_.xMax && bounds_.yMin < bounds_.yMax) return true;
    *error = "bounds are two smaller values and two larger ones: xmin ymin xmax ymax";
    return false;
  }
  std::vector<double> lat, lon;
  if (!FindGround(&lat, &lon) || !Plane(lon.data(), lat.data(), lat.size())) {
    *error = "the image's border cannot be brought to the map: give bounds";
    return false;
  }
  const auto x = std::minmax_element(lon.begin(), lon.end());
  const auto y = std::minmax_element(lat.begin(), lat.end());
  const double step = resolution_[0];
  bounds_ = {std::floor(*x.first / step) * step, std::floor(*y.first / step) * step, std::ceil(*x.second / step) * step,
             std::ceil(*y.second / step) * step};
  notes.push_back("bounds " + FormatDouble(bounds_.xMin) + " " + FormatDouble(bounds_.yMin) + " " +
                  FormatDouble(bounds_.xMax) + " " + FormatDouble(bounds_.yMax) + ", all of the image's ground");
  return true;
}

bool Planner::Finish(TMapFrame* out, std::string* error) const {
  const double width = bounds_.xMax - bounds_.xMin;
  const double height = bounds_.yMax - bounds_.yMin;
  const double columns = std::fmax(1.0, std::nearbyint(width / resolution_[0]));
  const double rows = std::fmax(1.0, std::nearbyint(height / resolution_[1]));
  if (!IsPossible(columns, rows, error)) return false;
  char* text = nullptr;
  const char* const options[] = {"FORMAT=WKT2_2019", nullptr};
  system_.exportToWkt(&text, options);
  TMapFrame frame;
  frame.crs = text == nullptr ? "" : text;
  CPLFree(text);
  frame.columns = static_cast<int>(columns);
  frame.rows = static_cast<int>(rows);
  const double transform[] = {bounds_.xMin, width / columns, 0.0, bounds_.yMax, 0.0, -height / rows};
  std::copy_n(transform, 6, frame.transform);
  *out = std::move(frame);
  return true;
}

bool FrameOfRaster(const std::string& path, const GdalSession& session, TMapFrame* out, std::string* error) {
  const DatasetHandle raster = OpenRaster(path, false);
  TMapFrame frame;
  if (raster == nullptr) {
    *error = path + ": cannot be opened (" + session.LastError() + ")";
    return false;
  }
  const OGRSpatialReference* const system = raster->GetSpatialRef();
  if (system == nullptr || !IsOfMaps(*system) || raster->GetGeoTransform(frame.transform) != CE_None) {
    *error = path + ": has no georeference that a map could take";
    return false;
  }
  char* text = nullptr;
  const char* const options[] = {"FORMAT=WKT2_2019", nullptr};
  HorizontalPart(*system).exportToWkt(&text, options);
  frame.crs = text == nullptr ? "" : text;
  CPLFree(text);
  frame.columns = raster->GetRasterXSize();
  frame.rows = raster->GetRasterYSize();
  if (!IsPossible(frame.columns, frame.rows, error)) return false;
  *out = std::move(frame);
  return true;
}

}  // namespace

bool PlanMapFrame(const TRPC& model, const THeightSurface& surface, int width, int height,
                  const TMapFrameOptions& options, TMapFrame* out, std::vector<std::string>* notes,
                  std::string* error) {
  const GdalSession session;
  std::string reason;
  TMapFrame frame;
  Planner planner(model, surface, width, height);
  bool made;
  if (!options.like.empty()) {
    made = FrameOfRaster(options.like, session, &frame, &reason);
  } else {
    made = planner.ChooseSystem(options.crs, &reason) && planner.ChooseResolution(options.resolution, &reason) &&
           planner.ChooseBounds(options.bounds, &reason) && planner.Finish(&frame, &reason);
  }
  if (!made) {
    if (error != nullptr) *error = reason;
    return false;
  }
  if (notes != nullptr) {
    notes->insert(notes->end(), planner.notes.begin(), planner.notes.end());
    if (options.resolution > 0.0 && options.bounds &&
        std::fabs(frame.transform[1] / options.resolution - 1.0) +
                std::fabs(-frame.transform[5] / options.resolution - 1.0) >
            1e-9) {
      notes->push_back("pixels of " + FormatDouble(frame.transform[1]) + " x " + FormatDouble(-frame.transform[5]) +
                       ", so that a whole number of them makes up the bounds");
    }
  }
  *out = std::move(frame);
  return true;
}

}  // namespace SatCommonUtils
