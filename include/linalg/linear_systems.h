#pragma once
/// \file
/// Square and overdetermined linear systems.
///
/// Least-squares solvers form the normal equations, solve them by Cholesky and fall back to elimination with partial
/// pivoting only when Cholesky fails. Weights here multiply; compare `CalculateNormalMatrix`, which divides by
/// variances.

#include <cstddef>

#include "../frame/api.h"
#include "matrix.h"
#include "vector.h"

namespace SatCommonUtils {

/// A square system A·x = b.
class ORBMATH_API TLinearSystem {
 public:
  /// No equations.
  TLinearSystem() = default;
  /// The `n` x `n` identity and `n` zero free terms.
  explicit TLinearSystem(std::size_t n);
  /// Copies both; the sizes are not compared.
  TLinearSystem(const TMatrix& A, const TVector& b);

  /// Replaces matrix and free terms; the sizes are not compared.
  void Set(const TMatrix& A, const TVector& b);
  /// Replaces the matrix.
  void SetCoef(const TMatrix& A) { coefficients_ = A; }
  /// Replaces the free terms.
  void SetFree(const TVector& b) { free_terms_ = b; }
  /// The matrix itself; the system keeps it.
  TMatrix& AccessCoef() noexcept { return coefficients_; }
  /// The free terms themselves; the system keeps them.
  TVector& AccessFree() noexcept { return free_terms_; }
  /// A copy of the matrix.
  TMatrix GetCoef() const { return coefficients_; }
  /// A copy of the free terms.
  TVector GetFree() const { return free_terms_; }
  /// Number of free terms.
  std::size_t Dimension() const noexcept { return free_terms_.GetSize(); }

  /// Solves by elimination on copies. \param x becomes as long as the free terms.
  /// \return the determinant; 0.0 for a singular system, `x` is then incomplete.
  /// \throws std::runtime_error when the matrix is smaller than the free terms (a checked access).
  double SolutionGauss(TVector& x) const;
  /// The determinant, as `SolutionGauss` returns it.
  double Det() const;
  /// `Cond` of the coefficients.
  double Cond() const;

 private:
  TMatrix coefficients_;
  TVector free_terms_;
};

/// A weighted least-squares problem: minimise Σ w(k)·(A(k, ·)·x − l(k))².
class ORBMATH_API TOverdefinedLinearSystem {
 public:
  /// No observations.
  TOverdefinedLinearSystem() = default;
  /// All weights 1.0. \param A m rows (observations) of n columns (unknowns), m ≥ n. \param l m > 0 observations.
  /// \throws const char* "TOverdefinedLinearSystem::TOverdefinedLinearSystem(const TMatrix&,const TVector&)" when the
  /// sizes are otherwise.
  TOverdefinedLinearSystem(const TMatrix& A, const TVector& l);
  /// The same with m weights `w` of the observations, dimensionless. \throws const char* the same text for other sizes.
  TOverdefinedLinearSystem(const TMatrix& A, const TVector& l, const TVector& w);

  /// Solves by Cholesky, or by elimination when Cholesky fails. \param x becomes n values, incomplete when the normal
  /// equations are singular, which is not reported.
  void Solution(TVector& x) const;

 private:
  TMatrix design_;
  TVector observations_;
  TVector weights_;
};

/// Solves A·x = b for a symmetric positive definite A, n x n with n the width of A, of which the upper triangle is
/// read. \param x becomes n values. \return false, leaving `x` untouched, when a pivot is at most
/// `kSmallestCholeskyPivot` (raw_arrays.h).
/// \throws std::runtime_error when A has fewer rows than columns or b fewer than n elements (a checked access).
ORBMATH_API bool Cholesky(const TMatrix& A, const TVector& b, TVector& x);

/// Least squares on raw arrays: minimises Σ w(k)·(A(k, ·)·x − l(k))².
/// \param A m rows (observations) of n values (unknowns). \param l m observations.
/// \param w m weights, or null for all 1.0. \param x room for n values.
/// \param poll null, or called once for each row of the normal matrix while that is formed, and then by the solver;
/// non-zero cancels.
/// \return false when the normal equations are singular or the poll cancelled.
ORBMATH_API bool SolveOverdefined(double** A, double* l, double* w, double* x, std::size_t n, std::size_t m,
                                  int (*poll)(void));

/// Solves a·x + b·y = e, c·x + d·y = f by Cramer's rule.
/// \return false, leaving the outputs untouched, when the determinant a·d − b·c equals 0.0.
ORBMATH_API bool SolveEquationsSet(const double& a, const double& b, const double& c, const double& d, const double& e,
                                   const double& f, double* x, double* y);

/// Solves a 3 x 3 system by Cramer's rule. \param A nine values, row by row. \param b three values. \param x room for
/// three values, untouched when the determinant equals 0.0. \return the determinant.
ORBMATH_API double SolveKramer3(const double* A, const double* b, double* x);

}  // namespace SatCommonUtils
