// From image to map: a small image of a mountain is simulated with a straight grid painted on the ground, and brought
// to the map twice. With one height for all the mountain bends the grid; with the terrain it comes out straight.
#include <orbmath.h>
#include <raster/ortho.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

using namespace SatCommonUtils;

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kMetresPerDegree = 111200.0;

/// Posts some 40 m apart: a mountain of 1,300 m with ridges, in a plain at 300 m.
THeightGrid MakeTerrain(const TRPC& model) {
  THeightGridFrame frame;
  frame.columns = 601;
  frame.rows = 601;
  frame.transform[0] = model.GetCenterLongitude() - 0.15;
  frame.transform[1] = 0.0005;
  frame.transform[3] = model.GetCenterLatitude() + 0.12;
  frame.transform[5] = -0.0004;
  std::vector<double> heights;
  for (int row = 0; row < frame.rows; ++row) {
    for (int column = 0; column < frame.columns; ++column) {
      const double x = (column - 300) * 37.7;
      const double y = (300 - row) * 44.5;
      const double distance = std::hypot(x, y);
      const double rough = 0.18 * (1.0 - std::exp(-distance * distance / 1.5e6));  // the top is round
      const double ridges = 1.0 + rough * std::cos(7.0 * std::atan2(y, x) + distance / 900.0);
      heights.push_back(300.0 + 1300.0 * std::exp(-(x * x + 1.4 * y * y) / 7e6) * ridges);
    }
  }
  return THeightGrid(frame, heights);
}

/// What the ground looks like: light from the north-west, and lines of latitude and longitude.
double Paint(const THeightSurface& terrain, double lat, double lon, double h) {
  const double metresPerLon = kMetresPerDegree * std::cos(lat * kPi / 180.0);
  const double east = (terrain.GetHeight(lat, lon + 3e-4) - h) / (3e-4 * metresPerLon);
  const double north = (terrain.GetHeight(lat + 2e-4, lon) - h) / (2e-4 * kMetresPerDegree);
  const double light = (1.0 + 0.8 * (east - north)) / std::sqrt(1.0 + east * east + north * north);
  const auto near = [](double value, double step, double metres) {
    return std::fabs(value - step * std::nearbyint(value / step)) * metres < 35.0;
  };
  const bool line = near(lat, 0.01, kMetresPerDegree) || near(lon, 0.015, metresPerLon);
  return line ? 20.0 : std::clamp(155.0 * light, 45.0, 250.0);
}

/// Nine rays a pixel, as an image of grey values that GDAL reads.
bool Simulate(const TRPC& model, const THeightSurface& terrain, int size, const std::string& path) {
  const TTerrainLocator locator(model, terrain);
  std::vector<double> line(std::size_t(3 * size)), sample(line.size());
  std::vector<TTerrainSolution> found(line.size());
  std::vector<unsigned char> pixels;
  for (int row = 0; row < size; ++row) {
    std::vector<double> sums(std::size_t(size), 0.0);
    for (int part = 0; part < 3; ++part) {
      for (std::size_t i = 0; i < line.size(); ++i) {
        line[i] = row + (part - 1) / 3.0;
        sample[i] = (double(i) - 1.0) / 3.0;
      }
      locator.LocateArray(line.size(), line.data(), sample.data(), found.data());
      for (std::size_t i = 0; i < line.size(); ++i) {
        if (!found[i]) return false;
        sums[i / 3] += Paint(terrain, found[i].lat, found[i].lon, found[i].h) / 9.0;
      }
    }
    for (const double sum : sums) pixels.push_back(static_cast<unsigned char>(sum));
  }
  std::FILE* const file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) return false;
  std::fprintf(file, "P5\n%d %d\n255\n", size, size);
  const bool written = std::fwrite(pixels.data(), 1, pixels.size(), file) == pixels.size();
  return std::fclose(file) == 0 && written;
}

}  // namespace

int main() {
  constexpr int kSize = 400;
  TRPCFile file;
  if (!ReadRPCFile(ORBMATH_EXAMPLES_DATA "/pushbroom_left.RPB", &file, nullptr)) return 1;
  // The shipped scene of 16,000 pixels, forty times coarser.
  TRPCData record;
  if (!CropRPC(file.record, {-0.5, -0.5, kSize / 16000.0}, &record)) return 1;
  const TRPC model(record);
  const THeightGrid terrain = MakeTerrain(model);
  if (!Simulate(model, terrain, kSize, "orthoimage_scene.pgm")) return 1;

  TOrthoOptions options;
  // Latitudes and longitudes as a plane in which pixels are square.
  options.frame.crs = "+proj=eqc +lat_ts=47.3 +lon_0=8.5 +datum=WGS84";
  options.frame.resolution = 28.0;
  options.format = "PNG";
  options.noData = 255.0;
  const TConstantHeight flat(300.0);
  const struct {
    const THeightSurface& surface;
    const char* output;
  } maps[] = {{flat, "orthoimage_flat.png"}, {terrain, "orthoimage.png"}};
  for (const auto& map : maps) {
    const TOrthoResult result = Orthorectify({"orthoimage_scene.pgm", map.output, &model, &map.surface}, options);
    std::printf("%s: %s, %d x %d pixels\n", map.output, result.sentence.c_str(), result.frame.columns,
                result.frame.rows);
    if (!result) return 1;
  }
  return 0;
}
