#pragma once
/// \file
/// Newton's method for square systems of nonlinear equations with analytic derivatives.

#include <cstddef>
#include <cstdint>

#include "../frame/api.h"

namespace SatCommonUtils {

/// What an equation is told about the call. A caller's own blocks begin with these two fields.
struct TDefaultEquationParameter {
  std::size_t equation_index;  ///< i, the equation that is evaluated.
  std::size_t variable_index;  ///< j, the unknown that is differentiated by; without meaning otherwise.
};

/// The value of an equation f_i, or of a derivative ∂f_i/∂x_j, at the point `x`.
using TNonlinearEquation = double (*)(double* x, TDefaultEquationParameter* parameter);

#pragma pack(push, 4)

/// The outcome of a solution. Packed to 4 bytes: copy its fields, take no address of them.
class ORBMATH_API TNonlinearSystemSolutionInfo {
 public:
  /// Iterations -1, not reached. \param n number of residuals, all 0.0.
  explicit TNonlinearSystemSolutionInfo(std::size_t n);
  TNonlinearSystemSolutionInfo(const TNonlinearSystemSolutionInfo& other);
  TNonlinearSystemSolutionInfo& operator=(const TNonlinearSystemSolutionInfo& other);
  ~TNonlinearSystemSolutionInfo();

  /// Completed steps before the last one, or all steps when the tolerance was not reached; -1 before a solution.
  std::int32_t GetIterations() const noexcept { return iterations_; }
  /// Number of residuals.
  std::size_t GetSize() const noexcept { return n_; }
  /// The `GetSize()` values of the equations at the returned point; null when there are none.
  const double* GetResiduals() const noexcept { return residuals_; }
  /// Whether the tolerance was reached.
  bool IsReached() const noexcept { return reached_; }

  /// Sends a report in Russian to the debug print, one message a line.
  void DebugOutput() const;

 private:
  friend class TNonlinearSystem;
  void SetSize(std::size_t n);

  std::int32_t iterations_;
  std::size_t n_;
  double* residuals_;
  bool reached_;
};

/// What Newton's method needs. Packed to 4 bytes: copy its fields, take no address of them.
struct TNonlinearSystemNewtonMethodParams {
  TNonlinearEquation** derivatives;  ///< n arrays of n functions; [i][j] computes ∂f_i/∂x_j.
  double* initial_approximation;     ///< n values.
  double tolerance;                  ///< Every unknown changes by less in the last step; unit of the unknowns.
  std::int32_t max_iterations;       ///< Most steps to take.
  TNonlinearSystemSolutionInfo* solution_info;  ///< Receives the outcome; may be null.
  bool (*progress)(int);  ///< Called before each step with its number, from 1; false stops. May be null.
};

#pragma pack(pop)

/// A square system f_i(x) = 0 of n equations in n unknowns.
///
/// The equations are functions of the caller. One system must not run two solutions at once: the parameter blocks are
/// written on every call.
class ORBMATH_API TNonlinearSystem {
 public:
  /// No equations.
  TNonlinearSystem() = default;
  /// \param n number of equations and unknowns. \param equations n functions; the pointers are copied.
  /// \param parameters n pointers to blocks of the caller, which outlive the system; or null for blocks of the
  /// system's own.
  TNonlinearSystem(std::size_t n, TNonlinearEquation* equations, TDefaultEquationParameter** parameters);
  /// Shares the parameter blocks, which the copy does not own: it is used only as long as their owner lives and keeps
  /// them, that is until another system is assigned to the owner.
  TNonlinearSystem(const TNonlinearSystem& other);
  /// The source has no equations afterwards.
  TNonlinearSystem(TNonlinearSystem&& other) noexcept;
  /// By copy or move, as the constructors. Assigned its own copy, a system keeps the blocks that both share.
  TNonlinearSystem& operator=(TNonlinearSystem other) noexcept;
  ~TNonlinearSystem();

  /// Newton's method (any textbook, e.g. Dennis and Schnabel, Numerical Methods for Unconstrained Optimization and
  /// Nonlinear Equations, 5.1; doi:10.1137/1.9781611971200): each step solves J·s = J·x − f(x) for the new point s by
  /// elimination. A singular J is not noticed: s then is as the step before left it (zeros at first), so that the
  /// result may be true at a point that solves nothing. The residuals tell.
  /// \param x receives the n values of the last point, whatever the result.
  /// \return true when the tolerance was reached; false at the limit of steps or when `progress` stopped.
  bool Newton(TNonlinearSystemNewtonMethodParams* params, double* x) const;

 private:
  double Residual(std::size_t i, double* x) const;
  void Report(TNonlinearSystemSolutionInfo* info, std::int32_t iterations, bool reached, double* x) const;

  std::size_t n_ = 0;
  TNonlinearEquation* equations_ = nullptr;
  TDefaultEquationParameter** parameters_ = nullptr;
  bool owns_parameters_ = false;
};

}  // namespace SatCommonUtils
