// orbmath convert: a model in another form, and models of windows of an image.

#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include "commands/command.h"
#include "errors.h"
#include "models/model.h"
#include "refine/crop_model.h"
#include "refine/model_file.h"
#include "report/fixed_digits.h"
#include "report/output_file.h"

namespace orbmath_tool {

using SatCommonUtils::TModelKind;
using SatCommonUtils::TRPC;
using SatCommonUtils::TRPCFileForm;

namespace {

/// What `--crop` and `--zoom` say.
class WindowOption {
 public:
  void Declare(CommandLine& line) {
    line.Numbers("--crop", "LINE SAMPLE HEIGHT WIDTH", 4, &crop_,
                 "the model of this part of the image, in whose first pixel the result begins");
    line.Number("--zoom", "F", &zoom_, "pixels of the result on one of the image: 0.25 for a coarser band");
  }

  bool IsGiven() const { return zoom_.has_value() || !crop_.empty(); }

  /// The model of the window in place of the model. \throws UsageError, Failure
  void Apply(Model* model) const {
    if (model->kind == TModelKind::Inverse) throw Failure(model->name + ": is an inverse model, which has no window");
    SatCommonUtils::TImageWindow window;
    window.zoom = zoom_.value_or(1.0);
    int width = 0;
    int height = 0;
    model->rpc->GetRasterDims(&width, &height);
    double size[2] = {static_cast<double>(height), static_cast<double>(width)};
    if (!crop_.empty()) {
      window.firstLine = crop_[0];
      window.firstSample = crop_[1];
      size[0] = crop_[2];
      size[1] = crop_[3];
      if (!(size[0] > 0.0 && size[1] > 0.0)) throw UsageError("--crop needs a height and a width above 0");
    }
    if (!window.IsValid()) throw UsageError("--zoom needs a number above 0");
    const auto cropped = SatCommonUtils::CropModel(*model->rpc, window);
    if (!cropped) throw Failure(model->name + ": its refinement has no inverse, so that it cannot be carried over");
    model->rpc = cropped;
    model->rpc->GetRPCData(&model->file.record);
    SetSize(std::round(size[0] * window.zoom), std::round(size[1] * window.zoom), model->rpc.get());
  }

 private:
  static void SetSize(double height, double width, TRPC* model) {
    constexpr double kMost = 2147483647.0;
    if (height >= 1.0 && width >= 1.0 && height <= kMost && width <= kMost) {
      model->SetRasterDims(static_cast<int>(width), static_cast<int>(height));
    }
  }

  std::vector<double> crop_;
  std::optional<double> zoom_;
};

class Convert : public Command {
 public:
  const char* Notes() const override {
    return "The form of OUT follows from its suffix: .rpb, .txt or .rpc (text), .xml, .json, .aux.xml (GDAL). An OUT "
           "that is an image gets the model: in its tag when it is a GeoTIFF, else in the file OUT.aux.xml beside it. "
           "Satellite, band, bias and random error are kept as far as the form has a place for them. RPB and text "
           "files "
           "hold rounded numbers: a model with longer offsets and scales is expressed with the rounded ones, and what "
           "the digits of its coefficients cost in pixels is said on standard error.\n\n"
           "With --crop and --zoom OUT is the model of a part of the image, brought to another pixel size. Whole "
           "numbers "
           "are pixel centres: a point at line l has F (l - LINE + 0.5) - 0.5 there. A refinement goes along.\n\n"
           "Examples:\n"
           "  orbmath convert image_RPC.TXT image.RPB\n"
           "  orbmath convert refined.RPB image.tif\n"
           "  orbmath convert pan.xml multi.xml --zoom 0.25";
  }

  void Declare(CommandLine& line) override {
    line.Argument("IN", &in_, "model file of any form, or an image");
    line.Argument("OUT", &out_, "file to be written, '-' for standard output, or an image that is there");
    form_.Declare(line, true);
    window_.Declare(line);
    reading_.Declare(line);
  }

  int Run() override {
    const TRPCFileForm form = form_.Of(out_);
    Model model = ReadModel(in_, reading_);
    for (const std::string& note : model.file.origin.notes) Note(in_ + ": " + note);
    if (window_.IsGiven()) window_.Apply(&model);
    if (form == TRPCFileForm::XML) {
      WriteModel(*model.rpc, model.file.extras, form, out_);
      return kSuccess;
    }
    if (AsRefined(model) != nullptr || model.file.form == TRPCFileForm::AdjustedXML) {
      throw Failure(in_ + ": holds a refinement, which an " + SatCommonUtils::RPCFileFormName(form) +
                    " file cannot; 'orbmath export' makes a plain model of it");
    }
    NoteLostParts(*model.rpc, form);
    const double cost = WriteModel(*model.rpc, model.file.extras, form, out_).worst;
    if (model.kind == TModelKind::Inverse) {
      Note(out_ + ": of an inverse model, what the digits of its form cost is not measured");
      return kSuccess;
    }
    const std::string form_name = SatCommonUtils::RPCFileFormName(form);
    if (!std::isfinite(cost)) {
      Note(out_ + ": the model gives no image points, so what the digits of the " + form_name +
           " form cost cannot be told");
    } else if (cost > 0.0) {
      Note(out_ + ": the digits of the " + form_name + " form move points by up to " + Fixed(cost, 9) + " px");
    }
    return kSuccess;
  }

 private:
  void NoteLostParts(const TRPC& model, TRPCFileForm form) const {
    SatCommonUtils::TPolygon margin;
    // An image has its size anyway, and a size that a product states is no part of the model.
    const bool size = form != TRPCFileForm::Image && model.GetRasterDims(nullptr, nullptr);
    if (model.GetMargin(&margin) || size) {
      Note(out_ + ": the " + SatCommonUtils::RPCFileFormName(form) + " form has no place for margin and raster size");
    }
  }

  ModelReading reading_;
  std::string in_;
  std::string out_;
  OutputForm form_;
  WindowOption window_;
};

}  // namespace

std::unique_ptr<Command> MakeConvert() { return std::make_unique<Convert>(); }

}  // namespace orbmath_tool
