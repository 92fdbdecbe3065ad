// Model files as the tool's commands take and give them: the library's calls, with failures as messages of the tool.

#include "models/model.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <utility>

#include "errors.h"
#include "frame/zxstd/stream.h"
#include "models/raster_library.h"
#include "points/line_source.h"
#include "refine/adjusted_rpc.h"

namespace orbmath_tool {

using SatCommonUtils::TModelKind;
using SatCommonUtils::TRPC;
using SatCommonUtils::TRPCData;
using SatCommonUtils::TRPCFileForm;
using SatCommonUtils::TWrittenModel;

namespace {

class StandardInput : public SatCommonUtils::TZxStream {
 public:
  std::size_t Write(const void* /*buffer*/, std::size_t /*count*/) override { return 0; }
  std::size_t Read(void* buffer, std::size_t count) override { return std::fread(buffer, 1, count, stdin); }
  bool ReadFailed() const override { return std::ferror(stdin) != 0; }
};

/// A hint when one of the other arguments is a model: they seem to be exchanged.
std::string ModelAmong(const std::vector<std::string>& others) {
  for (const std::string& other : others) {
    if (other != "-" && SatCommonUtils::ReadModelFile(other)) return "; " + other + " is a model: name it first";
  }
  return "";
}

}  // namespace

void ModelReading::Declare(CommandLine& line) {
  line.Count("--first-pixel", "0|1", 0, 1, &first_pixel_,
             "what model files count the centre of their first pixel as (default: by the rule of each form)");
}

SatCommonUtils::TRPCFileOptions ModelReading::Options() const {
  SatCommonUtils::TRPCFileOptions options;
  options.firstPixel = first_pixel_;
  return options;
}

Model ReadModel(const std::string& given, const ModelReading& reading, const std::vector<std::string>& others) {
  Model model;
  SatCommonUtils::TModelFile read;
  if (given == "-") {
    model.name = "standard input";
    TakeStandardInput("the model");
    StandardInput input;
    read = SatCommonUtils::ReadModelStream(&input, model.name, reading.Options());
  } else {
    model.name = given;
    read = SatCommonUtils::ReadModelFile(given, {reading.Options(), &ReadImage});
  }
  if (!read) throw Failure(read.message + ModelAmong(others));
  model.kind = read.kind;
  model.file = std::move(read.file);
  model.rpc = std::move(read.model);
  return model;
}

Model ReadGroundModel(const std::string& name, const ModelReading& reading, const std::vector<std::string>& others) {
  Model model = ReadModel(name, reading, others);
  if (model.kind == TModelKind::Inverse) {
    throw Failure(name + ": is an inverse model; 'orbmath project' evaluates it");
  }
  return model;
}

const SatCommonUtils::TAdjustedRPC* AsRefined(const Model& model) {
  const auto* adjusted = dynamic_cast<const SatCommonUtils::TAdjustedRPC*>(model.rpc.get());
  return adjusted != nullptr && adjusted->IsAdjusted() ? adjusted : nullptr;
}

TRPCData PlainRecord(const Model& model) {
  const SatCommonUtils::TAdjustedRPC* const refined = AsRefined(model);
  if (refined == nullptr) return model.file.record;
  const SatCommonUtils::TRefinedExport exported = refined->ExportRefined();
  if (!exported.success) throw Failure(model.name + ": no plain model can be made: " + exported.message);
  return exported.record;
}

void OutputForm::Declare(CommandLine& line, bool images) {
  images_ = images;
  line.Choice("--to", {"rpb", "text", "xml", "json", "aux"}, &choice_,
              "form of the written file (default: by the suffix of OUT)");
}

TRPCFileForm OutputForm::Of(const std::string& name) const {
  constexpr TRPCFileForm kForms[] = {TRPCFileForm::RPB, TRPCFileForm::Text, TRPCFileForm::XML, TRPCFileForm::Json,
                                     TRPCFileForm::GdalXml};
  if (choice_ >= 0) return kForms[choice_];
  const std::optional<TRPCFileForm> form = SatCommonUtils::RPCFileFormOfName(name);
  if (!form && images_ && std::ifstream(std::filesystem::u8path(name)).good()) return TRPCFileForm::Image;
  if (!form)
    throw UsageError("the name '" + name + "' does not tell the form, add --to rpb|text|xml|json|aux" +
                     (images_ ? "; an image, whose model is set, has to be there already" : std::string()));
  return *form;
}

TWrittenModel FormatModel(const TRPC& model, const SatCommonUtils::TRPCFileExtras& extras, TRPCFileForm form,
                          const std::string& name) {
  TWrittenModel formatted = SatCommonUtils::FormatModelFile(name, model, {form, extras});
  if (!formatted) throw Failure(formatted.message);
  return formatted;
}

TWrittenModel WriteModel(const TRPC& model, const SatCommonUtils::TRPCFileExtras& extras, TRPCFileForm form,
                         const std::string& name) {
  if (form == TRPCFileForm::Image) {
    TWrittenModel written = SatCommonUtils::WriteModelFile(name, model, {form, extras, &WriteImage});
    if (!written) throw Failure(written.message);
    return written;
  }
  OutputFile file(name);
  TWrittenModel written = WriteModel(model, extras, form, &file);
  OutputFile::Commit({&file});
  return written;
}

TWrittenModel WriteModel(const TRPC& model, const SatCommonUtils::TRPCFileExtras& extras, TRPCFileForm form,
                         OutputFile* file) {
  TWrittenModel written = FormatModel(model, extras, form, file->Path());
  file->Write(written.content);
  return written;
}

}  // namespace orbmath_tool
