// Image to ground by a search over samples: no derivatives, only projections. Each step maps image to ground by the
// plane-projective mapping that fits the samples found so far.

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

#include "frame/zxstd/message.h"
#include "frame/zxstd/plane_length.h"
#include "linalg/linear_systems.h"
#include "rpc/rpc_model.h"

namespace SatCommonUtils {

namespace {

/// A point is accepted when it projects within this many pixels.
constexpr double kAccepted = 1e-5;
constexpr int kLargestSteps = 20;
/// A sample at this fraction of the farthest sample's distance counts half as much as one at the target itself.
constexpr double kHalfWeight = 1.0 / 1000.0;

/// A ground point and where it projects to.
struct TSample {
  double line;
  double sample;
  double lat;
  double lon;
};

/// The image point that is looked for, and the way to project.
struct TTarget {
  const TRPC* model;
  double line;
  double sample;
  double h;

  TSample Project(double lat, double lon) const {
    TSample result = {0.0, 0.0, lat, lon};
    model->CalculateLineSample(lat, lon, h, &result.line, &result.sample, nullptr, nullptr);
    return result;
  }
  double LineError(const TSample& s) const { return std::fabs(s.line - line); }
  double SampleError(const TSample& s) const { return std::fabs(s.sample - sample); }
  double Distance2(const TSample& s) const {
    return (s.line - line) * (s.line - line) + (s.sample - sample) * (s.sample - sample);
  }
  bool Accepts(const TSample& s) const { return LineError(s) < kAccepted && SampleError(s) < kAccepted; }
};

/// The start and the corners of a box around it that is twice as large as what one pixel moves the approximation.
std::vector<TSample> FirstSamples(const TTarget& target, const TSample& start) {
  double halfLat = 0.0;
  double halfLon = 0.0;
  for (const double dLine : {-1.0, 1.0}) {
    for (const double dSample : {-1.0, 1.0}) {
      double lat, lon;
      target.model->CalculateLatLonApproximately(target.line + dLine, target.sample + dSample, target.h, &lat, &lon);
      halfLat = std::fmax(halfLat, 2.0 * std::fabs(lat - start.lat));
      halfLon = std::fmax(halfLon, 2.0 * std::fabs(lon - start.lon));
    }
  }
  std::vector<TSample> samples = {start};
  for (const double i : {-1.0, 1.0}) {
    for (const double j : {-1.0, 1.0})
      samples.push_back(target.Project(start.lat + i * halfLat, start.lon + j * halfLon));
  }
  return samples;
}

/// Fits lat = (a1·l + a2·s + a3) / (c1·l + c2·s + 1) and lon likewise with b through the samples, and gives what it
/// predicts at the target. Image coordinates count from the target in units of the farthest sample's distance, ground
/// coordinates from the first sample, so that the prediction is (a3, b3).
bool Predict(const TTarget& target, const std::vector<TSample>& samples, double* lat, double* lon) {
  constexpr std::size_t kUnknowns = 8;
  double farthest = 0.0;
  for (const TSample& s : samples) farthest = std::fmax(farthest, std::sqrt(target.Distance2(s)));
  if (!(farthest > 0.0)) return false;
  std::vector<std::array<double, kUnknowns>> design;
  std::vector<double> values;
  std::vector<double> weights;
  for (const TSample& s : samples) {
    const double l = (s.line - target.line) / farthest;
    const double m = (s.sample - target.sample) / farthest;
    const double relative = PlaneLength(l, m) / kHalfWeight;
    const double y = s.lat - samples[0].lat;
    const double x = s.lon - samples[0].lon;
    design.push_back({l, m, 1.0, 0.0, 0.0, 0.0, -l * y, -m * y});
    design.push_back({0.0, 0.0, 0.0, l, m, 1.0, -l * x, -m * x});
    values.insert(values.end(), {y, x});
    weights.insert(weights.end(), 2, 1.0 / (1.0 + relative * relative));
  }
  std::vector<double*> rows(design.size());
  std::transform(design.begin(), design.end(), rows.begin(), [](auto& row) { return row.data(); });
  double solution[kUnknowns] = {};
  if (!SolveOverdefined(rows.data(), values.data(), weights.data(), solution, kUnknowns, rows.size(), nullptr)) {
    return false;
  }
  *lat = samples[0].lat + solution[2];
  *lon = samples[0].lon + solution[5];
  return std::isfinite(*lat) && std::isfinite(*lon);
}

/// What happens to the samples when a prediction came no nearer than the one before.
void ReplaceFarthest(const TTarget& target, const TSample& prediction, std::vector<TSample>* samples) {
  const auto nearer = [&target](const TSample& a, const TSample& b) {
    return target.Distance2(a) < target.Distance2(b);
  };
  const auto [nearest, farthest] = std::minmax_element(samples->begin(), samples->end(), nearer);
  if (target.Distance2(*farthest) <= target.Distance2(prediction)) {
    samples->push_back(
        target.Project(0.999 * nearest->lat + 0.001 * farthest->lat, 0.999 * nearest->lon + 0.001 * farthest->lon));
  } else {
    samples->erase(farthest);
    samples->push_back(prediction);
  }
}

bool Search(const TTarget& target, double* lat, double* lon) {
  double startLat, startLon;
  target.model->CalculateLatLonApproximately(target.line, target.sample, target.h, &startLat, &startLon);
  TSample found = target.Project(startLat, startLon);
  bool good = target.LineError(found) <= kAccepted && target.SampleError(found) <= kAccepted;
  std::vector<TSample> samples;
  if (!good) samples = FirstSamples(target, found);
  double lineError = std::numeric_limits<double>::infinity();
  double sampleError = lineError;
  for (int i = 0; i < kLargestSteps && !good; ++i) {
    double nextLat = 0.0;
    double nextLon = 0.0;
    if (!Predict(target, samples, &nextLat, &nextLon)) return false;
    found = target.Project(nextLat, nextLon);
    good = target.Accepts(found);
    if (target.LineError(found) < lineError && target.SampleError(found) < sampleError) {
      samples.push_back(found);
    } else {
      ReplaceFarthest(target, found, &samples);
    }
    lineError = target.LineError(found);
    sampleError = target.SampleError(found);
  }
  if (!good) return false;
  *lat = found.lat;
  *lon = found.lon;
  return true;
}

}  // namespace

bool TRPC::CalculateLatLonAlt(const double& line, const double& sample, const double& h, double* lat,
                              double* lon) const {
  return EnsureApproximation() && Search({this, line, sample, h}, lat, lon);
}

bool TRPC::CalculateLatLonNormalizedAlt(const double& lineN, const double& sampleN, const double& hN, double* latN,
                                        double* lonN) const {
  if (!EnsureApproximation()) return false;
  const TTarget target = {this, line_->Normalized2Initial(lineN), sample_->Normalized2Initial(sampleN),
                          height_->Normalized2Initial(hN)};
  double lat, lon;
  if (!Search(target, &lat, &lon)) return false;
  const double foundLat = latitude_->Initial2Normalized(lat);
  const double foundLon = longitude_->Initial2Normalized(lon);
  double line, sample;
  CalculateLineSampleNormalized(foundLat, foundLon, hN, &line, &sample, nullptr, nullptr);
  if (std::fabs(line - lineN) * line_->GetScale() > kAccepted ||
      std::fabs(sample - sampleN) * sample_->GetScale() > kAccepted) {
    throw TZxMessage("TRPC::CalculateLatLonNormalizedAlt debug check failure");
  }
  *latN = foundLat;
  *lonN = foundLon;
  return true;
}

}  // namespace SatCommonUtils
