// Cholesky and Gauss have the bits of the plain loops; their polls, limits and leftovers are as documented.

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

#include "frame/zxstd/threads.h"
#include "linalg/linear_systems.h"
#include "linalg/reference.h"

namespace orbmath_test {
namespace {

using namespace SatCommonUtils;

// A poll that answers 0 until it has been asked `stop_at` times.
int asked = 0;
int stop_at = 0;
int CancellingPoll() { return ++asked >= stop_at ? 1 : 0; }

void ArmPoll(int at) {
  asked = 0;
  stop_at = at;
}

// Sizes around the register tiles and the blocks of the factorisation.
constexpr std::size_t kSizes[] = {1, 2, 3, 7, 8, 9, 15, 16, 17, 31, 39, 40, 63, 64, 65, 100, 129, 200};

// Positive definite for ordinary values: a product of a matrix with itself, the diagonal raised.
Rows NormalMatrix(Random* random, std::size_t n, Kind kind) {
  const Rows a = RandomRows(random, n + 3, n, kind);
  Rows normal = ProductXtY(a, a);
  for (std::size_t i = 0; i < n; ++i) normal[i][i] += kind == Kind::Normal ? 1e-3 : 1.0;
  return normal;
}

TEST(CholeskySolver, HasTheBitsOfThePlainLoops) {
  Random random("cholesky");
  int solved = 0;
  for (const std::size_t n : kSizes) {
    for (const Kind kind : kKinds) {
      Rows values = NormalMatrix(&random, n, kind);
      const std::vector<double> b = RandomVector(&random, n, kind);
      for (std::size_t i = 0; i < n; ++i) std::fill_n(values[i].begin(), i, kPoison);  // nobody reads this triangle
      Rows u;
      const bool possible = ReferenceCholesky(values, &u);
      RawMatrix a(values), inverse(n, n);
      std::vector<double> x(n);
      ASSERT_EQ(Cholesky(a.Get(), const_cast<double*>(b.data()), x.data(), n, nullptr), possible) << n;
      ASSERT_EQ(CholeskyMatrixInversion(a.Get(), inverse.Get(), n, nullptr), possible) << n;
      EXPECT_EQ(a.Values() == values || kind == Kind::Special, true) << "the matrix changed";
      TVector object;
      ASSERT_EQ(Cholesky(MatrixOf(values), TVector(n, b.data()), object), possible) << n;
      if (!possible) continue;
      ++solved;
      const std::vector<double> expected = ReferenceCholeskySolve(u, b);
      EXPECT_TRUE(SameBits(x.data(), expected.data(), n)) << n;
      EXPECT_TRUE(SameBits(object.GetData(), expected.data(), n)) << n;
      Rows columns(n);
      for (std::size_t j = 0; j < n; ++j) {
        std::vector<double> unit(n);
        unit[j] = 1.0;
        columns[j] = ReferenceCholeskySolve(u, unit);
      }
      EXPECT_TRUE(SameBits(inverse.Values(), Transposed(columns))) << n;
    }
  }
  EXPECT_GT(solved, 2 * static_cast<int>(std::size(kSizes)));
}

TEST(CholeskySolver, SolvesAndRefusesByThePivotLimit) {
  TVector x(1.0, 2.0, 3.0);
  const TVector b(2, std::vector<double>{2, 1}.data());
  EXPECT_TRUE(Cholesky(MatrixOf({{4, 2}, {2, 3}}), b, x));
  EXPECT_EQ(x.GetString(), "(0.5;0)");
  for (const double pivot : {1e-21, kSmallestCholeskyPivot, 0.0, -1.0}) {
    RawMatrix a(Rows{{pivot}}), inverse(1, 1);
    double right = 1.0, unknown = kPoison;
    EXPECT_FALSE(Cholesky(a.Get(), &right, &unknown, 1, nullptr)) << pivot;
    EXPECT_FALSE(CholeskyMatrixInversion(a.Get(), inverse.Get(), 1, nullptr)) << pivot;
    EXPECT_EQ(inverse.Get()[0][0], kPoison);
    EXPECT_FALSE(Cholesky(MatrixOf({{pivot}}), TVector(1), x));
    EXPECT_EQ(x.GetString(), "(0.5;0)") << "a failure touched the output";
  }
  EXPECT_TRUE(Cholesky(MatrixOf({{1.0000001 * kSmallestCholeskyPivot}}), TVector(1), x));
  EXPECT_THROW(Cholesky(TMatrix(3, 2), b, x), std::runtime_error);
  EXPECT_THROW(Cholesky(TMatrix(3), b, x), std::runtime_error);
}

TEST(CholeskySolver, IsCancelledByItsPoll) {
  const Rows values = {{4, 1, 0}, {1, 4, 1}, {0, 1, 4}};
  RawMatrix a(values);
  double b[3] = {1, 2, 3};
  struct {
    int stop_at, asked;
    bool solved;
  } const cases[] = {
      {1, 1, false}, {3, 3, false},  // in the factorisation, which ends all
      {4, 5, false},                 // in the forward pass: the backward pass starts all the same
      {7, 7, false}, {9, 9, false},  // in the backward pass, the last element included
      {10, 9, true},
  };
  for (const auto& one : cases) {
    double x[3];
    ArmPoll(one.stop_at);
    EXPECT_EQ(Cholesky(a.Get(), b, x, 3, CancellingPoll), one.solved) << one.stop_at;
    EXPECT_EQ(asked, one.asked) << one.stop_at;
  }
  RawMatrix inverse(3, 3), expected(3, 3);
  ArmPoll(1);
  EXPECT_TRUE(CholeskyMatrixInversion(a.Get(), inverse.Get(), 3, CancellingPoll));
  EXPECT_EQ(asked, 3);
  EXPECT_TRUE(CholeskyMatrixInversion(a.Get(), expected.Get(), 3, nullptr));
  EXPECT_EQ(inverse.Values(), expected.Values());
  TMatrix object = MatrixOf(values);
  EXPECT_TRUE(CholeskyMatrixInversion(object, &object, nullptr));
  EXPECT_EQ(RowsOf(object), expected.Values());
}

// A poll that holds what has been made so far against the inverse.
const Rows* known_inverse = nullptr;
double** growing_inverse = nullptr;
std::size_t ahead = 0;
int CheckingPoll() {
  const std::size_t column = static_cast<std::size_t>(asked++);
  for (std::size_t i = 0; i < known_inverse->size(); ++i) {
    EXPECT_EQ(growing_inverse[i][column], (*known_inverse)[i][column]) << "polled for before it is there";
  }
  ahead += growing_inverse[0][known_inverse->size() - 1] != kPoison;
  return 1;
}

TEST(CholeskySolver, PollsForAColumnOfTheInverseOnceItIsThere) {
  constexpr std::size_t kSize = 150;
  Random random("cholesky polls");
  RawMatrix a(NormalMatrix(&random, kSize, Kind::Normal)), whole(kSize, kSize), growing(kSize, kSize);
  ASSERT_TRUE(CholeskyMatrixInversion(a.Get(), whole.Get(), kSize, nullptr));
  const Rows inverse = whole.Values();
  known_inverse = &inverse;
  growing_inverse = growing.Get();
  ArmPoll(0);
  ahead = 0;
  ASSERT_TRUE(CholeskyMatrixInversion(a.Get(), growing.Get(), kSize, CheckingPoll));
  EXPECT_EQ(asked, static_cast<int>(kSize));
  EXPECT_LT(ahead, kSize / 2) << "the polls follow their columns";
  known_inverse = nullptr;
  growing_inverse = nullptr;
}

TEST(GaussSolver, HasTheBitsOfThePlainLoopsAndLeavesWhatTheyLeave) {
  Random random("gauss");
  for (const std::size_t n : kSizes) {
    for (const Kind kind : kKinds) {
      const Rows values = RandomRows(&random, n, n, kind);
      const std::vector<double> right = RandomVector(&random, n, kind);
      Rows left = values;
      std::vector<double> b = right, x(n, kPoison), expected(n, kPoison), left_b = right;
      const double det = ReferenceGauss(&left, &left_b, &expected);

      RawMatrix a(values);
      EXPECT_TRUE(SameBits(Gauss(a.Get(), b.data(), x.data(), n, nullptr), det)) << n;
      EXPECT_TRUE(SameBits(x.data(), expected.data(), n)) << n;
      EXPECT_TRUE(SameBits(b.data(), left_b.data(), n)) << n;
      EXPECT_TRUE(SameBits(a.Values(), left)) << n;

      TMatrix object = MatrixOf(values);
      TVector object_b(n, right.data()), solution = TVector(n) + kPoison;
      EXPECT_TRUE(SameBits(Gauss(object, object_b, solution), det)) << n;
      EXPECT_TRUE(SameBits(solution.GetData(), expected.data(), n)) << n;
      EXPECT_TRUE(SameBits(RowsOf(object), values)) << n;
      EXPECT_TRUE(SameBits(GaussTriangle(object, object_b, solution), det)) << n;
      EXPECT_TRUE(SameBits(RowsOf(object), left)) << n;
      EXPECT_TRUE(SameBits(object_b.GetData(), left_b.data(), n)) << n;
    }
  }
}

const std::thread::id caller = std::this_thread::get_id();
int PollOfTheCaller() {
  EXPECT_EQ(std::this_thread::get_id(), caller);
  return CancellingPoll();
}

// Large enough for the threads to share the work: one, two and five give the same bits, and the polls the same counts.
TEST(Solvers, HaveTheSameBitsOnEveryNumberOfThreads) {
  constexpr std::size_t kSize = 413;
  Random random("solver threads");
  const Rows positive = NormalMatrix(&random, kSize, Kind::Normal),
             values = RandomRows(&random, kSize, kSize, Kind::Normal);
  const std::vector<double> right = RandomVector(&random, kSize, Kind::Normal);
  std::vector<double> first_x, first_y;
  Rows first_left, first_inverse;
  for (const int threads : {1, 2, 5}) {
    ZxSetThreadsCount(threads);
    RawMatrix a(positive), g(values), inverse(kSize, kSize);
    std::vector<double> b = right, x(kSize), y(kSize);
    ArmPoll(1 << 30);
    ASSERT_TRUE(Cholesky(a.Get(), b.data(), x.data(), kSize, PollOfTheCaller));
    EXPECT_EQ(asked, 3 * static_cast<int>(kSize));
    ASSERT_TRUE(CholeskyMatrixInversion(a.Get(), inverse.Get(), kSize, PollOfTheCaller));
    EXPECT_EQ(asked, 4 * static_cast<int>(kSize));
    ASSERT_NE(Gauss(g.Get(), b.data(), y.data(), kSize, PollOfTheCaller), 0.0);
    EXPECT_EQ(asked, 6 * static_cast<int>(kSize));
    if (threads == 1) first_x = x, first_y = y, first_left = g.Values(), first_inverse = inverse.Values();
    EXPECT_TRUE(SameBits(x.data(), first_x.data(), kSize)) << threads;
    EXPECT_TRUE(SameBits(y.data(), first_y.data(), kSize)) << threads;
    EXPECT_TRUE(SameBits(g.Values(), first_left)) << threads;
    EXPECT_TRUE(SameBits(inverse.Values(), first_inverse)) << threads;
    ArmPoll(200);
    EXPECT_FALSE(Cholesky(a.Get(), b.data(), x.data(), kSize, CancellingPoll));
    EXPECT_EQ(asked, 200);
  }
  ZxSetThreadsCount(0);
  Rows left = values, u;
  std::vector<double> b = right, y(kSize);
  ReferenceGauss(&left, &b, &y);
  ASSERT_TRUE(ReferenceCholesky(positive, &u));
  EXPECT_TRUE(SameBits(first_left, left) && SameBits(first_y.data(), y.data(), kSize));
  EXPECT_TRUE(SameBits(first_x.data(), ReferenceCholeskySolve(u, right).data(), kSize));
}

int ThrowingPoll() { return CancellingPoll() == 0 ? 0 : throw std::runtime_error("stop"); }

// A factorisation is polled for each row that it comes to, before a pivot that fails too, and ends with the poll.
TEST(CholeskySolver, EndsAsThePlainLoopsOnEveryNumberOfThreads) {
  Random random("ends of factorisations");
  constexpr int kNever = 9999;
  const struct {
    std::size_t size;
    int failing_row = kNever;
    int stop = kNever;
  } rows[] = {{65},
              {149, 148},
              {150, 23},
              {199, 100, 100},
              {200, 0},
              {200, 49, 50},
              {201},
              {202, 201},
              {257, kNever, 1},
              {257, 130, 129},
              {300, kNever, 300},
              {300, 299, 299},
              {301, 24},
              {202, kNever, 202 + 101},  // in the forward pass: the backward pass starts all the same
              {300, kNever, 600 + 177},
              {610, 100, 100},
              {610, 100, 101},
              {620, 619},
              {625}};
  for (const auto& row : rows) {
    const std::size_t n = row.size;
    Rows values = NormalMatrix(&random, n, Kind::Normal), u;
    const std::vector<double> right = RandomVector(&random, n, Kind::Normal);
    const bool fails = row.failing_row < static_cast<int>(n);
    if (fails) values[row.failing_row][row.failing_row] = -1.0;
    ASSERT_EQ(ReferenceCholesky(values, &u), !fails);
    const int last = std::min(fails ? row.failing_row : 3 * static_cast<int>(n), row.stop);
    const bool in_forward_pass =
        last == row.stop && row.stop > static_cast<int>(n) && row.stop <= 2 * static_cast<int>(n);
    for (const int threads : {1, 2, 3}) {
      SCOPED_TRACE(std::to_string(n) + " unknowns, " + std::to_string(threads) + " threads, failing row " +
                   std::to_string(row.failing_row) + ", stop " + std::to_string(row.stop));
      ZxSetThreadsCount(threads);
      RawMatrix a(values);
      std::vector<double> b = right, x(n);
      ArmPoll(row.stop);
      EXPECT_EQ(Cholesky(a.Get(), b.data(), x.data(), n, PollOfTheCaller), !fails && row.stop == kNever);
      EXPECT_EQ(asked, in_forward_pass ? last + 1 : last);
      ArmPoll(row.stop);
      if (row.stop == last) {
        EXPECT_THROW(Cholesky(a.Get(), b.data(), x.data(), n, ThrowingPoll), std::runtime_error);
      } else if (!fails) {
        EXPECT_TRUE(SameBits(x.data(), ReferenceCholeskySolve(u, right).data(), n));
      }
    }
  }
  ZxSetThreadsCount(0);
}

// Wherever an elimination ends, by a poll that stops or throws included, the matrix and the right side are as far as
// those of the plain loops: columns of other panels, which wait for it, too. Sizes around those of panels and teams.
TEST(GaussSolver, EndsAsThePlainLoopsOnEveryNumberOfThreads) {
  Random random("ends of eliminations");
  constexpr std::size_t kNever = 999;
  const struct {
    std::size_t size;
    Kind kind;
    std::size_t zero_column = kNever;
    std::size_t stop = kNever;
  } rows[] = {{70, Kind::Normal, 50},
              {70, Kind::Normal, kNever, 49},
              {149, Kind::Small},
              {150, Kind::Normal, 100},
              {199, Kind::Small},
              {200, Kind::Normal, kNever, 101},
              {200, Kind::Special},
              {201, Kind::Normal, 149},
              {202, Kind::Normal},
              {257, Kind::Normal, kNever, 133},
              {257, Kind::Wide, kNever, 255},
              {300, Kind::Small},
              {350, Kind::Normal, 144},
              {350, Kind::Special},
              {413, Kind::Normal, kNever, 250},
              {413, Kind::Normal, kNever, 288},
              {413, Kind::Normal, kNever, 40},
              {413, Kind::Normal, 301},
              {413, Kind::Normal, 412},
              {413, Kind::Wide, kNever, 400},
              {450, Kind::Small, kNever, 37},
              {450, Kind::Normal, 20}};
  for (const auto& row : rows) {
    const std::size_t n = row.size;
    Rows values = RandomRows(&random, n, n, row.kind);
    for (std::size_t i = 0; i < n && row.zero_column < n; ++i) values[i][row.zero_column] = i % 3 == 0 ? -0.0 : 0.0;
    const std::vector<double> right = RandomVector(&random, n, row.kind);
    Rows left = values;
    std::vector<double> b = right, x(n);
    const double expected = ReferenceGauss(&left, &b, &x, row.stop);
    for (const int threads : {1, 2, 3}) {
      SCOPED_TRACE(std::to_string(n) + " unknowns, " + std::to_string(threads) + " threads, stop " +
                   std::to_string(row.stop) + ", no pivot " + std::to_string(row.zero_column));
      ZxSetThreadsCount(threads);
      for (const auto poll : {CancellingPoll, ThrowingPoll}) {
        RawMatrix a(values);
        std::vector<double> own_b = right, own_x(n);
        ArmPoll(static_cast<int>(row.stop));
        if (row.stop < n && poll == ThrowingPoll) {
          EXPECT_THROW(Gauss(a.Get(), own_b.data(), own_x.data(), n, poll), std::runtime_error);
        } else {
          EXPECT_TRUE(SameBits(Gauss(a.Get(), own_b.data(), own_x.data(), n, row.stop < n ? poll : nullptr), expected));
        }
        EXPECT_TRUE(SameBits(a.Values(), left));
        EXPECT_TRUE(SameBits(own_b.data(), b.data(), n));
        EXPECT_TRUE(SameBits(own_x.data(), x.data(), n));
      }
      if (row.stop < n) continue;
      TVector solution(n);
      EXPECT_TRUE(SameBits(Gauss(MatrixOf(values), TVector(n, right.data()), solution), expected));
      EXPECT_TRUE(SameBits(solution.GetData(), x.data(), n));
    }
  }
  ZxSetThreadsCount(0);
}

TEST(GaussSolver, SignsTheDeterminantAndStopsAtZeroColumns) {
  TVector x(2);
  const TVector b(2, std::vector<double>{5, 7}.data());
  EXPECT_EQ(Gauss(MatrixOf({{0, 1}, {1, 0}}), b, x), -1.0);
  EXPECT_EQ(x.GetString(), "(7;5)");
  EXPECT_EQ(Gauss(MatrixOf({{0, 1}, {0, 2}}), b, x), 0.0);
  EXPECT_EQ(Gauss(MatrixOf({{1e-200, 0}, {0, 1e-200}}), b, x), 0.0) << "an underflow counts as singular";
  EXPECT_EQ(x.GetString(), "(7;5)") << "a singular system has no solution";
  EXPECT_EQ(Gauss(TMatrix(), TVector(), x), 1.0);
  EXPECT_THROW(Gauss(TMatrix(2, 1), b, x), std::runtime_error);
  EXPECT_THROW(Gauss(TMatrix(1, 2), b, x), std::runtime_error);
  x.Reset(1);
  EXPECT_THROW(Gauss(TMatrix(2), b, x), std::runtime_error);
  EXPECT_EQ(Gauss(TMatrix(2, 2), b, x), 0.0) << "there is nothing to write";
}

TEST(GaussSolver, IsCancelledByItsPoll) {
  const Rows values = {{4, 1, 0}, {1, 4, 1}, {0, 1, 4}};
  // Two columns, before and after the look at the determinant, two unknowns after the last one.
  for (int at = 1; at <= 7; ++at) {
    RawMatrix a(values);
    double b[3] = {1, 2, 3}, x[3];
    ArmPoll(at);
    EXPECT_EQ(Gauss(a.Get(), b, x, 3, CancellingPoll) == 0.0, at <= 6) << at;
    EXPECT_EQ(asked, std::min(at, 6));
  }
  RawMatrix singular(Rows{{1, 1}, {1, 1}});
  double b[2] = {1, 1}, x[2];
  ArmPoll(99);
  EXPECT_EQ(Gauss(singular.Get(), b, x, 2, CancellingPoll), 0.0);
  EXPECT_EQ(asked, 2);
}

}  // namespace
}  // namespace orbmath_test
