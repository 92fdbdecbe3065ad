// A model from correspondences.

#include <nanobind/stl/optional.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/vector.h>

#include <stdexcept>
#include <vector>

#include "arrays.h"
#include "model.h"
#include "refine/robust_fit.h"

namespace orbmath_python {

using namespace SatCommonUtils;  // NOLINT(google-build-using-namespace): a source file of its host

namespace {

nb::dict DictOf(const TRPCFitResiduals& residuals) {
  const auto three = [](const TRPCFitStatistics& s) { return nb::make_tuple(s.rms, s.percentile95, s.maximum); };
  nb::dict dict;
  dict["count"] = residuals.count;
  dict["line"] = three(residuals.line);
  dict["sample"] = three(residuals.sample);
  dict["distance"] = three(residuals.distance);
  return dict;
}

nb::dict DictOf(const TRPCFitReport& report) {
  nb::dict dict;
  dict["message"] = report.message;
  dict["coverage"] = report.coverage;
  dict["flat"] = report.flat;
  dict["bad"] = report.bad;
  dict["fitted"] = DictOf(report.fitted);
  dict["check"] = DictOf(report.check);
  return dict;
}

nb::object Fit(nb::handle lat, nb::handle lon, nb::handle height, nb::handle line, nb::handle sample, int order,
               double ridge, std::optional<std::vector<double>> weights, std::size_t holdOut, bool keepAll) {
  const TBroadcast points({lat, lon, height, line, sample});
  TRPCEstimationDataSet set;
  TRPCFitOptions options;
  options.order = order;
  options.ridge = ridge;
  if (weights) options.weights = std::move(*weights);
  options.holdOut = holdOut;
  if (keepAll) options.badPoints = TRPCBadPoints::Kept;
  TRPCData record;
  TRPCFitReport report;
  bool good = false;
  {
    const nb::gil_scoped_release free;
    set.Points.reserve(points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
      set.Points.push_back({points[0][i], points[1][i], points[2][i], points[3][i], points[4][i]});
    }
    good = FitRPC(set, options, &record, &report);
  }
  if (!good) throw std::runtime_error(report.message);
  return nb::make_tuple(TModel::OfRecord(record, {}, std::nullopt), DictOf(report));
}

}  // namespace

void DefineFitting(nb::module_& module) {
  module.def(
      "fit", &Fit, nb::arg("lat"), nb::arg("lon"), nb::arg("height"), nb::arg("line"), nb::arg("sample"),
      nb::arg("order"), nb::arg("ridge"), nb::arg("weights").none(), nb::arg("hold_out"), nb::arg("keep_all"),
      nb::sig(
          "def fit(lat: object, lon: object, height: object, line: object, sample: object, order: int, ridge: float, "
          "weights: list[float] | None, hold_out: int, keep_all: bool) -> tuple[Model, dict[str, typing.Any]]"));
}

}  // namespace orbmath_python
