// Finding OrbmathRaster beside the tool and calling it.

#include "models/raster_library.h"

#include <dlfcn.h>

#include "errors.h"
#include "version.h"

#if ORBMATH_HAS_RASTER
#include "raster/tool_functions.h"
#endif

namespace orbmath_tool {

namespace {

constexpr const char* kImages = "is no model file, and images are opened";
constexpr const char* kDems = "DEMs are opened";

#if ORBMATH_HAS_RASTER

using SatCommonUtils::RasterFunctions;

// What the loader says is missing: the library itself, or GDAL's.
[[noreturn]] void RefuseToLoad(const std::string& name, const std::string& what) {
  const char* const text = dlerror();
  const std::string cause = text == nullptr ? "" : text;
  const bool gdal = cause.compare(0, 7, "libgdal") == 0;
  throw Failure(name + ": " + what + " by " ORBMATH_RASTER_LIBRARY ", which " +
                (gdal ? "needs GDAL, the package libgdal32 of Debian" : "is not installed beside the tool") + " (" +
                cause + ")");
}

const RasterFunctions& Load(const std::string& name, const std::string& what) {
  // Never unloaded: GDAL keeps threads and handlers until the process ends.
  static void* const library = dlopen(ORBMATH_RASTER_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) RefuseToLoad(name, what);
  void* const symbol = dlsym(library, SatCommonUtils::kRasterFunctionsSymbol);
  if (symbol == nullptr) RefuseToLoad(name, what);
  const RasterFunctions* const functions = reinterpret_cast<const RasterFunctions* (*)()>(symbol)();
  if (functions->version != ORBMATH_VERSION) {
    throw Failure(name + ": " ORBMATH_RASTER_LIBRARY " is of another version than the tool");
  }
  return *functions;
}

#else

[[noreturn]] void RefuseToLoad(const std::string& name, const std::string& what) {
  throw Failure(name + ": " + what + " by GDAL (package libgdal-dev), without which this tool was built");
}

#endif

}  // namespace

#if ORBMATH_HAS_RASTER

SatCommonUtils::TRPCFile ReadImage(const std::string& name, const SatCommonUtils::TRPCFileOptions& options) {
  SatCommonUtils::TRPCFile file;
  SatCommonUtils::TRPCFileError error;
  if (!Load(name, kImages).readImageModel(name, options, &file, &error)) throw Failure(error.GetText());
  return file;
}

void WriteImage(const std::string& name, const SatCommonUtils::TRPCData& record,
                const SatCommonUtils::TRPCFileExtras& extras) {
  SatCommonUtils::TRPCFileError error;
  if (!Load(name, kImages).writeImageModel(name, record, extras, &error)) throw Failure(error.GetText());
}

std::shared_ptr<const SatCommonUtils::THeightSurface> OpenDem(const DemRequest& request) {
  SatCommonUtils::TDemOptions options;
  options.files = request.files;
  options.geoid = request.geoid;
  options.voidHeight = request.void_is_geoid ? 0.0 : request.void_height;
  if (request.bicubic) options.interpolation = SatCommonUtils::THeightInterpolation::Bicubic;
  const std::string& name = request.files.front();
  SatCommonUtils::TDemSurface dem;
  std::string error;
  if (!Load(name, kDems).openDem(options, &dem, &error)) throw Failure(error);
  for (const std::string& note : dem.notes) Note(note);
  for (const std::string& warning : dem.warnings) Note("warning: " + warning);
  if (request.void_is_geoid && !dem.hasGeoid) {
    throw Failure(name + ": its heights do not count from a geoid, where voids are to lie: name one by --geoid");
  }
  return dem.surface;
}

#else

SatCommonUtils::TRPCFile ReadImage(const std::string& name, const SatCommonUtils::TRPCFileOptions&) {
  RefuseToLoad(name, kImages);
}

void WriteImage(const std::string& name, const SatCommonUtils::TRPCData&, const SatCommonUtils::TRPCFileExtras&) {
  RefuseToLoad(name, kImages);
}

std::shared_ptr<const SatCommonUtils::THeightSurface> OpenDem(const DemRequest& request) {
  RefuseToLoad(request.files.front(), kDems);
}

#endif

}  // namespace orbmath_tool
