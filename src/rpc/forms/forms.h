#pragma once
// The file forms: a table with one row for each, and what their readers share.
//
// A form is one file of this folder, which fills its row, and the row's line in form_table.cpp. A reader gets the whole
// content and an empty file, fills what the content says, and on failure says in `*error` (never null) which line and
// which key are wrong; the name of the file is for the caller to fill in.

#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "frame/zxstd/stream.h"
#include "frame/zxstd/xini_reader.h"
#include "rpc/rpc_data.h"
#include "rpc/rpc_file.h"

namespace SatCommonUtils {

namespace RPCForms {

/// Bytes that are read at most: of XML, whose products carry orbits and grids beside the model, and of anything else.
constexpr std::size_t kMaxXml = std::size_t{64} << 20;
constexpr std::size_t kMaxContent = std::size_t{1} << 20;

/// One row of the table.
struct FileForm {
  TRPCFileFormInfo info;
  /// True when the content is of this form, good or damaged. Null: another row's reader finds out.
  bool (*looksLike)(std::string_view content);
  /// Fills record, extras, origin, and where it is not the row's, the form. The record is `Invalidate`d before.
  bool (*read)(const std::string& content, TRPCFile* out, TRPCFileError* error);
  /// Writes a complete record. Null where nothing is written in this form.
  bool (*write)(TZxStream* dst, const TRPCData& record, const TRPCFileExtras& extras, TRPCTextErrors errors,
                TRPCFileError* error);
};

/// The rows, in the order in which `looksLike` is asked.
extern const FileForm kRpb, kText, kXml, kAdjustedXml, kDimap, kIsdXml, kRadarsat, kGdalXml, kKeywordList, kFixedWidth,
    kJson, kEnviHeader, kVendorText, kImage;
constexpr std::size_t kFormCount = 14;
const std::array<const FileForm*, kFormCount>& Forms() noexcept;
/// The row of a form.
const FileForm& FormOf(TRPCFileForm form) noexcept;

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

/// Reads a whole stream or file of a sensible size: an XML text up to `kMaxXml`, anything else up to `kMaxContent`.
/// A content that cannot be a text is not read to its end, and called unknown.
bool ReadContent(TZxStream* src, std::string* content, TRPCFileError* error);
bool ReadContent(const std::string& path, std::string* content, TRPCFileError* error);

/// The readers of single forms behind the record's own readers.
bool ReadText(std::string_view content, TRPCData* record, TRPCFileExtras* extras, TRPCFileError* error);
bool ReadRpb(const std::string& content, TRPCData* record, TRPCFileExtras* extras, std::string* specId,
             TRPCFileError* error);
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
/// Takes over a message of the XML reader; when it begins with "line 17: ", the line goes to its own place.
bool FailAsXml(TRPCFileError* error, const std::string& message);

/// \return true when the stream, which may be null, takes the whole text.
bool WriteWhole(TZxStream* dst, const std::string& text);

/// The next line of `*rest` without its line end and the blanks around it; `*rest` begins behind it afterwards.
std::string_view TakeLine(std::string_view* rest);
/// Without blanks, tabs and line ends around it.
std::string_view Trimmed(std::string_view text);
/// True when the text begins like XML, in UTF-8 or UTF-16.
bool LooksLikeXml(std::string_view content);
/// Name of the root element without its prefix, found without parsing; empty when the text is no XML.
std::string_view XmlRootName(std::string_view content);

/// What a key has in a vendor's file.
struct KeyedText {
  std::string_view text;
  std::size_t line = 0;
};
using KeyLookup = std::function<std::optional<KeyedText>(const std::string& key)>;

/// The keys of the ninety numbers in a form, in the order of `RPCScalarFields` and `RPCCoefficientFields`.
struct RecordKeys {
  std::array<std::string, 10> scalars;
  std::array<std::string, 4> lists;
  /// Format of what is appended to a list's key for each coefficient, e.g. "_%02d"; empty when the list is one text.
  std::string index;
  int firstIndex = 0;
};
/// The keys of the text form, lists without their last "_".
RecordKeys TextKeys();
/// The same in small letters.
RecordKeys SmallTextKeys();

/// Reads a record that must be usable: every number there and finite, no scale zero.
bool ReadRecord(const RecordKeys& keys, TRPCTermOrder order, const KeyLookup& find, TRPCData* record,
                TRPCFileError* error);
/// A record from ten offsets and scales in the order of the text form (`kFileOrder`) and four lists behind them.
bool ReadRecord(const std::array<double, 90>& numbers, TRPCData* record, TRPCFileError* error);
/// A number without the unit that may follow it ("3754.00 pixels"); any other text as it is.
std::string_view WithoutUnit(std::string_view value);
/// Splits at blanks and commas into exactly `count` numbers.
bool ReadNumbers(const KeyedText& text, const std::string& key, std::size_t count, double* numbers,
                 TRPCFileError* error);

/// The order that a word such as "RPC00A" or "A" names. A word that is not known is taken as RPC00B with a note.
TRPCTermOrder TakeTermOrder(std::string_view word, TRPCFileOrigin* origin);
/// Brings the lists of a record from that order into RPC00B's, and notes it when they differ.
void SortTerms(TRPCTermOrder order, TRPCData* record);

}  // namespace RPCForms

}  // namespace SatCommonUtils
