// Prints the numbers of docs/refinement.md: which bad ties the fit of a refinement names, and how far records exported
// with their correction miss the adjusted model.
//
//   refinement_table [--sets N] [MODEL...]

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "refine/adjusted_rpc.h"
#include "refine/model_file.h"
#include "refine/refinement.h"
#include "refine/refinement_fit.h"

namespace {

using namespace SatCommonUtils;

constexpr double kPixels = 10000.0;  // of an image, along and across
constexpr double kBadSize = 30.0;    // pixels that a bad tie is off, in any direction
constexpr std::size_t kEveryBad = 5;

// A correction of a few pixels with drifts of 1e-4.
TRPCRefinementDataAffine Affine() {
  TRPCRefinementDataAffine data;
  data.LineBias = 3.25, data.LineDrift = 1.0 + 1e-4, data.LineTilt = -1e-4;
  data.SampleBias = -2.5, data.SampleDrift = 5e-5, data.SampleTilt = 1.0 - 1e-4;
  return data;
}

TRPCRefinementDataProjective Projective() {
  TRPCRefinementDataProjective data;
  const double rows[9] = {1.0001, -5e-5, 4.0, 2e-5, 0.9999, -3.0, 1e-8, -2e-8, 1.0};
  for (std::size_t i = 0; i < 9; ++i) data.matr[i / 3][i % 3] = rows[i];
  return data;
}

struct Count {
  std::size_t bad = 0, bad_named = 0, good = 0, good_named = 0, failed = 0;
};

void FitSet(const TRPCRefinementBase& truth, std::size_t points, double noise, std::mt19937_64* engine, Count* count) {
  std::uniform_real_distribution<double> place(0.0, kPixels), angle(0.0, 6.283185307179586);
  std::normal_distribution<double> normal;
  std::vector<TRefinementTie> ties(points);
  for (std::size_t i = 0; i < points; ++i) {
    TRefinementTie& tie = ties[i];
    tie.line = place(*engine), tie.sample = place(*engine);
    truth.RawToRefined(tie.line, tie.sample, &tie.measuredLine, &tie.measuredSample, nullptr, nullptr);
    tie.measuredLine += noise * normal(*engine), tie.measuredSample += noise * normal(*engine);
    if (i % kEveryBad != 0) continue;
    const double direction = angle(*engine);
    tie.measuredLine += kBadSize * std::cos(direction), tie.measuredSample += kBadSize * std::sin(direction);
  }
  TRefinementFitOptions options;
  options.automatic = false;
  options.type = truth.GetType();
  TRefinementFit fit;
  if (!FitRefinement(ties, options, &fit)) ++count->failed;
  for (std::size_t i = 0; i < fit.points.size(); ++i) {
    const bool is_bad = i % kEveryBad == 0;
    ++(is_bad ? count->bad : count->good);
    if (fit.points[i].isBad) ++(is_bad ? count->bad_named : count->good_named);
  }
}

void PrintTies(int sets) {
  TRPCRefinementDataShift shift;
  shift.d_line = 3.5, shift.d_sample = -7.25;
  const TRPCRefinementDataAffine affine = Affine();
  const TRPCRefinementDataProjective projective = Projective();
  const TRPCRefinementDataBase* const truths[] = {&shift, &affine, &projective};
  Count count;
  std::mt19937_64 engine(1000);
  for (const TRPCRefinementDataBase* truth : truths) {
    const auto refinement = CreateRefinementE(*truth);
    for (const std::size_t points : {100u, 50u}) {
      for (const double noise : {0.0, 0.3, 1.0}) {
        for (int set = 0; set < sets; ++set) FitSet(*refinement, points, noise, &engine, &count);
      }
    }
  }
  std::printf("ties: %zu of %zu bad ones named, %zu of %zu good ones with them, %zu fits failed\n", count.bad_named,
              count.bad, count.good_named, count.good, count.failed);
}

// Largest distance in pixels from the model over the image at heights of the middle half of their range.
double WorstOf(const TAdjustedRPC& model, const TRPC& plain) {
  std::mt19937_64 engine(2000);
  std::uniform_real_distribution<double> uniform;
  const auto between = [&](double least, double largest) { return least + (largest - least) * uniform(engine); };
  const double half = 0.5 * (model.GetMaxHeight() - model.GetAverageHeight());
  double worst = 0.0;
  for (int i = 0; i < 5000; ++i) {
    double line = between(model.GetMinLine(), model.GetMaxLine());
    double sample = between(model.GetMinSample(), model.GetMaxSample());
    const double h = model.GetAverageHeight() + between(-half, half);
    double lat, lon, line_again, sample_again;
    if (!model.CalculateLatLon(line, sample, h, &lat, &lon)) continue;
    model.CalculateLineSample(lat, lon, h, &line, &sample, nullptr, nullptr);
    plain.CalculateLineSample(lat, lon, h, &line_again, &sample_again, nullptr, nullptr);
    worst = std::max(worst, std::hypot(line - line_again, sample - sample_again));
  }
  return worst;
}

void PrintExport(const TRPCData& record, const TRPCRefinementDataBase& refinement) {
  const TAdjustedRPC model(&record, &refinement);
  const TRefinedExport exported = model.ExportRefined();
  if (!exported.success) {
    std::printf(" %s |", exported.message.c_str());
  } else {
    std::printf(" %8.1e |", WorstOf(model, TRPC(exported.record, nullptr)));
  }
}

}  // namespace

int main(int argc, char** argv) {
  int sets = 100;
  std::vector<std::string> models;
  for (int i = 1; i < argc; ++i) {
    if (std::string(argv[i]) == "--sets" && i + 1 < argc) {
      sets = std::max(1, std::atoi(argv[++i]));
    } else {
      models.emplace_back(argv[i]);
    }
  }
  PrintTies(sets);
  if (!models.empty()) std::printf("\n| model | scales of the axes | affine | quarter turn |\n");
  for (const std::string& path : models) {
    const TModelFile read = ReadModelFile(path);
    if (!read) {
      std::fprintf(stderr, "%s\n", read.message.c_str());
      return 1;
    }
    TRPCRefinementDataAffine scales = Affine(), turn = Affine();
    scales.LineTilt = scales.SampleDrift = 0.0;
    turn.LineDrift = turn.SampleTilt = 0.0;
    turn.LineTilt = 1.0, turn.SampleDrift = -1.0;
    std::printf("| %s |", path.substr(path.find_last_of('/') + 1).c_str());
    for (const TRPCRefinementDataAffine& refinement : {scales, Affine(), turn})
      PrintExport(read.file.record, refinement);
    std::printf("\n");
  }
  return 0;
}
