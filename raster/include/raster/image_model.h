#pragma once
/// \file
/// The RPC model of an image: inside it (GeoTIFF tag 50844, NITF RPC00A and RPC00B) or in files beside it, in any
/// container that GDAL opens, `/vsizip/` and `/vsicurl/` paths too; and setting the model of an image that is there.

#include <orbmath/rpc/rpc_file.h>

#include <string>

#include "api.h"

namespace SatCommonUtils {

/// Reads the model that belongs to an image.
///
/// GDAL brings every container into one convention: whole numbers at pixel centres, the first pixel 0, terms in the
/// order of RPC00B. Only the header of the image is read, never its pixels. Any number of threads may call.
/// \param path UTF-8; what GDAL opens: a file, a folder of a product, "/vsizip/a.zip/b.tif", a subdataset.
/// \param options see `TRPCFileOptions`; without `firstPixel` the image's own convention holds.
/// \param out form `TRPCFileForm::Image`, record, extras and origin (raster size, time, the file that had the model);
///   untouched on failure.
/// \param error may be null; says on failure why (no such file, no model, what GDAL said) and is untouched otherwise.
/// \return true when the image has a complete, usable model.
ORBMATH_RASTER_API bool ReadImageModel(const std::string& path, const TRPCFileOptions& options, TRPCFile* out,
                                       TRPCFileError* error);

/// Sets the model of an image that is there: in a GeoTIFF its tag 50844, for other images the file NAME.aux.xml beside
/// it. Pixels, georeference and other metadata stay as they are. An image whose folder can be written but the image not
/// gets the .aux.xml too.
/// \param path UTF-8, an existing image.
/// \param record complete and finite.
/// \param extras bias and random error go along; a TIFF writes unknown ones as -1. Identifiers have no place there.
/// \param error may be null; says on failure why and is untouched otherwise.
/// \return true when the image's model, read again, is this one.
ORBMATH_RASTER_API bool WriteImageModel(const std::string& path, const TRPCData& record, const TRPCFileExtras& extras,
                                        TRPCFileError* error);

}  // namespace SatCommonUtils
