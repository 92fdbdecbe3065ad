// Models: from files, records and XML, and ground to image.

#include "model.h"

#include <nanobind/stl/optional.h>
#include <nanobind/stl/pair.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/vector.h>

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "accuracy/error_model.h"
#include "arrays.h"
#include "frame/zxstd/message.h"
#include "frame/zxstd/stream.h"
#include "refine/model_file.h"
#include "rpc/rpc_fields.h"

namespace orbmath_python {

using namespace SatCommonUtils;  // NOLINT(google-build-using-namespace): a source file of its host

namespace {

// The record as a dictionary by the names of the text form, which the ecosystem knows: "LINE_OFF" ... "LINE_NUM_COEFF".
std::string ListKey(const TRPCCoefficientField& field) {
  const std::string key = field.textKey;  // "LINE_NUM_COEFF_"
  return key.substr(0, key.size() - 1);
}

nb::dict RecordOf(const TModel& model) {
  const TRPCData record = model.record();
  nb::dict dict;
  for (const TRPCScalarField& field : RPCScalarFields()) dict[field.textKey] = record.*field.value;
  for (const TRPCCoefficientField& field : RPCCoefficientFields()) {
    nb::list list;
    for (const double value : record.*field.values) list.append(value);
    dict[ListKey(field).c_str()] = list;
  }
  return dict;
}

nb::dict ExtrasOf(const TModel& model) {
  const TRPCFileExtras& extras = model.extras();
  nb::dict dict;
  dict["satellite"] = extras.satelliteId;
  dict["band"] = extras.bandId;
  dict["bias_error"] = extras.biasError;
  dict["random_error"] = extras.randomError;
  return dict;
}

nb::object ValueOf(const nb::dict& dict, const std::string& key) {
  if (!dict.contains(key.c_str())) throw std::invalid_argument(key + " is missing");
  return dict[key.c_str()];
}

TModel ModelOf(const nb::dict& dict, std::optional<std::string> satellite, std::optional<std::string> band,
               std::optional<double> biasError, std::optional<double> randomError,
               std::optional<std::pair<int, int>> raster) {
  TRPCData record;
  for (const TRPCScalarField& field : RPCScalarFields()) {
    record.*field.value = nb::cast<double>(ValueOf(dict, field.textKey));
  }
  for (const TRPCCoefficientField& field : RPCCoefficientFields()) {
    const std::string key = ListKey(field);
    const auto values = nb::cast<std::vector<double>>(ValueOf(dict, key));
    if (values.size() != 20) {
      throw std::invalid_argument(key + ": " + std::to_string(values.size()) + " numbers where 20 are needed");
    }
    std::copy(values.begin(), values.end(), record.*field.values);
  }
  return TModel::OfRecord(record, {std::move(satellite), std::move(band), biasError, randomError}, raster);
}

nb::dict DictOf(const TRPCFileOrigin& origin) {
  nb::dict dict;
  dict["source"] = origin.source;
  dict["form"] = origin.variant;
  dict["first_pixel"] = origin.firstPixel;
  dict["first_pixel_rule"] = origin.firstPixelRule;
  dict["term_order"] = RPCTermOrderName(origin.termOrder);
  dict["acquired"] = origin.acquisitionTime;
  dict["notes"] = origin.notes;
  return dict;
}

nb::tuple Open(const std::string& path, std::optional<int> firstPixel) {
  TRPCFileForm form{};
  const TModel model = [&] {
    const nb::gil_scoped_release free;
    return TModel::Open(path, {firstPixel}, &form);
  }();
  nb::dict origin = DictOf(*model.origin());
  origin["radar"] = form == TRPCFileForm::Radarsat;
  return nb::make_tuple(model, origin);
}

std::optional<std::pair<int, int>> RasterOf(const TModel& model) {
  int width = 0;
  int height = 0;
  if (!model.rpc().GetRasterDims(&width, &height)) return std::nullopt;
  return std::make_pair(width, height);
}

// The refinement as (kind, names, values), or none.
nb::object RefinementOf(const TModel& model) {
  const TAdjustedRPC* const adjusted = model.adjusted();
  if (adjusted == nullptr) return nb::none();
  const auto data = adjusted->GetRPCRefinementData();
  std::vector<double> values;
  data->GetParametersValues(&values);
  return nb::make_tuple(GetRPCRefinementTransformTypeName(data->type), data->GetParametersNames(), values);
}

nb::bytes XmlOf(const TModel& model) {
  const std::string xml = model.ToXml();
  return nb::bytes(xml.data(), xml.size());
}

std::optional<TRPCFileForm> FormNamed(const std::optional<std::string>& name) {
  if (!name) return std::nullopt;
  if (*name == "rpb") return TRPCFileForm::RPB;
  if (*name == "text") return TRPCFileForm::Text;
  if (*name == "xml") return TRPCFileForm::XML;
  if (*name == "json") return TRPCFileForm::Json;
  throw std::invalid_argument("a form is 'rpb', 'text', 'xml' or 'json', not '" + *name + "'");
}

// What the form's rounding costs, pixels.
double Save(const TModel& model, const std::string& path, const std::optional<std::string>& form) {
  const TWrittenModel written = WriteModelFile(path, model.rpc(), {FormNamed(form), model.extras()});
  if (written) return written.worst;
  if (written.state != TModelFileState::NotWritten) throw std::invalid_argument(written.message);
  const nb::gil_scoped_acquire held;
  PyErr_SetString(PyExc_OSError, written.message.c_str());
  throw nb::python_error();
}

nb::object Project(const TModel& model, nb::handle lat, nb::handle lon, nb::handle height) {
  if (IsNumber(lat) && IsNumber(lon) && IsNumber(height)) {
    double line, sample;
    model.rpc().CalculateLineSample(AsNumber(lat), AsNumber(lon), AsNumber(height), &line, &sample, nullptr, nullptr);
    return nb::make_tuple(line, sample);
  }
  const TBroadcast points({lat, lon, height});
  const TNewArray line = NewArray(points.shape());
  const TNewArray sample = NewArray(points.shape());
  {
    const nb::gil_scoped_release free;
    model.rpc().CalculateLineSampleArray(points.size(), points[0], points[1], points[2], line.data, sample.data,
                                         nullptr, nullptr);
  }
  return nb::make_tuple(ScalarOrArray(line.object), ScalarOrArray(sample.object));
}

// Line, sample, and the 2 x 3 derivatives of each point: rows line and sample, columns latitude, longitude, height.
nb::object ProjectJacobian(const TModel& model, nb::handle lat, nb::handle lon, nb::handle height) {
  const TBroadcast points({lat, lon, height});
  const std::size_t count = points.size();
  const TNewArray line = NewArray(points.shape());
  const TNewArray sample = NewArray(points.shape());
  const TNewArray jacobian = NewArray(points.shape() + nb::make_tuple(2, 3));
  {
    const nb::gil_scoped_release free;
    std::vector<double> planes(6 * count);
    double* rows[6];
    for (std::size_t k = 0; k < 6; ++k) rows[k] = planes.data() + k * count;
    model.rpc().CalculateLineSampleArray(count, points[0], points[1], points[2], line.data, sample.data, rows,
                                         rows + 3);
    for (std::size_t i = 0; i < count; ++i) {
      for (std::size_t k = 0; k < 6; ++k) jacobian.data[6 * i + k] = rows[k][i];
    }
  }
  return nb::make_tuple(ScalarOrArray(line.object), ScalarOrArray(sample.object), jacobian.object);
}

}  // namespace

TModel::TModel(var_a<TRPC*> rpc, TRPCFileExtras extras) : rpc_(std::move(rpc)), extras_(std::move(extras)) {}

TModel TModel::Open(const std::string& path, const TRPCFileOptions& options, TRPCFileForm* form) {
  TModelFile read = ReadModelFile(path, {options});
  if (!read) throw std::runtime_error(read.message);
  *form = read.file.form;
  TRPCFileOrigin& origin = read.file.origin;
  if (origin.variant.empty()) origin.variant = RPCFileFormName(read.file.form);
  TModel model(read.model, std::move(read.file.extras));
  model.origin_ = std::make_shared<const TRPCFileOrigin>(std::move(origin));
  return model;
}

TModel TModel::OfXml(const std::string& xml) {
  TZxStringStream stream(xml);
  TModelFile read = ReadModelStream(&stream, "the model's XML");
  if (!read) throw std::runtime_error(read.message);
  return {read.model, std::move(read.file.extras)};
}

TModel TModel::OfRecord(const TRPCData& record, TRPCFileExtras extras, std::optional<std::pair<int, int>> raster) {
  if (!record) throw std::runtime_error("a number of the record is the mark for unset ones");
  auto rpc = make_var_a<TRPC>(record, nullptr);
  if (raster && !rpc->SetRasterDims(raster->first, raster->second)) {
    throw std::invalid_argument("an image has at least one line and one sample");
  }
  return {rpc, std::move(extras)};
}

TModel TModel::Adjusted(const TModel& raw, const TRPCRefinementDataBase& refinement,
                        const TRefinementCovariance& covariance) {
  try {
    const TRPCData record = raw.record();
    auto rpc = make_var_a<TAdjustedRPC>(&record, &refinement);
    CopyMarginAndRaster(raw.rpc(), rpc.get());
    rpc->SetRefinementCovariance(covariance);
    return {rpc, raw.extras_};
  } catch (const TZxMessage&) {
    throw std::runtime_error("this refinement has no inverse");
  }
}

std::string TModel::ToXml() const {
  TWrittenModel xml = FormatModelFile("the model", *rpc_, {TRPCFileForm::XML, extras_});
  if (!xml) throw std::runtime_error(xml.message);
  return std::move(xml.content);
}

TRPCData TModel::record() const {
  TRPCData record;
  rpc_->GetRPCData(&record);
  return record;
}

const TAdjustedRPC* TModel::adjusted() const {
  const auto* const adjusted = dynamic_cast<const TAdjustedRPC*>(rpc_.get());
  return adjusted != nullptr && adjusted->IsAdjusted() ? adjusted : nullptr;
}

TModel TModel::Plain() const {
  if (adjusted() == nullptr) return *this;
  const TRefinedExport plain = adjusted()->ExportRefined();
  if (!plain.success) throw std::runtime_error(plain.message);
  auto rpc = make_var_a<TRPC>(plain.record, nullptr);
  CopyMarginAndRaster(*rpc_, rpc.get());
  TRPCFileExtras extras = extras_;
  const TExportedErrors errors = ErrorsOfExport(*rpc_);
  if (errors.bias) extras.biasError = errors.bias;
  if (errors.random) extras.randomError = errors.random;
  return {rpc, extras};
}

void DefineModel(nb::module_& module) {
  nb::class_<TModel>(module, "Model")
      .def_static("open", &Open, nb::arg("path"), nb::arg("first_pixel").none(),
                  nb::sig("def open(path: str, first_pixel: int | None) -> tuple[Model, dict[str, typing.Any]]"))
      .def_static(
          "of_xml",
          [](const nb::bytes& xml) {
            return TModel::OfXml({xml.c_str(), xml.size()});
          },
          nb::arg("xml"))
      .def_static("of_record", &ModelOf, nb::arg("record"), nb::arg("satellite").none(), nb::arg("band").none(),
                  nb::arg("bias_error").none(), nb::arg("random_error").none(), nb::arg("raster").none(),
                  nb::sig("def of_record(record: dict[str, typing.Any], satellite: str | None, band: str | None, "
                          "bias_error: float | "
                          "None, random_error: float | None, raster: tuple[int, int] | None) -> Model"))
      .def("xml", &XmlOf)
      .def("save", &Save, nb::arg("path"), nb::arg("form").none(), nb::call_guard<nb::gil_scoped_release>())
      .def("record", &RecordOf, nb::sig("def record(self) -> dict[str, typing.Any]"))
      .def("extras", &ExtrasOf, nb::sig("def extras(self) -> dict[str, typing.Any]"))
      .def("raster", &RasterOf)
      .def("refinement", &RefinementOf, nb::sig("def refinement(self) -> tuple[str, list[str], list[float]] | None"))
      .def("plain", &TModel::Plain, nb::call_guard<nb::gil_scoped_release>())
      .def("project", &Project, nb::arg("lat"), nb::arg("lon"), nb::arg("height"),
           nb::sig("def project(self, lat: object, lon: object, height: object) -> tuple[typing.Any, typing.Any]"))
      .def("project_jacobian", &ProjectJacobian, nb::arg("lat"), nb::arg("lon"), nb::arg("height"),
           nb::sig("def project_jacobian(self, lat: object, lon: object, height: object)"
                   " -> tuple[typing.Any, typing.Any, typing.Any]"));
}

}  // namespace orbmath_python
