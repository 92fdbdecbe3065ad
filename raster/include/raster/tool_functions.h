#pragma once
/// \file
/// What a program takes from OrbmathRaster when it loads the library at run time, only when a file needs it.
///
/// A start without it costs no GDAL. Program and library have to be of one build: `version` says so.

#include <orbmath/rpc/rpc_file.h>

#include <cstddef>
#include <memory>
#include <string>

#include "api.h"
#include "grid.h"
#include "height_files.h"
#include "ortho.h"
#include "reference_system.h"

namespace SatCommonUtils {

/// The functions of the library by pointer; each as in the header that declares it.
struct RasterFunctions {
  int version;  ///< `ORBMATH_VERSION` of the headers that the library was built with
  bool (*readImageModel)(const std::string&, const TRPCFileOptions&, TRPCFile*, TRPCFileError*);  ///< ReadImageModel.
  bool (*writeImageModel)(const std::string&, const TRPCData&, const TRPCFileExtras&,
                          TRPCFileError*);                                   ///< WriteImageModel.
  bool (*openDem)(const TDemOptions&, TDemSurface*, std::string*);           ///< OpenDem.
  TGridResult (*writeGrid)(const TGridProblem&, const TGridOptions&);        ///< WriteGrid.
  TOrthoResult (*orthorectify)(const TOrthoProblem&, const TOrthoOptions&);  ///< Orthorectify.
  std::shared_ptr<const THeightSurface> (*openGeoid)(const std::string&, std::size_t, std::string*);  ///< OpenGeoid.
  std::shared_ptr<const TReferenceSystem> (*openReferenceSystem)(const std::string&,
                                                                 std::string*);  ///< OpenReferenceSystem.
};

/// Name of the one symbol to look up, whose type is `const RasterFunctions* (*)()`.
constexpr const char* kRasterFunctionsSymbol = "OrbmathRasterFunctions";

}  // namespace SatCommonUtils

/// The functions, valid for as long as the library is loaded.
extern "C" ORBMATH_RASTER_API const SatCommonUtils::RasterFunctions* OrbmathRasterFunctions();
