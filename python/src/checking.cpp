// Checks of models, how they look at the ground, and stereo pairs.

#include <nanobind/stl/optional.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/vector.h>

#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

#include "arrays.h"
#include "model.h"
#include "rpc/model_check.h"
#include "rpc/viewing_geometry.h"
#include "stereo/pair_geometry.h"

namespace orbmath_python {

using namespace SatCommonUtils;  // NOLINT(google-build-using-namespace): a source file of its host

namespace {

nb::tuple ViewOf(const TViewingGeometry& view) {
  return nb::make_tuple(view.ground.lat, view.ground.lon, view.ground.h, view.incidence, view.azimuth, view.gsd,
                        view.lineSize, view.sampleSize);
}

// Height, area, longitudes and latitudes of the ring; none without a footprint.
nb::object FootprintOf(const TImageFootprint& footprint) {
  if (!footprint) return nb::none();
  nb::list lon, lat;
  for (const xy_d& vertex : footprint.ring.GetVertices()) {
    lon.append(vertex.x);
    lat.append(vertex.y);
  }
  return nb::make_tuple(footprint.height, footprint.area, lon, lat);
}

nb::dict Check(const TModel& model, bool radar, bool mirrored) {
  const TModelCheck check = [&] {
    const nb::gil_scoped_release free;
    TModelCheckOptions options;
    options.radar = radar;
    options.mirrored = mirrored;
    return CheckModel(model.rpc(), model.origin(), options);
  }();
  nb::list findings;
  for (const TModelFinding& finding : check.findings) {
    findings.append(nb::make_tuple(FindingSeverityName(finding.severity), FindingKindName(finding.kind), finding.what,
                                   finding.where, finding.consequence));
  }
  nb::dict dict;
  dict["fit"] = check.IsFit();
  dict["verdict"] = check.message;
  dict["findings"] = findings;
  dict["view"] = ViewOf(check.view);
  dict["footprints"] =
      nb::make_tuple(FootprintOf(check.lowFootprint), FootprintOf(check.footprint), FootprintOf(check.highFootprint));
  dict["round_trip"] = check.roundTrip;
  dict["bent_sight"] = check.bentSight;
  dict["direct_model"] = check.directModel;
  return dict;
}

nb::tuple View(const TModel& model, double line, double sample, double height, bool radar) {
  const TViewingGeometry view = ViewingGeometryAt(model.rpc(), line, sample, height);
  return ViewOf(radar ? AsRadar(view) : view);
}

// The criteria by the names of the package's arguments; absent ones are not tested.
StereopairsByOverlap::TStereopairsByOverlapParams CriteriaOf(const nb::dict& given) {
  StereopairsByOverlap::TStereopairsByOverlapParams criteria;
  const auto set = [&given](const char* name, bool* check, double* limit) {
    if (!given.contains(name)) return;
    *check = true;
    *limit = nb::cast<double>(given[name]);
  };
  set("min_overlap", &criteria.CheckOverlapPercentage, &criteria.MinOverlapPercentage);
  set("min_pixels", &criteria.CheckOverlapPixels, &criteria.MinOverlapPixels);
  set("min_angle", &criteria.CheckConvergenceAngle, &criteria.MinConvergenceAngle);
  set("max_angle", &criteria.CheckConvergenceAngle, &criteria.MaxConvergenceAngle);
  set("max_time", &criteria.CheckTimeGap, &criteria.MaxTimeGap);
  set("max_gsd", &criteria.CheckGSD, &criteria.MaxGSDPercentDiff);
  set("max_sun_azimuth", &criteria.CheckSunAzimuthDiff, &criteria.MaxSunAzimuthDiff);
  set("max_sun_elevation", &criteria.CheckSunElevationDiff, &criteria.MaxSunElevationDiff);
  if (given.contains("max_days")) {
    criteria.CheckDateGap = true;
    criteria.MaxDateGap = nb::cast<int>(given["max_days"]);
  }
  criteria.TheSameSensor = given.contains("same_sensor");
  if (given.contains("accept_unknown")) {
    criteria.RejectUndefSensor = criteria.RejectUndefTimeGap = criteria.RejectUndefDateGap = false;
    criteria.RejectUndefSunAzimuthDiff = criteria.RejectUndefSunElevationDiff = false;
  }
  return criteria;
}

// Number of pairs that meet the criteria, places of both images, then one array for each column.
nb::tuple Pairs(const std::vector<const TModel*>& models, const std::vector<std::string>& acquired,
                const std::vector<bool>& radar, const nb::dict& criteria, double sigma, std::optional<double> height) {
  if (!(sigma > 0.0)) throw std::invalid_argument("sigma has to be above 0");
  const auto limits = CriteriaOf(criteria);
  const TPairSearch search = [&] {
    const nb::gil_scoped_release free;
    std::vector<TStereoImage> images(models.size());
    for (std::size_t i = 0; i < models.size(); ++i) {
      images[i].model = &models[i]->rpc();
      images[i].sensor = models[i]->extras().satelliteId.value_or("");
      images[i].acquisitionTime = acquired.at(i);
      images[i].radar = radar.at(i);
    }
    TStereoPairOptions options;
    options.matchingSigma = sigma;
    options.height = height;
    return FindStereoPairs(images, limits, options);
  }();
  if (!search) throw std::invalid_argument(search.message);
  const nb::object shape = nb::make_tuple(search.pairs.size());
  nb::object first, second;
  auto* const firsts = NewArrayOf<std::int64_t>(shape, "int64", &first);
  auto* const seconds = NewArrayOf<std::int64_t>(shape, "int64", &second);
  for (std::size_t i = 0; i < search.pairs.size(); ++i) {
    firsts[i] = static_cast<std::int64_t>(search.pairs[i].first);
    seconds[i] = static_cast<std::int64_t>(search.pairs[i].second);
  }
  nb::list columns;
  for (double TStereoPair::*const value :
       {&TStereoPair::overlapPercent, &TStereoPair::overlapArea, &TStereoPair::convergence,
        &TStereoPair::bisectorElevation, &TStereoPair::asymmetry, &TStereoPair::baseToHeight, &TStereoPair::heightSigma,
        &TStereoPair::planSigma, &TStereoPair::gsdDifference, &TStereoPair::timeGap, &TStereoPair::quality}) {
    const TNewArray column = NewArray(shape);
    for (std::size_t i = 0; i < search.pairs.size(); ++i) column.data[i] = search.pairs[i].*value;
    columns.append(column.object);
  }
  return nb::make_tuple(search.accepted, first, second, columns, search.unseen);
}

}  // namespace

void DefineChecking(nb::module_& module) {
  module.def("check", &Check, nb::arg("model"), nb::arg("radar"), nb::arg("mirrored"),
             nb::sig("def check(model: Model, radar: bool, mirrored: bool) -> dict[str, typing.Any]"));
  module.def("view", &View, nb::arg("model"), nb::arg("line"), nb::arg("sample"), nb::arg("height"), nb::arg("radar"),
             nb::sig("def view(model: Model, line: float, sample: float, height: float, radar: bool)"
                     " -> tuple[float, float, float, float, float, float, float, float]"));
  module.def("pairs", &Pairs, nb::arg("models"), nb::arg("acquired"), nb::arg("radar"), nb::arg("criteria"),
             nb::arg("sigma"), nb::arg("height").none(),
             nb::sig("def pairs(models: list[Model], acquired: list[str], radar: list[bool], criteria: dict[str, "
                     "typing.Any], sigma: float, height: float | None)"
                     " -> tuple[int, typing.Any, typing.Any, list[typing.Any], list[int]]"));
}

}  // namespace orbmath_python
