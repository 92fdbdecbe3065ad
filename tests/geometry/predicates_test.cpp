// The exact predicates against integers: coordinates of 24 bits make determinants of 50 bits and orders of crossings of
// 102, which doubles cannot hold.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "geometry/segments.h"
#include "support/random.h"

namespace SatCommonUtils {
namespace {

std::int64_t Cross(const xy_d& a, const xy_d& b, const xy_d& c, const xy_d& d) {
  const auto wide = [](double value) { return static_cast<std::int64_t>(value); };
  return (wide(b.x) - wide(a.x)) * (wide(d.y) - wide(c.y)) - (wide(b.y) - wide(a.y)) * (wide(d.x) - wide(c.x));
}

int SignOf(std::int64_t value) { return (value > 0) - (value < 0); }

/// A product of numbers below 2^53 in its upper and lower 64 bits; not every compiler has a type for it.
std::pair<std::uint64_t, std::uint64_t> Product(std::int64_t first, std::int64_t second) {
  const auto a = static_cast<std::uint64_t>(first), b = static_cast<std::uint64_t>(second);
  const std::uint64_t half = 0xFFFFFFFF, low = (a & half) * (b & half);
  const std::uint64_t middle = (a >> 32) * (b & half) + (a & half) * (b >> 32);
  const std::uint64_t sum = low + (middle << 32);
  return {(a >> 32) * (b >> 32) + (middle >> 32) + (sum < low ? 1 : 0), sum};
}

xy_d RandomPoint(orbmath_test::Random* random, double width, double height) {
  return {std::floor(random->Uniform(-width, 2 * width)), std::floor(random->Uniform(-2 * height, height))};
}

TEST(Predicates, TurnsAreExact) {
  orbmath_test::Random random("Predicates.Turns");
  int straight = 0;
  for (int run = 0; run < 20000; ++run) {
    const TSegment a{RandomPoint(&random, 3e6, 5e6), RandomPoint(&random, 3e6, 5e6)};
    // A multiple of the same direction, and often not quite.
    const double times = std::floor(random.Uniform(-3, 4));
    TSegment b{RandomPoint(&random, 1e6, 1e6), {}};
    b.to = {b.from.x + times * (a.to.x - a.from.x), b.from.y + times * (a.to.y - a.from.y) + (run % 3 == 0 ? 1 : 0)};
    const int turn = SignOf(Cross(a.from, a.to, b.from, b.to));
    ASSERT_EQ(Turn(a, b), turn);
    ASSERT_EQ(Turn(b, a), -turn);
    if (turn != 0 || times == 0.0) continue;
    ++straight;
    ASSERT_EQ(HaveOneSense(a, b), times > 0.0);
  }
  EXPECT_GT(straight, 1000);
}

// Crossing lines of one far point nearly meet on the edge; lines through one point of it, and the same line turned
// round, do meet.
TEST(Predicates, CrossingsAreInTheirOrderOnTheEdge) {
  orbmath_test::Random random("Predicates.Crossings");
  int close = 0, equal = 0;
  for (int run = 0; run < 20000; ++run) {
    const TSegment edge{RandomPoint(&random, 1e6, 1e3), RandomPoint(&random, 4e6, 1e3)};
    TSegment first{RandomPoint(&random, 2e6, 3e6), RandomPoint(&random, 2e6, 3e6)};
    TSegment second{{first.to.x + (run % 2), first.to.y + (run / 2 % 2)}, {first.from.x, first.from.y}};
    if (run % 4 == 0) second.from = {first.to.x, first.to.y};
    if (!SegmentsCross(edge, first) || !SegmentsCross(edge, second)) continue;
    const auto share = [&](const TSegment& s) {
      return std::pair(std::abs(Cross(s.from, s.to, s.from, edge.from)),
                       std::abs(Cross(s.from, s.to, s.from, edge.to)));
    };
    const auto [a1, b1] = share(first);
    const auto [a2, b2] = share(second);
    const auto one = Product(a1, b2), other = Product(a2, b1);
    const int order = (one > other) - (one < other);
    ASSERT_EQ(CrossingOrder(edge, first, second), order);
    ASSERT_EQ(CrossingOrder(edge, second, first), -order);
    ASSERT_EQ(CrossingOrder({edge.to, edge.from}, first, second), -order);
    (order == 0 ? equal : close) += 1;
  }
  EXPECT_GT(close, 500);
  EXPECT_GT(equal, 200);
}

}  // namespace
}  // namespace SatCommonUtils
