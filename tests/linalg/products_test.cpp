// Products have the bits of the plain loops, whatever the sizes, the values and the number of threads.

#include <gtest/gtest.h>

#include <atomic>
#include <tuple>

#include "frame/zxstd/threads.h"
#include "linalg/normal_equations.h"
#include "linalg/reference.h"

namespace orbmath_test {
namespace {

using namespace SatCommonUtils;

std::atomic<std::size_t> polls{0};
int CountingPoll() {
  ++polls;
  return 1;  // products do not let themselves be cancelled
}

// Keeps a thread count for the time of a test.
struct Threads {
  explicit Threads(int count) { ZxSetThreadsCount(count); }
  ~Threads() { ZxSetThreadsCount(0); }
};

struct Shape {
  std::size_t inner, x_columns, y_columns;
};

// Sizes around the register tiles (multiples of 8), the blocks of the sum and the threads' shares.
constexpr Shape kShapes[] = {{1, 1, 1},   {5, 3, 2},    {7, 8, 9},     {64, 16, 24},  {65, 39, 39},
                             {300, 7, 4}, {513, 39, 1}, {260, 40, 41}, {130, 70, 100}};

class Products : public ::testing::TestWithParam<std::tuple<Shape, Kind, int>> {};

TEST_P(Products, HaveTheBitsOfThePlainLoops) {
  const auto [shape, kind, threads] = GetParam();
  const Threads team(threads);
  Random random("products");
  const Rows x = RandomRows(&random, shape.inner, shape.x_columns, kind);
  const Rows y = RandomRows(&random, shape.inner, shape.y_columns, kind);
  std::vector<double> w = RandomVector(&random, shape.inner, kind);
  const std::vector<double> v = RandomVector(&random, shape.x_columns, kind);
  RawMatrix a(x), a_transposed(Transposed(x)), b(y), b_transposed(Transposed(y));
  RawMatrix c(shape.x_columns, shape.y_columns), square(shape.x_columns, shape.x_columns);
  const std::size_t rows = shape.inner, columns = shape.x_columns, others = shape.y_columns;

  const Rows product = ProductXtY(x, y);
  polls = 0;
  MultiplyATbyB(a.Get(), rows, columns, b.Get(), others, c.Get(), CountingPoll);
  EXPECT_TRUE(SameBits(c.Values(), product));
  MultiplyAbyBT(a_transposed.Get(), columns, rows, b_transposed.Get(), others, c.Get(), CountingPoll);
  EXPECT_TRUE(SameBits(c.Values(), product));
  MatrixMultiplication(a_transposed.Get(), columns, rows, b.Get(), others, c.Get(), CountingPoll);
  EXPECT_TRUE(SameBits(c.Values(), product));
  EXPECT_TRUE(SameBits(RowsOf(MatrixOf(Transposed(x)) * MatrixOf(y)), product));

  EXPECT_TRUE(MultiplyATbyA(a.Get(), rows, columns, square.Get(), CountingPoll));
  EXPECT_TRUE(SameBits(square.Values(), ProductXtY(x, x)));
  CalculateNormalMatrix(a.Get(), rows, columns, w.data(), square.Get(), CountingPoll);
  const auto divided = [&](double p, double q, std::size_t k) { return p * q / w[k]; };
  EXPECT_TRUE(SameBits(square.Values(), SumOfTerms(x, x, divided)));
  EXPECT_EQ(polls, 5 * columns);

  std::vector<double> image(rows), back(columns);
  MatrixByVector(a.Get(), columns, rows, const_cast<double*>(v.data()), image.data(), CountingPoll);
  const Rows as_column = ProductXtY(Transposed(x), Transposed({v}));
  for (std::size_t i = 0; i < rows; ++i) ASSERT_TRUE(SameBits(image[i], as_column[i][0])) << i;
  EXPECT_TRUE(MatrixTByVector(a.Get(), columns, rows, w.data(), back.data(), CountingPoll));
  const Rows as_row = ProductXtY(Transposed({w}), x);
  EXPECT_TRUE(SameBits(back.data(), as_row[0].data(), columns));
  EXPECT_EQ(polls, 6 * columns + rows);
}

INSTANTIATE_TEST_SUITE_P(AllShapes, Products,
                         ::testing::Combine(::testing::ValuesIn(kShapes), ::testing::ValuesIn(kKinds),
                                            ::testing::Values(1, 2, 5)));

// Weighted normal equations differ in where the weight goes, and so in their last bits.
TEST(NormalEquations, MultiplyFromLeftToRight) {
  Random random("normal equations");
  for (const Kind kind : kKinds) {
    const Rows a = RandomRows(&random, 150, 13, kind), b = RandomRows(&random, 150, 21, kind);
    const std::vector<double> w = RandomVector(&random, 150, kind), l = RandomVector(&random, 150, kind);
    const auto weighted = [&](double p, double q, std::size_t k) { return p * w[k] * q; };
    const TVector weights(w.size(), w.data()), observations(l.size(), l.data());

    Rows lower = SumOfTerms(a, a, weighted);
    for (std::size_t i = 0; i < lower.size(); ++i) {
      for (std::size_t j = i + 1; j < lower.size(); ++j) lower[i][j] = lower[j][i];
    }
    TMatrix normal;
    ASSERT_TRUE(NormalEquationsMatrix(MatrixOf(a), weights, &normal));
    EXPECT_TRUE(SameBits(RowsOf(normal), lower));
    ASSERT_TRUE(NormalEquationsSubMatrix(MatrixOf(a), weights, MatrixOf(b), &normal));
    EXPECT_TRUE(SameBits(RowsOf(normal), SumOfTerms(a, b, weighted)));

    TVector free_term;
    ASSERT_TRUE(NormalEquationsFreeTerm(MatrixOf(a), weights, observations, &free_term));
    const auto observed = [&](double p, double q, std::size_t k) { return w[k] * q * p; };
    const Rows expected =
        SumOfTerms(Transposed({l}), a, [&](double q, double p, std::size_t k) { return observed(p, q, k); });
    EXPECT_TRUE(SameBits(free_term.GetData(), expected[0].data(), expected[0].size()));
  }
}

TEST(NormalEquations, RefuseWhatDoesNotFitAndLeaveTheOutput) {
  const TMatrix a(2, 3), no_rows(2, 0), no_columns(0, 3), b(1, 3), short_b(1, 2), empty_b(0, 3);
  const TVector three(3), two(2), none;
  TMatrix n(TVector(1.0, 2.0, 3.0));
  TVector f(1.0, 2.0, 3.0);
  EXPECT_FALSE(NormalEquationsMatrix(a, two, &n));
  EXPECT_FALSE(NormalEquationsMatrix(no_rows, none, &n));
  EXPECT_FALSE(NormalEquationsMatrix(no_columns, three, &n));
  EXPECT_FALSE(NormalEquationsSubMatrix(a, two, b, &n));
  EXPECT_FALSE(NormalEquationsSubMatrix(a, three, short_b, &n));
  EXPECT_FALSE(NormalEquationsSubMatrix(a, three, empty_b, &n));
  EXPECT_FALSE(NormalEquationsSubMatrix(no_columns, three, b, &n));
  EXPECT_FALSE(NormalEquationsFreeTerm(a, two, three, &f));
  EXPECT_FALSE(NormalEquationsFreeTerm(a, three, two, &f));
  EXPECT_FALSE(NormalEquationsFreeTerm(no_rows, none, none, &f));
  EXPECT_EQ(n.Output(), TMatrix(TVector(1.0, 2.0, 3.0)).Output());
  EXPECT_EQ(f.GetString(), "(1;2;3)");
}

TEST(MatrixProducts, SumOverVectorsAndMayOverwriteAFactor) {
  TMatrix a = MatrixOf({{1, 2, 3}, {4, 5, 6}});
  EXPECT_EQ((a * TVector(1.0, 0.0, -1.0)).GetString(), "(-2;-2)");
  EXPECT_EQ((TVector(1.0, 1.0, 0.0).GetSubVector(0, 2) * a).GetString(), "(5;7;9)");
  polls = 0;
  MatrixMultiplication(a, MatrixOf({{1, 0}, {0, 1}, {1, 1}}), &a, CountingPoll);
  EXPECT_EQ(RowsOf(a), (Rows{{4, 5}, {10, 11}}));
  EXPECT_EQ(polls, 2u);
}

TMatrix watched;
int WatchingPoll() {
  EXPECT_NE(watched.GetElement(0, polls++), 0.0) << "a row is polled for before it stands in the result";
  return 0;
}

TEST(MatrixProducts, StandInTheResultWhenTheirPollsCome) {
  const TMatrix a = MatrixOf({{1, 2}, {3, 4}, {5, 6}});
  polls = 0;
  MatrixMultiplication(a, TMatrix(2), &watched, WatchingPoll);
  EXPECT_EQ(polls, 3u);
  EXPECT_EQ(RowsOf(watched), RowsOf(a));
}

}  // namespace
}  // namespace orbmath_test
