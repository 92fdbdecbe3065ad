// Where pixels lie on a mountain, and what it hides: a grid of heights, the first crossing of a line of sight and those
// behind it.

#include <cmath>
#include <cstdio>
#include <vector>

#include "rpc/rpc_file.h"
#include "rpc/rpc_model.h"
#include "terrain/height_grid.h"
#include "terrain/terrain_locator.h"

using namespace SatCommonUtils;

int main() {
  TRPCFile file;
  TRPCFileError error;
  if (!ReadRPCFile(ORBMATH_EXAMPLES_DATA "/pushbroom_left.RPB", &file, &error)) {
    std::printf("%s\n", error.GetText().c_str());
    return 1;
  }
  const TRPC model(file.record, nullptr);

  // A peak in the middle of the image, on posts 0.001 degrees apart.
  THeightGridFrame frame;
  frame.columns = 601;
  frame.rows = 601;
  frame.transform[0] = model.GetCenterLongitude() - 0.3;
  frame.transform[1] = 0.001;
  frame.transform[3] = model.GetCenterLatitude() + 0.3;
  frame.transform[5] = -0.001;
  std::vector<double> heights;
  for (int row = 0; row < frame.rows; ++row) {
    for (int column = 0; column < frame.columns; ++column) {
      const double y = (row - 300) * 111.0;
      const double x = (column - 300) * 80.0;
      heights.push_back(200.0 + 600.0 * std::exp(-(x * x + y * y) / 4e6));
    }
  }
  const THeightGrid terrain(frame, heights);

  const TTerrainLocator locator(model, terrain);
  const double line = model.GetCenterLine();
  const double sample = model.GetCenterSample();
  const TTerrainSolution point = locator.Locate(line, sample);
  if (!point) {
    std::printf("%s\n", DescribeTerrainState(point.state));
    return 1;
  }
  std::printf("line %.1f sample %.1f: lat %.8f lon %.8f height %.3f m, residual %.1e px\n", line, sample, point.lat,
              point.lon, point.h, point.residual);
  std::printf("crossings of the line of sight: %zu\n", locator.LocateAll(line, sample).size());
  const bool right = std::fabs(terrain.GetHeight(point.lat, point.lon) - point.h) < 1e-4 &&
                     locator.GetVisibility(point.lat, point.lon, point.h) == TVisibility::Visible &&
                     locator.GetVisibility(point.lat, point.lon, point.h - 50.0) == TVisibility::Hidden;
  return right ? 0 : 1;
}
