#pragma once
// The readers of single forms, behind the record's own readers and behind the reader of files of any form.
//
// Each invalidates the record first, fills what the source gives, and on failure says in `*error` (never null) which
// line and which key are wrong; the name of the file is for the caller to fill in.

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "frame/zxstd/stream.h"
#include "frame/zxstd/xini_reader.h"
#include "rpc/rpc_data.h"
#include "rpc/rpc_file.h"

namespace SatCommonUtils {

namespace RPCForms {

/// Bytes of a model file that are read at most.
constexpr std::size_t kMaxContent = std::size_t{64} << 20;

/// Indices into `RPCScalarFields` in the order of the RPB and text forms: offsets first, then scales.
constexpr std::array<std::size_t, 10> kFileOrder = {0, 2, 4, 6, 8, 1, 3, 5, 7, 9};

/// The names of one thing that a file says beside the record; null where a form has no place for it.
template <class T>
struct ExtraField {
  std::optional<T> TRPCFileExtras::*value;
  const char* rpbKey;
  const char* textKey;
  const char* xmlKey;
};
constexpr std::array<ExtraField<std::string>, 2> kExtraTexts = {{
    {&TRPCFileExtras::satelliteId, "satId", nullptr, "SatelliteId"},
    {&TRPCFileExtras::bandId, "bandId", nullptr, "BandId"},
}};
constexpr std::array<ExtraField<double>, 2> kExtraNumbers = {{
    {&TRPCFileExtras::biasError, "errBias", "ERR_BIAS", "ErrorBias"},
    {&TRPCFileExtras::randomError, "errRand", "ERR_RAND", "ErrorRandom"},
}};

/// Reads a whole stream or file of a sensible size.
bool ReadContent(TZxStream* src, std::string* content, TRPCFileError* error);
bool ReadContent(const std::string& path, std::string* content, TRPCFileError* error);

/// True when a line of the text begins like one of the text form or of PVL.
bool LooksLikeText(std::string_view content);
bool LooksLikeRpb(std::string_view content);

bool ReadText(std::string_view content, TRPCData* record, TRPCFileExtras* extras, TRPCFileError* error);
bool ReadRpb(const std::string& content, TRPCData* record, TRPCFileExtras* extras, TRPCFileError* error);
bool ReadXml(TZxXIniReader* src, TRPCData* record, TRPCFileError* error);

/// Reads a number that has to be in the current section.
bool ReadNumber(const TZxXIniReader& src, const std::string& key, double* value, TRPCFileError* error);

/// The text or the number of an item of the current section; nothing when there is none.
std::optional<std::string> OptionalText(const TZxXIniReader& src, const std::string& key);
std::optional<double> OptionalNumber(const TZxXIniReader& src, const std::string& key);

/// Notes what is wrong. \return false.
bool Fail(TRPCFileError* error, std::size_t line, std::string key, std::string reason);
/// Notes that a value is no number. \return false.
bool FailAsNumber(TRPCFileError* error, std::size_t line, std::string key, std::string_view value);

/// \return true when the stream, which may be null, takes the whole text.
bool WriteWhole(TZxStream* dst, const std::string& text);

/// The next line of `*rest` without its line end and the blanks around it; `*rest` begins behind it afterwards.
std::string_view TakeLine(std::string_view* rest);
/// Without a UTF-8 byte-order mark in front.
std::string_view WithoutBom(std::string_view text);

}  // namespace RPCForms

}  // namespace SatCommonUtils
