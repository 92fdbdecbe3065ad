// A correction of a model from control points.

#include <nanobind/stl/string.h>

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "arrays.h"
#include "model.h"
#include "refine/refinement_fit.h"

namespace orbmath_python {

using namespace SatCommonUtils;  // NOLINT(google-build-using-namespace): a source file of its host

namespace {

TRefinementFitOptions OptionsOf(const TModel& model, const std::string& kind, bool keepAll) {
  TRefinementFitOptions options;
  options.keepAll = keepAll;
  options.automatic = kind == "auto";
  if (kind == "shift") options.type = TRPCRefinementTransformType::Shift;
  if (kind == "affine") options.type = TRPCRefinementTransformType::Affine;
  if (kind == "projective") options.type = TRPCRefinementTransformType::Projective;
  int width = 0;
  int height = 0;
  if (model.rpc().GetRasterDims(&width, &height)) {
    options.lines = height;
    options.samples = width;
  }
  return options;
}

nb::dict DictOf(const TRefinementFit& fit) {
  const nb::object shape = nb::make_tuple(fit.points.size(), 2);
  const nb::object each = nb::make_tuple(fit.points.size());
  const TNewArray before = NewArray(shape), after = NewArray(shape), standardized = NewArray(each);
  nb::object badObject;
  bool* const bad = NewArrayOf<bool>(each, "bool", &badObject);
  nb::object outsideObject;
  bool* const outside = NewArrayOf<bool>(each, "bool", &outsideObject);
  std::fill(outside, outside + fit.points.size(), false);
  for (const std::size_t place : fit.outside) outside[place] = true;
  for (std::size_t i = 0; i < fit.points.size(); ++i) {
    const TRefinementResidual& point = fit.points[i];
    before.data[2 * i] = point.lineBefore;
    before.data[2 * i + 1] = point.sampleBefore;
    after.data[2 * i] = point.lineAfter;
    after.data[2 * i + 1] = point.sampleAfter;
    standardized.data[i] = point.standardized;
    bad[i] = point.isBad;
  }
  nb::dict dict;
  dict["kind"] = GetRPCRefinementTransformTypeName(fit.type);
  dict["message"] = fit.message;
  dict["used"] = fit.used;
  dict["rms_before"] = fit.rmsBefore;
  dict["rms_after"] = fit.rmsAfter;
  dict["sigma_factor"] = fit.sigmaFactor;
  dict["corner_factor"] = fit.cornerFactor;
  dict["residuals_before"] = before.object;
  dict["residuals_after"] = after.object;
  dict["standardized"] = standardized.object;
  dict["bad"] = badObject;
  dict["outside"] = outsideObject;
  return dict;
}

nb::object Refine(const TModel& model, nb::handle lat, nb::handle lon, nb::handle height, nb::handle line,
                  nb::handle sample, nb::handle sigma, const std::string& kind, bool keepAll, double maxMisfit) {
  if (model.adjusted() != nullptr) throw std::invalid_argument("the model is refined already: refine its plain()");
  const TBroadcast points({lat, lon, height, line, sample, sigma});
  TRefinementFitOptions options = OptionsOf(model, kind, keepAll);
  options.largestMisfit = maxMisfit;
  TRefinementFit fit;
  bool good = false;
  {
    const nb::gil_scoped_release free;
    std::vector<TGroundControlPoint> control(points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
      control[i] = {points[0][i], points[1][i], points[2][i], points[3][i], points[4][i], points[5][i]};
    }
    good = FitGroundControl(model.rpc(), control, options, &fit);
  }
  if (!good) throw std::runtime_error(fit.message);
  return nb::make_tuple(TModel::Adjusted(model, *fit.data, fit.covariance), DictOf(fit));
}

}  // namespace

void DefineRefining(nb::module_& module) {
  module.def("refine", &Refine, nb::arg("model"), nb::arg("lat"), nb::arg("lon"), nb::arg("height"), nb::arg("line"),
             nb::arg("sample"), nb::arg("sigma"), nb::arg("kind"), nb::arg("keep_all"), nb::arg("max_misfit"),
             nb::sig("def refine(model: Model, lat: object, lon: object, height: object, line: object, sample: object, "
                     "sigma: object, "
                     "kind: str, keep_all: bool, max_misfit: float) -> tuple[Model, dict[str, typing.Any]]"));
}

}  // namespace orbmath_python
