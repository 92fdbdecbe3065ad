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

// 0.1 (1, 3) does not lie on the double line through the rounded vertices; a plain determinant calls many such points
// collinear. Every point is on exactly one side of the diagonal, so the two halves of a square cover it once.
TEST(Polygon, HalvesOfASquareShareOnlyTheDiagonal) {
  const xy_d a(0.1, 0.1), c(24.3, 24.2);
  int on_both = 0;
  const TPolygon lower({a, {24.3, 0.1}, c});
  const TPolygon upper({a, c, {0.1, 24.2}});
  for (int i = 0; i < 64; ++i) {
    for (int j = 0; j < 64; ++j) {
      const xy_d p(12.0 + i * DBL_EPSILON * 8, 11.95 + j * DBL_EPSILON * 8);
      EXPECT_TRUE(lower.Contains(p) || upper.Contains(p)) << i << ' ' << j;
      on_both += lower.Contains(p) && upper.Contains(p);
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

  xy_d low(7, 7), high(7, 7);
  EXPECT_FALSE(TPolygon().GetBoundingBox(&low, &high));
  EXPECT_FALSE(TPolygon({{NAN, 1}, {NAN, 2}}).GetBoundingBox(&low, &high));
  EXPECT_TRUE(low == xy_d(7, 7) && high == xy_d(7, 7));
  EXPECT_TRUE(TPolygon({{NAN, 3}, {-2, 1}, {4, -5}}).GetBoundingBox(&low, &high));
  EXPECT_TRUE(low == xy_d(-2, -5) && high == xy_d(4, 3));
}

// A non-convex ring with a notch down to (5, 2) and an edge on y = 5; points inside, outside, on every kind of
// boundary, at the heights of vertices and edges, and one step below an edge.
TEST(Polygon, ContainsItsBoundaryAndItsInside) {
  const TPolygon ring({{0, 0}, {10, 0}, {10, 10}, {5, 2}, {2, 5}, {0, 5}});
  const xy_d inside[] = {{1, 1}, {5, 1.9}, {5, 2}, {0, 0}, {10, 10}, {1, 5}, {7.5, 6}};
  const xy_d outside[] = {{5, 3},   {3, 5},  {-1, 5}, {11, 0}, {-1, 0}, {5, std::nextafter(0.0, -1.0)},
                          {NAN, 1}, {1, NAN}};
  for (const xy_d& p : inside) EXPECT_TRUE(ring.Contains(p)) << p.x << ' ' << p.y;
  for (const xy_d& p : outside) EXPECT_FALSE(ring.Contains(p)) << p.x << ' ' << p.y;
  EXPECT_FALSE(TPolygon({{0, 0}, {1, 1}}).Contains({0, 0})) << "a segment contains nothing";
}

TEST(Polygon, DistanceToTheBoundary) {
  const xy_d points[] = {{5, 4}, {5, -3}, {13, 14}, {0, 10}, {10, 3}};
  const double distances[] = {4, 3, 5, 0, 0};
  for (int i = 0; i < 5; ++i) EXPECT_EQ(Square().GetDistanceToBoundary(points[i]), distances[i]) << i;
  EXPECT_EQ(TPolygon({{1, 1}}).GetDistanceToBoundary({4, 5}), 5);
  EXPECT_EQ(TPolygon({{0, 0}, {4, 0}}).GetDistanceToBoundary({2, 2}), 2);
  EXPECT_EQ(TPolygon().GetDistanceToBoundary({0, 0}), std::numeric_limits<double>::infinity());
}

TEST(Polygon, SimpleOrNot) {
  const char* const simple[] = {"(0;0)(4;0)(4;4)(0;4)", "(0;0)(4;0)(1;1)(0;4)", "(0;0)(2;0)(4;0)(4;4)"};
  // A bow-tie, a vertex on another edge, a flat ring, a vertex twice, an infinite vertex, two vertices.
  const char* const others[] = {"(0;0)(4;4)(4;0)(0;4)", "(0;0)(4;0)(4;4)(2;0)", "(0;0)(4;0)(2;0)",
                                "(0;0)(4;0)(4;0)(0;4)", "(0;0)(4;0)(inf;4)",    "(0;0)(4;0)"};
  TPolygon polygon;
  for (const char* text : simple) EXPECT_TRUE(polygon.InitializeFromText(text) && polygon.IsSimple()) << text;
  for (const char* text : others) EXPECT_TRUE(polygon.InitializeFromText(text) && !polygon.IsSimple()) << text;
  EXPECT_FALSE(static_cast<bool>(polygon)) << "two vertices";
}

}  // namespace
}  // namespace SatCommonUtils
