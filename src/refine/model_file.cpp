// Model files of every kind, read and written as models; elementary.

#include "refine/model_file.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "frame/zxstd/message.h"
#include "frame/zxstd/output_file.h"
#include "frame/zxstd/xini_reader.h"
#include "frame/zxstd/xini_writer.h"
#include "refine/adjusted_rpc.h"
#include "refine/crop_model.h"
#include "rpc/image_distance.h"
#include "rpc/inverse_rpc.h"
#include "rpc/rpc_fields.h"
#include "rpc/rpc_renormalize.h"

namespace SatCommonUtils {

namespace {

template <class Result>
Result Ended(Result result, TModelFileState state, std::string message) {
  result.state = state;
  result.message = std::move(message);
  return result;
}

bool IsRefined(const TRPC& model) {
  const auto* const adjusted = dynamic_cast<const TAdjustedRPC*>(&model);
  return adjusted != nullptr && adjusted->IsAdjusted();
}

// The model of a document whose pixels count from `file.origin.firstPixel`, in the pixels of the file's record.
// \throws TZxMessage
var_a<TRPC*> CountedFromZero(const TRPC& model, const TRPCFile& file) {
  TImageWindow window;
  window.firstLine = window.firstSample = file.origin.firstPixel;
  // The pixels of an inverse model are no image's; it has nothing but its record.
  var_a<TRPC*> moved = IsInverseRPC(file.record) ? make_var_a<TRPC>(file.record) : CropModel(model, window);
  if (!moved) throw TZxMessage("the model cannot be moved to another first pixel");
  CopyMarginAndRaster(model, moved.get());
  return moved;
}

var_a<TRPC*> BuildModel(const TRPCFile& file) {
  if (file.form != TRPCFileForm::XML && file.form != TRPCFileForm::AdjustedXML) {
    auto model = make_var_a<TRPC>(file.record);
    const TRPCFileOrigin& origin = file.origin;
    if (origin.rasterWidth && origin.rasterHeight) model->SetRasterDims(*origin.rasterWidth, *origin.rasterHeight);
    return model;
  }
  TZxStringStream stream(file.xml);
  TZxXIniStreamReader reader(&stream);
  var_a<TRPC*> model;
  if (file.form == TRPCFileForm::XML) {
    model = make_var_a<TRPC>(&reader);
  } else {
    model = make_var_a<TAdjustedRPC>(&reader);
  }
  return file.origin.firstPixel == 0 ? model : CountedFromZero(*model, file);
}

TModelFile WithModel(TModelFile read, const std::string& name) {
  try {
    read.model = BuildModel(read.file);
  } catch (const TZxMessage&) {
    return Ended(std::move(read), TModelFileState::Damaged,
                 name + ": the model in this file is damaged: its record can be read, what stands beside it cannot");
  }
  if (IsInverseRPC(read.file.record)) {
    read.kind = TModelKind::Inverse;
  } else if (IsRefined(*read.model)) {
    read.kind = TModelKind::Adjusted;
  }
  const std::string form = RPCFileFormName(read.file.form);
  return Ended(std::move(read), TModelFileState::Done, name + ": read as " + form);
}

bool FormatXml(const TRPC& model, const TRPCFileExtras& extras, std::string* content) {
  TZxStringStream stream;
  TZxXIniStreamWriter writer(&stream);
  const bool saved = model.SaveToXML(&writer) && extras.SaveToXML(&writer);
  if (!writer.Close() || !saved) return false;
  *content = stream.GetString();
  return true;
}

bool ReadBack(const std::string& name, TWrittenModel* out, TRPCFileError* error) {
  TZxStringStream stream(out->content);
  TRPCFile file;
  if (!ReadRPCStream(&stream, name, &file, error)) return false;
  out->record = file.record;
  return true;
}

bool FormatRecord(const std::string& name, const TRPCData& record, const TRPCFileExtras& extras, TWrittenModel* out,
                  TRPCFileError* error) {
  TZxStringStream stream;
  if (!WriteRPCStream(&stream, name, out->form, record, extras, TRPCTextErrors::Append, error)) return false;
  out->content = stream.GetString();
  return ReadBack(name, out, error);
}

bool SameScalars(const TRPCData& a, const TRPCData& b) {
  const auto& fields = RPCScalarFields();
  return std::all_of(std::begin(fields), std::end(fields),
                     [&](const TRPCScalarField& field) { return a.*field.value == b.*field.value; });
}

// What a result holds unless it is done.
TWrittenModel Refused(TWrittenModel out, TModelFileState state, std::string message) {
  out.content.clear();
  out.record = TRPCData();
  out.worst = std::numeric_limits<double>::quiet_NaN();
  return Ended(std::move(out), state, std::move(message));
}

TWrittenModel FormatWhole(const std::string& name, const TRPC& model, const TRPCFileExtras& extras, TWrittenModel out) {
  if (!FormatXml(model, extras, &out.content)) {
    return Refused(std::move(out), TModelFileState::NotHeld, name + ": the model cannot be written as XML");
  }
  TRPCFileError error;
  if (!ReadBack(name, &out, &error)) return Refused(std::move(out), TModelFileState::NotHeld, error.GetText());
  if (!IsInverseRPC(out.record)) out.worst = 0.0;
  return Ended(std::move(out), TModelFileState::Done, name + ": written as XML");
}

// Why a form that holds nothing but a record cannot hold this model; empty when it can.
std::string ReasonAgainstRecord(const TRPC& model, TRPCFileForm form) {
  if (!IsRefined(model)) return std::string();
  return std::string(": the model holds a refinement, which a file of the form ") + RPCFileFormName(form) + " cannot";
}

TWrittenModel FormatPlain(const std::string& name, const TRPC& model, const TRPCFileExtras& extras, TWrittenModel out) {
  TRPCData record;
  model.GetRPCData(&record);
  TRPCFileError error;
  const std::string form = RPCFileFormName(out.form);
  bool good = FormatRecord(name, record, extras, &out, &error);
  if (good && !SameScalars(out.record, record)) {
    TRPCData moved = out.record;
    if (!RenormalizeRPC(record, &moved)) {
      return Refused(std::move(out), TModelFileState::NotHeld,
                     name + ": the offsets and scales of this model need more digits than a file of the form " + form +
                         " has; write XML instead");
    }
    good = FormatRecord(name, moved, extras, &out, &error);
  }
  if (!good) return Refused(std::move(out), TModelFileState::NotHeld, error.GetText());
  if (!IsInverseRPC(record)) out.worst = DistanceInImage(model, TRPC(out.record)).worst;
  return Ended(std::move(out), TModelFileState::Done, name + ": written as " + form);
}

std::optional<TRPCFileForm> FormOf(const std::string& name, const TModelWriteOptions& options) {
  if (options.form) return options.form;
  const std::optional<TRPCFileForm> form = RPCFileFormOfName(name);
  return !form && options.writeImage != nullptr ? TRPCFileForm::Image : form;
}

TWrittenModel WriteToImage(const std::string& path, const TRPC& model, const TModelWriteOptions& options) {
  TWrittenModel out;
  out.form = TRPCFileForm::Image;
  const std::string reason = ReasonAgainstRecord(model, out.form);
  if (!reason.empty()) return Refused(std::move(out), TModelFileState::NotHeld, path + reason);
  model.GetRPCData(&out.record);
  TRPCFileError error;
  if (!options.writeImage(path, out.record, options.extras, &error)) {
    return Refused(std::move(out), TModelFileState::NotWritten, error.GetText());
  }
  // An image holds every bit; a model that gives no image points has no distance all the same.
  if (!IsInverseRPC(out.record)) out.worst = DistanceInImage(model, TRPC(out.record)).worst;
  return Ended(std::move(out), TModelFileState::Done, path + ": its model is set");
}

}  // namespace

TModelFile ReadModelFile(const std::string& path, const TModelReadOptions& options) {
  TModelFile read;
  TRPCFileError error;
  const bool is_gdals = options.readImage != nullptr && path.compare(0, 4, "/vsi") == 0;
  bool good = !is_gdals && ReadRPCFile(path, options.file, &read.file, &error);
  if (!good && options.readImage != nullptr && (is_gdals || error.unknownForm)) {
    error = TRPCFileError();
    good = options.readImage(path, options.file, &read.file, &error);
  }
  if (!good) return Ended(std::move(read), TModelFileState::NotRead, error.GetText());
  return WithModel(std::move(read), path);
}

TModelFile ReadModelStream(TZxStream* src, const std::string& name, const TRPCFileOptions& options) {
  TModelFile read;
  TRPCFileError error;
  if (ReadRPCStream(src, name, options, &read.file, &error)) return WithModel(std::move(read), name);
  return Ended(std::move(read), TModelFileState::NotRead, error.GetText());
}

TWrittenModel FormatModelFile(const std::string& name, const TRPC& model, const TModelWriteOptions& options) {
  TWrittenModel out;
  const std::optional<TRPCFileForm> form = FormOf(name, options);
  if (!form) {
    return Refused(std::move(out), TModelFileState::NotHeld, name + ": the name does not tell the form of the file");
  }
  out.form = *form;
  if (out.form == TRPCFileForm::XML) return FormatWhole(name, model, options.extras, std::move(out));
  const std::string reason = ReasonAgainstRecord(model, out.form);
  if (!reason.empty()) return Refused(std::move(out), TModelFileState::NotHeld, name + reason);
  return FormatPlain(name, model, options.extras, std::move(out));
}

TWrittenModel WriteModelFile(const std::string& path, const TRPC& model, const TModelWriteOptions& options) {
  if (options.writeImage != nullptr && FormOf(path, options) == TRPCFileForm::Image) {
    return WriteToImage(path, model, options);
  }
  TWrittenModel out = FormatModelFile(path, model, options);
  std::string error;
  if (out && !ZxWriteFile(TZxPath(path), out.content, &error)) {
    return Refused(std::move(out), TModelFileState::NotWritten, path + ": " + error);
  }
  return out;
}

void CopyMarginAndRaster(const TRPC& from, TRPC* to) {
  int width = 0;
  int height = 0;
  if (const TPolygon* const margin = from.FindMargin()) to->SetMargin(*margin);
  if (from.GetRasterDims(&width, &height)) to->SetRasterDims(width, height);
}

}  // namespace SatCommonUtils
