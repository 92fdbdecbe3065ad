// Are these models fit for use, and do their images make a stereo pair?
//
//   example_check_models [MODEL MODEL...]    the models of the simulated pair unless given

#include <cstdio>
#include <string>
#include <vector>

#include <orbmath/refine/model_file.h>
#include <orbmath/rpc/model_check.h>
#include <orbmath/stereo/pair_geometry.h>

using namespace SatCommonUtils;

int main(int argc, char** argv) {
  std::vector<std::string> names(argv + 1, argv + argc);
  TModelCheckOptions options;
  if (names.empty()) {
    names = {ORBMATH_EXAMPLES_DATA "/pushbroom_left.RPB", ORBMATH_EXAMPLES_DATA "/pushbroom_right.RPB"};
    options.mirrored = true;  // the made-up scene counts its samples from right to left
  }

  std::vector<TModelFile> files;
  for (const std::string& name : names) {
    files.push_back(ReadModelFile(name));
    if (!files.back()) {
      std::fprintf(stderr, "%s\n", files.back().message.c_str());
      return 1;
    }
    const TModelCheck check = CheckModel(*files.back().model, &files.back().file.origin, options);
    std::printf("%s\n  %s: %.2f m a pixel, %.1f degrees off the normal, %.0f km2\n", name.c_str(),
                check.message.c_str(), check.view.gsd, check.view.incidence, 1e-6 * check.footprint.area);
    for (const TModelFinding& finding : check.findings) {
      std::printf("  %s: %s (%s)\n", FindingSeverityName(finding.severity), finding.what.c_str(),
                  finding.where.c_str());
    }
    if (!check.IsFit()) return 1;
  }

  std::vector<TStereoImage> images;
  for (const TModelFile& file : files) {
    TStereoImage image;
    image.model = file.model.get();
    image.sensor = file.file.extras.satelliteId.value_or("");
    image.acquisitionTime = file.file.origin.acquisitionTime;
    images.push_back(image);
  }
  StereopairsByOverlap::TStereopairsByOverlapParams criteria;
  criteria.CheckConvergenceAngle = true;
  const TPairSearch search = FindStereoPairs(images, criteria);
  std::printf("%s\n", search.message.c_str());
  for (std::size_t i = 0; i < search.accepted; ++i) {
    const TStereoPair& pair = search.pairs[i];
    std::printf("  %zu and %zu: %.0f %% overlap, %.1f degrees of convergence, heights to %.2f m\n", pair.first,
                pair.second, pair.overlapPercent, pair.convergence, pair.heightSigma);
  }
  return search ? 0 : 1;
}
