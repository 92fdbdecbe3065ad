// The plain estimation: undamped Gauss-Newton on normal equations. C. Tao and Y. Hu, "A comprehensive study of the
// rational function model for photogrammetric processing", Photogrammetric Engineering & Remote Sensing 67 (2001).

#include "refine/rpc_estimation.h"

#include "linalg/linear_systems.h"
#include "linalg/matrix.h"
#include "linalg/raw_arrays.h"
#include "linalg/vector.h"
#include "refine/estimation/estimation_steps.h"

namespace SatCommonUtils {

namespace {

using namespace estimation;

// Below this largest correction of both outputs nothing moves any more.
constexpr double kSmallCorrection = 1e-11;

struct TNormalEquations {
  TMatrix matrix;
  TVector right_side;
};

// The square matrix and the right side of the sums over rows of `unknowns` columns.
TNormalEquations EquationsOf(const TNormalSums& sums, std::size_t unknowns) {
  TNormalEquations equations{TMatrix(unknowns, unknowns), TVector(unknowns)};
  for (std::size_t i = 0; i < unknowns; ++i) {
    for (std::size_t j = 0; j < unknowns; ++j) equations.matrix[i][j] = sums.At(i, j);
    equations.right_side[i] = sums.At(i, unknowns);
  }
  return equations;
}

// As `TOverdefinedLinearSystem::Solution`: Cholesky, else elimination, whose result is not checked.
TRational FirstOrderStart(const TNormalSums& sums) {
  const TNormalEquations equations = EquationsOf(sums, kFirstOrderUnknowns);
  TVector solution(kFirstOrderUnknowns);
  if (!Cholesky(equations.matrix, equations.right_side, solution)) {
    solution = TVector(kFirstOrderUnknowns);
    Gauss(equations.matrix, equations.right_side, solution);
  }
  double values[kFirstOrderUnknowns];
  for (std::size_t i = 0; i < kFirstOrderUnknowns; ++i) values[i] = solution(i);
  return FirstOrderRational(values);
}

// \param correction zeros, or what elimination left of a solution, when the system is singular.
bool SolveCorrection(const TNormalSums& sums, TVector* correction) {
  TNormalEquations equations = EquationsOf(sums, kCubicUnknowns);
  for (std::size_t i = 0; i < kCubicUnknowns; ++i) equations.right_side[i] = -equations.right_side(i);
  return Gauss(equations.matrix, equations.right_side, *correction) != 0.0;
}

void Add(const TVector& correction, TRational* rational) {
  double values[kCubicUnknowns];
  for (std::size_t i = 0; i < kCubicUnknowns; ++i) values[i] = correction(i);
  Correct(values, 1.0, rational);
}

}  // namespace

bool EstimateRPC(const TRPCEstimationDataSet& data, TRPCData* rpc) {
  TEstimationPoints points;
  if (!points.Set(data)) return false;
  const auto start = points.SumFirstOrder();
  TRationalPair model{FirstOrderStart(start->line), FirstOrderStart(start->sample)};

  bool line_solved = false;
  bool sample_solved = false;
  for (int iteration = 0; iteration < kMaxIterations; ++iteration) {
    const auto sums = points.SumDesign(model);
    TVector line_correction(kCubicUnknowns);
    TVector sample_correction(kCubicUnknowns);
    line_solved = SolveCorrection(sums->line, &line_correction);
    sample_solved = line_solved && SolveCorrection(sums->sample, &sample_correction);
    Add(line_correction, &model.line);
    Add(sample_correction, &model.sample);
    if (line_correction.Norma1() < kSmallCorrection && sample_correction.Norma1() < kSmallCorrection) break;
  }
  if (!line_solved || !sample_solved || !AllFinite(model.line) || !AllFinite(model.sample)) return false;
  SetRecord(model, points.Normalization(), rpc);
  return true;
}

}  // namespace SatCommonUtils
