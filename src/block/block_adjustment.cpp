// Block adjustment of images with rational polynomial models in image space: J. Grodecki and G. Dial, "Block adjustment
// of high-resolution satellite images described by rational polynomials" (2003), doi:10.14358/PERS.69.1.59.

#include "block/block_adjustment.h"

namespace SatCommonUtils {

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
  static_cast<void>(options);
  TBlockResult result;
  result.images.resize(problem.images.size());
  result.points.resize(problem.points.size());
  return result;
}

}  // namespace SatCommonUtils
