// Fits have the same bits on every processor. Their points are made here of sums and products only.

#include <gtest/gtest.h>

#include <vector>

#include "fitted_models.h"
#include "refine/refinement_fit.h"
#include "support/portable_bits.h"

namespace {

using namespace SatCommonUtils;
using namespace orbmath_test;

TPoints PointsOf(std::size_t count, double noise, std::size_t every_bad) {
  Lehmer numbers;
  TPoints points;
  for (std::size_t i = 0; i < count; ++i) {
    const double P = numbers.Next(), L = numbers.Next(), H = numbers.Next();
    const double line = (0.01 + 0.1 * L - 1.1 * P + 0.02 * H + 0.003 * L * P + 1e-5 * P * P * P) / (1.0 + 0.003 * P);
    const double sample = (0.02 + 1.1 * L + 0.1 * P - 0.01 * H + 0.002 * L * L) / (1.0 - 0.002 * P + 0.002 * L);
    points.push_back({47.0 + 0.06 * P, 8.0 + 0.09 * L, 400.0 + 400.0 * H,
                      5000.0 + 6000.0 * line + noise * numbers.Next(),
                      4000.0 + 4500.0 * sample + noise * numbers.Next()});
    if (every_bad > 0 && i % every_bad == 0) points.back().Sample += 40.0;
  }
  return points;
}

TEST(FitBits, OfFitRPC) {
  const struct {
    std::size_t points;
    double noise;
    std::size_t every_bad;
    std::uint64_t hash;
  } rows[] = {{12, 0.5, 0, 0x9db9c9bfcf8ea765u},  {45, 0.5, 0, 0xb9680239aebe4aedu},
              {100, 0.0, 0, 0x68fbc663a6828882u}, {100, 0.5, 0, 0x6de8e3969b3cc4cu},
              {100, 0.5, 7, 0xaaaaa386fd8fe568u}, {5000, 0.5, 50, 0x87ea14fff9b3ccd2u}};
  for (const auto& row : rows) {
    TRPCData fitted;
    ASSERT_TRUE(FitRPC({PointsOf(row.points, row.noise, row.every_bad), false}, TRPCFitOptions(), &fitted));
    EXPECT_TRUE(HasHash({&fitted.lineNumCoef[0], &fitted.lineNumCoef[0] + 90}, row.hash))
        << row.points << " points, noise " << row.noise << ", every bad " << row.every_bad;
  }
}

TEST(FitBits, OfFitRefinement) {
  const struct {
    TRPCRefinementTransformType type;
    std::size_t points;
    std::uint64_t hash;
  } rows[] = {{TRPCRefinementTransformType::Shift, 6, 0x9d1a514bbf2c1e5cu},
              {TRPCRefinementTransformType::Affine, 30, 0xe3547652a72bf12du},
              {TRPCRefinementTransformType::Projective, 60, 0xf698b4158623201u}};
  for (const auto& row : rows) {
    Lehmer numbers;
    std::vector<TRefinementTie> ties;
    for (std::size_t i = 0; i < row.points; ++i) {
      const double line = 5000.0 + 5000.0 * numbers.Next(), sample = 3000.0 + 3000.0 * numbers.Next();
      ties.push_back({line, sample, 1.0001 * line + 3.0 + 0.3 * numbers.Next(),
                      sample - 2e-4 * line + (i % 9 == 4 ? 50.0 : 0.3) * numbers.Next(), 1.5 + numbers.Next()});
    }
    TRefinementFitOptions options;
    options.automatic = false;
    options.type = row.type;
    TRefinementFit fit;
    ASSERT_TRUE(FitRefinement(ties, options, &fit)) << fit.message;
    std::vector<double> values;
    fit.data->GetParametersValues(&values);
    values.insert(values.end(), {fit.sigmaFactor, fit.cornerFactor, fit.rmsAfter});
    EXPECT_TRUE(HasHash(values, row.hash)) << GetRPCRefinementTransformTypeName(row.type);
  }
}

}  // namespace
