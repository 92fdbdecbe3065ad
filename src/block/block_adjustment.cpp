// Block adjustment of images with rational polynomial models in image space: J. Grodecki and G. Dial, "Block adjustment
// of high-resolution satellite images described by rational polynomials" (2003), doi:10.14358/PERS.69.1.59. This file
// holds the order of events; docs/adjustment-numerics.md tells the whole story.

#include "block/block_adjustment.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>

#include "block/choice.h"
#include "block/least_squares.h"
#include "block/network.h"
#include "block/progress.h"
#include "block/report.h"
#include "block/robust.h"
#include "block/starts.h"
#include "frame/zxstd/text.h"
#include "frame/zxstd/threads.h"

namespace SatCommonUtils {
namespace {

using block::TLeastSquares;
using block::TNetwork;
using block::TStepsState;
using Zentarix::ssprintf;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// Blocks of fewer measurements are done before threads have met.
constexpr std::size_t kSmallBlock = 10000;

int ThreadsFor(const TBlockProblem& problem, const TBlockOptions& options) {
  if (problem.measurements.Size() < kSmallBlock) return 1;
  return options.threads > 0 ? options.threads : ZxGetThreadsCount();
}

/// What is wrong with the lists or the options; empty for nothing.
std::string Complaint(const TBlockProblem& problem, const TBlockOptions& options) {
  const TBlockMeasurements& m = problem.measurements;
  const std::size_t count = m.Size();
  if (m.image.size() != count || m.line.size() != count || m.sample.size() != count ||
      (!m.sigma.empty() && m.sigma.size() != count)) {
    return "the lists of measurements differ in length";
  }
  for (std::size_t i = 0; i < count; ++i) {
    if (m.point[i] >= problem.points.size()) return ssprintf("measurement %d names a point that is not there", int(i));
    if (m.image[i] >= problem.images.size()) return ssprintf("measurement %d names an image that is not there", int(i));
  }
  for (const double sigma : {options.sigmaMeasurement, options.sigmaShift, options.sigmaDrift, options.sigmaHorizontal,
                             options.sigmaVertical, options.sigmaSurface}) {
    if (!(sigma > 0.0) || std::isinf(sigma)) return "a standard deviation of the options is not above 0";
  }
  for (const TBlockImage& image : problem.images) {
    if (!(image.sigmaShift >= 0.0) || !(image.sigmaDrift >= 0.0)) {
      return "image " + image.name + " has a standard deviation below 0";
    }
  }
  std::map<std::int32_t, const TBlockImage*> passes;
  for (const TBlockImage& image : problem.images) {
    if (image.pass < 0 || image.correction == TBlockCorrection::None) continue;
    const TBlockImage& first = *passes.emplace(image.pass, &image).first->second;
    if (image.correction != first.correction || image.sigmaShift != first.sigmaShift ||
        image.sigmaDrift != first.sigmaDrift) {
      return "images " + first.name + " and " + image.name + " of one pass ask for different corrections";
    }
  }
  if (!(options.significance > 0.0) || options.significance > 0.1) return "the significance is not within 0 to 0.1";
  if (options.maxIterations < 1) return "there must be one iteration at least";
  return std::string();
}

TBlockResult EmptyResult(const TBlockProblem& problem) {
  TBlockResult result;
  TBlockImageResult image;
  image.covariance.fill(kNaN);
  result.images.assign(problem.images.size(), image);
  TBlockPointResult point;
  point.covariance.fill(kNaN);
  result.points.assign(problem.points.size(), point);
  const std::size_t count = problem.measurements.Size();
  result.measurements.state.assign(count, TBlockMeasurementState::NotRun);
  for (std::vector<double>* list : {&result.measurements.line, &result.measurements.sample,
                                    &result.measurements.standardized, &result.measurements.redundancy}) {
    list->assign(count, kNaN);
  }
  return result;
}

TBlockState StateOf(TStepsState steps) {
  switch (steps) {
    case TStepsState::Converged:
      return TBlockState::Adjusted;
    case TStepsState::NotConverged:
      return TBlockState::NotConverged;
    case TStepsState::Singular:
      return TBlockState::Singular;
    case TStepsState::Cancelled:
      return TBlockState::Cancelled;
  }
  return TBlockState::NotRun;
}

int LargestParameters(const TNetwork& network) {
  int parameters = 0;
  for (const block::TGroup& group : network.groups) {
    parameters = std::max(parameters, block::ParametersOf(group.kind));
  }
  return parameters;
}

/// Solves the problem that is left, and makes what the report needs.
TStepsState Run(TNetwork* network, TLeastSquares* solution) {
  if (network->options.robust) return block::SolveRobustly(network, solution);
  TStepsState state = solution->Solve(network->options.maxIterations);
  if (state == TStepsState::Converged) state = block::ChooseKinds(network, solution);
  if (state == TStepsState::Singular || state == TStepsState::Cancelled) return state;
  const bool corrections = network->options.covariance != TBlockCovariance::None;
  return solution->MakePrecision(corrections) ? state : TStepsState::Singular;
}

std::string Summary(const TNetwork& network, const TBlockResult& result) {
  if (!result) return DescribeBlockState(result.state);
  const auto adjusted = std::count(network.imageState.begin(), network.imageState.end(), TBlockImageState::Adjusted);
  const auto points = std::count(network.pointState.begin(), network.pointState.end(), TBlockPointState::Used);
  std::string text = ssprintf("%s %d of %d images with %d points; %d measurements are used, %d named bad; sigma0 %.3f",
                              result.state == TBlockState::Adjusted ? "adjusted" : "did not come to rest with",
                              int(adjusted), int(network.imageState.size()), int(points), int(result.observations),
                              int(result.badMeasurements.size()), result.sigma0);
  return text;
}

void Report(const TNetwork& network, TLeastSquares* solution, TBlockResult* result) {
  block::ReportStates(network, result);
  if (*result) {
    block::ReportSolution(network, *solution, result);
    block::ReportPieces(network, result);
    block::ReportMisclosures(network, solution->equations, result);
    block::ReportPrecision(network, *solution, result);
    block::ReportLostPoints(network, solution->equations, result);
    block::ReportLists(network, result);
  }
  result->message = Summary(network, *result);
}

void ReportCheck(const TNetwork& network, TBlockResult* result) {
  result->state = TBlockState::Checked;
  block::ReportStates(network, result);
  block::ReportPieces(network, result);
  block::ReportLists(network, result);
  const auto points = std::count(network.pointState.begin(), network.pointState.end(), TBlockPointState::Used);
  result->message = ssprintf("%d of %d images and %d of %d points can take part",
                             int(result->images.size() - result->lostImages.size()), int(result->images.size()),
                             int(points), int(result->points.size()));
}

bool NobodyToAdjust(const TNetwork& network) {
  return std::none_of(network.imageState.begin(), network.imageState.end(),
                      [](TBlockImageState state) { return state == TBlockImageState::Adjusted; });
}

}  // namespace

void TBlockMeasurements::Add(std::uint32_t pointIndex, std::uint32_t imageIndex, double measuredLine,
                             double measuredSample, double measuredSigma) {
  if (measuredSigma != 0.0) sigma.resize(Size(), 0.0);
  point.push_back(pointIndex);
  image.push_back(imageIndex);
  line.push_back(measuredLine);
  sample.push_back(measuredSample);
  if (measuredSigma != 0.0 || !sigma.empty()) sigma.push_back(measuredSigma);
}

TBlockResult AdjustBlock(const TBlockProblem& problem, const TBlockOptions& options) {
  TBlockResult result = EmptyResult(problem);
  const std::string complaint = Complaint(problem, options);
  if (!complaint.empty()) {
    result.state = TBlockState::BadProblem;
    result.message = complaint;
    return result;
  }
  const TZxThreadsScope threads(ThreadsFor(problem, options));
  TNetwork network(problem, options);
  network.LeaveOut(TBlockPointState::TooFewRays);
  const auto end_early = [&] {
    ReportStates(network, &result);
    result.state = TBlockState::NothingToDo;
    result.message = DescribeBlockState(result.state);
    return result;
  };
  if (NobodyToAdjust(network)) return end_early();
  block::TProgress progress(options.progress);
  progress.Tell(0.0);
  TLeastSquares solution(network, LargestParameters(network), &progress);
  FindStarts(&network, &solution.equations);
  network.LeaveOut(TBlockPointState::TooFewRays);
  if (NobodyToAdjust(network)) return end_early();
  block::OpenKinds(&network);
  if (options.checkOnly) {
    ReportCheck(network, &result);
    return result;
  }
  result.state = StateOf(Run(&network, &solution));
  Report(network, &solution, &result);
  if (result) progress.Tell(1.0);
  return result;
}

}  // namespace SatCommonUtils
