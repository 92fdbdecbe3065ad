#pragma once
// The least-squares solution of a block for the measurements that are used.

#include <functional>
#include <memory>

#include "block/equations.h"
#include "block/reduced_system.h"

namespace SatCommonUtils::block {

/// How it went.
enum class TStepsState { Converged, NotConverged, Singular, Cancelled };

/// Gauss-Newton steps on one network. The factor of the reduced matrix is kept for as many steps as it leads on.
class TLeastSquares {
 public:
  TLeastSquares(const TNetwork& network, int parameters);

  TEquations equations;
  int iterations = 0;
  int factorizations = 0;

  /// Steps until corrections and points rest, at most `steps`; then the equations are linearized where they rest.
  TStepsState Solve(int steps);
  /// The next step makes a factor of its own: what is used has changed much.
  void ForgetFactor() { hasFactor_ = false; }
  /// Factors at the present state, for `System().Invert()`. \return false when that fails.
  bool FactorHere();
  TReducedSystem& System() { return *system_; }

 private:
  double TakeStep();

  const TNetwork& network_;
  std::unique_ptr<TReducedSystem> system_;
  bool hasFactor_ = false;
};

}  // namespace SatCommonUtils::block
