// Two spatial frames from points known in both: an old national network and the one of satellite positioning. The seven
// parameters between them are fitted, then carry a point that took no part.

#include <cmath>
#include <cstdio>
#include <vector>

#include <orbmath/transform/seven_params.h>
#include "pushbroom_scene.h"

using namespace SatCommonUtils;

namespace {

constexpr double kArcSecond = example::kRadian / 3600.0;

// The difference of the two frames that the example has to find: shifts of hundreds of metres, rotations of seconds of
// arc, a scale that is wrong by 2.5 parts in a million.
const T7Params kTruth{1.2 * kArcSecond, -0.8 * kArcSecond, 3.5 * kArcSecond, 2.5e-6, 590.5, 69.5, 411.6};

// A survey has errors of centimetres; these repeat themselves.
double Error(int i) { return 0.02 * std::sin(12.9898 * (i + 1)); }

T7ParamsSourceDataItem StationAt(double lat, double lon, double h, int i) {
  const TVector from = example::CartesianOf(lat, lon, h);
  T7ParamsSourceDataItem item{from(0), from(1), from(2), 0.0, 0.0, 0.0};
  T7ParamsTransform(kTruth).DirectTransform(from(0), from(1), from(2), &item.Xto, &item.Yto, &item.Zto);
  item.Xto += Error(3 * i);
  item.Yto += Error(3 * i + 1);
  item.Zto += Error(3 * i + 2);
  return item;
}

}  // namespace

int main() {
  std::vector<T7ParamsSourceDataItem> stations;
  for (int i = 0; i < 25; ++i) stations.push_back(StationAt(46.0 + 0.5 * (i / 5), 6.0 + 1.0 * (i % 5), 40.0 * i, i));

  T7Params found;
  if (!Calculate7Params(stations, &found)) return 1;
  std::printf("shift %.3f %.3f %.3f m, rotation %.3f %.3f %.3f arc seconds, scale %.3f parts per million\n", found.dX,
              found.dY, found.dZ, found.Alpha / kArcSecond, found.Beta / kArcSecond, found.Gamma / kArcSecond,
              1e6 * found.dm);

  const T7ParamsTransform transform(found);
  double squares = 0.0;
  for (const T7ParamsSourceDataItem& s : stations) {
    double x, y, z;
    transform.DirectTransform(s.Xfrom, s.Yfrom, s.Zfrom, &x, &y, &z);
    squares += (x - s.Xto) * (x - s.Xto) + (y - s.Yto) * (y - s.Yto) + (z - s.Zto) * (z - s.Zto);
  }
  const double rms = std::sqrt(squares / static_cast<double>(3 * stations.size()));

  // A station that the fit has not seen, there and back.
  const TVector place = example::CartesianOf(47.1, 8.2, 500.0);
  double wanted[3], got[3], back[3];
  T7ParamsTransform(kTruth).DirectTransform(place(0), place(1), place(2), &wanted[0], &wanted[1], &wanted[2]);
  transform.DirectTransform(place(0), place(1), place(2), &got[0], &got[1], &got[2]);
  transform.InverseTransform(got[0], got[1], got[2], &back[0], &back[1], &back[2]);
  const double miss = std::hypot(got[0] - wanted[0], got[1] - wanted[1], got[2] - wanted[2]);
  const double round_trip = std::hypot(back[0] - place(0), back[1] - place(1), back[2] - place(2));
  std::printf("residuals %.3f m rms; another point misses by %.3f m, its way there and back by %.1e m\n", rms, miss,
              round_trip);
  return rms < 0.02 && miss < 0.02 && round_trip < 1e-6 ? 0 : 1;
}
