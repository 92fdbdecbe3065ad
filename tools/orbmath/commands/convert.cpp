#include <cmath>
#include <string>

#include "commands/command.h"
#include "errors.h"
#include "models/ground_grid.h"
#include "models/inverse_model.h"
#include "models/model.h"
#include "report/fixed_digits.h"
#include "report/output_file.h"

namespace orbmath_tool {

using SatCommonUtils::TRPC;
using SatCommonUtils::TRPCFileForm;

namespace {

class Convert : public Command {
 public:
  const char* Notes() const override {
    return "The form of OUT follows from its suffix: .rpb, .txt or .rpc (text), .xml. Satellite, band, bias and "
           "random error are kept as far as the form has a place for them. RPB and text files hold rounded "
           "numbers: a model with longer offsets and scales is expressed with the rounded ones, and what the "
           "digits of its coefficients cost in pixels is said on standard error.\n\n"
           "Example:\n"
           "  orbmath convert image_RPC.TXT image.RPB";
  }

  void Declare(CommandLine& line) override {
    line.Argument("IN", &in_, "model file of any form");
    line.Argument("OUT", &out_, "file to be written, '-' for standard output");
    form_.Declare(line);
  }

  int Run() override {
    const TRPCFileForm form = form_.Of(out_);
    const Model model = ReadModel(in_);
    if (form == TRPCFileForm::XML) {
      WriteFile(out_, FormatModel(*model.rpc, model.file.extras, form, out_));
      return kSuccess;
    }
    if (model.file.form == TRPCFileForm::AdjustedXML) {
      throw Failure(in_ + ": holds a refinement, which an " + SatCommonUtils::RPCFileFormName(form) +
                    " file cannot; 'orbmath export' makes a plain model of it");
    }
    NoteLostParts(*model.rpc, form);
    const TRPC rounded(OntoDigitsOf(form, model.file.record, out_), nullptr);
    const TRPC written(WriteModel(rounded, model.file.extras, form, out_), nullptr);
    if (IsInverse(model.file.record)) {
      Note(out_ + ": of an inverse model, what the digits of its form cost is not measured");
      return kSuccess;
    }
    const PixelDifference cost = DifferenceInImage(*model.rpc, written);
    const std::string form_name = SatCommonUtils::RPCFileFormName(form);
    if (!std::isfinite(cost.max)) {
      Note(out_ + ": the model gives no image points, so what the digits of the " + form_name +
           " form cost cannot be told");
    } else if (cost.max > 0.0) {
      Note(out_ + ": the digits of the " + form_name + " form move points by up to " + Fixed(cost.max, 9) + " px");
    }
    return kSuccess;
  }

 private:
  void NoteLostParts(const TRPC& model, TRPCFileForm form) const {
    SatCommonUtils::TPolygon margin;
    if (model.GetMargin(&margin) || model.GetRasterDims(nullptr, nullptr)) {
      Note(out_ + ": the " + SatCommonUtils::RPCFileFormName(form) + " form has no place for margin and raster size");
    }
  }

  std::string in_;
  std::string out_;
  OutputForm form_;
};

}  // namespace

std::unique_ptr<Command> MakeConvert() { return std::make_unique<Convert>(); }

}  // namespace orbmath_tool
