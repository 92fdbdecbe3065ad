// A block of six images over one place, each some pixels off: measurements of common points and a few control points
// put all of them right at once, and the bad measurements among them are named.
//
//   example_block_adjustment [DIR]    writes models, measurements and control points there for `orbmath adjust`

#include <cmath>
#include <cstdio>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <orbmath/block/block_adjustment.h>
#include <orbmath/refine/model_file.h>

using namespace SatCommonUtils;

namespace {

constexpr int kImages = 6;
constexpr int kTies = 200;
constexpr int kControl = 8;
constexpr int kChecks = 4;
constexpr int kEachBad = 40;  // each so-many-th measurement of a tie is bad

// Uniform in [low, high), the same numbers with every compiler.
double Uniform(std::mt19937* random, double low, double high) {
  return low + (high - low) * (static_cast<double>((*random)()) / 4294967296.0);
}
// Nearly normal, with a standard deviation of 1: the sum of twelve.
double Noise(std::mt19937* random) {
  double sum = -6.0;
  for (int i = 0; i < 12; ++i) sum += Uniform(random, 0.0, 1.0);
  return sum;
}

// The simulated pair that ships with the project, three times, moved over the ground: what is known of the images.
bool MakeImages(TBlockProblem* problem) {
  for (int i = 0; i < kImages; ++i) {
    const TModelFile file = ReadModelFile(i % 2 == 0 ? ORBMATH_EXAMPLES_DATA "/pushbroom_left.RPB"
                                                     : ORBMATH_EXAMPLES_DATA "/pushbroom_right.RPB");
    if (!file) {
      std::printf("%s\n", file.message.c_str());
      return false;
    }
    TRPCData record = file.file.record;
    record.latOffset += 0.01 * (i / 2);
    record.longOffset -= 0.015 * (i / 2);
    TBlockImage image;
    image.name = "image" + std::to_string(i);
    image.model = std::make_shared<TRPC>(record);
    image.correction = TBlockCorrection::Affine;
    problem->images.push_back(image);
  }
  return true;
}

// Where an image in truth shows what its model puts at (line, sample): some pixels off, and a little stretched.
void Disturb(int image, double* line, double* sample) {
  const double u = (*sample - 7999.5) / 7999.5, v = (*line - 7999.5) / 7999.5;
  *line += 4.0 - 1.5 * image + 0.8 * v - 0.3 * u;
  *sample += -3.0 + 0.9 * image + 0.5 * u + 0.6 * v;
}

void MakePoints(TBlockProblem* problem, std::vector<bool>* bad) {
  std::mt19937 random(2003);
  for (int i = 0; i < kTies + kControl + kChecks; ++i) {
    TBlockPoint point;
    const bool isTie = i < kTies, isCheck = i >= kTies + kControl;
    point.name = (isTie ? "tie" : isCheck ? "check" : "control") + std::to_string(i);
    point.role = isTie ? TBlockPointRole::Tie : isCheck ? TBlockPointRole::Check : TBlockPointRole::Control;
    point.lat = Uniform(&random, 47.28, 47.36);
    point.lon = Uniform(&random, 8.42, 8.52);
    point.height = Uniform(&random, 380.0, 620.0);
    point.sigmaHorizontal = point.sigmaVertical = 0.1;
    problem->points.push_back(point);
    for (int k = 0; k < kImages; ++k) {
      double line, sample;
      const TRPC& model = *problem->images[k].model;
      model.CalculateLineSample(point.lat, point.lon, point.height, &line, &sample, nullptr, nullptr);
      Disturb(k, &line, &sample);
      line += 0.3 * Noise(&random);
      sample += 0.3 * Noise(&random);
      bad->push_back(isTie && bad->size() % kEachBad == 7);
      if (bad->back()) sample += Uniform(&random, 10.0, 50.0);
      problem->measurements.Add(static_cast<std::uint32_t>(i), static_cast<std::uint32_t>(k), line, sample);
    }
  }
}

// The files that `orbmath adjust` takes. The models are XML, which holds all digits.
bool WriteFiles(const TBlockProblem& problem, const std::string& folder) {
  for (const TBlockImage& image : problem.images) {
    if (!WriteModelFile(folder + "/" + image.name + ".xml", *image.model)) return false;
  }
  std::ofstream measurements(folder + "/measurements.csv"), control(folder + "/control.csv");
  measurements << "point,image,line,sample\n";
  measurements.precision(9);
  const TBlockMeasurements& all = problem.measurements;
  for (std::size_t i = 0; i < all.Size(); ++i) {
    measurements << problem.points[all.point[i]].name << ',' << problem.images[all.image[i]].name << ',' << all.line[i]
                 << ',' << all.sample[i] << '\n';
  }
  control << "point,lat,lon,height,sigma_h,sigma_v,role\n";
  control.precision(12);
  for (const TBlockPoint& point : problem.points) {
    if (point.role == TBlockPointRole::Tie) continue;
    control << point.name << ',' << point.lat << ',' << point.lon << ',' << point.height << ",0.1,0.1,"
            << GetBlockPointRoleName(point.role) << '\n';
  }
  return measurements.flush().good() && control.flush().good();
}

}  // namespace

int main(int argc, char** argv) {
  TBlockProblem problem;
  std::vector<bool> bad;
  if (!MakeImages(&problem)) return 1;
  MakePoints(&problem, &bad);
  if (argc > 1) return WriteFiles(problem, argv[1]) ? 0 : 1;

  TBlockOptions options;
  options.sigmaMeasurement = 0.3;
  const TBlockResult result = AdjustBlock(problem, options);
  std::printf("%s\n", result.message.c_str());
  for (const std::string& note : result.notes) std::printf("%s\n", note.c_str());
  if (!result) return 1;

  for (std::size_t i = 0; i < problem.images.size(); ++i) {
    const TBlockParameters& found = result.images[i].parameters;
    std::printf("%s: line %+.2f px, sample %+.2f px at its centre\n", problem.images[i].name.c_str(), found.line[0],
                found.sample[0]);
  }
  std::size_t named = 0, wrong = 0;
  for (const std::uint32_t i : result.badMeasurements) ++(bad[i] ? named : wrong);
  std::printf("bad measurements named: %zu, good ones named with them: %zu\n", named, wrong);
  const TBlockMisclosureStatistics& check = result.checkStatistics;
  std::printf("check points: rms %.2f m east, %.2f m north, %.2f m up\n", check.rmsEast, check.rmsNorth, check.rmsUp);

  const auto adjusted = AdjustedModelOf(*problem.images[0].model, result.images[0].parameters);
  if (adjusted == nullptr) return 1;
  const TRefinedExport plain = adjusted->ExportRefined();
  std::printf("a plain model of image0 misses the adjusted one by %.1e px\n", plain.worst);
  return plain.success && named == kTies * kImages / kEachBad && wrong < 3 && check.rmsUp < 1.0 ? 0 : 1;
}
