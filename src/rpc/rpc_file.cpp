// Files of any form: finds the row of the form in the table, and lets it read or write.

#include "rpc/rpc_file.h"

#include <string_view>
#include <utility>

#include "frame/zxstd/text.h"
#include "rpc/forms/forms.h"
#include "rpc/forms/side_files.h"
#include "rpc/inverse_rpc.h"
#include "rpc/rpc_fields.h"

namespace SatCommonUtils {

namespace {

using RPCForms::Fail;

// Moves line and sample of a model; in an inverse one they stand in the places of latitude and longitude.
void MovePixels(double shift, bool inverse, TRPCData* record) {
  (inverse ? record->latOffset : record->lineOffset) += shift;
  (inverse ? record->longOffset : record->sampOffset) += shift;
}

// A file that counts its first pixel as `from` where its form's reader took `file->origin.firstPixel`.
void CountFirstPixelAs(int from, TRPCFile* file) {
  const double shift = file->origin.firstPixel - from;
  MovePixels(shift, IsInverseRPC(file->record), &file->record);
  if (file->origin.imageDomain) {
    TRPCImageDomain& domain = *file->origin.imageDomain;
    for (double* const end : {&domain.firstLine, &domain.firstSample, &domain.lastLine, &domain.lastSample}) {
      *end += shift;
    }
  }
  if (file->origin.directModel) MovePixels(shift, true, &*file->origin.directModel);
  file->origin.firstPixel = from;
  file->origin.firstPixelRule = "as the caller says";
}

bool ReadAnyForm(const std::string& content, const TRPCFileOptions& options, TRPCFile* out, TRPCFileError* error) {
  for (const RPCForms::FileForm* const row : RPCForms::Forms()) {
    if (row->looksLike == nullptr || !row->looksLike(content)) continue;
    out->form = row->info.form;
    out->record.Invalidate();
    if (!row->read(content, out, error)) return false;
    if (!out->record) return Fail(error, 0, "", "a number of the record is the mark for unset ones");
    if (options.firstPixel) CountFirstPixelAs(*options.firstPixel, out);
    return true;
  }
  if (content.empty()) return Fail(error, 0, "", "is empty");
  error->unknownForm = true;
  return Fail(error, 0, "", "is no RPC model in any form that is read here");
}

// Ends every public operation: on failure the error, with the name of the file, goes to the caller.
bool Finish(bool good, TRPCFileError found, const std::string& name, TRPCFileError* error) {
  if (good || error == nullptr) return good;
  found.file = name;
  *error = std::move(found);
  return false;
}

template <class Source>
bool ReadSource(Source&& source, const std::string& name, const TRPCFileOptions& options, TRPCFile* out,
                TRPCFileError* error) {
  TRPCFile file;
  TRPCFileError found;
  std::string content;
  file.origin.source = name;
  file.origin.firstPixelRule = "whole numbers are pixel centres, the first 0 (GDAL, rpcm)";
  const bool good = RPCForms::ReadContent(source, &content, &found) && ReadAnyForm(content, options, &file, &found);
  if (good) *out = std::move(file);
  return Finish(good, std::move(found), name, error);
}

bool WriteForm(TZxStream* dst, TRPCFileForm form, const TRPCData& record, const TRPCFileExtras& extras,
               TRPCTextErrors errors, TRPCFileError* error) {
  if (!record) return Fail(error, 0, "", "the record to write is incomplete");
  if (form == TRPCFileForm::AdjustedXML) return Fail(error, 0, "", "an adjusted model is more than a record");
  const RPCForms::FileForm& row = RPCForms::FormOf(form);
  if (row.write == nullptr)
    return Fail(error, 0, "", "files of the form " + std::string(row.info.name) + " are not written");
  error->reason = "cannot be written whole";
  return row.write(dst, record, extras, errors, error);
}

}  // namespace

std::optional<TRPCFileForm> RPCFileFormOfName(const std::string& path) {
  const std::string aux = ".AUX.XML";
  if (path.size() > aux.size() && toupper(path.substr(path.size() - aux.size())) == aux) return TRPCFileForm::GdalXml;
  const std::size_t dot = path.find_last_of("./\\");
  const std::string suffix = dot == std::string::npos ? "" : toupper(path.substr(dot));
  if (suffix == ".RPB") return TRPCFileForm::RPB;
  if (suffix == ".TXT" || suffix == ".RPC") return TRPCFileForm::Text;
  if (suffix == ".XML") return TRPCFileForm::XML;
  if (suffix == ".JSON") return TRPCFileForm::Json;
  return std::nullopt;
}

std::string TRPCFileError::GetText() const {
  std::string text = file;
  if (line != 0) text += ":" + std::to_string(line);
  if (!key.empty()) text += (text.empty() ? "" : ": ") + key;
  return text + (text.empty() ? "" : ": ") + reason;
}

bool ReadRPCFile(const std::string& path, TRPCFile* out, TRPCFileError* error) {
  return ReadRPCFile(path, TRPCFileOptions(), out, error);
}

bool ReadRPCFile(const std::string& path, const TRPCFileOptions& options, TRPCFile* out, TRPCFileError* error) {
  TRPCFile file;
  if (!ReadSource(path, path, options, &file, error)) return false;
  RPCForms::AddSideFiles(path, &file);
  *out = std::move(file);
  return true;
}

bool ReadRPCStream(TZxStream* src, const std::string& name, TRPCFile* out, TRPCFileError* error) {
  return ReadSource(src, name, TRPCFileOptions(), out, error);
}

bool ReadRPCStream(TZxStream* src, const std::string& name, const TRPCFileOptions& options, TRPCFile* out,
                   TRPCFileError* error) {
  return ReadSource(src, name, options, out, error);
}

bool WriteRPCStream(TZxStream* dst, const std::string& name, TRPCFileForm form, const TRPCData& record,
                    const TRPCFileExtras& extras, TRPCTextErrors errors, TRPCFileError* error) {
  TRPCFileError found;
  const bool good = WriteForm(dst, form, record, extras, errors, &found);
  return Finish(good, std::move(found), name, error);
}

}  // namespace SatCommonUtils
