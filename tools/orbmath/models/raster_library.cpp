#include "models/raster_library.h"

#include <dlfcn.h>

#include "errors.h"
#include "version.h"

#if ORBMATH_HAS_RASTER
#include "raster/tool_functions.h"
#endif

namespace orbmath_tool {

namespace {

#if ORBMATH_HAS_RASTER

using SatCommonUtils::RasterFunctions;

// What the loader says is missing: the library itself, or GDAL's.
[[noreturn]] void RefuseToLoad(const std::string& name) {
  const char* const text = dlerror();
  const std::string cause = text == nullptr ? "" : text;
  const bool gdal = cause.compare(0, 7, "libgdal") == 0;
  throw Failure(name + ": is no model file, and images are opened by " ORBMATH_RASTER_LIBRARY ", which " +
                (gdal ? "needs GDAL, the package libgdal32 of Debian" : "is not installed beside the tool") + " (" +
                cause + ")");
}

const RasterFunctions& Load(const std::string& name) {
  // Never unloaded: GDAL keeps threads and handlers until the process ends.
  static void* const library = dlopen(ORBMATH_RASTER_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) RefuseToLoad(name);
  void* const symbol = dlsym(library, SatCommonUtils::kRasterFunctionsSymbol);
  if (symbol == nullptr) RefuseToLoad(name);
  const RasterFunctions* const functions = reinterpret_cast<const RasterFunctions* (*)()>(symbol)();
  if (functions->version != ORBMATH_VERSION) {
    throw Failure(name + ": " ORBMATH_RASTER_LIBRARY " is of another version than the tool");
  }
  return *functions;
}

#else

[[noreturn]] void RefuseToLoad(const std::string& name) {
  throw Failure(name +
                ": is no model file, and this tool was built without GDAL (package libgdal-dev), which opens "
                "images");
}

#endif

}  // namespace

#if ORBMATH_HAS_RASTER

SatCommonUtils::TRPCFile ReadImage(const std::string& name, const SatCommonUtils::TRPCFileOptions& options) {
  SatCommonUtils::TRPCFile file;
  SatCommonUtils::TRPCFileError error;
  if (!Load(name).readImageModel(name, options, &file, &error)) throw Failure(error.GetText());
  return file;
}

void WriteImage(const std::string& name, const SatCommonUtils::TRPCData& record,
                const SatCommonUtils::TRPCFileExtras& extras) {
  SatCommonUtils::TRPCFileError error;
  if (!Load(name).writeImageModel(name, record, extras, &error)) throw Failure(error.GetText());
}

#else

SatCommonUtils::TRPCFile ReadImage(const std::string& name, const SatCommonUtils::TRPCFileOptions&) {
  RefuseToLoad(name);
}

void WriteImage(const std::string& name, const SatCommonUtils::TRPCData&, const SatCommonUtils::TRPCFileExtras&) {
  RefuseToLoad(name);
}

#endif

}  // namespace orbmath_tool
