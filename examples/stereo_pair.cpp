// Two images of one place: the angle at which their lines of sight meet, the height that follows from one point
// measured in both, and how far it can be trusted.
//
//   example_stereo_pair [LEFT RIGHT]    the models of the simulated pair unless given

#include <cmath>
#include <cstdio>
#include <vector>

#include <orbmath/geometry/ray.h>
#include <orbmath/rpc/ground_solution.h>
#include <orbmath/rpc/rpc_file.h>
#include <orbmath/rpc/rpc_model.h>

using namespace SatCommonUtils;

namespace {

constexpr double kRadian = 0.017453292519943295;
constexpr double kMetresPerDegree = 111320.0;  // of latitude, good enough for a direction

// Azimuth and elevation, radians, under which a satellite is seen from where its image shows (line, sample): its line
// of sight passes the ground of two heights.
void DirectionTo(const TRPC& model, double line, double sample, double* azimuth, double* elevation) {
  const TGroundSolution low = SolveLatLon(model, line, sample, model.GetMinHeight());
  const TGroundSolution high = SolveLatLon(model, line, sample, model.GetMaxHeight());
  const double north = (high.lat - low.lat) * kMetresPerDegree;
  const double east = (high.lon - low.lon) * kMetresPerDegree * std::cos(low.lat * kRadian);
  *azimuth = std::atan2(east, north);
  *elevation = std::atan2(high.h - low.h, std::hypot(north, east));
}

}  // namespace

int main(int argc, char** argv) {
  TRPCFile files[2];
  for (int i = 0; i < 2; ++i) {
    const char* const shipped[] = {ORBMATH_EXAMPLES_DATA "/pushbroom_left.RPB",
                                   ORBMATH_EXAMPLES_DATA "/pushbroom_right.RPB"};
    TRPCFileError error;
    if (!ReadRPCFile(argc > 2 ? argv[i + 1] : shipped[i], &files[i], &error)) {
      std::fprintf(stderr, "%s\n", error.GetText().c_str());
      return 1;
    }
  }
  const TRPC left(files[0].record, nullptr), right(files[1].record, nullptr);

  // A place near the middle of the left image, and where both images show it.
  const double lat = left.GetCenterLatitude() + 0.01, lon = left.GetCenterLongitude() - 0.01;
  const double height = left.GetAverageHeight() + 123.0;
  TRPCCoordsDataItem items[2];
  double azimuth[2], elevation[2];
  for (int i = 0; i < 2; ++i) {
    items[i].model = i == 0 ? &left : &right;
    items[i].model->CalculateLineSample(lat, lon, height, &items[i].line, &items[i].sample, nullptr, nullptr);
    DirectionTo(*items[i].model, items[i].line, items[i].sample, &azimuth[i], &elevation[i]);
    std::printf("image %d: line %.2f sample %.2f, seen from azimuth %.1f elevation %.1f degrees\n", i + 1,
                items[i].line, items[i].sample, azimuth[i] / kRadian, elevation[i] / kRadian);
  }
  const double convergence = GetConvergenceAngle(azimuth[0], elevation[0], azimuth[1], elevation[1]) / kRadian;

  const TGroundIntersection point = SolveLatLonH({items[0], items[1]});
  double sigma[3];
  GroundSigmas(point.lat, point.h, point.covariance, sigma);
  std::printf("convergence angle %.1f degrees; a pixel of error is %.2f m east, %.2f m north, %.2f m up\n", convergence,
              sigma[0], sigma[1], sigma[2]);
  std::printf("intersection misses by %.1e degrees and %.1e m\n",
              std::fmax(std::fabs(point.lat - lat), std::fabs(point.lon - lon)), std::fabs(point.h - height));

  const bool found = point && std::fabs(point.h - height) < 1e-3 && std::fabs(point.lat - lat) < 1e-8;
  return found && (argc > 2 || (convergence > 25.0 && convergence < 32.0)) ? 0 : 1;
}
