// A block adjustment: columns in, columns out.

#include <nanobind/stl/string.h>
#include <nanobind/stl/vector.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <vector>

#include "arrays.h"
#include "block/block_adjustment.h"
#include "model.h"
#include "surface.h"

namespace orbmath_python {

using namespace SatCommonUtils;  // NOLINT(google-build-using-namespace): a source file of its host

namespace {

using TIndices = nb::ndarray<const std::uint32_t, nb::ndim<1>, nb::c_contig, nb::device::cpu>;

// Asks Python now and then whether the user wants to stop.
class TInterruptible final : public TZxProgressHandler {
 public:
  bool Progress(double) override {
    const nb::gil_scoped_acquire held;
    interrupted = interrupted || PyErr_CheckSignals() != 0;
    return !interrupted;
  }
  bool interrupted = false;
};

TBlockCorrection CorrectionOf(const std::string& name) {
  for (const TBlockCorrection each : {TBlockCorrection::None, TBlockCorrection::Shift, TBlockCorrection::Drift,
                                      TBlockCorrection::Affine, TBlockCorrection::Automatic}) {
    if (name == GetBlockCorrectionName(each)) return each;
  }
  throw std::invalid_argument("kind is 'auto', 'none', 'shift', 'drift' or 'affine', not '" + name + "'");
}

TBlockPointRole RoleOf(const std::string& name) {
  for (const TBlockPointRole each :
       {TBlockPointRole::Tie, TBlockPointRole::Control, TBlockPointRole::Check, TBlockPointRole::Height}) {
    if (name == GetBlockPointRoleName(each)) return each;
  }
  throw std::invalid_argument("a role is 'control', 'check' or 'height', not '" + name + "'");
}

// Images as (name, model, kind, pass); control as (point, role, lat, lon, height, sigma_h, sigma_v).
TBlockProblem ProblemOf(const std::vector<const TModel*>& models, const nb::list& images, const nb::list& points,
                        const nb::list& control, const TIndices& point, const TIndices& image,
                        const TBroadcast& measured) {
  TBlockProblem problem;
  for (std::size_t i = 0; i < models.size(); ++i) {
    TBlockImage added;
    added.name = nb::cast<std::string>(images[i][0]);
    added.model = {std::shared_ptr<const void>(), &models[i]->rpc()};
    added.correction = CorrectionOf(nb::cast<std::string>(images[i][1]));
    added.pass = nb::cast<int>(images[i][2]);
    problem.images.push_back(std::move(added));
  }
  problem.points.resize(nb::len(points));
  for (std::size_t i = 0; i < problem.points.size(); ++i) problem.points[i].name = nb::cast<std::string>(points[i]);
  for (const nb::handle row : control) {
    TBlockPoint& known = problem.points[nb::cast<std::size_t>(row[0])];
    known.role = RoleOf(nb::cast<std::string>(row[1]));
    known.lat = nb::cast<double>(row[2]);
    known.lon = nb::cast<double>(row[3]);
    known.height = nb::cast<double>(row[4]);
    known.sigmaHorizontal = nb::cast<double>(row[5]);
    known.sigmaVertical = nb::cast<double>(row[6]);
  }
  TBlockMeasurements& out = problem.measurements;
  out.point.assign(point.data(), point.data() + point.size());
  out.image.assign(image.data(), image.data() + image.size());
  out.line.assign(measured[0], measured[0] + measured.size());
  out.sample.assign(measured[1], measured[1] + measured.size());
  out.sigma.assign(measured[2], measured[2] + measured.size());
  return problem;
}

TBlockOptions OptionsOf(const nb::dict& given) {
  TBlockOptions options;
  options.robust = nb::cast<bool>(given["robust"]);
  options.sigmaMeasurement = nb::cast<double>(given["sigma"]);
  options.sigmaShift = nb::cast<double>(given["sigma_shift"]);
  options.sigmaDrift = nb::cast<double>(given["sigma_drift"]);
  options.sigmaHorizontal = nb::cast<double>(given["sigma_horizontal"]);
  options.sigmaVertical = nb::cast<double>(given["sigma_vertical"]);
  options.sigmaSurface = nb::cast<double>(given["sigma_terrain"]);
  if (!given["terrain"].is_none()) options.surface = nb::cast<const THeld&>(given["terrain"]).surface;
  return options;
}

// A new array of `rows` (or of rows x columns x columns) numbers, each row filled by `fill(row, numbers)`.
template <class Fill>
nb::object Column(std::size_t rows, std::size_t columns, Fill fill) {
  const nb::object shape = columns == 0 ? nb::make_tuple(rows) : nb::make_tuple(rows, columns, columns);
  const TNewArray array = NewArray(shape);
  const std::size_t width = columns == 0 ? 1 : columns * columns;
  for (std::size_t i = 0; i < rows; ++i) fill(i, array.data + i * width);
  return array.object;
}

nb::dict ImagesOf(const TBlockResult& result) {
  const std::size_t count = result.images.size();
  const auto column = [&](auto value) {
    return Column(count, 0, [&](std::size_t i, double* to) { *to = value(result.images[i]); });
  };
  nb::list states, kinds;
  for (const TBlockImageResult& image : result.images) {
    states.append(DescribeBlockState(image.state));
    kinds.append(GetBlockCorrectionName(image.correction));
  }
  nb::dict dict;
  dict["state"] = states;
  dict["kind"] = kinds;
  dict["piece"] = column([](const auto& image) { return static_cast<double>(image.piece); });
  dict["used"] = column([](const auto& image) { return static_cast<double>(image.residuals.used); });
  dict["bad"] = column([](const auto& image) { return static_cast<double>(image.residuals.bad); });
  dict["rms_line"] = column([](const auto& image) { return image.residuals.rmsLine; });
  dict["rms_sample"] = column([](const auto& image) { return image.residuals.rmsSample; });
  dict["largest"] = column([](const auto& image) { return image.residuals.largest; });
  dict["corner_sigma"] = column([](const auto& image) { return image.cornerSigma; });
  for (int k = 0; k < 3; ++k) {
    const std::string number = std::to_string(k);
    dict[("b" + number).c_str()] = column([k](const auto& image) { return image.parameters.sample[k]; });
    dict[("a" + number).c_str()] = column([k](const auto& image) { return image.parameters.line[k]; });
  }
  return dict;
}

nb::dict PointsOf(const TBlockResult& result) {
  const std::size_t count = result.points.size();
  const auto column = [&](auto value) {
    return Column(count, 0, [&](std::size_t i, double* to) { *to = value(result.points[i]); });
  };
  nb::object statesObject;
  auto* const states = NewArrayOf<std::int8_t>(nb::make_tuple(count), "int8", &statesObject);
  for (std::size_t i = 0; i < count; ++i) states[i] = static_cast<std::int8_t>(result.points[i].state);
  nb::dict dict;
  dict["lat"] = column([](const auto& point) { return point.lat; });
  dict["lon"] = column([](const auto& point) { return point.lon; });
  dict["height"] = column([](const auto& point) { return point.height; });
  dict["sigma_east"] = column([](const auto& point) { return std::sqrt(point.covariance[0]); });
  dict["sigma_north"] = column([](const auto& point) { return std::sqrt(point.covariance[4]); });
  dict["sigma_up"] = column([](const auto& point) { return std::sqrt(point.covariance[8]); });
  dict["rays"] = column([](const auto& point) { return static_cast<double>(point.rays); });
  dict["state"] = statesObject;
  return dict;
}

nb::dict MeasurementsOf(const TBlockResult& result) {
  const TBlockMeasurementResults& all = result.measurements;
  const std::size_t count = all.state.size();
  const auto column = [&](const std::vector<double>& values) {
    return Column(count, 0, [&](std::size_t i, double* to) { *to = values[i]; });
  };
  nb::object statesObject;
  auto* const states = NewArrayOf<std::int8_t>(nb::make_tuple(count), "int8", &statesObject);
  for (std::size_t i = 0; i < count; ++i) states[i] = static_cast<std::int8_t>(all.state[i]);
  nb::dict dict;
  dict["residual_line"] = column(all.line);
  dict["residual_sample"] = column(all.sample);
  dict["standardized"] = column(all.standardized);
  dict["redundancy"] = column(all.redundancy);
  dict["state"] = statesObject;
  return dict;
}

nb::dict MisclosuresOf(const std::vector<TBlockMisclosure>& points) {
  const auto column = [&](auto value) {
    return Column(points.size(), 0, [&](std::size_t i, double* to) { *to = value(points[i]); });
  };
  nb::list places, bad;
  for (const TBlockMisclosure& each : points) {
    places.append(each.point);
    bad.append(each.isBad);
  }
  nb::dict dict;
  dict["point"] = places;
  dict["east"] = column([](const auto& each) { return each.east; });
  dict["north"] = column([](const auto& each) { return each.north; });
  dict["up"] = column([](const auto& each) { return each.up; });
  dict["sigma_east"] = column([](const auto& each) { return each.sigmaEast; });
  dict["sigma_north"] = column([](const auto& each) { return each.sigmaNorth; });
  dict["sigma_up"] = column([](const auto& each) { return each.sigmaUp; });
  dict["standardized"] = column([](const auto& each) { return each.standardized; });
  dict["bad"] = bad;
  return dict;
}

// The models in the order of the images; None for those that have none.
nb::list ModelsOf(const std::vector<const TModel*>& models, const TBlockResult& result) {
  nb::list adjusted;
  for (std::size_t i = 0; i < models.size(); ++i) {
    const TBlockImageState state = result.images[i].state;
    const bool there = state == TBlockImageState::Adjusted || state == TBlockImageState::Fixed;
    const auto refinement = RefinementOfBlock(models[i]->rpc(), result.images[i].parameters);
    if (there && refinement) {
      adjusted.append(
          nb::cast(TModel::Adjusted(*models[i], *refinement, CovarianceOfBlock(models[i]->rpc(), result, i))));
    } else {
      adjusted.append(nb::none());
    }
  }
  return adjusted;
}

nb::object Adjust(const std::vector<const TModel*>& models, const nb::list& images, const nb::list& points,
                  const nb::list& control, const TIndices& point, const TIndices& image, nb::handle line,
                  nb::handle sample, nb::handle sigma, const nb::dict& given) {
  const TBroadcast measured({line, sample, sigma});
  if (measured.size() != point.size() || point.size() != image.size()) {
    throw std::invalid_argument("measurements need as many points and images as lines and samples");
  }
  const TBlockProblem problem = ProblemOf(models, images, points, control, point, image, measured);
  TBlockOptions options = OptionsOf(given);
  TInterruptible progress;
  options.progress = &progress;
  TBlockResult result;
  {
    const nb::gil_scoped_release free;
    result = AdjustBlock(problem, options);
  }
  if (progress.interrupted) throw nb::python_error();
  if (!result) throw std::runtime_error(result.message);
  nb::dict dict;
  dict["models"] = ModelsOf(models, result);
  dict["message"] = result.message;
  dict["notes"] = result.notes;
  dict["sigma0"] = result.sigma0;
  dict["rms"] = result.rms;
  dict["redundancy"] = result.redundancy;
  dict["images"] = ImagesOf(result);
  dict["image_covariance"] = Column(result.images.size(), 6, [&](std::size_t i, double* to) {
    std::copy(result.images[i].covariance.begin(), result.images[i].covariance.end(), to);
  });
  dict["points"] = PointsOf(result);
  dict["point_covariance"] = Column(result.points.size(), 3, [&](std::size_t i, double* to) {
    std::copy(result.points[i].covariance.begin(), result.points[i].covariance.end(), to);
  });
  dict["measurements"] = MeasurementsOf(result);
  dict["control"] = MisclosuresOf(result.control);
  dict["check"] = MisclosuresOf(result.check);
  dict["bad"] = result.badMeasurements;
  return dict;
}

}  // namespace

void DefineAdjusting(nb::module_& module) {
  module.def("adjust", &Adjust, nb::arg("models"), nb::arg("images"), nb::arg("points"), nb::arg("control"),
             nb::arg("point"), nb::arg("image"), nb::arg("line"), nb::arg("sample"), nb::arg("sigma"),
             nb::arg("options"),
             nb::sig("def adjust(models: list[Model], images: list[tuple[str, str, int]], points: list[str], control: "
                     "list[tuple[int, str, float, float, float, float, float]], point: typing.Any, image: typing.Any, "
                     "line: object, sample: object, sigma: object, options: dict[str, typing.Any]) -> dict[str, "
                     "typing.Any]"));
  module.def(
      "describe_block_point", [](int state) { return DescribeBlockState(static_cast<TBlockPointState>(state)); },
      nb::arg("state"));
  module.def(
      "describe_block_measurement",
      [](int state) { return DescribeBlockState(static_cast<TBlockMeasurementState>(state)); }, nb::arg("state"));
}

}  // namespace orbmath_python
