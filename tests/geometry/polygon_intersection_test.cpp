#include "geometry/polygon_intersection.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/random.h"

namespace SatCommonUtils {
namespace {

// Areas of polygons with coordinates of about 10; rounding is some 1e-14 of that.
constexpr double kAreaTolerance = 1e-9;

double AreaOf(const std::vector<TPolygon>& pieces) {
  double area = 0.0;
  for (const TPolygon& piece : pieces) area += piece.GetSignedArea();
  return area;
}

const TPolygon& Square() {
  static const TPolygon polygon({{0, 0}, {4, 0}, {4, 4}, {0, 4}});
  return polygon;
}

TEST(PolygonIntersection, KnownCases) {
  const struct {
    const char* what;
    const char* other;
    std::size_t pieces;
    double area;
  } cases[] = {
      {"itself, clockwise, started elsewhere", "(4;4)(4;0)(0;0)(0;4)", 1, 16},
      {"inside, sharing an edge in part", "(1;0)(2;0)(2;2)(1;2)", 1, 2},
      {"inside, a corner on an edge", "(0;2)(1;1)(2;2)(1;3)", 1, 2},
      {"around", "(-9;-9)(9;-9)(9;9)(-9;9)", 1, 16},
      {"beside, sharing an edge in part", "(4;1)(8;1)(8;3)(4;3)", 0, 0},
      {"touching with a corner", "(4;4)(8;4)(8;8)(4;8)", 0, 0},
      {"touching an edge with a corner", "(4;2)(6;0)(8;2)(6;4)", 0, 0},
      {"apart", "(10;0)(12;0)(12;2)(10;2)", 0, 0},
      {"octagon", "(2;-1)(5;2)(2;5)(-1;2)", 1, 14},
      {"two corners of a boomerang", "(2;-2)(8;2)(2;6)(5;2)", 2, 1.0 / 3.0},
      {"boomerang with its notch on an edge", "(0;8)(2;4)(4;8)(2;0)", 1, 4},
      {"triangle", "(0;0)(4;0)(4;4)", 1, 8},
  };
  for (const auto& c : cases) {
    TPolygon other;
    std::vector<TPolygon> pieces(3), swapped;
    ASSERT_TRUE(other.InitializeFromText(c.other));
    ASSERT_TRUE(IntersectPolygons(Square(), other, &pieces) && IntersectPolygons(other, Square(), &swapped));
    EXPECT_TRUE(pieces.size() == c.pieces && swapped.size() == c.pieces) << c.what;
    EXPECT_NEAR(AreaOf(pieces), c.area, kAreaTolerance) << c.what;
    EXPECT_NEAR(AreaOf(swapped), c.area, kAreaTolerance) << c.what;
  }
}

TEST(PolygonIntersection, RefusesWhatIsNotSimple) {
  const TPolygon bad[] = {TPolygon(), TPolygon({{0, 0}, {1, 1}}), TPolygon({{0, 0}, {4, 4}, {4, 0}, {0, 4}}),
                          TPolygon({{0, 0}, {1, 1}, {2, 2}, {3, 3}}), TPolygon({{0, 0}, {NAN, 1}, {2, 2}, {0, 2}})};
  for (const TPolygon& polygon : bad) {
    std::vector<TPolygon> pieces{Square()};
    EXPECT_FALSE(IntersectPolygons(polygon, Square(), &pieces)) << polygon.GetString();
    EXPECT_FALSE(IntersectPolygons(Square(), polygon, &pieces)) << polygon.GetString();
    EXPECT_EQ(pieces.at(0), Square());
  }
}

constexpr double kWidth = 9.0, kHeight = 5.0;

/// A random simple quadrilateral; whole coordinates of a small grid make shared edges and touching corners common.
TPolygon RandomQuadrilateral(orbmath_test::Random* random, bool whole) {
  while (true) {
    std::vector<xy_d> vertices;
    for (int i = 0; i < 4; ++i) {
      const double x = random->Uniform(0, kWidth);
      const double y = random->Uniform(0, kHeight);
      vertices.push_back(whole ? xy_d(std::floor(x), std::floor(y)) : xy_d(x, y));
    }
    TPolygon polygon(vertices);
    if (polygon.IsSimple()) return polygon;
  }
}

TEST(PolygonIntersection, HasThePointsOfBothOnce) {
  orbmath_test::Random random("PolygonIntersection");
  for (int run = 0; run < 4000; ++run) {
    const TPolygon a = RandomQuadrilateral(&random, run % 2 == 0);
    const TPolygon b = RandomQuadrilateral(&random, run % 2 == 0);
    std::vector<TPolygon> pieces;
    ASSERT_TRUE(IntersectPolygons(a, b, &pieces));
    for (const TPolygon& piece : pieces) {
      ASSERT_TRUE(piece.IsSimple() && piece.GetSignedArea() > 0.0) << a.GetString() << ' ' << b.GetString();
    }
    for (int i = 0; i < 50; ++i) {
      const xy_d point(random.Uniform(0, kWidth), random.Uniform(0, kHeight));
      const auto holds = [&](const TPolygon& piece) { return piece.Contains(point); };
      ASSERT_EQ(std::count_if(pieces.begin(), pieces.end(), holds), a.Contains(point) && b.Contains(point))
          << a.GetString() << ' ' << b.GetString() << ' ' << point.x << ' ' << point.y;
    }
  }
}

// A quadrilateral and the same one turned by a rounding error share all edges but for slivers.
TEST(PolygonIntersection, EdgesSharedUpToRoundingLeaveNoSlivers) {
  orbmath_test::Random random("PolygonIntersectionSlivers");
  for (int run = 0; run < 1000; ++run) {
    const TPolygon a = RandomQuadrilateral(&random, false);
    std::vector<xy_d> moved = a.GetVertices();
    for (xy_d& v : moved) v = {v.x * (1 + random.Uniform(-4e-16, 4e-16)), v.y * (1 + random.Uniform(-4e-16, 4e-16))};
    std::vector<TPolygon> pieces;
    ASSERT_TRUE(IntersectPolygons(a, TPolygon(moved), &pieces));
    ASSERT_EQ(pieces.size(), 1u) << a.GetString();
    ASSERT_NEAR(pieces[0].GetSignedArea(), std::fabs(a.GetSignedArea()), kAreaTolerance) << a.GetString();
  }
}

// A footprint, in degrees, and itself a little off, moved as a whole or corner by corner: one piece that has lost no
// more than a strip along its boundary. Merging points by a tolerance gave no piece at all for some.
TEST(PolygonIntersection, NearlyCoincidentQuadrilateralsHaveTheirAreaInCommon) {
  orbmath_test::Random random("PolygonIntersectionNearlyCoincident");
  for (const double offset : {0.0, 1e-15, 1e-14, 1e-13, 1e-12, 1e-11, 1e-9, 1e-6}) {
    for (int run = 0; run < 300; ++run) {
      std::vector<xy_d> corners = RandomQuadrilateral(&random, false).GetVertices();
      for (xy_d& corner : corners) corner = {113.0 + 0.1 * corner.x, -47.0 + 0.1 * corner.y};
      const TPolygon a(corners);
      for (xy_d& corner : corners) {
        const bool each = run % 2 == 0;
        corner.x += offset * (each ? random.Uniform(-1, 1) : 1.0);
        corner.y += offset * (each ? random.Uniform(-1, 1) : -0.5);
      }
      const TPolygon b(corners);
      if (!a.IsSimple() || !b.IsSimple()) continue;
      std::vector<TPolygon> pieces;
      ASSERT_TRUE(IntersectPolygons(a, b, &pieces)) << a.GetString() << ' ' << b.GetString();
      for (const TPolygon& piece : pieces) ASSERT_TRUE(piece.IsSimple());
      const double lost = 4.0 * (offset + 1e-12) * (kWidth + kHeight);
      ASSERT_NEAR(AreaOf(pieces), std::fabs(a.GetSignedArea()), lost) << a.GetString() << ' ' << b.GetString();
    }
  }
}

TEST(PolygonIntersection, AClosedRingCountsAsTheOpenOne) {
  std::vector<xy_d> closed = Square().GetVertices();
  closed.push_back(closed.front());
  const TPolygon other({{1, -1}, {3, -1}, {2, 5}});
  std::vector<TPolygon> from_open, from_closed, turned;
  ASSERT_TRUE(IntersectPolygons(Square(), other, &from_open));
  ASSERT_TRUE(IntersectPolygons(TPolygon(closed), other, &from_closed));
  ASSERT_TRUE(IntersectPolygons(other, TPolygon(closed), &turned));
  EXPECT_EQ(from_closed, from_open);
  EXPECT_NEAR(AreaOf(turned), AreaOf(from_open), kAreaTolerance);
  closed.push_back(closed.front());
  EXPECT_FALSE(IntersectPolygons(TPolygon(closed), other, &turned)) << "closed twice";
}

// A strip along a common side, on either side of the width that counts.
TEST(PolygonIntersection, StripsCountFromTheThinnestOn) {
  for (const bool counts : {false, true}) {
    const double width = 4.0 * kThinnestIntersection * (counts ? 1.5 : 0.75);
    std::vector<TPolygon> pieces;
    ASSERT_TRUE(IntersectPolygons(Square(), TPolygon({{1, -4}, {3, -4}, {3, width}, {1, width}}), &pieces));
    EXPECT_EQ(pieces.size(), counts ? 1u : 0u);
  }
}

// Where the common area narrows to a rounding error it parts into pieces that touch.
TEST(PolygonIntersection, ANeckOfARoundingErrorParts) {
  const TPolygon hourglass({{0, 0}, {4, 2 - 1e-15}, {8, 0}, {8, 4}, {4, 2 + 1e-15}, {0, 4}});
  std::vector<TPolygon> pieces;
  ASSERT_TRUE(IntersectPolygons(hourglass, TPolygon({{-1, -1}, {9, -1}, {9, 5}, {-1, 5}}), &pieces));
  EXPECT_EQ(pieces.size(), 2u);
  EXPECT_NEAR(AreaOf(pieces), 16.0, kAreaTolerance);
}

}  // namespace
}  // namespace SatCommonUtils
