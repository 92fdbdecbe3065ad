#pragma once
// The least-squares solution of a block for the measurements that are used.

#include <functional>
#include <memory>

#include "block/equations.h"
#include "block/progress.h"
#include "block/reduced_system.h"

namespace SatCommonUtils::block {

/// Steps that move nothing by more than this, pixels, end an iteration whose result is given out.
constexpr double kRest = 1e-6;

/// How it went.
enum class TStepsState { Converged, NotConverged, Singular, Cancelled };

/// Gauss-Newton steps on one network. The factor of the reduced matrix is kept for as many steps as it leads on.
class TLeastSquares {
 public:
  TLeastSquares(const TNetwork& network, int parameters, TProgress* progress);

  TEquations equations;
  int iterations = 0;
  int factorizations = 0;

  /// Steps until nothing in any image moves by more than `rest` pixels, at most `steps`; then the equations are
  /// linearized there.
  TStepsState Solve(int steps, double rest = kRest);
  /// The next step makes a factor of its own: what is used has changed much.
  void ForgetFactor() { hasFactor_ = false; }
  /// Eliminates the points at the present state.
  void EliminatePoints() { system_->EliminatePoints(equations, 0.0); }
  /// And factors the system there. \param corrections and inverts the system there, for the covariance of
  /// the corrections. \return false when that fails.
  bool MakePrecision(bool corrections);
  TReducedSystem& System() { return *system_; }

 private:
  double TakeStep();

  const TNetwork& network_;
  TProgress* progress_;
  std::unique_ptr<TReducedSystem> system_;
  bool hasFactor_ = false;
};

}  // namespace SatCommonUtils::block
