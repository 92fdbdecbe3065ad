// Where lines of sight meet the terrain: on a mountain against a scan of the line, at voids, edges and cliffs, one by
// one and in arrays.

#include "terrain/terrain_locator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <numeric>

#include "frame/zxstd/threads.h"
#include "rpc/ground_solution.h"
#include "support/bits.h"
#include "support/random.h"
#include "terrain/scenes.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::CutTiles;
using orbmath_test::Formula;
using orbmath_test::Frame;
using orbmath_test::GentleHills;
using orbmath_test::kMetresPerDegree;
using orbmath_test::kNaN;
using orbmath_test::Mountain;
using orbmath_test::Posts;
using orbmath_test::Random;
using orbmath_test::SameBits;
using orbmath_test::TiltedModel;

/// What a point on the terrain may be off, metres.
constexpr double kMillimetre = 1e-3;
/// What a result may miss its image point by, pixels.
constexpr double kResidual = 1e-7;

/// Metres between two ground points.
double Distance(const TTerrainSolution& a, double lat, double lon, double h) {
  return std::hypot((a.lat - lat) * kMetresPerDegree, (a.lon - lon) * kMetresPerDegree * 0.7071, a.h - h);
}

/// The crossings from above of the straight line of sight of a model without bend, by steps of 0.25 m downwards and
/// halving: nothing of the library but the surface's heights.
std::vector<double> Scan(const TRPC& model, const THeightSurface& surface, double line, double sample) {
  double lat0, lon0, lat1, lon1;
  model.CalculateLatLon(line, sample, 0.0, &lat0, &lon0);
  model.CalculateLatLon(line, sample, 2000.0, &lat1, &lon1);
  const auto clearance = [&](double h) {
    const double part = h / 2000.0;
    return h - surface.GetHeight(lat0 + part * (lat1 - lat0), lon0 + part * (lon1 - lon0));
  };
  constexpr double kStep = 0.25;
  std::vector<double> crossings;
  double above = kNaN;
  for (double h = 2300.0; h > 400.0; h -= kStep) {
    const double here = clearance(h);
    if (above >= 0.0 && here < 0.0) {
      double high = h + kStep;
      double low = h;
      while (high - low > 1e-9) {
        const double middle = 0.5 * (high + low);
        (clearance(middle) >= 0.0 ? high : low) = middle;
      }
      crossings.push_back(high);
    }
    above = here;
  }
  return crossings;
}

TEST(TerrainLocator, TenThousandPixelsOfAMountainHitTheFirstOfSeveralCrossings) {
  const auto formula = std::make_shared<Formula>(Mountain, 4.0 * kMetresPerDegree);
  const auto bilinear = std::make_shared<THeightGrid>(Frame(), Posts(Frame(), Mountain));
  THeightGridFrame frame = Frame();
  frame.interpolation = THeightInterpolation::Bicubic;
  const auto bicubic = std::make_shared<THeightGrid>(frame, Posts(frame, Mountain));
  const auto base = std::make_shared<Formula>([](double lat, double lon) { return 50.0 + 3.0 * lat + lon; }, 10.0);
  const auto sum = std::make_shared<THeightSum>(bilinear, base);
  // Nowhere steeper than the lines of sight, which are solved many at a time.
  const auto gentle = std::make_shared<THeightGrid>(Frame(), Posts(Frame(), GentleHills));
  const auto gentleBicubic = std::make_shared<THeightGrid>(frame, Posts(frame, GentleHills));
  const auto gentleSum = std::make_shared<THeightSum>(gentle, base);
  const struct {
    const char* name;
    std::shared_ptr<THeightSurface> surface;
    double tilt;
    int points;
    int several;  ///< of them have more than one crossing, at least
  } cases[] = {{"formula", formula, 1.0, 1000, 40},
               {"formula, near nadir", formula, 0.05, 300, 0},
               {"bilinear", bilinear, 1.0, 3600, 140},
               {"gentle, bilinear", gentle, 1.0, 800, 0},
               {"gentle, bicubic", gentleBicubic, 1.2, 400, 0},
               {"gentle, sum", gentleSum, 0.8, 200, 0},
               {"bilinear, nadir", bilinear, 0.0, 700, 0},
               {"bilinear, 66 degrees", bilinear, 2.25, 1500, 400},
               {"bicubic", bicubic, 1.2, 1000, 60},
               {"sum", sum, 1.0, 500, 15}};
  int points = 0;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Random random(c.name);
    const TRPC model = TiltedModel(c.tilt);
    const TTerrainLocator locator(model, *c.surface);
    int several = 0;
    for (int i = 0; i < c.points; ++i) {
      const double line = random.Uniform(2000.0, 8000.0);
      const double sample = random.Uniform(1500.0, 6500.0);
      const std::vector<double> expected = Scan(model, *c.surface, line, sample);
      ASSERT_FALSE(expected.empty());
      const TTerrainSolution found = locator.Locate(line, sample);
      ASSERT_EQ(found.state, TTerrainState::Found) << DescribeTerrainState(found.state);
      double lat, lon;
      model.CalculateLatLon(line, sample, expected[0], &lat, &lon);
      EXPECT_LT(Distance(found, lat, lon, expected[0]), kMillimetre) << line << " " << sample;
      EXPECT_LT(found.residual, kResidual);
      several += expected.size() > 1 ? 1 : 0;
      if (i % 10 == 0) {
        const std::vector<TTerrainSolution> all = locator.LocateAll(line, sample);
        ASSERT_EQ(all.size(), expected.size());
        for (std::size_t k = 0; k < all.size(); ++k) EXPECT_NEAR(all[k].h, expected[k], kMillimetre);
      }
    }
    EXPECT_GE(several, c.several);
    points += c.points;
  }
  EXPECT_EQ(points, 10000);
}

// Ridges with one gentle and one steep side, in each of four directions: where the steep sides face the sensor a line
// meets them once, where they turn away it may pass over one and meet the next.
TEST(TerrainLocator, SteepSidesCountWhereTheyTurnAwayFromTheSensor) {
  const TRPC model = TiltedModel(1.0);
  int several = 0;
  for (const auto interpolation : {THeightInterpolation::Bilinear, THeightInterpolation::Bicubic}) {
    for (const bool north : {false, true}) {
      for (const double sign : {1.0, -1.0}) {
        const auto ridges = [&](double lat, double lon) {
          const double along = sign * (north ? lat - 45.0 : 0.7071 * (lon - 7.0)) * kMetresPerDegree / 700.0;
          const double part = along - std::floor(along);
          return 900.0 + 220.0 * (part < 0.88 ? part / 0.88 : (1.0 - part) / 0.12);
        };
        THeightGridFrame frame = Frame();
        frame.interpolation = interpolation;
        const THeightGrid grid(frame, Posts(frame, ridges));
        const TTerrainLocator locator(model, grid);
        Random random("ridges");
        for (int i = 0; i < 150; ++i) {
          const double line = random.Uniform(2000.0, 8000.0);
          const double sample = random.Uniform(1500.0, 6500.0);
          const std::vector<double> expected = Scan(model, grid, line, sample);
          ASSERT_FALSE(expected.empty());
          EXPECT_NEAR(locator.Locate(line, sample).h, expected[0], kMillimetre)
              << north << sign << line << " " << sample;
          several += expected.size() > 1 ? 1 : 0;
        }
      }
    }
  }
  EXPECT_GT(several, 30);
}

TEST(TerrainLocator, BentLinesOfSightProjectBackFromTheSurface) {
  Random random("bent");
  const TRPC model = TiltedModel(1.0, 2e-3);
  const THeightGrid grid(Frame(), Posts(Frame(), Mountain));
  const TTerrainLocator locator(model, grid);
  for (int i = 0; i < 3000; ++i) {
    // Also outside the image, where lines of sight are inverted one by one.
    const double line = random.Uniform(-1500.0, 9000.0);
    const double sample = random.Uniform(500.0, 7500.0);
    const TTerrainSolution found = locator.Locate(line, sample);
    if (!found) continue;
    double backLine, backSample;
    model.CalculateLineSample(found.lat, found.lon, found.h, &backLine, &backSample, nullptr, nullptr);
    EXPECT_LT(std::hypot(backLine - line, backSample - sample), kResidual);
    EXPECT_NEAR(found.h, grid.GetHeight(found.lat, found.lon), 1e-4);
  }
}

TEST(TerrainLocator, AGridAroundTheEarthGivesThePointsOfOneThatIsOpen) {
  const TRPC model = TiltedModel(1.0, 2e-3);
  Random random("around");
  std::vector<double> line(500), sample(500);
  for (std::size_t i = 0; i < line.size(); ++i) {
    line[i] = random.Uniform(0.0, 10000.0);
    sample[i] = random.Uniform(0.0, 8000.0);
  }
  std::vector<TTerrainSolution> of[3];
  for (int extra : {-1, 0, 1}) {  // open, closed, and closed with the first column once more at the end
    THeightGridFrame frame = Frame(36000 + extra, 12);
    const double transform[] = {-180.0, 0.01, 0.0, 45.06, 0.0, -0.01};
    std::copy_n(transform, 6, frame.transform);
    const THeightGrid grid(frame, Posts(frame, GentleHills));
    ASSERT_EQ(grid.GetPeriod(), extra < 0 ? 0 : 36000);
    std::vector<TTerrainSolution>& found = of[extra + 1];
    found.resize(line.size());
    const TTerrainLocator locator(model, grid);
    ASSERT_EQ(locator.LocateArray(line.size(), line.data(), sample.data(), found.data()), line.size());
    for (std::size_t i = 0; i < line.size(); ++i) {
      EXPECT_TRUE(SameBits(found[i].lat, of[0][i].lat) && SameBits(found[i].h, of[0][i].h)) << extra << " " << i;
    }
  }
}

/// A slope with a hole and a cliff: 500 m in the west and 1500 m east of 7.0, unknown in a square.
double Cliff(double lat, double lon) {
  if (std::fabs(lat - 45.02) < 0.0041 && std::fabs(lon - 6.99) < 0.0041) return kNaN;
  return lon < 7.0 ? 500.0 : 1500.0;
}

TEST(TerrainLocator, SaysWhatVoidsAndEdgesLeaveOpen) {
  const TRPC model = TiltedModel(0.5);
  const THeightGrid grid(Frame(), Posts(Frame(), Cliff));
  const TTerrainLocator locator(model, grid);
  const auto state = [&](double lat, double lon, double h) {
    double line, sample;
    model.CalculateLineSample(lat, lon, h, &line, &sample, nullptr, nullptr);
    return locator.Locate(line, sample);
  };
  // Plain ground, the middle of the hole, off the grid, and the cliff's wall, which the line of sight from the
  // south-west meets head on.
  EXPECT_EQ(state(45.0, 6.97, 500.0).state, TTerrainState::Found);
  EXPECT_EQ(state(45.02, 6.99, 500.0).state, TTerrainState::NoTerrain);
  EXPECT_EQ(state(45.0, 6.90, 500.0).state, TTerrainState::NoTerrain);
  EXPECT_TRUE(std::isnan(state(45.02, 6.99, 500.0).h));
  const TTerrainSolution wall = state(45.0, 6.9998, 1000.0);
  EXPECT_EQ(wall.state, TTerrainState::Found);
  EXPECT_NEAR(wall.h, grid.GetHeight(wall.lat, wall.lon), kMillimetre);
  EXPECT_EQ(locator.Locate(kNaN, 1.0).state, TTerrainState::NoLine);

  // The line comes down over the hole and meets the ground behind it.
  const double beside = 6.99 - 0.0041 - 0.0008;
  const TTerrainSolution after = state(45.02 - 0.0005, beside, 500.0);
  EXPECT_EQ(after.state, TTerrainState::FoundAfterVoid);
  EXPECT_NEAR(after.h, 500.0, kMillimetre);

  // With a height for voids there is ground everywhere.
  THeightGridFrame frame = Frame();
  frame.voidHeight = 480.0;
  const THeightGrid filled(frame, Posts(Frame(), Cliff));
  const TTerrainLocator everywhere(model, filled);
  for (const double lon : {6.99, 6.90}) {
    double line, sample;
    model.CalculateLineSample(45.02, lon, 480.0, &line, &sample, nullptr, nullptr);
    const TTerrainSolution found = everywhere.Locate(line, sample);
    EXPECT_EQ(found.state, TTerrainState::Found);
    EXPECT_NEAR(found.h, 480.0, kMillimetre);
  }

  // A surface that knows nothing here.
  const THeightGrid elsewhere(Frame(), std::vector<double>(std::size_t(281 * 251), kNaN));
  EXPECT_EQ(TTerrainLocator(model, elsewhere).Locate(5000.0, 4000.0).state, TTerrainState::NoTerrain);
}

TEST(TerrainLocator, AConstantHeightIsThePlainSolution) {
  const TRPC model = TiltedModel(0.7, 1e-3);
  const TConstantHeight sea(123.25);
  const TTerrainLocator locator(model, sea);
  const TTerrainSolution found = locator.Locate(7123.4, 2345.6);
  const TGroundSolution plain = SolveLatLon(model, 7123.4, 2345.6, 123.25);
  ASSERT_TRUE(found);
  EXPECT_LT(Distance(found, plain.lat, plain.lon, 123.25), 1e-6);
}

/// Plane coordinates turned against the meridians, in metres.
class TurnedMapping final : public TGridMapping {
 public:
  void Map(std::size_t count, const double* lat, const double* lon, double* x, double* y) const override {
    for (std::size_t i = 0; i < count; ++i) {
      const double north = (lat[i] - 45.0) * kMetresPerDegree;
      const double east = (lon[i] - 7.0) * kMetresPerDegree * (0.7071 - 0.012 * (lat[i] - 45.0));
      x[i] = 0.96 * east - 0.28 * north;
      y[i] = 0.28 * east + 0.96 * north;
    }
  }
};

TEST(TerrainLocator, AGridInItsOwnPlaneIsMetAsItsHeightsSay) {
  const TRPC model = TiltedModel(1.0, 1e-3);
  THeightGridFrame frame;
  frame.columns = 401;
  frame.rows = 381;
  const double transform[] = {-6000.0, 30.0, 0.0, 5700.0, 0.0, -30.0};
  std::copy_n(transform, 6, frame.transform);
  frame.mapping = std::make_shared<TurnedMapping>();
  std::vector<double> posts;
  posts.reserve(std::size_t(401 * 381));
  for (int i = 0; i < 401 * 381; ++i) {
    const int row = i / 401;
    posts.push_back(700.0 + 300.0 * std::sin(i % 401 * 0.11) * std::cos(row * 0.07));
  }
  const THeightGrid grid(frame, posts);
  const TTerrainLocator locator(model, grid);
  Random random("plane");
  for (int i = 0; i < 1000; ++i) {
    const double line = random.Uniform(2000.0, 8000.0);
    const double sample = random.Uniform(1500.0, 6500.0);
    const TTerrainSolution found = locator.Locate(line, sample);
    ASSERT_TRUE(found);
    EXPECT_NEAR(found.h, grid.GetHeight(found.lat, found.lon), 1e-4);
    EXPECT_LT(found.residual, kResidual);
  }
}

TEST(TerrainLocator, GivesTheSameBitsInAnyOrderAndOnAnyThreads) {
  Random random("order");
  const TRPC model = TiltedModel(1.0, 1e-3);
  std::vector<double> posts = Posts(Frame(), Mountain);
  for (int i = 0; i < 200; ++i) posts[random.Index(posts.size())] = kNaN;
  const THeightGrid grid(Frame(), posts);
  const TTerrainLocator locator(model, grid);
  constexpr std::size_t kCount = 3 * 2048 + 13;
  std::vector<double> line(kCount), sample(kCount);
  for (std::size_t i = 0; i < kCount; ++i) {
    line[i] = random.Uniform(-300.0, 10300.0);
    sample[i] = random.Uniform(-300.0, 8300.0);
  }
  line[7] = kNaN;
  std::vector<TTerrainSolution> single;
  std::size_t found = 0;
  for (std::size_t i = 0; i < kCount; ++i) {
    single.push_back(locator.Locate(line[i], sample[i]));
    found += single[i] ? 1 : 0;
  }
  std::vector<std::size_t> order(kCount);
  std::iota(order.begin(), order.end(), std::size_t{0});
  for (int threads = 1; threads <= 3; ++threads) {
    ZxSetThreadsCount(threads);
    std::vector<double> mixedLine, mixedSample;
    for (const std::size_t i : order) {
      mixedLine.push_back(line[i]);
      mixedSample.push_back(sample[i]);
    }
    std::vector<TTerrainSolution> solutions(kCount);
    EXPECT_EQ(locator.LocateArray(kCount, mixedLine.data(), mixedSample.data(), solutions.data()), found);
    for (std::size_t k = 0; k < kCount; ++k) {
      const TTerrainSolution& a = solutions[k];
      const TTerrainSolution& b = single[order[k]];
      ASSERT_EQ(a.state, b.state);
      ASSERT_TRUE(SameBits(a.lat, b.lat) && SameBits(a.lon, b.lon) && SameBits(a.h, b.h) &&
                  SameBits(a.residual, b.residual));
    }
    std::shuffle(order.begin(), order.end(), random.Engine());
  }
  ZxSetThreadsCount(0);
}

TEST(TerrainLocator, TilesGiveThePointsOfTheWhole) {
  const TRPC model = TiltedModel(1.0, 1e-3);
  const std::vector<double> posts = Posts(Frame(), GentleHills);
  const THeightGrid whole(Frame(), posts);
  const TTerrainLocator locator(model, whole);
  // A block of random points lies over many tiles of 24 cells; some squares over several.
  const THeightGrid tiled(Frame(), std::make_shared<THeightTileCache>(std::make_shared<CutTiles>(Frame(), posts, 24),
                                                                      std::size_t(1) << 24));
  const TTerrainLocator tiledLocator(model, tiled);
  Random random("tiles");
  std::vector<double> line, sample;
  for (int i = 0; i < 1000; ++i) {
    line.push_back(random.Uniform(500.0, 9500.0));
    sample.push_back(random.Uniform(500.0, 7500.0));
  }
  std::vector<TTerrainSolution> solutions(line.size());
  EXPECT_EQ(tiledLocator.LocateArray(line.size(), line.data(), sample.data(), solutions.data()), line.size());
  for (std::size_t i = 0; i < line.size(); ++i) {
    const TTerrainSolution point = locator.Locate(line[i], sample[i]);
    const TTerrainSolution one = tiledLocator.Locate(line[i], sample[i]);
    EXPECT_LT(Distance(solutions[i], point.lat, point.lon, point.h), 1e-4);
    EXPECT_TRUE(SameBits(solutions[i].h, one.h) && SameBits(solutions[i].lat, one.lat));
  }
}

TEST(TerrainLocator, AFileThatBreaksOffLeavesVoids) {
  const TRPC model = TiltedModel(0.5);
  const auto tiles = std::make_shared<CutTiles>(Frame(), Posts(Frame(), GentleHills), 16);
  const THeightGrid grid(Frame(), tiles);
  const double line[] = {2000.0, 6000.0, 5000.0}, sample[] = {3000.0, 2000.0, 5500.0};
  TTerrainSolution solutions[3];
  EXPECT_EQ(TTerrainLocator(model, grid).LocateArray(3, line, sample, solutions), 3u);
  tiles->made = 0;
  { const TTerrainLocator counted(model, grid); }
  // The last tiles that making a locator asks for are those of which it has had the bounds.
  const int asked = tiles->made;
  for (const int readable : {0, asked - 1}) {
    tiles->made = 0;
    tiles->readable = readable;
    EXPECT_EQ(TTerrainLocator(model, grid).LocateArray(3, line, sample, solutions), 0u);
    for (const TTerrainSolution& solution : solutions) EXPECT_EQ(solution.state, TTerrainState::NoTerrain);
  }
}

TEST(TerrainLocator, TellsWhatTerrainHides) {
  const TRPC model = TiltedModel(1.0);
  const auto grid = std::make_shared<THeightGrid>(Frame(), Posts(Frame(), Mountain));
  const auto formula = std::make_shared<Formula>(Mountain, 4.0 * kMetresPerDegree);
  for (const std::shared_ptr<THeightSurface>& surface :
       {std::shared_ptr<THeightSurface>(grid), std::shared_ptr<THeightSurface>(formula)}) {
    const TTerrainLocator locator(model, *surface);
    Random random("hidden");
    int hidden = 0;
    for (int i = 0; i < 400; ++i) {
      const std::vector<TTerrainSolution> all =
          locator.LocateAll(random.Uniform(2000.0, 8000.0), random.Uniform(1500.0, 6500.0));
      for (std::size_t k = 0; k < all.size(); ++k) {
        const TVisibility visibility = locator.GetVisibility(all[k].lat, all[k].lon, all[k].h);
        EXPECT_EQ(visibility, k == 0 ? TVisibility::Visible : TVisibility::Hidden);
        hidden += k > 0 ? 1 : 0;
      }
      EXPECT_EQ(locator.GetVisibility(all[0].lat, all[0].lon, all[0].h - 5.0), TVisibility::Hidden);
      EXPECT_EQ(locator.GetVisibility(all[0].lat, all[0].lon, 3000.0), TVisibility::Visible);
    }
    EXPECT_GT(hidden, 10);
  }
}

}  // namespace
}  // namespace SatCommonUtils
