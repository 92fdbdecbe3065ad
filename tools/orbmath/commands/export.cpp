// orbmath export: a plain model that carries the refinement of an adjusted one.

#include "accuracy/error_model.h"
#include "commands/command.h"
#include "errors.h"
#include "models/model.h"
#include "refine/adjusted_rpc.h"
#include "refine/model_file.h"
#include "report/fixed_digits.h"
#include "report/output_file.h"
#include "report/report.h"
#include "rpc/image_distance.h"

namespace orbmath_tool {

using SatCommonUtils::TRPC;

namespace {

class Export : public Command {
 public:
  const char* Notes() const override {
    return "The plain model gives, for programs that know nothing of refinements, what the adjusted one gives. "
           "Its error against the adjusted model is that of the written file, digits of its form included, over image "
           "and heights. Its bias error is what the correction's parameters leave uncertain on the ground, its random "
           "error what a point was off after the correction (docs/uncertainty.md).\n\n"
           "Example:\n"
           "  orbmath export adjusted.xml image.RPB";
  }

  void Declare(CommandLine& line) override {
    line.Argument("ADJUSTED", &model_, "adjusted model file");
    line.Argument("OUT", &out_, "file to be written, '-' for standard output");
    form_.Declare(line, true);
    line.Flag("--json", &json_, "report as one JSON object");
    reading_.Declare(line);
  }

  int Run() override {
    const SatCommonUtils::TRPCFileForm form = form_.Of(out_);
    RefuseToReplace(out_, {model_});
    const Model model = ReadGroundModel(model_, reading_);
    if (AsRefined(model) == nullptr) Note(model_ + ": holds no refinement, its record is written as it is");
    TRPC plain(PlainRecord(model));
    SatCommonUtils::CopyMarginAndRaster(*model.rpc, &plain);
    const SatCommonUtils::TRPCFileExtras extras = ExtrasOf(model);
    const TRPC written(WriteModel(plain, extras, form, out_).record);
    const SatCommonUtils::TImageDistance error = SatCommonUtils::DistanceInImage(*model.rpc, written);
    if (!(error.worst <= SatCommonUtils::kRefinedExportError)) {
      Note(out_ + ": gives other image points than " + model_ + ", by up to " + Fixed(error.worst, 3) +
           " px: the form keeps too few digits for this model, XML keeps all");
    }
    Report report;
    report.Text("file", "written", out_);
    report.Number("max_px", "error of the file, worst", error.worst, 9, "px");
    report.Number("rms_px", "error of the file, rms", error.rms, 9, "px");
    if (extras.biasError) report.Number("bias_error", "bias error", *extras.biasError, 3, "m");
    if (extras.randomError) report.Number("random_error", "random error", *extras.randomError, 3, "m");
    report.Print(json_, out_ == "-");
    return kSuccess;
  }

 private:
  /// What the file says beside the record: the original's errors end with the correction.
  SatCommonUtils::TRPCFileExtras ExtrasOf(const Model& model) const {
    SatCommonUtils::TRPCFileExtras extras = model.file.extras;
    const SatCommonUtils::TExportedErrors errors = SatCommonUtils::ErrorsOfExport(*model.rpc);
    if (AsRefined(model) != nullptr && !errors.bias && extras.biasError.value_or(0.0) > 0.0) {
      Note(model_ + ": does not say how uncertain its refinement is; the bias error is that from before it");
    }
    if (errors.bias) extras.biasError = errors.bias;
    if (errors.random) extras.randomError = errors.random;
    return extras;
  }

  ModelReading reading_;
  std::string model_;
  std::string out_;
  OutputForm form_;
  bool json_ = false;
};

}  // namespace

std::unique_ptr<Command> MakeExport() { return std::make_unique<Export>(); }

}  // namespace orbmath_tool
