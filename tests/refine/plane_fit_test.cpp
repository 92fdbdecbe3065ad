#include "refine/plane_fit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "refine/plane_judges.h"
#include "support/bits.h"

#include "support/random.h"

namespace {

using namespace SatCommonUtils;
using namespace SatCommonUtils::refine;
using orbmath_test::Random;
using Type = TRPCRefinementTransformType;

std::vector<TPlaneTie> TiesOf(const TPlaneMap& map, std::size_t count, Random* random) {
  std::vector<TPlaneTie> ties;
  for (std::size_t i = 0; i < count; ++i) {
    TPlaneTie tie{
        {random->Uniform(-1, 1), random->Uniform(-1, 1)}, {0.0, 0.0}, std::pow(10.0, random->Uniform(-9.0, 9.0))};
    std::copy_n(TPlaneRow<true>(map, tie.from[0], tie.from[1]).mapped, 2, tie.to);
    ties.push_back(tie);
  }
  return ties;
}

// Whatever the kind and the weights, the map through as many ties as determine it is the one that they came from.
TEST(PlaneFit, PassesThroughTheLeastTies) {
  const struct {
    Type type;
    std::size_t least;
    TPlaneMap map;
  } rows[] = {{Type::Shift, 1, {1.0, 0.0, 0.02, 0.0, 1.0, -0.03, 0.0, 0.0}},
              {Type::Affine, 3, {1.1, 0.03, 0.02, -0.2, 0.9, -0.03, 0.0, 0.0}},
              {Type::Projective, 4, {1.1, 0.03, 0.02, -0.2, 0.9, -0.03, 0.04, -0.2}}};
  Random random("PlaneFit");
  for (const auto& row : rows) {
    for (int trial = 0; trial < 300; ++trial) {
      const std::vector<TPlaneTie> ties = TiesOf(row.map, row.least + 2, &random);
      std::vector<std::size_t> chosen;
      for (std::size_t i = 0; i < row.least; ++i) chosen.push_back(row.least + 1 - i);
      TPlaneMap map;
      ASSERT_TRUE(PassPlaneMap(row.type, ties, chosen, &map)) << trial;
      for (const std::size_t i : chosen) {
        EXPECT_LT(SquaredResidual<true>(map, ties[i]), 1e-18 * std::pow(ties[i].root_weight, 2.0)) << trial;
      }
      double size = 1e-9;  // three points near a line say little of what is beside it
      for (std::size_t i = 0; i < 8; ++i) size = std::max(size, std::fabs(map[i] - row.map[i]));
      EXPECT_LT(size, 1e-5) << trial;
    }
  }
}

// Nor do two at one place; neither must rounding make up a map.
TEST(PlaneFit, ThreeTiesOnALineDetermineNoMap) {
  Random random("ThreeTiesOnALine");
  for (int trial = 0; trial < 50; ++trial) {
    std::vector<TPlaneTie> ties = TiesOf({1.1, 0.03, 0.02, -0.2, 0.9, -0.03, 0.04, -0.2}, 4, &random);
    for (std::size_t axis = 0; axis < 2; ++axis) {
      const double share = 0.1 + 0.01 * trial;
      ties[2].from[axis] =
          trial % 2 == 0 ? ties[1].from[axis] : ties[0].from[axis] * (1 - share) + ties[1].from[axis] * share;
      if (trial % 4 == 0) ties[2].to[axis] = ties[1].to[axis];
    }
    TPlaneMap map;
    for (const std::vector<std::size_t>& chosen :
         {std::vector<std::size_t>{0, 1, 2, 3}, {3, 0, 1, 2}, {1, 3, 2, 0}, {1, 2, 3, 0}}) {
      EXPECT_FALSE(PassPlaneMap(Type::Projective, ties, chosen, &map)) << trial;
    }
    EXPECT_FALSE(PassPlaneMap(Type::Affine, ties, {2, 0, 1}, &map)) << trial;
  }
}

// The rank's square to the bit, or the limit where it is not below that; also where weights, places and maps are far
// apart, so that nothing is known without a division, where squares are equal, and where a tie goes to infinity.
TEST(PlaneFit, JudgesFindTheSquareOfARank) {
  Random random("Judges");
  std::vector<double> room;
  for (int trial = 0; trial < 400; ++trial) {
    const double bend = trial % 4 == 0 ? 0.0 : std::pow(10.0, random.Uniform(-9.0, 0.2));
    const TPlaneMap map = {1.1, 0.03, 0.02, -0.2, 0.9, -0.03, bend * random.Uniform(-1, 1), bend};
    const double noise = std::pow(10.0, random.Uniform(-12.0, 0.0)), weights = random.Uniform(0.0, trial % 3 * 6.0);
    std::vector<TPlaneTie> ties = TiesOf(map, 1 + random.Index(300), &random);
    for (TPlaneTie& tie : ties) {
      for (double& to : tie.to) to += noise * random.Uniform(-1, 1) + (random.Index(5) == 0 ? 1e9 * noise : 0.0);
      tie.root_weight = std::pow(10.0, random.Uniform(-weights, weights));
      if (trial % 5 == 0 && random.Index(2) == 0) tie = ties[0];
    }
    const TPlaneJudges judges(ties);
    ASSERT_EQ(judges.Count(), ties.size());
    std::vector<double> squares;
    squares.reserve(ties.size());
    for (const TPlaneTie& tie : ties) squares.push_back(SquaredResidual<true>(map, tie));
    std::sort(squares.begin(), squares.end());
    const std::size_t rank = random.Index(ties.size());
    const double wanted = squares[rank];
    for (const double least : {std::numeric_limits<double>::infinity(), 1e300, wanted * (1.0 + 1e-7),
                               std::nextafter(wanted, 1e300), wanted, std::nextafter(wanted, 0.0), 0.5 * wanted}) {
      EXPECT_TRUE(orbmath_test::SameBits(judges.SquareOfRank(map, rank, least, &room), std::min(wanted, least)))
          << trial << ", limit " << least << " for " << wanted;
    }
  }
}

}  // namespace
