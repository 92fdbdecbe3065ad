// Height grids: values between posts, voids, edges, bounds, tiles.

#include "terrain/height_grid.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>

#include "frame/zxstd/message.h"
#include "support/random.h"
#include "terrain/scenes.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::CutTiles;
using orbmath_test::Frame;
using orbmath_test::kNaN;
using orbmath_test::Mountain;
using orbmath_test::Posts;
using orbmath_test::Random;

/// Rounding of heights of some 1,000 m after some ten operations.
constexpr double kRounding = 1e-9;

/// Three columns at longitudes 10, 11, 12 and three rows at latitudes 50, 49, 48.
THeightGridFrame SmallFrame() {
  THeightGridFrame frame;
  frame.columns = 3;
  frame.rows = 3;
  const double transform[] = {10.0, 1.0, 0.0, 50.0, 0.0, -1.0};
  std::copy_n(transform, 6, frame.transform);
  return frame;
}

TEST(HeightGrid, InterpolatesBetweenKnownPostsOnly) {
  // The post at (48, 12) is void: by the nodata value, which is no usual one, and by NaN alike.
  for (const double missing : {-32678.0, kNaN}) {
    const THeightGrid grid(SmallFrame(), {1.0, 2.0, 4.0, 3.0, 8.0, 6.0, 5.0, 7.0, missing}, -32678.0);
    const struct {
      double lat, lon, h;
    } cases[] = {
        {50.0, 10.0, 1.0},     {49.5, 10.5, 3.5},    {49.75, 10.5, 2.5},   {48.0, 10.0, 5.0},  {49.5, 12.0, 5.0},
        {48.5, 10.25, 4.875},  {49.75, 371.0, 3.5},  {49.75, -349.0, 3.5}, {48.5, 11.5, kNaN}, {48.0, 12.0, kNaN},
        {50.0001, 11.0, kNaN}, {49.0, 9.9999, kNaN}, {kNaN, 11.0, kNaN},
    };
    for (const auto& c : cases) {
      SCOPED_TRACE(testing::Message() << c.lat << " " << c.lon);
      const double h = grid.GetHeight(c.lat, c.lon);
      if (std::isnan(c.h))
        EXPECT_TRUE(std::isnan(h)) << h;
      else
        EXPECT_NEAR(h, c.h, kRounding);
    }
  }
}

TEST(HeightGrid, PixelsCountFromTheirCornersWhenTheyAreAreas) {
  THeightGridFrame frame = SmallFrame();
  frame.pixelIsArea = true;
  const THeightGrid grid(frame, {1.0, 2.0, 4.0, 3.0, 8.0, 6.0, 5.0, 7.0, 9.0});
  EXPECT_NEAR(grid.GetHeight(49.5, 10.5), 1.0, kRounding);
  EXPECT_NEAR(grid.GetHeight(49.0, 11.0), 3.5, kRounding);
  EXPECT_TRUE(std::isnan(grid.GetHeight(50.0, 10.0)));
}

TEST(HeightGrid, FillsVoidsAndTheOutsideWhereAskedTo) {
  THeightGridFrame frame = SmallFrame();
  frame.voidHeight = 20.0;
  const THeightGrid grid(frame, {1.0, 2.0, 4.0, 3.0, 8.0, 6.0, 5.0, 7.0, kNaN});
  EXPECT_NEAR(grid.GetHeight(48.5, 11.5), (8.0 + 6.0 + 7.0 + 20.0) / 4.0, kRounding);
  EXPECT_EQ(grid.GetHeight(30.0, -80.0), 20.0);
  EXPECT_FALSE(grid.GetRange({40.0, 0.0, 60.0, 20.0}).voids);
}

TEST(HeightGrid, BicubicReproducesQuadraticsAndKeepsItsPosts) {
  // Keys' kernel with a = -1/2 is exact for polynomials of second degree.
  const auto quadratic = [](double lat, double lon) {
    const double y = (lat - 45.0) * 1000.0;
    const double x = (lon - 7.0) * 1000.0;
    return 500.0 + 3.0 * x - 2.0 * y + 0.05 * x * x - 0.02 * x * y + 0.03 * y * y;
  };
  THeightGridFrame frame = Frame(60, 50);
  frame.interpolation = THeightInterpolation::Bicubic;
  const THeightGrid grid(frame, Posts(frame, quadratic));
  Random random("bicubic");
  for (int i = 0; i < 200; ++i) {
    const double lat = 45.05 - 0.0004 * random.Uniform(1.0, 48.0);
    const double lon = 6.94 + 0.0005 * random.Uniform(1.0, 58.0);
    EXPECT_NEAR(grid.GetHeight(lat, lon), quadratic(lat, lon), 1e-8);
  }
  // In the outermost cells the missing posts are continued linearly: the posts stay, the curvature goes.
  EXPECT_NEAR(grid.GetHeight(45.05, 6.94), quadratic(45.05, 6.94), 1e-8);
  EXPECT_NEAR(grid.GetHeight(45.05, 6.94025), quadratic(45.05, 6.94025), 0.1);
}

TEST(HeightGrid, AGridAroundTheEarthIsClosed) {
  // The second one has its first column once more at its end.
  for (const int columns : {8, 9}) {
    SCOPED_TRACE(columns);
    THeightGridFrame frame;
    frame.columns = columns;
    frame.rows = 3;
    const double transform[] = {-180.0, 45.0, 0.0, 90.0, 0.0, -90.0};
    std::copy_n(transform, 6, frame.transform);
    std::vector<double> heights;
    for (int i = 0; i < 3 * columns; ++i) heights.push_back(i % columns % 8);
    const THeightGrid grid(frame, heights);
    for (const double lon : {157.5, -202.5, 517.5}) EXPECT_NEAR(grid.GetHeight(0.0, lon), 3.5, kRounding);
    EXPECT_NEAR(grid.GetHeight(10.0, 123.75), 6.75, kRounding);
    EXPECT_NEAR(grid.GetHeight(-90.0, 180.0), 0.0, kRounding);
    const THeightRange range = grid.GetRange({-10.0, 170.0, 10.0, 190.0});
    EXPECT_TRUE(!range.voids && range.lowest <= 0.0 && range.highest >= 7.0);
    EXPECT_EQ(grid.GetPeriod(), 8);
    // A box over the seam needs the tiles on both of its sides, not those all around the Earth.
    const auto tiles = std::make_shared<CutTiles>(frame, heights, 2);
    EXPECT_EQ(THeightGrid(frame, tiles).GetRange({1.0, 170.0, 10.0, 190.0}).highest, 7.0);
    EXPECT_EQ(tiles->made, 2);
  }
}

TEST(HeightGrid, BoundsReachAroundTheEarth) {
  // Columns at -170, -130 ... 110: the box lies over the gap between the last and the first, and over the latter.
  THeightGridFrame frame = SmallFrame();
  const double transform[] = {-170.0, 40.0, 0.0, 50.0, 0.0, -1.0};
  std::copy_n(transform, 6, frame.transform);
  frame.columns = 8;
  std::vector<double> heights(24, 5.0);
  for (std::size_t row = 0; row < 3; ++row) heights[8 * row] = 900.0;
  const THeightGrid grid(frame, heights);
  ASSERT_EQ(grid.GetHeight(49.0, 190.0), 900.0);
  for (const double turn : {0.0, -360.0}) {
    const THeightRange range = grid.GetRange({48.5, 140.0 + turn, 49.5, 195.0 + turn});
    EXPECT_TRUE(range.voids && range.highest >= 900.0) << range.highest;
  }
}

TEST(HeightGrid, BoundsHoldAllHeightsInABox) {
  Random random("bounds");
  for (const auto interpolation : {THeightInterpolation::Bilinear, THeightInterpolation::Bicubic}) {
    THeightGridFrame frame = Frame(70, 45);
    frame.interpolation = interpolation;
    std::vector<double> posts = Posts(frame, [&](double, double) { return random.Uniform(0.0, 1000.0); });
    for (int i = 0; i < 30; ++i) posts[random.Index(posts.size())] = kNaN;
    const THeightGrid grid(frame, posts);
    for (int box = 0; box < 300; ++box) {
      const double south = random.Uniform(45.03, 45.05);
      const double west = random.Uniform(6.935, 6.975);
      const TTerrainBox edges = {south, west, south + random.Uniform(0.0, 0.003), west + random.Uniform(0.0, 0.003)};
      const THeightRange range = grid.GetRange(edges);
      for (int i = 0; i < 20; ++i) {
        const double h =
            grid.GetHeight(random.Uniform(edges.south, edges.north), random.Uniform(edges.west, edges.east));
        if (std::isnan(h))
          EXPECT_TRUE(range.voids);
        else
          EXPECT_TRUE(h >= range.lowest && h <= range.highest) << h;
      }
    }
  }
}

TEST(HeightGrid, TilesGiveTheHeightsOfTheWholeWithinTheirMemory) {
  THeightGridFrame frame = Frame();
  frame.interpolation = THeightInterpolation::Bicubic;
  const THeightGrid whole(frame, Posts(frame, Mountain));
  const auto source = std::make_shared<CutTiles>(frame, Posts(frame, Mountain), 32);
  const std::size_t tileBytes = source->GetTile(0, 0)->GetBytes();
  const auto cache = std::make_shared<THeightTileCache>(source, 5 * tileBytes);
  const THeightGrid tiled(frame, cache);
  Random random("tiles");
  source->made = 0;
  for (int i = 0; i < 2000; ++i) {
    const double lat = random.Uniform(44.949, 45.051);
    const double lon = random.Uniform(6.939, 7.081);
    const double a = whole.GetHeight(lat, lon);
    const double b = tiled.GetHeight(lat, lon);
    EXPECT_TRUE(a == b || (std::isnan(a) && std::isnan(b))) << a << " " << b;
    EXPECT_LE(cache->GetBytes(), 5 * tileBytes + 5 * 100);
  }
  EXPECT_GT(source->made, 500) << "72 tiles, of which few are kept, at random places";
  const THeightTileCache enough(source, 1000 * tileBytes);
  source->made = 0;
  for (int i = 0; i < 100; ++i) enough.GetTile(i % 4, i % 3);
  EXPECT_EQ(source->made, 12);
}

TEST(HeightGrid, RefusesFramesThatAreNone) {
  THeightGridFrame frame = SmallFrame();
  EXPECT_THROW(THeightGrid(frame, std::vector<double>(8)), TZxMessage);
  frame.transform[5] = 0.0;
  EXPECT_THROW(THeightGrid(frame, std::vector<double>(9)), TZxMessage);
  frame = SmallFrame();
  frame.rows = 1;
  EXPECT_THROW(THeightGrid(frame, std::vector<double>(3)), TZxMessage);
  EXPECT_THROW(THeightSum(nullptr, std::make_shared<TConstantHeight>(1.0)), TZxMessage);
}

TEST(HeightSurface, SumsAndFillsPointByPoint) {
  const auto grid =
      std::make_shared<THeightGrid>(SmallFrame(), std::vector<double>{1.0, 2.0, 4.0, 3.0, 8.0, 6.0, 5.0, 7.0, kNaN});
  const auto geoid = std::make_shared<TConstantHeight>(50.0);
  const THeightSum sum(grid, geoid);
  EXPECT_NEAR(sum.GetHeight(49.5, 10.5), 53.5, kRounding);
  EXPECT_TRUE(std::isnan(sum.GetHeight(48.5, 11.5)));
  const THeightRange range = sum.GetRange({49.1, 10.1, 49.9, 10.9});
  EXPECT_TRUE(range.lowest <= 51.0 && range.highest >= 58.0);
  const TFirstKnownHeight filled(grid, geoid);
  EXPECT_NEAR(filled.GetHeight(49.5, 10.5), 3.5, kRounding);
  EXPECT_EQ(filled.GetHeight(48.5, 11.5), 50.0);
  EXPECT_EQ(filled.GetRange({48.1, 11.1, 48.9, 11.9}).highest, 50.0);
}

}  // namespace
}  // namespace SatCommonUtils
