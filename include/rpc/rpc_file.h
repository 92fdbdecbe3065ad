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
#include <vector>

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
  Dimap,        ///< DIMAP XML: Pleiades (versions 1 and 2), SPOT 6 and 7 (2), Pleiades Neo (3)
  IsdXml,       ///< XML with an element RPB: image support data of WorldView, GeoEye, QuickBird
  Radarsat,     ///< product.xml of RADARSAT-2 and RCM
  GdalXml,      ///< .vrt and .aux.xml of GDAL with a metadata domain RPC
  KeywordList,  ///< OSSIM keyword list, .geom
  FixedWidth,   ///< ALOS: numbers in columns, no keys
  Json,         ///< JSON with the keys of rpcm, or those of GDAL
  EnviHeader,   ///< ENVI header with "rpc info"
  VendorText,   ///< text with other spellings: small letters, "=", lists of twenty
  Image,        ///< the model inside or beside an image, read by the library OrbmathRaster
};

/// The name of a form for people: "RPB", "text", "XML", "adjusted XML", "DIMAP" ...
ORBMATH_API const char* RPCFileFormName(TRPCFileForm form) noexcept;
/// The form that the name of a file asks for, in any case of the letters: RPB for ".rpb", text for ".txt" and ".rpc",
/// GDAL's metadata for ".aux.xml", XML for any other ".xml", JSON for ".json"; nothing for any other name. Only for
/// files to be written: what a file holds says its content.
ORBMATH_API std::optional<TRPCFileForm> RPCFileFormOfName(const std::string& path);

/// What there is to know of a form before any file is opened.
struct TRPCFileFormInfo {
  TRPCFileForm form;     ///< which
  const char* name;      ///< as `RPCFileFormName` gives it
  const char* suffixes;  ///< those that such files often have, e.g. ".txt .rpc"; recognition does not look at them
  bool writes;           ///< whether `WriteRPCStream` makes such files
  const char* rounds;    ///< what is lost in writing, e.g. "coefficients to 9 digits"; null where nothing is written
};
/// The forms, in the order in which they are tried on a content. The table is constant.
/// \param count receives their number; may not be null.
ORBMATH_API const TRPCFileFormInfo* RPCFileForms(std::size_t* count) noexcept;

/// What a model file says beside the record. Each may be absent.
struct ORBMATH_API TRPCFileExtras {
  std::optional<std::string> satelliteId;  ///< As the file names it.
  std::optional<std::string> bandId;       ///< As the file names it.
  std::optional<double> biasError;         ///< metres
  std::optional<double> randomError;       ///< metres

  /// Reads the items "SatelliteId", "BandId", "ErrorBias" and "ErrorRandom" of the current section. What is missing,
  /// or is no number where it has to be one, is absent afterwards. A null reader has none of them.
  void InitializeFromXML(TZxXIniReader* src);
  /// Writes what is present into the current section, beside the keys of a record or a model: call it after the
  /// `SaveToXML` of either, with the same writer, and readers that do not know these keys pass over them.
  /// \return false when something could not be written.
  bool SaveToXML(TZxXIniWriter* dst) const;

  /// Equal fields, absent ones included.
  friend bool operator==(const TRPCFileExtras& a, const TRPCFileExtras& b) {
    return a.satelliteId == b.satelliteId && a.bandId == b.bandId && a.biasError == b.biasError &&
           a.randomError == b.randomError;
  }
  friend bool operator!=(const TRPCFileExtras& a, const TRPCFileExtras& b) { return !(a == b); }
};

/// What is wrong with a file, and where.
struct ORBMATH_API TRPCFileError {
  std::string file;          ///< name as the caller gave it
  std::size_t line = 0;      ///< from 1; 0 when no line can be named, e.g. for a missing key
  std::string key;           ///< as it is spelled in the file's form; may be empty
  std::string reason;        ///< e.g. "19 numbers where 20 are needed"; empty when nothing is wrong
  bool unknownForm = false;  ///< true when the content is of no form that is read here; it may be an image

  /// All of it in one line, e.g. "x.RPB:17: lineNumCoef: 19 numbers where 20 are needed".
  std::string GetText() const;
};

/// The order in which a file lists the twenty terms. Records have that of RPC00B.
enum class TRPCTermOrder {
  RPC00B,       ///< 1 L P H LP LH PH LL PP HH PLH LLL LPP LHH LLP PPP PHH LLH PPH HHH
  RPC00A,       ///< 1 L P H LP LH PH PP HH PLH LL LLL LLP LLH LPP PPP PPH LHH PHH HHH, as GDAL takes it
  HeightFirst,  ///< 1 H HH HHH L LH LHH LL LLH LLL P PH PHH LP LPH LLP PP PPH LPP PPP, as in RADARSAT-2 products
};
/// "RPC00B", "RPC00A", "height first".
ORBMATH_API const char* RPCTermOrderName(TRPCTermOrder order) noexcept;
/// Position in a list of that order, from 0, of term `k`, 0 to 19, of RPC00B.
ORBMATH_API int RPCTermPosition(TRPCTermOrder order, int k) noexcept;

/// A part of the image, pixels in the frame of the record (first pixel's centre at 0, 0); ends included.
struct TRPCImageDomain {
  double firstLine = 0.0;    ///< Pixels.
  double firstSample = 0.0;  ///< Pixels.
  double lastLine = 0.0;     ///< Pixels, within.
  double lastSample = 0.0;   ///< Pixels, within.
};
/// A part of the ground, degrees; ends included.
struct TRPCGroundDomain {
  double firstLat = 0.0;  ///< Degrees.
  double firstLon = 0.0;  ///< Degrees.
  double lastLat = 0.0;   ///< Degrees, within.
  double lastLon = 0.0;   ///< Degrees, within.
};

/// What a container tells of its model beside the record and its errors: where it came from, what it counts from, where
/// it holds. Nothing of it changes the record.
struct TRPCFileOrigin {
  std::string source;   ///< the files and parts that were read, e.g. "a.RPB, a.IMD" or "TIFF tag 50844"
  std::string variant;  ///< kind and version as the container states them, e.g. "PHR_SENSOR 2.0"; may be empty
  int firstPixel = 0;   ///< what the container counts the centre of its first line and sample as; the record has 0
  std::string firstPixelRule;                       ///< who says so
  TRPCTermOrder termOrder = TRPCTermOrder::RPC00B;  ///< of the container
  std::optional<int> rasterWidth;                   ///< samples of the image
  std::optional<int> rasterHeight;                  ///< lines of the image
  std::string acquisitionTime;                      ///< as the container spells it; may be empty
  std::optional<TRPCImageDomain> imageDomain;       ///< where the container says that the model holds
  std::optional<TRPCGroundDomain> groundDomain;     ///< the same on the ground
  /// The container's own image-to-ground model in the layout of an inverse model: line and sample (pixels) in the
  /// places of latitude and longitude, and these (degrees) in theirs.
  std::optional<TRPCData> directModel;
  std::string fitError;  ///< the maker's own error of the fit to its camera, as it states it; no error on the ground
  std::vector<std::string> notes;  ///< sentences for people: conversions made, doubts, what is missing
};

/// How to read.
struct TRPCFileOptions {
  std::optional<int> firstPixel;  ///< 0 or 1: what the file counts the centre of its first pixel as, whatever its
                                  ///< form's rule says
};

/// A model file that has been read.
struct TRPCFile {
  TRPCFileForm form = TRPCFileForm::XML;  ///< the form that its content shows
  TRPCData record;        ///< complete, terms in the order of RPC00B, first pixel's centre at line 0, sample 0
  TRPCFileExtras extras;  ///< what the file says beside it
  /// For both XML forms the document itself, from which a `TRPC` or a `TAdjustedRPC` with all that the record does not
  /// hold is built (`TZxStringStream`, `TZxXIniStreamReader`). Empty for the other forms. Its pixels count from
  /// `origin.firstPixel`.
  std::string xml;
  TRPCFileOrigin origin;  ///< where the model comes from and what it counts from
};

/// Reads a model file, whose form it recognises from the content. XML files over 64 MiB and other files over 1 MiB are
/// refused. Some forms take what belongs to them from the file of their product that lies beside: .IMD, DIM_*.XML.
/// Images are not read here but by OrbmathRaster (`raster/image_model.h`).
/// \param path UTF-8.
/// \param out untouched on failure.
/// \param error may be null; says what is wrong on failure and is untouched otherwise.
/// \return true when the file holds a complete record.
ORBMATH_API bool ReadRPCFile(const std::string& path, TRPCFile* out, TRPCFileError* error);
/// Reads a model file; `options` overrule what its form says.
ORBMATH_API bool ReadRPCFile(const std::string& path, const TRPCFileOptions& options, TRPCFile* out,
                             TRPCFileError* error);
/// As `ReadRPCFile` from what is left of a stream, e.g. standard input; `name` stands for the file in the error.
ORBMATH_API bool ReadRPCStream(TZxStream* src, const std::string& name, TRPCFile* out, TRPCFileError* error);
/// As `ReadRPCFile` with options from what is left of a stream.
ORBMATH_API bool ReadRPCStream(TZxStream* src, const std::string& name, const TRPCFileOptions& options, TRPCFile* out,
                               TRPCFileError* error);

/// Whether the text form carries the errors of a record.
enum class TRPCTextErrors {
  Omit,    ///< nothing but the record, byte for byte as `TRPCData::SaveToText` writes it
  Append,  ///< lines ERR_BIAS and ERR_RAND behind it for the errors that are present, as many vendors have them
};

/// Writes a record, with what stands beside it, in one of the forms.
/// \param dst where to; not owned, and a null one takes nothing.
/// \param name stands for the file in the error.
/// \param form RPB, text, XML, JSON or GdalXml (an .aux.xml); other forms are refused. (A model with more than a record
/// is written with its own `SaveToXML` followed by `TRPCFileExtras::SaveToXML`.)
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
