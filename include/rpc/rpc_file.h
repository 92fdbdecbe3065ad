#pragma once
/// \file
/// Model files of every form: which form a file has, what it says, where it is wrong, and writing it again.
///
/// The forms are described in docs/formats.md. The record's own readers and writers (`rpc/rpc_data.h`) each know one
/// form and answer yes or no; the functions here serve hosts that meet files of any form and have to tell people what
/// is wrong with one.

#include <cstddef>
#include <optional>
#include <string>

#include "../frame/api.h"
#include "../frame/zxstd/stream.h"
#include "../frame/zxstd/xini_reader.h"
#include "../frame/zxstd/xini_writer.h"
#include "rpc_data.h"

namespace SatCommonUtils {

/// The forms of a model file.
enum class TRPCFileForm {
  RPB,          ///< PVL text with the group IMAGE
  Text,         ///< one `KEY: number unit` a line
  XML,          ///< a record or a model (margin, raster size, approximation) as XML
  AdjustedXML,  ///< a model as XML with a section "Refinement"
};

/// The name of a form for people: "RPB", "text", "XML", "adjusted XML".
ORBMATH_API const char* RPCFileFormName(TRPCFileForm form) noexcept;
/// The form that the name of a file asks for, in any case of the letters: RPB for ".rpb", text for ".txt" and ".rpc",
/// XML for ".xml"; nothing for any other name. Only for files to be written: what a file holds says its content.
ORBMATH_API std::optional<TRPCFileForm> RPCFileFormOfName(const std::string& path);

/// What a model file says beside the record. Each may be absent.
struct ORBMATH_API TRPCFileExtras {
  std::optional<std::string> satelliteId;
  std::optional<std::string> bandId;
  std::optional<double> biasError;    ///< metres
  std::optional<double> randomError;  ///< metres

  /// Reads the items "SatelliteId", "BandId", "ErrorBias" and "ErrorRandom" of the current section. What is missing,
  /// or is no number where it has to be one, is absent afterwards. A null reader has none of them.
  void InitializeFromXML(TZxXIniReader* src);
  /// Writes what is present into the current section, beside the keys of a record or a model: call it after the
  /// `SaveToXML` of either, with the same writer, and readers that do not know these keys pass over them.
  /// \return false when something could not be written.
  bool SaveToXML(TZxXIniWriter* dst) const;

  friend bool operator==(const TRPCFileExtras& a, const TRPCFileExtras& b) {
    return a.satelliteId == b.satelliteId && a.bandId == b.bandId && a.biasError == b.biasError &&
           a.randomError == b.randomError;
  }
  friend bool operator!=(const TRPCFileExtras& a, const TRPCFileExtras& b) { return !(a == b); }
};

/// What is wrong with a file, and where.
struct ORBMATH_API TRPCFileError {
  std::string file;      ///< name as the caller gave it
  std::size_t line = 0;  ///< from 1; 0 when no line can be named, e.g. for a missing key
  std::string key;       ///< as it is spelled in the file's form; may be empty
  std::string reason;    ///< e.g. "19 numbers where 20 are needed"; empty when nothing is wrong

  /// All of it in one line, e.g. "x.RPB:17: lineNumCoef: 19 numbers where 20 are needed".
  std::string GetText() const;
};

/// A model file that has been read.
struct TRPCFile {
  TRPCFileForm form = TRPCFileForm::XML;
  TRPCData record;        ///< complete
  TRPCFileExtras extras;  ///< what the file says beside it
  /// For both XML forms the document itself, from which a `TRPC` or a `TAdjustedRPC` with all that the record does not
  /// hold is built (`TZxStringStream`, `TZxXIniStreamReader`). Empty for the other forms.
  std::string xml;
};

/// Reads a model file, whose form it recognises from the content. Files over 64 MiB are refused.
/// \param path UTF-8.
/// \param out untouched on failure.
/// \param error may be null; says what is wrong on failure and is untouched otherwise.
/// \return true when the file holds a complete record.
ORBMATH_API bool ReadRPCFile(const std::string& path, TRPCFile* out, TRPCFileError* error);
/// As `ReadRPCFile` from what is left of a stream, e.g. standard input; `name` stands for the file in the error.
ORBMATH_API bool ReadRPCStream(TZxStream* src, const std::string& name, TRPCFile* out, TRPCFileError* error);

/// Whether the text form carries the errors of a record.
enum class TRPCTextErrors {
  Omit,    ///< nothing but the record, byte for byte as `TRPCData::SaveToText` writes it
  Append,  ///< lines ERR_BIAS and ERR_RAND behind it for the errors that are present, as many vendors have them
};

/// Writes a record, with what stands beside it, in one of the forms.
/// \param dst where to; not owned, and a null one takes nothing.
/// \param name stands for the file in the error.
/// \param form RPB, text or XML; an adjusted model is more than a record, and is refused. (A model is written with its
/// own `SaveToXML` followed by `TRPCFileExtras::SaveToXML`.)
/// \param record has to be complete.
/// \param extras absent identifiers are empty and absent errors 0 in the RPB form. The text form has no identifiers.
/// \param errors what the text form does with the errors; the other forms always carry them.
/// \param error may be null; says on failure why, and is untouched otherwise.
/// \return false, when nothing has been written: for an incomplete record, an adjusted form, and an identifier with a
/// quotation mark or a line end for the RPB form, which could not be read again; false also when the stream does not
/// take everything.
ORBMATH_API bool WriteRPCStream(TZxStream* dst, const std::string& name, TRPCFileForm form, const TRPCData& record,
                                const TRPCFileExtras& extras, TRPCTextErrors errors, TRPCFileError* error);

}  // namespace SatCommonUtils
