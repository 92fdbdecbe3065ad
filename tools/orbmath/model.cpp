#include "model.h"

#include "errors.h"
#include "frame/zxstd/message.h"
#include "frame/zxstd/stream.h"
#include "frame/zxstd/xini_reader.h"
#include "frame/zxstd/xini_writer.h"
#include "output_file.h"

namespace orbmath_tool {

using SatCommonUtils::TRPC;
using SatCommonUtils::TRPCData;
using SatCommonUtils::TRPCFileForm;

namespace {

SatCommonUtils::var_a<TRPC*> BuildModel(const SatCommonUtils::TRPCFile& file) {
  if (file.form != TRPCFileForm::XML && file.form != TRPCFileForm::AdjustedXML) {
    return SatCommonUtils::make_var_a<TRPC>(file.record, nullptr);
  }
  SatCommonUtils::TZxStringStream stream(file.xml);
  SatCommonUtils::TZxXIniStreamReader reader(&stream);
  return SatCommonUtils::make_var_a<TRPC>(&reader);
}

/// The model and what stands beside it as one XML document.
std::string FormatXml(const TRPC& model, const SatCommonUtils::TRPCFileExtras& extras, const std::string& name) {
  SatCommonUtils::TZxStringStream stream;
  SatCommonUtils::TZxXIniStreamWriter writer(&stream);
  const bool saved = model.SaveToXML(&writer) && extras.SaveToXML(&writer);
  if (!writer.Close() || !saved) throw Failure(name + ": the model cannot be written as XML");
  return stream.GetString();
}

TRPCData ParseRecord(const std::string& content, const std::string& name) {
  SatCommonUtils::TZxStringStream stream(content);
  SatCommonUtils::TRPCFile file;
  SatCommonUtils::TRPCFileError error;
  if (!SatCommonUtils::ReadRPCStream(&stream, name, &file, &error)) throw Failure(error.GetText());
  return file.record;
}

}  // namespace

Model ReadModel(const std::string& name) {
  Model model;
  model.name = name;
  SatCommonUtils::TRPCFileError error;
  if (!SatCommonUtils::ReadRPCFile(name, &model.file, &error)) throw Failure(error.GetText());
  try {
    model.rpc = BuildModel(model.file);
  } catch (const SatCommonUtils::TZxMessage&) {
    throw Failure(name + ": the model in this file is damaged: its record can be read, what stands beside it cannot");
  }
  return model;
}

void OutputForm::Declare(CommandLine& line) {
  line.Choice("--to", {"rpb", "text", "xml"}, &choice_, "form of the written file (default: by the suffix of OUT)");
}

TRPCFileForm OutputForm::Of(const std::string& name) const {
  constexpr TRPCFileForm kForms[] = {TRPCFileForm::RPB, TRPCFileForm::Text, TRPCFileForm::XML};
  if (choice_ >= 0) return kForms[choice_];
  const std::optional<TRPCFileForm> form = SatCommonUtils::RPCFileFormOfName(name);
  if (!form) throw UsageError("the name '" + name + "' does not tell the form, add --to rpb|text|xml");
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

TRPCData WriteRecord(const TRPCData& record, const SatCommonUtils::TRPCFileExtras& extras, TRPCFileForm form,
                     const std::string& name) {
  const std::string content = FormatModel(TRPC(record, nullptr), extras, form, name);
  WriteFile(name, content);
  return ParseRecord(content, name);
}

}  // namespace orbmath_tool
