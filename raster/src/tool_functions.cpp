// The table of functions for programs that load the library at run time.

#include "raster/tool_functions.h"

#include "raster/image_model.h"
#include "version.h"

const SatCommonUtils::RasterFunctions* OrbmathRasterFunctions() {
  static constexpr SatCommonUtils::RasterFunctions kFunctions = {ORBMATH_VERSION,
                                                                 &SatCommonUtils::ReadImageModel,
                                                                 &SatCommonUtils::WriteImageModel,
                                                                 &SatCommonUtils::OpenDem,
                                                                 &SatCommonUtils::WriteGrid,
                                                                 &SatCommonUtils::Orthorectify,
                                                                 &SatCommonUtils::OpenGeoid,
                                                                 &SatCommonUtils::OpenReferenceSystem};
  return &kFunctions;
}
