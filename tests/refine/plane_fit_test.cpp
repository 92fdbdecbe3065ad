#include "refine/plane_fit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/random.h"

namespace {

using namespace SatCommonUtils;
using namespace SatCommonUtils::refine;
using orbmath_test::Random;
using Type = TRPCRefinementTransformType;

std::vector<TPlaneTie> TiesOf(const TPlaneMap& map, std::size_t count, Random* random) {
  std::vector<TPlaneTie> ties;
  for (std::size_t i = 0; i < count; ++i) {
    TPlaneTie tie{{random->Uniform(-1, 1), random->Uniform(-1, 1)}, {0.0, 0.0}, random->Uniform(0.1, 9.0)};
    const TPlaneEquations at_zero = EquationsAt(map, tie);
    for (std::size_t axis = 0; axis < 2; ++axis) tie.to[axis] = -at_zero.residual[axis];
    ties.push_back(tie);
  }
  return ties;
}

// Whatever the kind, the map through as many ties as determine it is the one that they came from.
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
      for (const std::size_t i : chosen) EXPECT_LT(SquaredResidual(map, ties[i]), 1e-18) << trial;
      double size = 1e-9;  // three points near a line say little of what is beside it
      for (std::size_t i = 0; i < 8; ++i) size = std::max(size, std::fabs(map[i] - row.map[i]));
      EXPECT_LT(size, 1e-5) << trial;
    }
  }
}

TEST(PlaneFit, ThreeTiesOnALineDetermineNoProjectiveMap) {
  std::vector<TPlaneTie> ties;
  for (const double x : {-0.5, 0.0, 0.5, 0.75}) ties.push_back({{x, 0.25 * x + 0.125}, {x, 0.25 * x + 0.125}, 1.0});
  ties[3].from[1] = ties[3].to[1] = 0.5;
  TPlaneMap map;
  for (const std::vector<std::size_t>& chosen :
       {std::vector<std::size_t>{0, 1, 2, 3}, {3, 0, 1, 2}, {2, 3, 0, 1}, {1, 2, 3, 0}}) {
    EXPECT_FALSE(PassPlaneMap(Type::Projective, ties, chosen, &map));
  }
}

}  // namespace
