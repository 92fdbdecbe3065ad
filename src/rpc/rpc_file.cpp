#include "rpc/rpc_file.h"

#include <string_view>
#include <utility>

#include "frame/zxstd/message.h"
#include "frame/zxstd/number_text.h"
#include "frame/zxstd/text.h"
#include "rpc/rpc_forms.h"

namespace SatCommonUtils {

namespace {

using RPCForms::Fail;

bool LooksLikeXml(std::string_view content) {
  content = RPCForms::WithoutBom(content);
  const std::size_t first = content.find_first_not_of(" \t\r\n");
  return first != std::string_view::npos && content[first] == '<';
}

// Takes over the message of the XML reader; when it begins with "line 17: ", the line goes to its own place.
bool FailAsXml(TRPCFileError* error, const std::string& message) {
  const std::string_view front = "line ";
  const std::size_t colon = message.find(": ");
  unsigned long long line = 0;
  const bool has_line = message.compare(0, front.size(), front) == 0 && colon != std::string::npos &&
                        ParseUnsigned(message.substr(front.size(), colon - front.size()), &line);
  return Fail(error, static_cast<std::size_t>(line), "", has_line ? message.substr(colon + 2) : message);
}

bool ReadXmlFile(const std::string& content, TRPCFile* out, TRPCFileError* error) {
  TZxStringStream stream(content);
  try {
    TZxXIniStreamReader reader(&stream);
    out->form = TZxXIniSection(&reader, "Refinement") ? TRPCFileForm::AdjustedXML : TRPCFileForm::XML;
    out->extras.InitializeFromXML(&reader);
    if (!RPCForms::ReadXml(&reader, &out->record, error)) return false;
  } catch (const TZxMessage& message) {
    return FailAsXml(error, message.GetText());
  }
  out->xml = content;
  return out->record ? true : Fail(error, 0, "", "a number of the record is the mark for unset ones");
}

bool ReadAnyForm(const std::string& content, TRPCFile* out, TRPCFileError* error) {
  if (LooksLikeXml(content)) return ReadXmlFile(content, out, error);
  if (RPCForms::LooksLikeText(content)) {
    out->form = TRPCFileForm::Text;
    return RPCForms::ReadText(content, &out->record, &out->extras, error);
  }
  if (RPCForms::LooksLikeRpb(content)) {
    out->form = TRPCFileForm::RPB;
    return RPCForms::ReadRpb(content, &out->record, &out->extras, error);
  }
  return Fail(error, 0, "", content.empty() ? "is empty" : "is no RPC model: neither RPB nor text nor XML");
}

// Ends every public operation: on failure the error, with the name of the file, goes to the caller.
bool Finish(bool good, TRPCFileError found, const std::string& name, TRPCFileError* error) {
  if (good || error == nullptr) return good;
  found.file = name;
  *error = std::move(found);
  return false;
}

template <class Source>
bool ReadSource(Source&& source, const std::string& name, TRPCFile* out, TRPCFileError* error) {
  TRPCFile file;
  TRPCFileError found;
  std::string content;
  const bool good = RPCForms::ReadContent(source, &content, &found) && ReadAnyForm(content, &file, &found);
  if (good) *out = std::move(file);
  return Finish(good, std::move(found), name, error);
}

bool FitsIntoQuotes(const std::string& text) {
  for (const char c : text) {
    if (c == '"' || static_cast<unsigned char>(c) < 0x20) return false;
  }
  return true;
}

bool WriteRpb(TZxStream* dst, const TRPCData& record, const TRPCFileExtras& extras, TRPCFileError* error) {
  for (const auto& extra : RPCForms::kExtraTexts) {
    if (FitsIntoQuotes((extras.*extra.value).value_or(""))) continue;
    return Fail(error, 0, extra.rpbKey, "holds a character that the RPB form has no place for");
  }
  return record.SaveToRPB(dst, extras.satelliteId.value_or(""), extras.bandId.value_or(""),
                          extras.biasError.value_or(0.0), extras.randomError.value_or(0.0));
}

bool WriteText(TZxStream* dst, const TRPCData& record, const TRPCFileExtras& extras, TRPCTextErrors errors) {
  if (!record.SaveToText(dst, "", "")) return false;
  if (errors == TRPCTextErrors::Omit) return true;
  for (const auto& extra : RPCForms::kExtraNumbers) {
    const std::optional<double>& number = extras.*extra.value;
    if (!number) continue;
    if (!RPCForms::WriteWhole(dst, Zentarix::ssprintf("%s: %07.2lf meters\r\n", extra.textKey, *number))) return false;
  }
  return true;
}

bool WriteXml(TZxStream* dst, const TRPCData& record, const TRPCFileExtras& extras) {
  TZxXIniStreamWriter writer(dst);
  const bool good = record.SaveToXML(&writer) && extras.SaveToXML(&writer);
  return writer.Close() && good;
}

bool WriteForm(TZxStream* dst, TRPCFileForm form, const TRPCData& record, const TRPCFileExtras& extras,
               TRPCTextErrors errors, TRPCFileError* error) {
  if (!record) return Fail(error, 0, "", "the record to write is incomplete");
  error->reason = "cannot be written whole";
  switch (form) {
    case TRPCFileForm::RPB:
      return WriteRpb(dst, record, extras, error);
    case TRPCFileForm::Text:
      return WriteText(dst, record, extras, errors);
    case TRPCFileForm::XML:
      return WriteXml(dst, record, extras);
    case TRPCFileForm::AdjustedXML:
      break;
  }
  return Fail(error, 0, "", "an adjusted model is more than a record");
}

}  // namespace

const char* RPCFileFormName(TRPCFileForm form) noexcept {
  switch (form) {
    case TRPCFileForm::RPB:
      return "RPB";
    case TRPCFileForm::Text:
      return "text";
    case TRPCFileForm::XML:
      return "XML";
    case TRPCFileForm::AdjustedXML:
      return "adjusted XML";
  }
  return "unknown";
}

std::optional<TRPCFileForm> RPCFileFormOfName(const std::string& path) {
  const std::size_t dot = path.find_last_of("./\\");
  const std::string suffix = dot == std::string::npos ? "" : toupper(path.substr(dot));
  if (suffix == ".RPB") return TRPCFileForm::RPB;
  if (suffix == ".TXT" || suffix == ".RPC") return TRPCFileForm::Text;
  if (suffix == ".XML") return TRPCFileForm::XML;
  return std::nullopt;
}

std::string TRPCFileError::GetText() const {
  std::string text = file;
  if (line != 0) text += ":" + std::to_string(line);
  if (!key.empty()) text += (text.empty() ? "" : ": ") + key;
  return text + (text.empty() ? "" : ": ") + reason;
}

bool ReadRPCFile(const std::string& path, TRPCFile* out, TRPCFileError* error) {
  return ReadSource(path, path, out, error);
}

bool ReadRPCStream(TZxStream* src, const std::string& name, TRPCFile* out, TRPCFileError* error) {
  return ReadSource(src, name, out, error);
}

bool WriteRPCStream(TZxStream* dst, const std::string& name, TRPCFileForm form, const TRPCData& record,
                    const TRPCFileExtras& extras, TRPCTextErrors errors, TRPCFileError* error) {
  TRPCFileError found;
  const bool good = WriteForm(dst, form, record, extras, errors, &found);
  return Finish(good, std::move(found), name, error);
}

}  // namespace SatCommonUtils
