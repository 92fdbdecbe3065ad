#pragma once
/// \file
/// From a path to a model of whatever kind, and back.
///
/// `ReadRPCFile` (`rpc/rpc_file.h`) gives the record of a file; here stands the model in it: plain, adjusted or
/// inverse, with margin, raster size and refinement.

#include <limits>
#include <optional>
#include <string>

#include "../frame/api.h"
#include "../frame/zxstd/stream.h"
#include "../frame/zxstd/var_a.h"
#include "../rpc/rpc_file.h"
#include "../rpc/rpc_model.h"

namespace SatCommonUtils {

/// What a model maps.
enum class TModelKind {
  Plain,     ///< ground to image
  Adjusted,  ///< ground to image, with a refinement: the model is a `TAdjustedRPC`
  Inverse,   ///< line, sample and height to latitude and longitude: evaluate its record by `TInverseRPC`
};

/// How a reading or writing ended.
enum class TModelFileState {
  NotRun,
  Done,
  NotRead,     ///< there is no such file, or it holds no complete record
  Damaged,     ///< its record can be read, but not what stands beside it
  NotHeld,     ///< the form cannot hold this model, or no form is known
  NotWritten,  ///< the system takes no such file; what was there before is there still
};

/// How to read.
struct TModelReadOptions {
  TRPCFileOptions file;  ///< How a plain model's file is read.
  /// `ReadImageModel` of a host that links OrbmathRaster (`raster/image_model.h`), or another function that gives the
  /// model of an image; null: images are not read. It is asked for files of no form that is known here, and for paths
  /// that begin with "/vsi", which are GDAL's.
  bool (*readImage)(const std::string& path, const TRPCFileOptions& options, TRPCFile* out,
                    TRPCFileError* error) = nullptr;
};

/// A model file that has been read.
struct ORBMATH_API TModelFile {
  TModelFileState state = TModelFileState::NotRun;  ///< how it ended
  std::string message = "not run";                  ///< one sentence, which begins with the file's name
  TModelKind kind = TModelKind::Plain;              ///< What the file holds.
  TRPCFile file;                                    ///< record, form, what stands beside it, where it comes from
  var_a<TRPC*> model;  ///< with margin, raster size and refinement, as far as the file has them; empty unless `Done`

  /// True for `Done`.
  explicit operator bool() const noexcept { return state == TModelFileState::Done; }
};

/// Reads a model file of any form, which is recognised from the content. Any number of threads may call.
/// \param path UTF-8. \return state `Done`, `NotRead` or `Damaged`; nothing is thrown but for want of memory.
ORBMATH_API TModelFile ReadModelFile(const std::string& path, const TModelReadOptions& options = TModelReadOptions());
/// As `ReadModelFile` from what is left of a stream; images are not read. \param src not owned; a null one has no
/// model. \param name stands for the file in the message.
ORBMATH_API TModelFile ReadModelStream(TZxStream* src, const std::string& name,
                                       const TRPCFileOptions& options = TRPCFileOptions());

/// How to write.
struct TModelWriteOptions {
  std::optional<TRPCFileForm> form;  ///< RPB, Text, XML, Json, GdalXml or Image; absent: as the suffix of the name says
  TRPCFileExtras extras;             ///< what stands beside the record
  /// `WriteImageModel` of a host that links OrbmathRaster: sets the model of an image that is there. It serves the form
  /// `Image`, and a name whose suffix is of no form. Null: images are not written.
  bool (*writeImage)(const std::string& path, const TRPCData& record, const TRPCFileExtras& extras,
                     TRPCFileError* error) = nullptr;
};

/// A model that has been written, or put into a text.
struct ORBMATH_API TWrittenModel {
  TModelFileState state = TModelFileState::NotRun;  ///< how it ended
  std::string message = "not run";                  ///< one sentence, which begins with the file's name
  TRPCFileForm form = TRPCFileForm::XML;            ///< The form that was written.
  std::string content;                              ///< the bytes of the file; empty for an image
  TRPCData record;                                  ///< as the file holds it, read back from those bytes
  /// How far the rounding of the form moves image points, the worst over the model's image and heights
  /// (`DistanceInImage`), pixels: 0 for XML; NaN when it cannot be told, as of an inverse model.
  double worst = std::numeric_limits<double>::quiet_NaN();

  /// True for `Done`.
  explicit operator bool() const noexcept { return state == TModelFileState::Done; }
};

/// The bytes of a model file, without writing it. Any number of threads may call.
///
/// XML holds the whole model, the other forms its record alone: margin and raster size have no place there. Those that
/// round offsets and scales get the model expressed with the rounded ones (`RenormalizeRPC`), so that only the digits
/// of its coefficients cost something. A refinement is held by XML alone; `TAdjustedRPC::ExportRefined` makes a plain
/// record of it. \param name stands for the file in the message, and its suffix for the form where none is asked for.
/// \return state `Done` or `NotHeld`.
ORBMATH_API TWrittenModel FormatModelFile(const std::string& name, const TRPC& model,
                                          const TModelWriteOptions& options = TModelWriteOptions());
/// Writes what `FormatModelFile` gives, whole or not at all (`ZxWriteFile`), or sets the model of an image.
/// \param path UTF-8. \return state `Done`, `NotHeld` or `NotWritten`; unless `Done` the old file is there as it was.
ORBMATH_API TWrittenModel WriteModelFile(const std::string& path, const TRPC& model,
                                         const TModelWriteOptions& options = TModelWriteOptions());

/// Gives `to` the margin and the raster size of `from`, as far as there are any. \param to not null.
ORBMATH_API void CopyMarginAndRaster(const TRPC& from, TRPC* to);

}  // namespace SatCommonUtils
