#include "models/model.h"

#include <cstdio>
#include <fstream>

#include "errors.h"
#include "frame/zxstd/message.h"
#include "frame/zxstd/stream.h"
#include "frame/zxstd/xini_reader.h"
#include "frame/zxstd/xini_writer.h"
#include "models/inverse_model.h"
#include "models/raster_library.h"
#include "points/line_source.h"
#include "refine/adjusted_rpc.h"
#include "refine/robust_fit.h"
#include "rpc/rpc_fields.h"

namespace orbmath_tool {

using SatCommonUtils::TRPC;
using SatCommonUtils::TRPCData;
using SatCommonUtils::TRPCFileForm;

namespace {

SatCommonUtils::var_a<TRPC*> BuildModel(const SatCommonUtils::TRPCFile& file) {
  if (file.form != TRPCFileForm::XML && file.form != TRPCFileForm::AdjustedXML) {
    auto model = SatCommonUtils::make_var_a<TRPC>(file.record, nullptr);
    const SatCommonUtils::TRPCFileOrigin& origin = file.origin;
    if (origin.rasterWidth && origin.rasterHeight) model->SetRasterDims(*origin.rasterWidth, *origin.rasterHeight);
    return model;
  }
  SatCommonUtils::TZxStringStream stream(file.xml);
  SatCommonUtils::TZxXIniStreamReader reader(&stream);
  if (file.form == TRPCFileForm::XML) return SatCommonUtils::make_var_a<TRPC>(&reader);
  return SatCommonUtils::make_var_a<SatCommonUtils::TAdjustedRPC>(&reader);
}

/// A model file by itself, or else the model of an image.
SatCommonUtils::TRPCFile ReadAnyFile(const std::string& name, const SatCommonUtils::TRPCFileOptions& options) {
  if (name.compare(0, 4, "/vsi") == 0) return ReadImage(name, options);
  SatCommonUtils::TRPCFile file;
  SatCommonUtils::TRPCFileError error;
  if (SatCommonUtils::ReadRPCFile(name, options, &file, &error)) return file;
  if (!error.unknownForm) throw Failure(error.GetText());
  return ReadImage(name, options);
}

/// The model and what stands beside it as one XML document.
std::string FormatXml(const TRPC& model, const SatCommonUtils::TRPCFileExtras& extras, const std::string& name) {
  SatCommonUtils::TZxStringStream stream;
  SatCommonUtils::TZxXIniStreamWriter writer(&stream);
  const bool saved = model.SaveToXML(&writer) && extras.SaveToXML(&writer);
  if (!writer.Close() || !saved) throw Failure(name + ": the model cannot be written as XML");
  return stream.GetString();
}

class StandardInput : public SatCommonUtils::TZxStream {
 public:
  std::size_t Write(const void* /*buffer*/, std::size_t /*count*/) override { return 0; }
  std::size_t Read(void* buffer, std::size_t count) override { return std::fread(buffer, 1, count, stdin); }
  bool ReadFailed() const override { return std::ferror(stdin) != 0; }
};

TRPCData ParseRecord(const std::string& content, const std::string& name) {
  SatCommonUtils::TZxStringStream stream(content);
  SatCommonUtils::TRPCFile file;
  SatCommonUtils::TRPCFileError error;
  if (!SatCommonUtils::ReadRPCStream(&stream, name, &file, &error)) throw Failure(error.GetText());
  return file.record;
}

bool SameScalars(const TRPCData& a, const TRPCData& b) {
  for (const SatCommonUtils::TRPCScalarField& field : SatCommonUtils::RPCScalarFields()) {
    if (a.*field.value != b.*field.value) return false;
  }
  return true;
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

Model ReadModel(const std::string& given, const ModelReading& reading) {
  Model model;
  if (given == "-") {
    model.name = "standard input";
    TakeStandardInput("the model");
    StandardInput input;
    SatCommonUtils::TRPCFileError error;
    if (!SatCommonUtils::ReadRPCStream(&input, model.name, reading.Options(), &model.file, &error)) {
      throw Failure(error.GetText());
    }
  } else {
    model.name = given;
    model.file = ReadAnyFile(given, reading.Options());
  }
  try {
    model.rpc = BuildModel(model.file);
  } catch (const SatCommonUtils::TZxMessage&) {
    throw Failure(model.name +
                  ": the model in this file is damaged: its record can be read, what stands beside it cannot");
  }
  return model;
}

Model ReadGroundModel(const std::string& name, const ModelReading& reading) {
  Model model = ReadModel(name, reading);
  if (IsInverse(model.file.record)) throw Failure(name + ": is an inverse model; 'orbmath project' evaluates it");
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
  if (!form && images_ && std::ifstream(name).good()) return TRPCFileForm::Image;
  if (!form) throw UsageError("the name '" + name + "' does not tell the form, add --to rpb|text|xml|json|aux");
  return *form;
}

std::string FormatModel(const TRPC& model, const SatCommonUtils::TRPCFileExtras& extras, TRPCFileForm form,
                        const std::string& name) {
  if (form == TRPCFileForm::XML) return FormatXml(model, extras, name);
  TRPCData record;
  model.GetRPCData(&record);
  SatCommonUtils::TZxStringStream stream;
  SatCommonUtils::TRPCFileError error;
  if (!SatCommonUtils::WriteRPCStream(&stream, name, form, record, extras, SatCommonUtils::TRPCTextErrors::Append,
                                      &error)) {
    throw Failure(error.GetText());
  }
  return stream.GetString();
}

TRPCData AsWritten(const TRPCData& record, TRPCFileForm form, const std::string& name) {
  return ParseRecord(FormatModel(TRPC(record, nullptr), {}, form, name), name);
}

TRPCData OntoDigitsOf(TRPCFileForm form, const TRPCData& record, const std::string& name) {
  if (form == TRPCFileForm::Image) return record;
  TRPCData moved = AsWritten(record, form, name);
  if (SameScalars(moved, record)) return record;
  if (!SatCommonUtils::RenormalizeRPC(record, &moved)) {
    throw Failure(name + ": the offsets and scales of this model need more digits than a file of the form " +
                  SatCommonUtils::RPCFileFormName(form) + " has; write XML instead");
  }
  return moved;
}

TRPCData WriteModel(const TRPC& model, const SatCommonUtils::TRPCFileExtras& extras, TRPCFileForm form,
                    const std::string& name) {
  if (form == TRPCFileForm::Image) {
    TRPCData record;
    model.GetRPCData(&record);
    WriteImage(name, record, extras);
    return record;
  }
  OutputFile file(name);
  const TRPCData written = WriteModel(model, extras, form, &file);
  OutputFile::Commit({&file});
  return written;
}

TRPCData WriteModel(const TRPC& model, const SatCommonUtils::TRPCFileExtras& extras, TRPCFileForm form,
                    OutputFile* file) {
  const std::string content = FormatModel(model, extras, form, file->Path());
  file->Write(content);
  return ParseRecord(content, file->Path());
}

void CopyImage(const TRPC& from, TRPC* to) {
  SatCommonUtils::TPolygon margin;
  int width = 0;
  int height = 0;
  if (from.GetMargin(&margin)) to->SetMargin(margin);
  if (from.GetRasterDims(&width, &height)) to->SetRasterDims(width, height);
}

}  // namespace orbmath_tool
