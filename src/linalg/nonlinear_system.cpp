// Newton's method on the full Jacobian, as Dennis and Schnabel, Numerical Methods for Unconstrained Optimization and
// Nonlinear Equations, 1983, 5.1 (doi:10.1137/1.9781611971200), without their safeguards: hosts rely on the plain
// steps.

#include "linalg/nonlinear_system.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <utility>

#include "frame/zxstd/debug_output.h"
#include "frame/zxstd/text.h"
#include "linalg/matrix.h"
#include "linalg/raw_arrays.h"
#include "linalg/vector.h"

namespace SatCommonUtils {

namespace {

template <class T>
T* CopyOf(const T* source, std::size_t n) {
  if (n == 0) return nullptr;
  T* const copy = new T[n];
  std::copy_n(source, n, copy);
  return copy;
}

// A report line is printed into a buffer of 100 bytes. Cutting never splits a letter: no line comes near the limit but
// by its number, which is ASCII.
void PrintLine(std::string line) {
  constexpr std::size_t kLongestLine = 99;
  line.resize(std::min(line.size(), kLongestLine));
  ZxPrintDbgMsg(line);
}

}  // namespace

TNonlinearSystemSolutionInfo::TNonlinearSystemSolutionInfo(std::size_t n)
    : iterations_(-1), n_(n), residuals_(n == 0 ? nullptr : new double[n]()), reached_(false) {}

TNonlinearSystemSolutionInfo::TNonlinearSystemSolutionInfo(const TNonlinearSystemSolutionInfo& other)
    : iterations_(other.iterations_),
      n_(other.n_),
      residuals_(CopyOf<double>(other.residuals_, other.n_)),
      reached_(other.reached_) {}

TNonlinearSystemSolutionInfo& TNonlinearSystemSolutionInfo::operator=(const TNonlinearSystemSolutionInfo& other) {
  if (this == &other) return *this;
  double* const copy = CopyOf<double>(other.residuals_, other.n_);
  delete[] residuals_;
  residuals_ = copy;
  iterations_ = other.iterations_;
  n_ = other.n_;
  reached_ = other.reached_;
  return *this;
}

TNonlinearSystemSolutionInfo::~TNonlinearSystemSolutionInfo() { delete[] residuals_; }

void TNonlinearSystemSolutionInfo::SetSize(std::size_t n) {
  if (n == n_) return;
  double* const residuals = n == 0 ? nullptr : new double[n]();
  delete[] residuals_;
  residuals_ = residuals;
  n_ = n;
}

void TNonlinearSystemSolutionInfo::DebugOutput() const {
  PrintLine("Результаты решения системы нелинейных уравнений");
  PrintLine(Zentarix::ssprintf("     Количество итераций: %d", static_cast<int>(iterations_)));
  PrintLine("     Невязки");
  for (std::size_t i = 0; i < n_; ++i) PrintLine(Zentarix::ssprintf("        %e", residuals_[i]));
  PrintLine(reached_ ? "    Требуемая точность ДОСТИГНУТА" : "    Требуемая точность НЕ достигнута");
}

TNonlinearSystem::TNonlinearSystem(std::size_t n, TNonlinearEquation* equations, TDefaultEquationParameter** parameters)
    : n_(n) {
  if (n == 0) return;
  std::unique_ptr<TNonlinearEquation[]> own_equations(CopyOf(equations, n));
  std::unique_ptr<TDefaultEquationParameter*[]> blocks(new TDefaultEquationParameter*[n]);
  if (parameters != nullptr) {
    std::copy_n(parameters, n, blocks.get());
  } else {
    // All blocks lie in one array; the first pointer owns it.
    auto* const own_blocks = new TDefaultEquationParameter[n]();
    for (std::size_t i = 0; i < n; ++i) blocks[i] = own_blocks + i;
    owns_parameters_ = true;
  }
  equations_ = own_equations.release();
  parameters_ = blocks.release();
}

TNonlinearSystem::TNonlinearSystem(const TNonlinearSystem& other)
    : TNonlinearSystem(other.n_, other.equations_, other.parameters_) {}

TNonlinearSystem::TNonlinearSystem(TNonlinearSystem&& other) noexcept
    : n_(std::exchange(other.n_, 0)),
      equations_(std::exchange(other.equations_, nullptr)),
      parameters_(std::exchange(other.parameters_, nullptr)),
      owns_parameters_(std::exchange(other.owns_parameters_, false)) {}

TNonlinearSystem& TNonlinearSystem::operator=(TNonlinearSystem other) noexcept {
  // What comes may be a copy of this very system, which shares its blocks: they stay this system's then.
  const bool shares = owns_parameters_ && other.n_ != 0 && other.parameters_[0] == parameters_[0];
  std::swap(n_, other.n_);
  std::swap(equations_, other.equations_);
  std::swap(parameters_, other.parameters_);
  if (!shares) std::swap(owns_parameters_, other.owns_parameters_);
  return *this;
}

TNonlinearSystem::~TNonlinearSystem() {
  if (owns_parameters_) delete[] parameters_[0];
  delete[] parameters_;
  delete[] equations_;
}

double TNonlinearSystem::Residual(std::size_t i, double* x) const { return equations_[i](x, parameters_[i]); }

void TNonlinearSystem::Report(TNonlinearSystemSolutionInfo* info, std::int32_t iterations, bool reached,
                              double* x) const {
  info->SetSize(n_);
  info->iterations_ = iterations;
  info->reached_ = reached;
  for (std::size_t i = 0; i < n_; ++i) {
    parameters_[i]->equation_index = i;
    info->residuals_[i] = Residual(i, x);
  }
}

bool TNonlinearSystem::Newton(TNonlinearSystemNewtonMethodParams* params, double* x) const {
  TVector point(n_, params->initial_approximation);
  TVector previous(n_);
  TMatrix jacobian(n_, n_);
  TVector right_side(n_);
  TVector solution(n_);
  bool converged = false;
  std::int32_t k = 0;
  while (k < params->max_iterations && (params->progress == nullptr || params->progress(k + 1))) {
    previous = point;
    right_side.FillWithZeroes();
    double* const at = previous.GetData();
    for (std::size_t i = 0; i < n_; ++i) {
      TDefaultEquationParameter* const block = parameters_[i];
      block->equation_index = i;
      for (std::size_t j = 0; j < n_; ++j) {
        block->variable_index = j;
        jacobian[i][j] = params->derivatives[i][j](at, block);
        right_side[i] += at[j] * jacobian[i][j];
      }
      right_side[i] -= Residual(i, at);
    }
    // Solved for the new point instead of the step. Without a pivot `solution` stays that of the round before.
    Gauss(jacobian, right_side, solution);
    point = solution;
    converged = true;
    for (std::size_t m = 0; m < n_; ++m) {
      converged = converged && std::fabs(solution(m) - previous(m)) < params->tolerance;
    }
    if (converged) break;
    ++k;
  }
  if (params->solution_info != nullptr) Report(params->solution_info, k, converged, point.GetData());
  point.Put2Buffer(x);
  return converged;
}

}  // namespace SatCommonUtils
