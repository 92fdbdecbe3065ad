// The sums over all points that an iteration of the plain estimations needs, formed in small blocks. Elementary.

#include "refine/estimation/estimation_steps.h"

#include <algorithm>
#include <cmath>

#include "frame/zxstd/threads.h"

namespace SatCommonUtils::estimation {

namespace {

// Below this many points a second thread may cost more than it saves, when other work keeps the processors busy.
constexpr std::size_t kMinPointsForThreads = 50000;

struct TWorkspace {
  TPointBlock block;
  TOutputValues values;
  TDesignRows rows;
};

// Calls work(block, output, its workspace) for every block of points and both outputs. With two threads each takes one
// output: the sums of an output are never shared out, so that they do not depend on the threads.
template <class Work>
void ForBlocks(TPointSpan points, const TRPCNormalization* normalization, const Work& work) {
  const auto workspaces = std::make_unique<TWorkspace[]>(2);
  const int shares = points.count >= kMinPointsForThreads && ZxGetThreadsCount() > 1 ? 2 : 1;
#pragma omp parallel for num_threads(shares) schedule(static, 1) if (shares > 1)
  for (int share = 0; share < shares; ++share) {
    TWorkspace* const own = &workspaces[share];
    for (std::size_t first = 0; first < points.count; first += TPointBlock::kSize) {
      LoadBlock(points, first, normalization, &own->block);
      if (share == 0) work(TOutput::Line, own);
      if (share == shares - 1) work(TOutput::Sample, own);
    }
  }
}

}  // namespace

bool TEstimationPoints::Set(const TRPCEstimationDataSet& data) {
  points_ = {data.Points.data(), data.Points.size()};
  computed_ = !data.IsNormalized;
  if (points_.count < kMinCubicPoints || !estimation::AllFinite(points_)) return false;
  return !computed_ || NormalizationOfRanges(RangesOf(points_), &normalization_);
}

std::unique_ptr<TNormalSumsPair> TEstimationPoints::SumFirstOrder() const {
  auto sums = std::make_unique<TNormalSumsPair>();
  ForBlocks(points_, Normalization(), [&](TOutput output, TWorkspace* work) {
    FormFirstOrderRows(work->block, output, &work->rows);
    AddNormalProducts(work->rows, output == TOutput::Line ? &sums->line : &sums->sample);
  });
  return sums;
}

std::unique_ptr<TNormalSumsPair> TEstimationPoints::SumDesign(const TRationalPair& model) const {
  auto sums = std::make_unique<TNormalSumsPair>();
  ForBlocks(points_, Normalization(), [&](TOutput output, TWorkspace* work) {
    const bool line = output == TOutput::Line;
    EvaluateOutput(work->block, output, line ? model.line : model.sample, &work->values);
    FormDesignRows(work->block, work->values, kTerms, &work->rows);
    AddNormalProducts(work->rows, line ? &sums->line : &sums->sample);
  });
  return sums;
}

TRootMeanSquares TEstimationPoints::ResidualsOf(const TRationalPair& model) const {
  TRootMeanSquares squares{};
  ForBlocks(points_, Normalization(), [&](TOutput output, TWorkspace* work) {
    const bool line = output == TOutput::Line;
    EvaluateOutput(work->block, output, line ? model.line : model.sample, &work->values);
    double sum = line ? squares.line : squares.sample;
    for (std::size_t i = 0; i < work->block.count; ++i) sum += work->values.residual[i] * work->values.residual[i];
    (line ? squares.line : squares.sample) = sum;
  });
  const double count = static_cast<double>(points_.count);
  return {std::sqrt(squares.line / count), std::sqrt(squares.sample / count)};
}

TRational FirstOrderRational(const double* solution) {
  TRational rational;
  rational.numerator[0] = solution[3];
  rational.numerator[1] = solution[1];
  rational.numerator[2] = solution[0];
  rational.numerator[3] = solution[2];
  rational.denominator[1] = solution[5];
  rational.denominator[2] = solution[4];
  rational.denominator[3] = solution[6];
  return rational;
}

void Correct(const double* correction, double sign, TRational* rational) {
  for (std::size_t j = 0; j < kTerms; ++j) rational->numerator[j] += sign * correction[j];
  for (std::size_t k = 1; k < kTerms; ++k) rational->denominator[k] += sign * correction[kTerms - 1 + k];
}

bool AllFinite(const TRational& rational) {
  const auto finite = [](double value) { return std::isfinite(value); };
  return std::all_of(std::begin(rational.numerator), std::end(rational.numerator), finite) &&
         std::all_of(std::begin(rational.denominator), std::end(rational.denominator), finite);
}

void SetRecord(const TRationalPair& model, const TRPCNormalization* normalization, TRPCData* rpc) {
  std::copy_n(model.line.numerator, kTerms, rpc->lineNumCoef);
  std::copy_n(model.line.denominator, kTerms, rpc->lineDenCoef);
  std::copy_n(model.sample.numerator, kTerms, rpc->sampNumCoef);
  std::copy_n(model.sample.denominator, kTerms, rpc->sampDenCoef);
  if (normalization != nullptr) normalization->CopyTo(rpc);
}

}  // namespace SatCommonUtils::estimation
