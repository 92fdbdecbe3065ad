// The factor of a least-squares problem, its rows made orthogonal, and what they say of single points.

#include "refine/estimation/triangular_factor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>
#include <vector>

#include "refine/estimation/bad_points.h"
#include "refine/estimation/ridge_spectrum.h"
#include "refine/estimation/row_rotations.h"
#include "support/random.h"

namespace {

using namespace SatCommonUtils::estimation;
using orbmath_test::Random;

constexpr std::size_t kUnknowns[] = {7, 19, 39};

// Rows of so many unknowns and a residual whose columns differ in size by up to three decades; column `zero` is 0.
std::vector<TDesignRows> Blocks(std::size_t unknowns, std::size_t zero, const std::vector<std::size_t>& counts) {
  Random random("TriangularFactor");
  std::vector<TDesignRows> blocks(counts.size());
  for (std::size_t b = 0; b < counts.size(); ++b) {
    blocks[b].SetUnknowns(unknowns);
    blocks[b].count = counts[b];
    std::fill(std::begin(blocks[b].values), std::end(blocks[b].values), 0.0);
    for (std::size_t i = 0; i < counts[b]; ++i) {
      for (std::size_t j = 0; j <= unknowns; ++j) {
        const double size = std::pow(10.0, -3.0 * static_cast<double>(j) / static_cast<double>(unknowns));
        blocks[b].values[i * blocks[b].stride + j] = j == zero ? 0.0 : size * random.Uniform(-1.0, 1.5);
      }
    }
  }
  return blocks;
}

double GramOf(const std::vector<TDesignRows>& blocks, std::size_t a, std::size_t b) {
  double sum = 0.0;
  for (const TDesignRows& rows : blocks) {
    for (std::size_t i = 0; i < rows.count; ++i)
      sum += rows.values[i * rows.stride + a] * rows.values[i * rows.stride + b];
  }
  return sum;
}

TTriangularFactor FactorOf(std::vector<TDesignRows> blocks) {
  TTriangularFactor factor;
  for (TDesignRows& rows : blocks) TakeUpRows(&rows, &factor);
  return factor;
}

TEST(TriangularFactor, HasTheProductsOfAllRows) {
  for (const std::size_t unknowns : kUnknowns) {
    const std::vector<TDesignRows> blocks = Blocks(unknowns, 3, {64, 1, 64, 13});
    const TTriangularFactor factor = FactorOf(blocks);
    for (std::size_t a = 0; a <= unknowns; ++a) {
      for (std::size_t b = a; b <= unknowns; ++b) {
        double sum = 0.0;
        for (std::size_t k = 0; k <= unknowns; ++k) sum += factor.Row(k)[a] * factor.Row(k)[b];
        const double size = std::sqrt(GramOf(blocks, a, a) * GramOf(blocks, b, b));
        EXPECT_NEAR(sum, GramOf(blocks, a, b), 1e-14 * size) << unknowns << " unknowns, " << a << ", " << b;
        if (b > a) {
          EXPECT_EQ(factor.Row(b)[a], 0.0) << unknowns << " unknowns, row " << b << ", column " << a;
        }
      }
    }
    EXPECT_NEAR(factor.ResidualSquares(), GramOf(blocks, unknowns, unknowns), 1e-14 * factor.ResidualSquares());
  }
}

// Rows q·d with orthonormal directions d have the norms q, which keep all their digits though they fall by 20 decades.
TEST(RowRotations, FindSmallNormsAmongLargeOnes) {
  Random random("RowRotations");
  for (const std::size_t unknowns : kUnknowns) {
    const auto rotated = std::make_unique<TRotatedRows>();
    rotated->count = rotated->columns = unknowns;
    std::vector<double> norms;
    for (std::size_t i = 0; i < unknowns; ++i) {
      norms.push_back(std::pow(10.0, -20.0 * static_cast<double>(i) / static_cast<double>(unknowns)));
      std::fill(std::begin(rotated->rows[i]), std::end(rotated->rows[i]), 0.0);
      rotated->rows[i][i] = norms[i];
      rotated->values[i] = 3.0 * norms[i];  // every row's value is the product with (3, 3, ...)
    }
    const auto turn = [](double angle, double* a, double* b) {
      const double old = *a;
      *a = std::cos(angle) * old - std::sin(angle) * *b;
      *b = std::sin(angle) * old + std::cos(angle) * *b;
    };
    for (std::size_t i = 0; i < unknowns; ++i) {
      for (std::size_t j = i + 1; j < unknowns; ++j) {
        // Of the columns as it likes, of the rows so little that the small ones stay small.
        const double angle = random.Uniform(-1.5, 1.5);
        for (std::size_t k = 0; k < unknowns; ++k) turn(angle, &rotated->rows[k][i], &rotated->rows[k][j]);
        const double slight = 0.3 * norms[j] / norms[i];
        for (std::size_t k = 0; k < unknowns; ++k) turn(slight, &rotated->rows[i][k], &rotated->rows[j][k]);
        turn(slight, &rotated->values[i], &rotated->values[j]);
      }
    }
    OrthogonaliseRows(rotated.get());
    std::vector<double> found;
    for (std::size_t i = 0; i < unknowns; ++i) {
      const double* const row = rotated->rows[i];
      found.push_back(std::sqrt(std::inner_product(row, row + unknowns, row, 0.0)));
      for (std::size_t j = 0; j < i; ++j) {
        const double cosine = std::inner_product(row, row + unknowns, rotated->rows[j], 0.0) / found[i] / found[j];
        EXPECT_NEAR(cosine, 0.0, 1e-14) << unknowns << " rows, " << i << ", " << j;
      }
    }
    std::sort(found.rbegin(), found.rend());
    for (std::size_t i = 0; i < unknowns; ++i) EXPECT_NEAR(found[i] / norms[i], 1.0, 1e-12) << unknowns << " rows";
    double values = 0.0, squares = 0.0;
    for (std::size_t i = 0; i < unknowns; ++i) {
      values += rotated->values[i] * rotated->values[i];
      squares += 9.0 * norms[i] * norms[i];
    }
    EXPECT_NEAR(values / squares, 1.0, 1e-13);
  }
}

// The leverages of all points are the unknowns that a ridge leaves free; one that counts twice has half of the two's.
TEST(RidgeSpectrum, LeveragesAddUpToTheFreedom) {
  for (const std::size_t unknowns : kUnknowns) {
    std::vector<TDesignRows> blocks = Blocks(unknowns, unknowns, {64, 64, 13});
    std::copy_n(blocks[0].values, blocks[0].stride, blocks[2].values + 12 * blocks[2].stride);
    const auto spectrum = std::make_unique<TRidgeSpectrum>(FactorOf(blocks));
    for (const double share : {0.0, 1e-6, 1e-2}) {
      const double ridge = share * spectrum->LargestSquare();
      double sum = 0.0, first = 0.0, last = 0.0;
      for (const TDesignRows& rows : blocks) {
        TInfluence influences[64];
        spectrum->Influences(rows, ridge, influences);
        for (std::size_t i = 0; i < rows.count; ++i) sum += influences[i].leverage;
        if (&rows == &blocks.front()) first = influences[0].leverage;
        last = influences[rows.count - 1].leverage;
      }
      EXPECT_NEAR(sum, spectrum->FreedomAt(ridge).trace, 1e-10) << unknowns << " unknowns, ridge " << share;
      EXPECT_EQ(first, last);
      EXPECT_LT(first, 0.5);
    }
  }
}

// A point is judged by what the fit of the others makes of it and of them, under the same ridge: here each is made.
TEST(RidgeSpectrum, InfluencesTellWhatAFitWithoutThePointLeaves) {
  constexpr double kShare = 1e-6;      // of the ridge: nothing beside the first seven directions, much beside the last
  constexpr double kTolerance = 1e-3;  // relative: those seven bear no ridge in the influences
  for (const std::size_t unknowns : {std::size_t{19}, std::size_t{39}}) {
    std::vector<TDesignRows> blocks = Blocks(unknowns, unknowns + 1, {60});
    TDesignRows& rows = blocks[0];
    const auto row_of = [&](std::size_t i) { return rows.values + i * rows.stride; };
    const auto residual_after = [&](std::size_t i, const double* step) {
      return std::inner_product(step, step + unknowns, row_of(i), row_of(i)[unknowns]);
    };
    auto spectrum = std::make_unique<TRidgeSpectrum>(FactorOf(blocks));
    const double ridge = kShare * spectrum->LargestSquare(), zero[TRidgeSpectrum::kMaxUnknowns] = {};
    double fitted[TRidgeSpectrum::kMaxUnknowns], step[TRidgeSpectrum::kMaxUnknowns];
    spectrum->Step(zero, ridge, fitted);
    TOutputStory story;
    for (std::size_t i = 0; i < rows.count; ++i) {
      row_of(i)[unknowns] = residual_after(i, fitted);
      story.residual.push_back(row_of(i)[unknowns]);
      story.squares += story.residual[i] * story.residual[i];
    }
    spectrum = std::make_unique<TRidgeSpectrum>(FactorOf(blocks));
    story.influence.resize(rows.count);
    spectrum->Influences(rows, ridge, story.influence.data());
    story.freedom = static_cast<double>(rows.count) - spectrum->FreedomAt(ridge).trace;
    TOutputStory nothing;
    nothing.residual.resize(rows.count);
    nothing.freedom = nothing.rounding = 10.0;
    const std::vector<double> excess = Combine(story, nothing, std::vector<char>(rows.count, 0)).excess;
    for (std::size_t i = 0; i < rows.count; ++i) {
      std::vector<TDesignRows> others = blocks;
      std::copy_n(row_of(rows.count - 1), rows.stride, others[0].values + i * rows.stride);
      --others[0].count;
      const TRidgeSpectrum without(FactorOf(others));
      without.Step(fitted, ridge, step);
      double squares = 0.0;
      for (std::size_t k = 0; k < rows.count; ++k) squares += k == i ? 0.0 : std::pow(residual_after(k, step), 2.0);
      const double freedom = static_cast<double>(rows.count - 1) - without.FreedomAt(ridge).trace;
      const double expected = story.residual[i] * residual_after(i, step) / (squares / freedom) / 36.0;
      EXPECT_NEAR(excess[i] / expected, 1.0, kTolerance) << unknowns << " unknowns, point " << i;
    }
  }
}

}  // namespace
