// How uncertain ground points are, one image at known heights and several images.

#include "uncertainty.h"

#include <nanobind/stl/optional.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/vector.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "accuracy/error_model.h"
#include "arrays.h"

namespace orbmath_python {

using namespace SatCommonUtils;  // NOLINT(google-build-using-namespace): a source file of its host

namespace {

using TSigma = std::optional<double>;

void Fill(const TGroundCovariance& c, double* nine) {
  const double values[9] = {c.eastEast, c.eastNorth, c.eastUp,  c.eastNorth, c.northNorth,
                            c.northUp,  c.eastUp,    c.northUp, c.upUp};
  std::copy(std::begin(values), std::end(values), nine);
}

nb::object Locate(const TModel& model, nb::handle lat, nb::handle lon, nb::handle height, nb::handle heightSigma,
                  TSigma sigma, TSigma bias, TSigma random) {
  const TImageErrors errors = ErrorsOf(model, sigma, bias, random);
  const TBroadcast points({lat, lon, height, heightSigma});
  std::vector<TGroundUncertainty> uncertainties(points.size());
  {
    const nb::gil_scoped_release free;
    LocateUncertaintyArray(model.rpc(), errors, points.size(), points[0], points[1], points[2], points[3],
                           uncertainties.data());
  }
  return UncertaintyArrays(points.shape(), uncertainties);
}

// The height is "free", "known" or "observed".
nb::object Intersect(const std::vector<const TModel*>& models, nb::handle lat, nb::handle lon, nb::handle height,
                     const std::string& kind, double heightSigma, double heightVariance, double correlation,
                     const std::vector<TSigma>& sigma, const std::vector<TSigma>& bias,
                     const std::vector<TSigma>& random) {
  std::vector<const TRPC*> rpcs;
  std::vector<TImageErrors> errors;
  for (std::size_t m = 0; m < models.size(); ++m) {
    rpcs.push_back(&models[m]->rpc());
    errors.push_back(ErrorsOf(*models[m], sigma.at(m), bias.at(m), random.at(m)));
  }
  TIntersectionErrors together;
  together.height = kind == "free"    ? TIntersectionHeight::Free
                    : kind == "known" ? TIntersectionHeight::Known
                                      : TIntersectionHeight::Observed;
  together.heightSigma = heightSigma;
  together.heightVariance = heightVariance;
  together.biasCorrelation = correlation;
  const TBroadcast points({lat, lon, height});
  std::vector<TGroundUncertainty> uncertainties(points.size());
  {
    const nb::gil_scoped_release free;
    IntersectionUncertaintyArray(rpcs, errors, together, points.size(), points[0], points[1], points[2],
                                 uncertainties.data());
  }
  return UncertaintyArrays(points.shape(), uncertainties);
}

}  // namespace

TImageErrors ErrorsOf(const TModel& model, TSigma sigma, TSigma bias, TSigma random) {
  const TImageErrorModel known = ErrorsOfImage(model.rpc(), model.extras(), {sigma, bias, random});
  if (!known.success) throw std::invalid_argument(known.message);
  return known.errors;
}

nb::object UncertaintyArrays(const nb::object& shape, const std::vector<TGroundUncertainty>& uncertainties) {
  const nb::object squares = shape + nb::make_tuple(3, 3);
  const TNewArray covariance = NewArray(squares), shared = NewArray(squares);
  const TNewArray ce90 = NewArray(shape), ce95 = NewArray(shape), le90 = NewArray(shape);
  nb::object stateObject;
  auto* const state = NewArrayOf<std::int8_t>(shape, "int8", &stateObject);
  for (std::size_t i = 0; i < uncertainties.size(); ++i) {
    const TGroundUncertainty& at = uncertainties[i];
    Fill(at.covariance, covariance.data + 9 * i);
    Fill(at.shared, shared.data + 9 * i);
    ce90.data[i] = at.ce90;
    ce95.data[i] = at.ce95;
    le90.data[i] = at.le90;
    state[i] = static_cast<std::int8_t>(at.state);
  }
  return nb::make_tuple(covariance.object, shared.object, ScalarOrArray(ce90.object), ScalarOrArray(ce95.object),
                        ScalarOrArray(le90.object), ScalarOrArray(stateObject));
}

void DefineUncertainty(nb::module_& module) {
  module.def("locate_uncertainty", &Locate, nb::arg("model"), nb::arg("lat"), nb::arg("lon"), nb::arg("height"),
             nb::arg("height_sigma"), nb::arg("sigma").none(), nb::arg("bias").none(), nb::arg("random").none(),
             nb::sig("def locate_uncertainty(model: Model, lat: object, lon: object, height: object, height_sigma: "
                     "object, sigma: float | None, bias: float | None, random: float | None) -> tuple[typing.Any, "
                     "typing.Any, typing.Any, typing.Any, typing.Any, typing.Any]"));
  module.def("intersect_uncertainty", &Intersect, nb::arg("models"), nb::arg("lat"), nb::arg("lon"), nb::arg("height"),
             nb::arg("kind"), nb::arg("height_sigma"), nb::arg("height_variance"), nb::arg("correlation"),
             nb::arg("sigma"), nb::arg("bias"), nb::arg("random"),
             nb::sig("def intersect_uncertainty(models: list[Model], lat: object, lon: object, height: object, kind: "
                     "str, height_sigma: float, height_variance: float, correlation: float, sigma: list[float | "
                     "None], bias: list[float | None], random: list[float | None]) -> tuple[typing.Any, typing.Any, "
                     "typing.Any, typing.Any, typing.Any, typing.Any]"));
  module.def(
      "describe_uncertainty_state",
      [](int state) { return DescribeUncertaintyState(static_cast<TUncertaintyState>(state)); }, nb::arg("state"));
}

}  // namespace orbmath_python
