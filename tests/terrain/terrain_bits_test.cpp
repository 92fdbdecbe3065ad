// Where lines of sight meet a grid has the same bits on every processor.

#include <gtest/gtest.h>

#include "rpc/models.h"
#include "support/portable_bits.h"
#include "terrain/scenes.h"
#include "terrain/terrain_locator.h"

namespace SatCommonUtils {
namespace {

using namespace orbmath_test;

TEST(TerrainBits, OfCrossings) {
  const struct {
    THeightInterpolation interpolation;
    std::uint64_t hash;
  } rows[] = {{THeightInterpolation::Bilinear, 0x1e0b8d6bd3f89e0eu},
              {THeightInterpolation::Bicubic, 0xd4e8a1637be70fb7u}};
  const TRPC model = CameraModel(1.4, 0.4);
  for (const auto& row : rows) {
    Lehmer numbers;
    THeightGridFrame frame;
    frame.columns = 201;
    frame.rows = 161;
    const double transform[] = {1.3, 0.001, 0.0, 43.68, 0.0, -0.001};
    std::copy(transform, transform + 6, frame.transform);
    frame.interpolation = row.interpolation;
    // A slope with rough ground on it.
    const std::vector<double> posts = Posts(frame, [&](double lat, double lon) {
      return 240.0 + 3000.0 * (lat - 43.6) - 1500.0 * (lon - 1.4) + 25.0 * numbers.Next();
    });
    const THeightGrid grid(frame, posts);
    const TTerrainLocator locator(model, grid);
    std::vector<double> values;
    for (int i = 0; i < 400; ++i) {
      const double line = 7000.0 + 6000.0 * numbers.Next();
      const TTerrainSolution found = locator.Locate(line, 6000.0 + 5000.0 * numbers.Next());
      values.insert(values.end(), {found.lat, found.lon, found.h, found.residual, static_cast<double>(found.state)});
    }
    EXPECT_TRUE(HasHash(values, row.hash)) << "row " << &row - rows;
  }
}

}  // namespace
}  // namespace SatCommonUtils
