#include "geometry/polygon.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "support/bits.h"
#include "support/random.h"

namespace SatCommonUtils {
namespace {

const TPolygon& Square() {
  static const TPolygon polygon({{0, 0}, {10, 0}, {10, 10}, {0, 10}});
  return polygon;
}

TEST(Polygon, IsTrueFromThreeVerticesOn) {
  std::vector<xy_d> vertices;
  for (int count = 0; count < 5; ++count) {
    EXPECT_EQ(static_cast<bool>(TPolygon(vertices)), count > 2) << count;
    vertices.emplace_back(count, count * count);
  }
}

TEST(Polygon, ContainsItsBoundaryAndItsInside) {
  // A non-convex ring with a spike downwards to (5, 2) and an edge on y = 5.
  const TPolygon ring({{0, 0}, {10, 0}, {10, 10}, {5, 2}, {2, 5}, {0, 5}});
  const double below = std::nextafter(0.0, -1.0);
  const struct {
    xy_d point;
    bool inside;
    const char* what;
  } cases[] = {
      {{1, 1}, true, "inside"},
      {{5, 1.9}, true, "under the notch"},
      {{5, 2}, true, "notch vertex"},
      {{5, 3}, false, "in the notch"},
      {{0, 0}, true, "vertex"},
      {{10, 10}, true, "topmost vertex"},
      {{1, 5}, true, "on the horizontal edge"},
      {{3, 5}, false, "on its prolongation"},
      {{-1, 5}, false, "left, at the height of a vertex"},
      {{11, 0}, false, "right, at the height of an edge"},
      {{7.5, 6}, true, "on the slanted edge"},
      {{5, below}, false, "a step below the edge"},
      {{NAN, 1}, false, "no number"},
  };
  for (const auto& c : cases) EXPECT_EQ(ring.Contains(c.point), c.inside) << c.what;
  EXPECT_FALSE(TPolygon({{0, 0}, {1, 1}}).Contains({0, 0})) << "a segment contains nothing";
}

// 0.1 (1, 3) does not lie on the double line through the rounded vertices; a plain determinant calls many such points
// collinear. Every point is on exactly one side of the diagonal, so the two halves of a square cover it once.
TEST(Polygon, HalvesOfASquareShareOnlyTheDiagonal) {
  const xy_d a(0.1, 0.1);
  const xy_d c(24.3, 24.2);
  const TPolygon lower({a, {24.3, 0.1}, c});
  const TPolygon upper({a, c, {0.1, 24.2}});
  int on_both = 0;
  for (int i = 0; i < 64; ++i) {
    for (int j = 0; j < 64; ++j) {
      const xy_d p(12.0 + i * DBL_EPSILON * 8, 11.95 + j * DBL_EPSILON * 8);
      const bool in_lower = lower.Contains(p);
      const bool in_upper = upper.Contains(p);
      EXPECT_TRUE(in_lower || in_upper) << i << ' ' << j;
      on_both += in_lower && in_upper;
    }
  }
  EXPECT_LE(on_both, 64) << "at most one point of a column lies on the line";
}

TEST(Polygon, AreaIsSignedAndBoxHoldsTheVertices) {
  EXPECT_EQ(Square().GetSignedArea(), 100.0);
  EXPECT_EQ(TPolygon({{0, 0}, {0, 10}, {10, 10}, {10, 0}}).GetSignedArea(), -100.0);
  EXPECT_EQ(TPolygon({{0, 0}, {10, 10}, {10, 0}, {0, 10}}).GetSignedArea(), 0.0) << "two triangles of opposite sense";
  EXPECT_EQ(TPolygon({{0, 0}, {1, 1}}).GetSignedArea(), 0.0);
  EXPECT_EQ(TPolygon({{1e8, 1e8}, {1e8 + 1, 1e8}, {1e8 + 1, 1e8 + 1}}).GetSignedArea(), 0.5) << "far from the origin";

  xy_d low(7, 7);
  xy_d high(7, 7);
  EXPECT_FALSE(TPolygon().GetBoundingBox(&low, &high));
  EXPECT_FALSE(TPolygon({{NAN, 1}, {NAN, 2}}).GetBoundingBox(&low, &high));
  EXPECT_TRUE(low == xy_d(7, 7) && high == xy_d(7, 7));
  EXPECT_TRUE(TPolygon({{NAN, 3}, {-2, 1}, {4, -5}}).GetBoundingBox(&low, &high));
  EXPECT_TRUE(low == xy_d(-2, -5) && high == xy_d(4, 3));
}

TEST(Polygon, DistanceToTheBoundary) {
  const struct {
    TPolygon polygon;
    xy_d point;
    double distance;
  } cases[] = {
      {Square(), {5, 4}, 4},
      {Square(), {5, -3}, 3},
      {Square(), {13, 14}, 5},
      {Square(), {0, 10}, 0},
      {Square(), {10, 3}, 0},
      {TPolygon({{1, 1}}), {4, 5}, 5},
      {TPolygon({{0, 0}, {4, 0}}), {2, 2}, 2},
      {TPolygon(), {0, 0}, std::numeric_limits<double>::infinity()},
  };
  for (const auto& c : cases) EXPECT_EQ(c.polygon.GetDistanceToBoundary(c.point), c.distance) << c.polygon.GetString();
}

TEST(Polygon, SimpleOrNot) {
  const struct {
    TPolygon polygon;
    bool simple;
    const char* what;
  } cases[] = {
      {Square(), true, "square"},
      {TPolygon({{0, 0}, {4, 0}, {1, 1}, {0, 4}}), true, "non-convex"},
      {TPolygon({{0, 0}, {2, 0}, {4, 0}, {4, 4}}), true, "a vertex in the middle of an edge"},
      {TPolygon({{0, 0}, {4, 4}, {4, 0}, {0, 4}}), false, "bow-tie"},
      {TPolygon({{0, 0}, {4, 0}, {4, 4}, {2, 0}}), false, "a vertex touches another edge"},
      {TPolygon({{0, 0}, {4, 0}, {2, 0}}), false, "flat"},
      {TPolygon({{0, 0}, {4, 0}, {4, 0}, {0, 4}}), false, "vertex twice"},
      {TPolygon({{0, 0}, {4, 0}, {INFINITY, 4}}), false, "infinite"},
      {TPolygon({{0, 0}, {4, 0}}), false, "two vertices"},
  };
  for (const auto& c : cases) EXPECT_EQ(c.polygon.IsSimple(), c.simple) << c.what;
}

}  // namespace
}  // namespace SatCommonUtils
