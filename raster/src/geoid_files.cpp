// Geoid grids by path or name. GeographicLib's PGM files carry offset and scale in comments of their header: C. F. F.
// Karney, GeographicLib (2013), "Geoid height", doi:10.1007/s00190-012-0578-z.

#include <ogr_srs_api.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <locale>
#include <sstream>
#include <vector>

#include "height_raster.h"
#include "raster/height_files.h"

namespace SatCommonUtils {

namespace {

bool Exists(const std::string& path) {
  VSIStatBufL status;
  return VSIStatL(path.c_str(), &status) == 0;
}

/// The folders where PROJ looks for grids.
std::vector<std::string> GridFolders() {
  std::vector<std::string> folders;
  for (const char* name : {"PROJ_DATA", "PROJ_LIB"}) {
    const char* const value = std::getenv(name);
    std::stringstream list(value == nullptr ? "" : value);
    for (std::string folder; std::getline(list, folder, ':');) folders.push_back(folder);
  }
  char** const paths = OSRGetPROJSearchPaths();
  for (int i = 0; i < CSLCount(paths); ++i) folders.emplace_back(paths[i]);
  CSLDestroy(paths);
  folders.emplace_back("/usr/share/proj");
  folders.emplace_back("/usr/local/share/proj");
  return folders;
}

/// The path of a geoid by name; the text itself where it is none.
bool FindGeoid(const std::string& name, std::string* path, std::string* error) {
  static const struct {
    const char* name;
    std::vector<const char*> files;
  } kKnown[] = {{"egm96", {"us_nga_egm96_15.tif", "egm96_15.gtx"}},
                {"egm2008", {"us_nga_egm08_25.tif", "egm08_25.gtx"}}};
  *path = name;
  for (const auto& known : kKnown) {
    if (name != known.name) continue;
    for (const std::string& folder : GridFolders()) {
      for (const char* file : known.files) {
        *path = folder + "/" + file;
        if (Exists(*path)) return true;
      }
    }
    *error = "the geoid " + name + " (" + known.files[0] + " or " + known.files[1] +
             ") is in none of PROJ's folders: give the path of a grid";
    return false;
  }
  return true;
}

/// Offset, scale and origin of a PGM of GeographicLib. \return false when it is none.
bool ReadPgmHeader(const std::string& path, BandHeights* heights) {
  std::ifstream file(path, std::ios::binary);
  std::string line;
  if (!std::getline(file, line) || line.substr(0, 2) != "P5") return false;
  bool offset = false;
  bool scale = false;
  while (file.peek() == '#' && std::getline(file, line)) {
    std::istringstream words(line);
    words.imbue(std::locale::classic());
    std::string mark, key;
    words >> mark >> key;
    if (key == "Offset") offset = bool(words >> heights->offset);
    if (key == "Scale") scale = bool(words >> heights->scale);
  }
  return offset && scale;
}

}  // namespace

std::shared_ptr<const THeightSurface> OpenGeoid(const std::string& name, std::size_t cacheBytes, std::string* error) {
  const GdalSession session;
  std::string reason;
  const auto fail = [&](const std::string& why) {
    if (error != nullptr) *error = why;
    return nullptr;
  };
  std::string path;
  if (!FindGeoid(name, &path, &reason)) return fail(reason);
  DatasetHandle dataset = OpenRaster(path, false);
  if (dataset == nullptr || dataset->GetRasterCount() < 1) {
    return fail(path + ": cannot be opened as a geoid grid" +
                (session.LastError().empty() ? "" : " (" + session.LastError() + ")"));
  }
  THeightGridFrame frame;
  BandHeights heights;
  GDALRasterBand* const band = dataset->GetRasterBand(1);
  heights.scale = band->GetScale();
  heights.offset = band->GetOffset();
  if (dataset->GetGeoTransform(frame.transform) != CE_None) {
    if (!ReadPgmHeader(path, &heights)) return fail(path + ": has no georeference");
    // Rows from the north pole to the south pole, columns eastwards from Greenwich, on whole steps: pixels reach half a
    // step around them.
    const double columnStep = 360.0 / dataset->GetRasterXSize();
    const double rowStep = 180.0 / (dataset->GetRasterYSize() - 1);
    const double transform[] = {-0.5 * columnStep, columnStep, 0.0, 90.0 + 0.5 * rowStep, 0.0, -rowStep};
    std::copy_n(transform, 6, frame.transform);
  }
  const OGRSpatialReference* const system = dataset->GetSpatialRef();
  if (system != nullptr && !MakeMapping(*system, GetCenterX(*dataset, frame.transform), &frame.mapping)) {
    return fail(path + ": PROJ has no way into its reference system");
  }
  const auto grid = MakeGrid(std::move(dataset), frame, heights, cacheBytes, &reason);
  return grid == nullptr ? fail(path + ": " + reason) : grid;
}

}  // namespace SatCommonUtils
