// Where lines of sight meet a grid has the same bits on every processor.

#include <gtest/gtest.h>

#include <memory>

#include "rpc/models.h"
#include "rpc/rpc_boxes.h"
#include "support/portable_bits.h"
#include "terrain/scenes.h"
#include "terrain/terrain_locator.h"

namespace SatCommonUtils {
namespace {

using namespace orbmath_test;

/// Unequal numbers of columns and rows of a thousandth of a degree below the model.
THeightGridFrame FrameOfPosts(THeightInterpolation interpolation) {
  THeightGridFrame frame;
  frame.columns = 201;
  frame.rows = 161;
  const double transform[] = {1.3, 0.001, 0.0, 43.68, 0.0, -0.001};
  std::copy(transform, transform + 6, frame.transform);
  frame.interpolation = interpolation;
  return frame;
}

TEST(TerrainBits, OfCrossings) {
  const struct {
    THeightInterpolation interpolation;
    std::uint64_t hash;
  } rows[] = {{THeightInterpolation::Bilinear, 0xb5e0e68427dfe41du},
              {THeightInterpolation::Bicubic, 0x9ed9597a16e85649u}};
  const TRPC model = CameraModel(1.4, 0.4);
  for (const auto& row : rows) {
    Lehmer numbers;
    const THeightGridFrame frame = FrameOfPosts(row.interpolation);
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

/// Gentle ground with a hole and a cliff of 120 m, by arithmetic that every compiler does alike.
double GentleGround(double lat, double lon) {
  const auto wave = [](double x) {
    const double part = x - std::floor(x);
    return 16.0 * part * part * (1.0 - part) * (1.0 - part);
  };
  if (std::fabs(lat - 43.61) < 0.004 && std::fabs(lon - 1.41) < 0.006) return kNaN;
  return 180.0 + 35.0 * (wave(60.0 * lat) + wave(43.0 * lon)) + (lon > 1.43 ? 120.0 : 0.0);
}

// Most points go many at a time; holes, cliffs and the borders of cells, squares and patches are where they part.
TEST(TerrainBits, OfManyPointsAreThoseOfEachByItself) {
  const struct {
    THeightInterpolation interpolation;
    bool base;
    std::uint64_t hash;
  } rows[] = {{THeightInterpolation::Bilinear, false, 0x8269fe91372efcbu},
              {THeightInterpolation::Bicubic, false, 0xdff3286d42cc231du},
              {THeightInterpolation::Bilinear, true, 0x41acc945a1dd78u}};
  const TRPC model = CameraModel(1.4, 0.4);
  const TImageBox image = ImageBoxOf(model);
  for (const auto& row : rows) {
    const THeightGridFrame frame = FrameOfPosts(row.interpolation);
    const auto grid = std::make_shared<THeightGrid>(frame, Posts(frame, GentleGround));
    const auto geoid = std::make_shared<Formula>([](double lat, double lon) { return 3.0 * lat - 80.0 - lon; }, 10.0);
    const THeightSum sum(grid, geoid);
    const THeightSurface& surface = row.base ? static_cast<const THeightSurface&>(sum) : *grid;
    const TTerrainLocator locator(model, surface);
    std::vector<double> line, sample;
    const auto add = [&](double lat, double lon, double h) {
      line.push_back(0.0);
      sample.push_back(0.0);
      model.CalculateLineSample(lat, lon, h, &line.back(), &sample.back(), nullptr, nullptr);
    };
    Lehmer numbers;
    for (int i = 0; i < 300; ++i) {
      // Posts, borders of cells, rims of the hole and of the grid, the cliff.
      const double lat = 43.6 + 0.001 * static_cast<int>(30.0 * numbers.Next());
      const double lon = 1.4 + 0.001 * static_cast<int>(40.0 * numbers.Next());
      add(lat, lon, 250.0);
      if (std::isfinite(surface.GetHeight(lat, lon))) add(lat, lon, surface.GetHeight(lat, lon));
      const double besideHole = 43.61 + 0.005 * numbers.Next();
      add(besideHole, 1.41 + 0.007 * numbers.Next(), 250.0);
      const double alongCliff = 43.6 + 0.03 * numbers.Next();
      add(alongCliff, 1.43 + 0.002 * numbers.Next(), 300.0);
      // Borders of squares and patches: 64 squares along each side, the image and a fiftieth of it on both ends.
      line.push_back(image.line.Normalized2Initial(-1.04 + 2.08 * (i % 65) / 64.0));
      sample.push_back(image.sample.Normalized2Initial(-1.04 + 2.08 * (i % 33) / 32.0));
      line.push_back(image.line.Normalized2Initial(numbers.Next()));
      sample.push_back(image.sample.Normalized2Initial(1.1 * numbers.Next()));
    }
    std::vector<TTerrainSolution> solutions(line.size());
    locator.LocateArray(line.size(), line.data(), sample.data(), solutions.data());
    std::vector<double> values;
    for (std::size_t i = 0; i < line.size(); ++i) {
      const TTerrainSolution& many = solutions[i];
      const TTerrainSolution one = locator.Locate(line[i], sample[i]);
      ASSERT_EQ(many.state, one.state) << i;
      ASSERT_TRUE(SameBits(many.lat, one.lat) && SameBits(many.lon, one.lon) && SameBits(many.h, one.h) &&
                  SameBits(many.residual, one.residual))
          << i;
      const double height = many ? surface.GetHeight(many.lat, many.lon) : kNaN;
      if (std::isfinite(height)) {  // not on the rim of the hole, where rounding decides
        EXPECT_NEAR(many.h, height, 1e-4) << i;
        EXPECT_LT(many.residual, 1e-7) << i;
      }
      values.insert(values.end(), {many.lat, many.lon, many.h, many.residual, static_cast<double>(many.state)});
    }
    EXPECT_TRUE(HasHash(values, row.hash)) << "row " << &row - rows;
  }
}

}  // namespace
}  // namespace SatCommonUtils
