// Image to ground: one image at known heights, and several images.

#include <nanobind/stl/optional.h>
#include <nanobind/stl/vector.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <vector>

#include "arrays.h"
#include "model.h"
#include "rpc/ground_solution.h"

namespace orbmath_python {

using namespace SatCommonUtils;  // NOLINT(google-build-using-namespace): a source file of its host

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// Points at a time: so many that threads have enough to do, so few that their solutions stay in the cache.
constexpr std::size_t kPart = 32768;

bool IsWanted(const TGroundSolution& solution, bool extrapolate) {
  return static_cast<bool>(solution) || (extrapolate && HasDoubtfulPoint(solution.status.state));
}

nb::object LocateOne(const TModel& model, double line, double sample, double height, bool extrapolate) {
  const TGroundSolution solution = SolveLatLon(model.rpc(), line, sample, height);
  const bool good = IsWanted(solution, extrapolate);
  return nb::make_tuple(good ? solution.lat : kNaN, good ? solution.lon : kNaN, static_cast<int>(solution.status.state),
                        solution.residual);
}

// Latitude, longitude, state and residual; a point without a solution is NaN.
nb::object Locate(const TModel& model, nb::handle line, nb::handle sample, nb::handle height, bool extrapolate) {
  if (IsNumber(line) && IsNumber(sample) && IsNumber(height)) {
    return LocateOne(model, AsNumber(line), AsNumber(sample), AsNumber(height), extrapolate);
  }
  const TBroadcast points({line, sample, height});
  const TNewArray lat = NewArray(points.shape());
  const TNewArray lon = NewArray(points.shape());
  const TNewArray residual = NewArray(points.shape());
  nb::object stateObject;
  auto* const state = NewArrayOf<std::int8_t>(points.shape(), "int8", &stateObject);
  {
    const nb::gil_scoped_release free;
    std::vector<TGroundSolution> solutions(std::min(kPart, points.size()));
    for (std::size_t first = 0; first < points.size(); first += kPart) {
      const std::size_t count = std::min(kPart, points.size() - first);
      SolveLatLonArray(model.rpc(), count, points[0] + first, points[1] + first, points[2] + first, solutions.data());
      for (std::size_t i = 0; i < count; ++i) {
        const TGroundSolution& solution = solutions[i];
        const bool good = IsWanted(solution, extrapolate);
        lat.data[first + i] = good ? solution.lat : kNaN;
        lon.data[first + i] = good ? solution.lon : kNaN;
        residual.data[first + i] = solution.residual;
        state[first + i] = static_cast<std::int8_t>(solution.status.state);
      }
    }
  }
  return nb::make_tuple(ScalarOrArray(lat.object), ScalarOrArray(lon.object), ScalarOrArray(stateObject),
                        ScalarOrArray(residual.object));
}

// Points by columns: row i of `line` and `sample` is image i. Images that do not see a point have NaN there.
nb::object Intersect(const std::vector<const TModel*>& models, const TInput& line, const TInput& sample,
                     std::optional<TInput> height, std::optional<double> heightSigma) {
  const std::size_t images = models.size();
  if (line.ndim() != 2 || sample.ndim() != 2 || line.shape(0) != images || sample.shape(0) != images ||
      line.shape(1) != sample.shape(1)) {
    throw std::invalid_argument("lines and samples are (images, points), with one row for each model");
  }
  const std::size_t count = line.shape(1);
  if (height && height->size() != count) throw std::invalid_argument("one height for each point is needed");
  const nb::object shape = nb::make_tuple(count);
  const TNewArray lat = NewArray(shape), lon = NewArray(shape), h = NewArray(shape), rms = NewArray(shape);
  const TNewArray covariance = NewArray(nb::make_tuple(count, 3, 3));
  nb::object stateObject;
  auto* const state = NewArrayOf<std::int8_t>(shape, "int8", &stateObject);
  {
    const nb::gil_scoped_release free;
    std::vector<TGroundIntersection> solutions(std::min(kPart, count));
    std::vector<TRPCCoordsDataItem> items;
    std::vector<std::size_t> first;
    for (std::size_t start = 0; start < count; start += kPart) {
      const std::size_t part = std::min(kPart, count - start);
      items.clear();
      first.assign(1, 0);
      for (std::size_t i = start; i < start + part; ++i) {
        for (std::size_t k = 0; k < images; ++k) {
          const double l = line.data()[k * count + i];
          const double s = sample.data()[k * count + i];
          if (std::isfinite(l) && std::isfinite(s)) items.push_back({&models[k]->rpc(), l, s});
        }
        first.push_back(items.size());
      }
      const TMeasuredPoints points = {part, first.data(), items.data()};
      if (!height) {
        SolveLatLonHArray(points, solutions.data());
      } else if (heightSigma) {
        SolveLatLonHArray(points, height->data() + start, *heightSigma * *heightSigma, solutions.data());
      } else {
        SolveLatLonArray(points, height->data() + start, solutions.data());
      }
      for (std::size_t i = start; i < start + part; ++i) {
        const TGroundIntersection& point = solutions[i - start];
        const bool good = static_cast<bool>(point);
        lat.data[i] = good ? point.lat : kNaN;
        lon.data[i] = good ? point.lon : kNaN;
        h.data[i] = good ? point.h : kNaN;
        rms.data[i] = point.residual;
        state[i] = static_cast<std::int8_t>(point.status.state);
        std::transform(std::begin(point.covariance), std::end(point.covariance), covariance.data + 9 * i,
                       [good](double value) { return good ? value : kNaN; });
      }
    }
  }
  return nb::make_tuple(lat.object, lon.object, h.object, stateObject, rms.object, covariance.object);
}

}  // namespace

void DefineSolving(nb::module_& module) {
  module.def("locate", &Locate, nb::arg("model"), nb::arg("line"), nb::arg("sample"), nb::arg("height"),
             nb::arg("extrapolate"),
             nb::sig("def locate(model: Model, line: object, sample: object, height: object, extrapolate: bool)"
                     " -> tuple[typing.Any, typing.Any, typing.Any, typing.Any]"));
  module.def(
      "intersect", &Intersect, nb::arg("models"), nb::arg("line"), nb::arg("sample"), nb::arg("height").none(),
      nb::arg("height_sigma").none(),
      nb::sig(
          "def intersect(models: list[Model], line: typing.Any, sample: typing.Any, height: typing.Any, height_sigma: "
          "float | None) -> tuple[typing.Any, typing.Any, typing.Any, typing.Any, typing.Any, typing.Any]"));
  module.def(
      "describe_state", [](int state) { return DescribeGroundState(static_cast<TGroundState>(state)); },
      nb::arg("state"));
}

}  // namespace orbmath_python
