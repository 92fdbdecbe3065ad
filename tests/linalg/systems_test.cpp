// Linear and nonlinear systems and the sparse vector.

#include <gtest/gtest.h>

#include <cmath>
#include <utility>
#include <vector>

#include "linalg/linear_systems.h"
#include "linalg/nonlinear_system.h"
#include "linalg/reference.h"
#include "linalg/sparse_vector.h"
#include "support/debug_capture.h"

namespace orbmath_test {
namespace {

using namespace SatCommonUtils;

int asked = 0;
int stop_at = 0;
int StopOnce() { return ++asked == stop_at ? 1 : 0; }

TEST(LinearSystem, SolvesWithoutTouchingItself) {
  TLinearSystem system(MatrixOf({{2, 0}, {0, -4}}), TVector(4.0, 8.0, 0.0).GetSubVector(0, 2));
  TVector x;
  EXPECT_EQ(system.SolutionGauss(x), -8.0);
  EXPECT_EQ(x.GetString(), "(2;-2)");
  EXPECT_EQ(system.Det(), -8.0);
  EXPECT_EQ(system.Cond(), 2.0);
  EXPECT_EQ(system.Dimension(), 2u);
  system.SetCoef(TMatrix(1));
  EXPECT_THROW(system.Det(), std::runtime_error) << "the matrix is smaller than the free terms";
  EXPECT_EQ(TLinearSystem(3).Det(), 1.0);
}

// Three ways to the same least squares differ only in the last bits; each has the bits of its own loops.
TEST(LeastSquares, FormsNormalEquationsAsDocumented) {
  Random random("least squares");
  const std::size_t m = 9000, n = 7;  // more than go into the normal matrix between two polls
  const Rows a = RandomRows(&random, m, n, Kind::Normal);
  std::vector<double> l = RandomVector(&random, m, Kind::Normal), w(m), x(n), plain(n), ones(m, 1.0), by_ones(n);
  for (double& weight : w) weight = random.Uniform(0.1, 2.0);
  const auto solved = [&](const Rows& normal, const Rows& right) {
    Rows u;
    EXPECT_TRUE(ReferenceCholesky(normal, &u));
    return ReferenceCholeskySolve(u, Transposed(right)[0]);
  };
  const Rows column = Transposed({l});
  RawMatrix raw(a);
  ASSERT_TRUE(SolveOverdefined(raw.Get(), l.data(), w.data(), x.data(), n, m, nullptr));
  const auto weighted_last = [&](double p, double q, std::size_t k) { return p * q * w[k]; };
  EXPECT_TRUE(
      SameBits(x.data(), solved(SumOfTerms(a, a, weighted_last), SumOfTerms(a, column, weighted_last)).data(), n));
  ASSERT_TRUE(SolveOverdefined(raw.Get(), l.data(), nullptr, plain.data(), n, m, nullptr));
  ASSERT_TRUE(SolveOverdefined(raw.Get(), l.data(), ones.data(), by_ones.data(), n, m, nullptr));
  EXPECT_TRUE(SameBits(plain.data(), by_ones.data(), n));

  const auto weighted_first = [&](double p, double q, std::size_t k) { return p * w[k] * q; };
  TVector solution;
  TOverdefinedLinearSystem(MatrixOf(a), TVector(m, l.data()), TVector(m, w.data())).Solution(solution);
  const auto expected = solved(SumOfTerms(a, a, weighted_first), SumOfTerms(a, column, weighted_first));
  EXPECT_TRUE(SameBits(solution.GetData(), expected.data(), n));
}

TEST(LeastSquares, FallsBackToEliminationAndReportsFailure) {
  // Too small for Cholesky's pivot limit, yet regular.
  const Rows tiny = {{1e-11, 0}, {0, 1e-11}, {0, 0}};
  RawMatrix a(tiny), singular(Rows{{1, 1}, {2, 2}});
  double l[3] = {2e-11, 3e-11, 1}, x[2];
  ASSERT_TRUE(SolveOverdefined(a.Get(), l, nullptr, x, 2, 3, nullptr));
  EXPECT_DOUBLE_EQ(x[0], 2.0);
  EXPECT_DOUBLE_EQ(x[1], 3.0);
  EXPECT_FALSE(SolveOverdefined(singular.Get(), l, nullptr, x, 2, 2, nullptr));
  // Two rows of the normal matrix, then a failed pivot, two columns and so on of the elimination.
  for (stop_at = 1; stop_at <= 5; ++stop_at) {
    asked = 0;
    EXPECT_FALSE(SolveOverdefined(a.Get(), l, nullptr, x, 2, 3, StopOnce)) << stop_at;
    EXPECT_EQ(asked, stop_at);
  }
  // Two rows, two of the factor, two unknowns in either pass: a single "stop" counts wherever it comes.
  RawMatrix regular(Rows{{2, 1}, {1, 3}, {0, 1}});
  for (stop_at = 1; stop_at <= 9; ++stop_at) {
    asked = 0;
    EXPECT_EQ(SolveOverdefined(regular.Get(), l, nullptr, x, 2, 3, StopOnce), stop_at == 9) << stop_at;
  }
  TVector solution;
  TOverdefinedLinearSystem(MatrixOf(tiny), TVector(3, l)).Solution(solution);
  EXPECT_DOUBLE_EQ(solution(1), 3.0);
  const auto text = [](auto make) {
    try {
      make();
      return "accepted";
    } catch (const char* thrown) {
      return thrown;
    }
  };
  const char* const refusal = "TOverdefinedLinearSystem::TOverdefinedLinearSystem(const TMatrix&,const TVector&)";
  EXPECT_STREQ(text([] { TOverdefinedLinearSystem(TMatrix(3, 2), TVector(2)); }), refusal);
  EXPECT_STREQ(text([] { TOverdefinedLinearSystem(TMatrix(1, 2), TVector(3)); }), refusal);
  EXPECT_STREQ(text([] { TOverdefinedLinearSystem(TMatrix(), TVector()); }), refusal);
  EXPECT_STREQ(text([] { TOverdefinedLinearSystem(TMatrix(1, 2), TVector(2), TVector(1)); }), refusal);
}

TEST(ClosedForms, SolveOrLeaveTheOutputs) {
  double x = kPoison, y = kPoison;
  EXPECT_FALSE(SolveEquationsSet(1, 2, 2, 4, 1, 1, &x, &y));
  EXPECT_EQ(x, kPoison);
  EXPECT_EQ(y, kPoison);
  EXPECT_TRUE(SolveEquationsSet(2, 1, 1, -1, 5, 1, &x, &y));
  EXPECT_EQ(x, 2.0);
  EXPECT_EQ(y, 1.0);
  const double a[9] = {0, 2, 0, 1, 0, 0, 0, 0, 4}, flat[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9}, b[3] = {1, 2, 3};
  double three[3] = {kPoison, kPoison, kPoison};
  EXPECT_EQ(SolveKramer3(flat, b, three), 0.0);
  EXPECT_EQ(three[0], kPoison);
  EXPECT_EQ(SolveKramer3(a, b, three), -8.0);
  EXPECT_EQ(TVector(3, three).GetString(), "(2;0.5;0.75)");
}

double Circle(double* x, TDefaultEquationParameter* p) {
  return p->equation_index == 0 ? x[0] * x[0] + x[1] * x[1] - 25.0 : x[0] * x[1] - 12.0;
}
double CircleDerivative(double* x, TDefaultEquationParameter* p) {
  return p->equation_index == 0 ? 2.0 * x[p->variable_index] : x[1 - p->variable_index];
}
bool Refuse(int step) { return step != 1; }
std::vector<int> steps;
bool Watch(int step) {
  steps.push_back(step);
  return true;
}

double Parabola(double* x, TDefaultEquationParameter*) { return x[0] * x[0] - 2.0; }
double ParabolaDerivative(double* x, TDefaultEquationParameter*) { return 2.0 * x[0]; }

// From 1 the steps to the root of 2 change x by 5e-1, 8e-2, 2e-3, 2e-6, 2e-12 and 0.
TEST(NonlinearSystem, CountsTheStepsBeforeTheLast) {
  TNonlinearEquation equation = Parabola, derivative = ParabolaDerivative;
  TNonlinearEquation* derivatives[] = {&derivative};
  const TNonlinearSystem system(1, &equation, nullptr);
  double start = 1.0, x = kPoison;
  TNonlinearSystemSolutionInfo info(1);
  const struct {
    double tolerance;
    int most, iterations;
    bool reached;
  } cases[] = {{1e-12, 50, 5, true}, {1e-11, 50, 4, true}, {1e-11, 5, 4, true}, {1e-11, 4, 4, false},
               {1e-1, 50, 1, true},  {1.0, 1, 0, true},    {1e-12, 2, 2, false}};
  for (const auto& one : cases) {
    TNonlinearSystemNewtonMethodParams params{derivatives, &start, one.tolerance, one.most, &info, Watch};
    steps.clear();
    EXPECT_EQ(system.Newton(&params, &x), one.reached) << one.tolerance;
    EXPECT_EQ(info.GetIterations(), one.iterations) << one.tolerance << ' ' << one.most;
    ASSERT_EQ(steps.size(), static_cast<std::size_t>(one.iterations + (one.reached ? 1 : 0)));
    for (std::size_t i = 0; i < steps.size(); ++i) EXPECT_EQ(steps[i], static_cast<int>(i) + 1);
  }
}

// Its own copy shares the blocks of parameters, which must outlive an assignment from it (address sanitizer).
TEST(NonlinearSystem, KeepsItsBlocksWhenAssignedItsOwnCopy) {
  TNonlinearEquation equation = Parabola, derivative = ParabolaDerivative;
  TNonlinearEquation* derivatives[] = {&derivative};
  double start = 1.0, x = kPoison;
  TNonlinearSystemNewtonMethodParams params{derivatives, &start, 1e-12, 50, nullptr, nullptr};
  TNonlinearSystem system(1, &equation, nullptr), empty;
  const TNonlinearSystem& itself = system;
  for (int way = 0; way < 4; ++way) {
    TNonlinearSystem copy(system);
    if (way == 0) system = itself;
    if (way == 1) system = copy;
    if (way == 2) system = std::move(copy);
    if (way == 3) empty = itself;
    EXPECT_TRUE((way == 3 ? empty : system).Newton(&params, &x)) << way;
    EXPECT_DOUBLE_EQ(x, std::sqrt(2.0));
  }
}

TEST(NonlinearSystem, ConvergesReportsAndObeysItsLimits) {
  static_assert(sizeof(TNonlinearSystemSolutionInfo) == 8 + 2 * sizeof(void*) &&
                    sizeof(TNonlinearSystemNewtonMethodParams) == 12 + 4 * sizeof(void*),
                "packed to four bytes");
  TNonlinearEquation equations[] = {Circle, Circle};
  TNonlinearEquation row[] = {CircleDerivative, CircleDerivative};
  TNonlinearEquation* derivatives[] = {row, row};
  double start[] = {5, 2};
  const TNonlinearSystem original(2, equations, nullptr);
  const TNonlinearSystem system(original);
  TNonlinearSystemSolutionInfo info(7);
  EXPECT_EQ(info.GetIterations(), -1);
  TNonlinearSystemNewtonMethodParams params{derivatives, start, 1e-12, 50, &info, nullptr};
  double x[2] = {kPoison, kPoison};
  EXPECT_TRUE(system.Newton(&params, x));
  EXPECT_DOUBLE_EQ(x[0], 4.0);
  EXPECT_DOUBLE_EQ(x[1], 3.0);
  EXPECT_TRUE(info.IsReached());
  EXPECT_EQ(info.GetSize(), 2u);
  EXPECT_LT(std::fabs(info.GetResiduals()[0]), 1e-12);
  const TNonlinearSystemSolutionInfo reached(info);
  for (const bool limited : {true, false}) {
    params.max_iterations = limited ? 0 : 50;
    params.progress = limited ? nullptr : Refuse;
    EXPECT_FALSE(system.Newton(&params, x));
    EXPECT_EQ(x[0], 5.0);
    EXPECT_EQ(info.GetIterations(), 0);
    EXPECT_FALSE(info.IsReached());
    EXPECT_EQ(info.GetResiduals()[1], -2.0);
  }
  const DebugCapture capture;
  info.DebugOutput();
  EXPECT_EQ(capture.messages,
            (std::vector<std::string>{"Результаты решения системы нелинейных уравнений", "     Количество итераций: 0",
                                      "     Невязки", "        4.000000e+00", "        -2.000000e+00",
                                      "    Требуемая точность НЕ достигнута"}));
  reached.DebugOutput();
  EXPECT_EQ(capture.messages.back(), "    Требуемая точность ДОСТИГНУТА");
}

TEST(SparseVector, StoresOnlyWhatIsWritten) {
  TSparseVector v(3);
  EXPECT_EQ(v(1), 0.0);
  EXPECT_TRUE(v.GetElements().empty());
  v[1];
  EXPECT_EQ(v.GetElements().size(), 1u);
  v += 1.0;
  EXPECT_EQ(v(0) + v(2), 0.0) << "zeros that are not stored stay zero";
  EXPECT_EQ((-v)(1), -1.0);
  v -= 1.0;
  v.Compress();
  EXPECT_TRUE(v.GetElements().empty());
  const TSparseVector parsed(std::string("(1;0;nan;-0;4)"));
  EXPECT_EQ(parsed.GetSize(), 5u);
  EXPECT_EQ(parsed.GetElements().size(), 3u);
  TSparseVector five(5, std::size_t{1});
  five[4] = 2.0;
  EXPECT_EQ(five.GetSubVector(1, 4)(3), 2.0);
  TSparseVector target(4, std::size_t{2});
  target.InsertSubVector(1, five.GetSubVector(0, 3));
  EXPECT_EQ(target(2), 1.0);
  target.InsertSubVector(2, TSparseVector(1));
  EXPECT_TRUE(target.GetElements().empty()) << "zeros replace as well";
  five.Resize(2);
  EXPECT_EQ(five.GetElements().size(), 1u);
  EXPECT_FALSE(five.GetSubVector(9, 0));
}

TEST(SparseVector, ChecksItsIndices) {
  TSparseVector v(3);
  const auto refused = [](auto access) {
    try {
      access();
      return std::string("accepted");
    } catch (const std::runtime_error& error) {
      return std::string(error.what());
    }
  };
  const std::string index = "double& TSparseVector::operator[](size_t index)";
  const std::string part = "TSparseVector TSparseVector::GetSubVector(size_t first_pos, size_t length) const";
  EXPECT_EQ(refused([&] { v[3]; }), index);
  EXPECT_EQ(refused([&] { static_cast<void>(static_cast<const TSparseVector&>(v)(3)); }), index);
  EXPECT_EQ(refused([] { TSparseVector(3, std::size_t{3}); }), "TSparseVector::TSparseVector(size_t size, size_t pos)");
  EXPECT_EQ(refused([&] { v.GetSubVector(2, 2); }), part);
  EXPECT_EQ(refused([&] { v.GetSubVector(SIZE_MAX, 2); }), part) << "the sum of both wraps around";
  EXPECT_NE(refused([&] { v.InsertSubVector(2, v); }), "accepted");
}

}  // namespace
}  // namespace orbmath_test
