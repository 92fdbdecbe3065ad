#pragma once
/// \file
/// OrbmathRaster, loaded at run time when a file needs it: a start without images costs no GDAL.

#include <string>

#include "rpc/rpc_file.h"

namespace orbmath_tool {

/// Reads the model of an image. \throws Failure naming the file and what is wrong; when the library is not there, what
/// to install.
SatCommonUtils::TRPCFile ReadImage(const std::string& name, const SatCommonUtils::TRPCFileOptions& options);

/// Sets the model of an image that is there. \throws Failure as `ReadImage`.
void WriteImage(const std::string& name, const SatCommonUtils::TRPCData& record,
                const SatCommonUtils::TRPCFileExtras& extras);

}  // namespace orbmath_tool
