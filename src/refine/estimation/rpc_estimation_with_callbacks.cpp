// The plain estimation on raw arrays, which tells its progress and can be stopped. Method as in rpc_estimation.cpp.

#include <cmath>
#include <limits>
#include <memory>
#include <vector>

#include "linalg/kernels.h"
#include "linalg/raw_arrays.h"
#include "linalg/work_matrix.h"
#include "refine/estimation/estimation_steps.h"
#include "refine/rpc_estimation.h"

namespace SatCommonUtils {

namespace {

using namespace estimation;

// Pixels: an iteration that improves a root mean square by less did not improve it.
constexpr double kSmallDecrease = 1e-10;

// A square system as the raw solvers want it.
class TRawSystem {
 public:
  TRawSystem(const TNormalSums& sums, std::size_t unknowns)
      : size_(unknowns), matrix_(unknowns, unknowns), right_side_(unknowns) {
    double* const* const rows = matrix_.GetRows();
    for (std::size_t i = 0; i < unknowns; ++i) {
      for (std::size_t j = 0; j < unknowns; ++j) rows[i][j] = sums.At(i, j);
      right_side_[i] = sums.At(i, unknowns);
    }
  }

  bool SolveAsNormalEquations(double* x, int (*cancel)()) {
    return kernels::SolveNormalEquations(matrix_.GetRows(), right_side_.data(), x, size_, cancel);
  }
  bool SolveByElimination(double* x, int (*cancel)()) {
    return Gauss(matrix_.GetRows(), right_side_.data(), x, size_, cancel) != 0.0;
  }

 private:
  std::size_t size_;
  WorkMatrix matrix_;
  std::vector<double> right_side_;
};

// Tells and asks the caller, who may not want to hear.
struct TCaller {
  void (*progress)(int);
  int (*cancel)();

  void Tell(int size) const {
    if (progress != nullptr) progress(size);
  }
  // As a product of matrices asks: once a row of its result, whatever the answers.
  void AskAfterRows(std::size_t rows) const {
    if (cancel == nullptr) return;
    for (std::size_t i = 0; i < rows; ++i) cancel();
  }
  // As a normal matrix of an overdetermined system asks: the first answer that is not zero cancels.
  bool CancelsAfterRows(std::size_t rows) const {
    if (cancel == nullptr) return false;
    for (std::size_t i = 0; i < rows; ++i) {
      if (cancel() != 0) return true;
    }
    return false;
  }
};

bool SolveFirstOrder(const TNormalSums& sums, const TCaller& caller, TRational* start) {
  caller.Tell(static_cast<int>(kFirstOrderUnknowns));
  if (caller.CancelsAfterRows(kFirstOrderUnknowns)) return false;
  TRawSystem system(sums, kFirstOrderUnknowns);
  double solution[kFirstOrderUnknowns];
  if (!system.SolveAsNormalEquations(solution, caller.cancel)) return false;
  *start = FirstOrderRational(solution);
  return true;
}

bool CorrectOutput(const TNormalSums& sums, const TCaller& caller, TRational* rational) {
  caller.AskAfterRows(kCubicUnknowns);  // rows of the normal matrix
  caller.AskAfterRows(kCubicUnknowns);  // elements of the right side
  TRawSystem system(sums, kCubicUnknowns);
  double correction[kCubicUnknowns] = {};
  if (!system.SolveByElimination(correction, caller.cancel)) return false;
  Correct(correction, -1.0, rational);
  return true;
}

// The coefficients of an output with the smallest root mean square so far. One that is no number is never the smallest.
struct TBest {
  TRational rational;
  double root_mean_square = std::numeric_limits<double>::infinity();

  void Offer(const TRational& candidate, double value) {
    if (!(value < root_mean_square)) return;
    rational = candidate;
    root_mean_square = value;
  }
};

}  // namespace

bool EstimateRPC(const TRPCEstimationDataSet& data, TRPCData* rpc, void (*progress)(int), int (*cancel)()) {
  const TCaller caller{progress, cancel};
  TEstimationPoints points;
  if (!points.Set(data)) return false;
  const TRPCNormalization normalization =
      points.Normalization() != nullptr ? *points.Normalization() : TRPCNormalization(*rpc);
  const double line_scale = std::fabs(normalization.line.GetScale());
  const double sample_scale = std::fabs(normalization.sample.GetScale());

  const auto start = points.SumFirstOrder();
  TRationalPair model;
  if (!SolveFirstOrder(start->line, caller, &model.line) || !SolveFirstOrder(start->sample, caller, &model.sample)) {
    return false;
  }

  TBest best_line, best_sample;
  const TRootMeanSquares of_start = points.ResidualsOf(model);
  best_line.Offer(model.line, of_start.line);
  best_sample.Offer(model.sample, of_start.sample);
  TRootMeanSquares previous{1e100, 1e100};
  for (int iteration = 0; iteration < kMaxIterations; ++iteration) {
    caller.Tell(static_cast<int>(2 * kCubicUnknowns));
    const auto sums = points.SumDesign(model);
    if (!CorrectOutput(sums->line, caller, &model.line) || !CorrectOutput(sums->sample, caller, &model.sample)) {
      return false;
    }
    const TRootMeanSquares current = points.ResidualsOf(model);
    best_line.Offer(model.line, current.line);
    best_sample.Offer(model.sample, current.sample);
    // Written so that a root mean square that is no number stops as well.
    const bool line_decreased = (previous.line - current.line) * line_scale >= kSmallDecrease;
    const bool sample_decreased = (previous.sample - current.sample) * sample_scale >= kSmallDecrease;
    if (!line_decreased && !sample_decreased) break;
    previous = current;
  }
  if (!std::isfinite(best_line.root_mean_square) || !std::isfinite(best_sample.root_mean_square)) return false;
  SetRecord({best_line.rational, best_sample.rational}, points.Normalization(), rpc);
  return true;
}

}  // namespace SatCommonUtils
