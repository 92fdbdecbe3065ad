// Terrain: height surfaces from arrays, and lines of sight that meet them.

#include <nanobind/stl/optional.h>
#include <nanobind/stl/shared_ptr.h>
#include <nanobind/stl/tuple.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "arrays.h"
#include "frame/zxstd/message.h"
#include "model.h"
#include "surface.h"
#include "terrain/height_grid.h"
#include "terrain/height_surface.h"
#include "terrain/terrain_locator.h"
#include "uncertainty.h"

namespace orbmath_python {

using namespace SatCommonUtils;  // NOLINT(google-build-using-namespace): a source file of its host

namespace {

// Plane coordinates by a callable of Python, (lon, lat) -> (x, y): pyproj's Transformer.transform, say.
class TCallableMapping final : public TGridMapping {
 public:
  explicit TCallableMapping(nb::object callable) : callable_(std::move(callable)) {}
  ~TCallableMapping() override {
    const nb::gil_scoped_acquire held;
    callable_.reset();
  }
  TCallableMapping(const TCallableMapping&) = delete;
  TCallableMapping& operator=(const TCallableMapping&) = delete;

  // Threads of the library come here without Python's lock. What the callable throws makes the points void: an
  // exception could not leave a parallel loop.
  void Map(std::size_t count, const double* lat, const double* lon, double* x, double* y) const override {
    const nb::gil_scoped_acquire held;
    try {
      const nb::object shape = nb::make_tuple(count);
      const TNewArray lons = NewArray(shape), lats = NewArray(shape);
      std::copy(lon, lon + count, lons.data);
      std::copy(lat, lat + count, lats.data);
      const nb::object both = callable_(lons.object, lats.object);
      const TBroadcast found({both[0], both[1]});
      if (found.size() != count) throw std::length_error("a mapping gives a point for each point");
      std::copy(found[0], found[0] + count, x);
      std::copy(found[1], found[1] + count, y);
    } catch (const std::exception&) {
      std::fill(x, x + count, std::numeric_limits<double>::quiet_NaN());
      std::fill(y, y + count, std::numeric_limits<double>::quiet_NaN());
    }
  }

 private:
  nb::object callable_;
};

THeld GridOf(const TInput& heights, const std::tuple<double, double, double, double, double, double>& transform,
             bool pixelIsArea, bool bicubic, std::optional<double> noData, std::optional<double> voidHeight,
             nb::object mapping) {
  if (heights.ndim() != 2) throw std::invalid_argument("heights are an array of rows and columns");
  THeightGridFrame frame;
  frame.rows = static_cast<int>(heights.shape(0));
  frame.columns = static_cast<int>(heights.shape(1));
  const auto& [a, b, c, d, e, f] = transform;  // x = a column + b row + c, y = d column + e row + f
  const double inLibraryOrder[6] = {c, a, b, f, d, e};
  std::copy(std::begin(inLibraryOrder), std::end(inLibraryOrder), frame.transform);
  frame.pixelIsArea = pixelIsArea;
  frame.interpolation = bicubic ? THeightInterpolation::Bicubic : THeightInterpolation::Bilinear;
  const double none = std::numeric_limits<double>::quiet_NaN();
  frame.voidHeight = voidHeight.value_or(none);
  if (!mapping.is_none()) frame.mapping = std::make_shared<TCallableMapping>(std::move(mapping));
  try {
    const std::vector<double> posts(heights.data(), heights.data() + heights.size());
    return {std::make_shared<THeightGrid>(frame, posts, noData.value_or(none))};
  } catch (const TZxMessage& message) {
    throw std::invalid_argument(message.GetText());
  }
}

nb::object HeightsOf(const THeld& terrain, nb::handle lat, nb::handle lon) {
  const TBroadcast points({lat, lon});
  const TNewArray height = NewArray(points.shape());
  {
    const nb::gil_scoped_release free;
    terrain.surface->GetHeights(points.size(), points[0], points[1], height.data);
  }
  return ScalarOrArray(height.object);
}

// A model over a surface; holds both.
class TLocator {
 public:
  TLocator(const TModel& model, const THeld& terrain)
      : model_(model), terrain_(terrain), locator_(model_.rpc(), *terrain_.surface) {}

  // Latitude, longitude, height, state and residual.
  nb::object Locate(nb::handle line, nb::handle sample) const {
    const TBroadcast points({line, sample});
    const nb::object& shape = points.shape();
    const TNewArray lat = NewArray(shape), lon = NewArray(shape), height = NewArray(shape), residual = NewArray(shape);
    nb::object stateObject;
    auto* const state = NewArrayOf<std::int8_t>(shape, "int8", &stateObject);
    {
      const nb::gil_scoped_release free;
      constexpr std::size_t kPart = 32768;
      std::vector<TTerrainSolution> solutions(std::min(kPart, points.size()));
      for (std::size_t first = 0; first < points.size(); first += kPart) {
        const std::size_t count = std::min(kPart, points.size() - first);
        locator_.LocateArray(count, points[0] + first, points[1] + first, solutions.data());
        for (std::size_t i = 0; i < count; ++i) {
          lat.data[first + i] = solutions[i].lat;
          lon.data[first + i] = solutions[i].lon;
          height.data[first + i] = solutions[i].h;
          residual.data[first + i] = solutions[i].residual;
          state[first + i] = static_cast<std::int8_t>(solutions[i].state);
        }
      }
    }
    return nb::make_tuple(ScalarOrArray(lat.object), ScalarOrArray(lon.object), ScalarOrArray(height.object),
                          ScalarOrArray(stateObject), ScalarOrArray(residual.object));
  }

  nb::object Visibility(nb::handle lat, nb::handle lon, nb::handle height) const {
    const TBroadcast points({lat, lon, height});
    nb::object object;
    auto* const seen = NewArrayOf<std::int8_t>(points.shape(), "int8", &object);
    {
      const nb::gil_scoped_release free;
      std::vector<TVisibility> visibility(points.size());
      locator_.GetVisibilityArray(points.size(), points[0], points[1], points[2], visibility.data());
      std::transform(visibility.begin(), visibility.end(), seen,
                     [](TVisibility value) { return static_cast<std::int8_t>(value); });
    }
    return ScalarOrArray(object);
  }

  nb::object Uncertainty(nb::handle lat, nb::handle lon, nb::handle height, double demSigma,
                         std::optional<double> sigma, std::optional<double> bias, std::optional<double> random) const {
    const TImageErrors errors = ErrorsOf(model_, sigma, bias, random);
    const TBroadcast points({lat, lon, height});
    std::vector<TGroundUncertainty> uncertainties(points.size());
    {
      const nb::gil_scoped_release free;
      TerrainUncertaintyArray(model_.rpc(), errors, *terrain_.surface, {demSigma, 0.0}, points.size(), points[0],
                              points[1], points[2], uncertainties.data());
    }
    return UncertaintyArrays(points.shape(), uncertainties);
  }

 private:
  TModel model_;
  THeld terrain_;
  TTerrainLocator locator_;
};

}  // namespace

void DefineTerrain(nb::module_& module) {
  nb::class_<THeld>(module, "Surface")
      .def("heights", &HeightsOf, nb::arg("lat"), nb::arg("lon"),
           nb::sig("def heights(self, lat: object, lon: object) -> typing.Any"));
  module.def("grid", &GridOf, nb::arg("heights"), nb::arg("transform"), nb::arg("pixel_is_area"), nb::arg("bicubic"),
             nb::arg("nodata").none(), nb::arg("void_height").none(), nb::arg("mapping").none(),
             nb::sig("def grid(heights: typing.Any, transform: tuple[float, float, float, float, float, float], "
                     "pixel_is_area: bool, bicubic: bool, nodata: float | None, void_height: float | None, mapping: "
                     "object) -> Surface"));
  module.def(
      "constant", [](double height) { return THeld{std::make_shared<TConstantHeight>(height)}; }, nb::arg("height"));
  module.def(
      "sum", [](const THeld& a, const THeld& b) { return THeld{std::make_shared<THeightSum>(a.surface, b.surface)}; },
      nb::arg("terrain"), nb::arg("base"));
  module.def(
      "first_known",
      [](const THeld& a, const THeld& b) { return THeld{std::make_shared<TFirstKnownHeight>(a.surface, b.surface)}; },
      nb::arg("first"), nb::arg("second"));
  nb::class_<TLocator>(module, "Locator")
      .def(nb::init<const TModel&, const THeld&>(), nb::arg("model"), nb::arg("terrain"),
           nb::call_guard<nb::gil_scoped_release>())
      .def("locate", &TLocator::Locate, nb::arg("line"), nb::arg("sample"),
           nb::sig("def locate(self, line: object, sample: object) -> tuple[typing.Any, typing.Any, typing.Any, "
                   "typing.Any, typing.Any]"))
      .def("uncertainty", &TLocator::Uncertainty, nb::arg("lat"), nb::arg("lon"), nb::arg("height"),
           nb::arg("dem_sigma"), nb::arg("sigma").none(), nb::arg("bias").none(), nb::arg("random").none(),
           nb::sig("def uncertainty(self, lat: object, lon: object, height: object, dem_sigma: float, sigma: float | "
                   "None, bias: float | None, random: float | None) -> tuple[typing.Any, typing.Any, typing.Any, "
                   "typing.Any, typing.Any, typing.Any]"))
      .def("visibility", &TLocator::Visibility, nb::arg("lat"), nb::arg("lon"), nb::arg("height"),
           nb::sig("def visibility(self, lat: object, lon: object, height: object) -> typing.Any"));
  module.def(
      "describe_terrain_state", [](int state) { return DescribeTerrainState(static_cast<TTerrainState>(state)); },
      nb::arg("state"));
}

}  // namespace orbmath_python
