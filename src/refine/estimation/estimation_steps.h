#pragma once
// What the two plain estimations have in common: the points they accept, the first-order start and the sums of an
// iteration. They differ in their solvers, their stopping rules and the sign of the correction.

#include <cstddef>
#include <memory>

#include "refine/estimation/design_rows.h"
#include "refine/estimation/point_block.h"

namespace SatCommonUtils::estimation {

constexpr std::size_t kFirstOrderUnknowns = 7;
constexpr std::size_t kCubicUnknowns = 39;
constexpr int kMaxIterations = 10;

/// The two outputs of a record.
struct TRationalPair {
  TRational line;
  TRational sample;
};

/// The sums of the two outputs.
struct TNormalSumsPair {
  TNormalSums line;
  TNormalSums sample;
};

/// Root mean squares of the residuals of the two outputs, normalised.
struct TRootMeanSquares {
  double line;
  double sample;
};

/// The points of an estimation as the polynomials see them.
class TEstimationPoints {
 public:
  /// \return false for fewer than 40 points, a coordinate that is not finite and, unless the points are normalised, a
  /// coordinate without spread.
  bool Set(const TRPCEstimationDataSet& data);

  std::unique_ptr<TNormalSumsPair> SumFirstOrder() const;
  std::unique_ptr<TNormalSumsPair> SumDesign(const TRationalPair& model) const;
  TRootMeanSquares ResidualsOf(const TRationalPair& model) const;

  /// The computed offsets and scales; null when the points came normalised.
  const TRPCNormalization* Normalization() const { return computed_ ? &normalization_ : nullptr; }

 private:
  TPointSpan points_;
  bool computed_ = false;
  TRPCNormalization normalization_;
};

/// The coefficients of the start from the solution of the first-order system.
TRational FirstOrderRational(const double* solution);

/// Adds `sign` times the correction: 20 values for the numerator, then 19 for the denominator behind its constant.
void Correct(const double* correction, double sign, TRational* rational);

bool AllFinite(const TRational& rational);

/// Writes coefficients and, when there is one, the normalisation.
void SetRecord(const TRationalPair& model, const TRPCNormalization* normalization, TRPCData* rpc);

}  // namespace SatCommonUtils::estimation
