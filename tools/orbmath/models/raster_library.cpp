// Finding OrbmathRaster beside the tool and calling it.

#include "models/raster_library.h"

#include "errors.h"
#include "version.h"

#if ORBMATH_HAS_RASTER
#include <dlfcn.h>

#include "raster/tool_functions.h"
#endif

namespace orbmath_tool {

namespace {

constexpr const char* kImages = "is no model file, and images are opened";
constexpr const char* kMaps = "maps are made";
constexpr const char* kDems = "DEMs are opened";
constexpr const char* kGeoids = "geoids are opened";
constexpr const char* kReferences = "reference systems are known";

#if ORBMATH_HAS_RASTER

using SatCommonUtils::RasterFunctions;

// What the loader says is missing: the library itself, or GDAL's.
std::string LoaderReason(const std::string& what) {
  const char* const text = dlerror();
  const std::string cause = text == nullptr ? "" : text;
  const bool gdal = cause.compare(0, 7, "libgdal") == 0;
  return what + " by " ORBMATH_RASTER_LIBRARY ", which " +
         (gdal ? "needs GDAL, the package libgdal32 of Debian" : "is not installed beside the tool") + " (" + cause +
         ")";
}

/// Null when there is none, with the reason.
const RasterFunctions* Load(const std::string& what, std::string* reason) {
  // Never unloaded: GDAL keeps threads and handlers until the process ends.
  static void* const library = dlopen(ORBMATH_RASTER_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  void* const symbol = library == nullptr ? nullptr : dlsym(library, SatCommonUtils::kRasterFunctionsSymbol);
  if (symbol == nullptr) {
    *reason = LoaderReason(what);
    return nullptr;
  }
  const RasterFunctions* const functions = reinterpret_cast<const RasterFunctions* (*)()>(symbol)();
  if (functions->version == ORBMATH_VERSION) return functions;
  *reason = ORBMATH_RASTER_LIBRARY " is of another version than the tool";
  return nullptr;
}

/// Null with the reason as the error of the file `name`.
const RasterFunctions* LoadForImage(const std::string& name, SatCommonUtils::TRPCFileError* error) {
  std::string reason;
  const RasterFunctions* const functions = Load(kImages, &reason);
  if (functions == nullptr) {
    error->file = name;
    error->reason = reason;
  }
  return functions;
}

#else

std::string ReasonWithoutGdal(const std::string& what) {
  return what + " by GDAL (package libgdal-dev), without which this tool was built";
}

bool RefuseImage(const std::string& name, SatCommonUtils::TRPCFileError* error) {
  error->file = name;
  error->reason = ReasonWithoutGdal(kImages);
  return false;
}

#endif

}  // namespace

#if ORBMATH_HAS_RASTER

bool ReadImage(const std::string& name, const SatCommonUtils::TRPCFileOptions& options, SatCommonUtils::TRPCFile* out,
               SatCommonUtils::TRPCFileError* error) {
  const RasterFunctions* const functions = LoadForImage(name, error);
  return functions != nullptr && functions->readImageModel(name, options, out, error);
}

bool WriteImage(const std::string& name, const SatCommonUtils::TRPCData& record,
                const SatCommonUtils::TRPCFileExtras& extras, SatCommonUtils::TRPCFileError* error) {
  const RasterFunctions* const functions = LoadForImage(name, error);
  return functions != nullptr && functions->writeImageModel(name, record, extras, error);
}

std::shared_ptr<const SatCommonUtils::THeightSurface> OpenDem(const DemRequest& request) {
  SatCommonUtils::TDemOptions options;
  options.files = request.files;
  options.geoid = request.geoid;
  options.voidHeight = request.void_is_geoid ? 0.0 : request.void_height;
  options.cacheBytes = request.cache_bytes;
  if (request.bicubic) options.interpolation = SatCommonUtils::THeightInterpolation::Bicubic;
  const std::string& name = request.files.front();
  SatCommonUtils::TDemSurface dem;
  std::string error;
  std::string reason;
  const RasterFunctions* const functions = Load(kDems, &reason);
  if (functions == nullptr) throw Failure(name + ": " + reason);
  if (!functions->openDem(options, &dem, &error)) throw Failure(error);
  for (const std::string& note : dem.notes) Note(note);
  for (const std::string& warning : dem.warnings) Note("warning: " + warning);
  if (request.void_is_geoid && !dem.hasGeoid) {
    throw Failure(name + ": its heights do not count from a geoid, where voids are to lie: name one by --geoid");
  }
  return dem.surface;
}

namespace {

/// Says what was chosen. \throws Failure when there is no result.
template <class Result>
Result Checked(Result result) {
  for (const std::string& note : result.notes) Note(note);
  if (!result) throw Failure(result.sentence);
  return result;
}

const RasterFunctions& LoadForMap(const std::string& name) {
  std::string reason;
  const RasterFunctions* const functions = Load(kMaps, &reason);
  if (functions == nullptr) throw Failure(name + ": " + reason);
  return *functions;
}

}  // namespace

SatCommonUtils::TOrthoResult MakeOrthoimage(const SatCommonUtils::TOrthoProblem& problem,
                                            const SatCommonUtils::TOrthoOptions& options) {
  return Checked(LoadForMap(problem.image).orthorectify(problem, options));
}

SatCommonUtils::TGridResult MakeGridFile(const SatCommonUtils::TGridProblem& problem,
                                         const SatCommonUtils::TGridOptions& options) {
  return Checked(LoadForMap(problem.output).writeGrid(problem, options));
}

std::shared_ptr<const SatCommonUtils::THeightSurface> OpenGeoidSurface(const std::string& name) {
  constexpr std::size_t kCacheBytes = std::size_t{64} << 20;
  std::string error;
  const RasterFunctions* const functions = Load(kGeoids, &error);
  if (functions == nullptr) throw Failure(name + ": " + error);
  auto surface = functions->openGeoid(name, kCacheBytes, &error);
  if (surface == nullptr) throw Failure(error);
  return surface;
}

ReferenceSystem OpenReference(const std::string& definition) {
  std::string error;
  const RasterFunctions* const functions = Load(kReferences, &error);
  if (functions == nullptr) throw Failure(definition + ": " + error);
  const auto system = functions->openReferenceSystem(definition, &error);
  if (system == nullptr) throw Failure(error);
  return {[system](std::size_t count, double* x, double* y, double* z) { system->ToWgs84(count, x, y, z); },
          [system](std::size_t count, double* x, double* y, double* z) { system->FromWgs84(count, x, y, z); },
          system->IsGeographic()};
}

#else

bool ReadImage(const std::string& name, const SatCommonUtils::TRPCFileOptions&, SatCommonUtils::TRPCFile*,
               SatCommonUtils::TRPCFileError* error) {
  return RefuseImage(name, error);
}

bool WriteImage(const std::string& name, const SatCommonUtils::TRPCData&, const SatCommonUtils::TRPCFileExtras&,
                SatCommonUtils::TRPCFileError* error) {
  return RefuseImage(name, error);
}

std::shared_ptr<const SatCommonUtils::THeightSurface> OpenDem(const DemRequest& request) {
  throw Failure(request.files.front() + ": " + ReasonWithoutGdal(kDems));
}

SatCommonUtils::TGridResult MakeGridFile(const SatCommonUtils::TGridProblem& problem,
                                         const SatCommonUtils::TGridOptions&) {
  throw Failure(problem.output + ": " + ReasonWithoutGdal(kMaps));
}

SatCommonUtils::TOrthoResult MakeOrthoimage(const SatCommonUtils::TOrthoProblem& problem,
                                            const SatCommonUtils::TOrthoOptions&) {
  throw Failure(problem.image + ": " + ReasonWithoutGdal(kMaps));
}

std::shared_ptr<const SatCommonUtils::THeightSurface> OpenGeoidSurface(const std::string& name) {
  throw Failure(name + ": " + ReasonWithoutGdal(kGeoids));
}

ReferenceSystem OpenReference(const std::string& definition) {
  throw Failure(definition + ": " + ReasonWithoutGdal(kReferences));
}

#endif

}  // namespace orbmath_tool
