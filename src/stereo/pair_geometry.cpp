// Two images over one place: lines of sight, their angles, the precision of heights. Elementary beyond the sources
// named in the header.

#include "stereo/pair_geometry.h"

#include <algorithm>
#include <cmath>

#include "geometry/polygon_intersection.h"
#include "rpc/ellipsoid.h"
#include "rpc/viewing_geometry.h"
#include "stereo/acquisition_time.h"
#include "stereo/seen_image.h"

namespace SatCommonUtils {

namespace {

using ellipsoid::TVector;
using stereo::TSeenImage;

// Degrees of convergence: below, parallax is small; above, images are too unlike to be matched well.
constexpr double kWeakAngle = 15.0;
constexpr double kWideAngle = 35.0;
constexpr double kWidestAngle = 90.0;

/// How an image sees a place: derivatives of line and sample by metres towards east, north and up.
struct TView {
  TVector line, sample;
  TVector direction;  ///< unit vector along which line and sample stay, upwards
  TVector sight;      ///< unit vector towards the sensor
  double gsd = 0.0;   ///< metres
};

TView ViewOf(const TSeenImage& image, const TGroundPoint& place) {
  double line, sample, dLine[3], dSample[3];
  image.model->CalculateLineSample(place.lat, place.lon, place.h, &line, &sample, dLine, dSample);
  const ellipsoid::TDegree degree = ellipsoid::DegreeAt(place.lat, place.h);
  TView view;
  view.line = {dLine[1] / degree.east, dLine[0] / degree.north, dLine[2]};
  view.sample = {dSample[1] / degree.east, dSample[0] / degree.north, dSample[2]};
  // Both coordinates stay along the direction at right angles to both gradients.
  const TVector along = ellipsoid::Cross(view.line, view.sample);
  view.direction = ((along.z < 0.0 ? -1.0 : 1.0) / ellipsoid::Length(along)) * along;
  view.gsd = 1.0 / std::sqrt(std::abs(along.z));
  view.sight = view.direction;
  if (image.radar) {
    const double flat = std::hypot(view.direction.x, view.direction.y);
    const double tilt = -view.direction.z / flat;
    view.sight = {tilt * view.direction.x, tilt * view.direction.y, flat};
  }
  return view;
}

void SetAngles(const TVector& a, const TVector& b, TStereoPair* pair) {
  const double angle = std::atan2(ellipsoid::Length(ellipsoid::Cross(a, b)), ellipsoid::Dot(a, b));
  pair->convergence = angle / ellipsoid::kRadian;
  const TVector sum = a + b, difference = a - b;
  const double along = sum.z / ellipsoid::Length(sum);  // the normal of the ellipsoid along the bisector
  pair->bisectorElevation = std::asin(std::clamp(along, -1.0, 1.0)) / ellipsoid::kRadian;
  const double across = ellipsoid::Length(difference);
  // Two lines of sight that are one have no plane.
  pair->asymmetry =
      across > 0.0 ? std::atan2(std::abs(difference.z) / across, along) / ellipsoid::kRadian : TStereoPair::kNaN;
}

/// Standard deviations of a point that both images measure with the same sigma.
void SetPrecision(const TView& a, const TView& b, double sigma, TStereoPair* pair) {
  double n[6] = {};  // xx, xy, xz, yy, yz, zz of the normal matrix
  for (const TVector& row : {a.line, a.sample, b.line, b.sample}) {
    const double products[6] = {row.x * row.x, row.x * row.y, row.x * row.z,
                                row.y * row.y, row.y * row.z, row.z * row.z};
    for (int k = 0; k < 6; ++k) n[k] += products[k];
  }
  // The inverse by its minors.
  const double xx = n[3] * n[5] - n[4] * n[4], xy = n[2] * n[4] - n[1] * n[5], xz = n[1] * n[4] - n[2] * n[3];
  const double yy = n[0] * n[5] - n[2] * n[2], zz = n[0] * n[3] - n[1] * n[1];
  const double determinant = n[0] * xx + n[1] * xy + n[2] * xz;
  // Two equal lines of sight leave rounding in the place of the determinant.
  if (!(determinant > 1e-12 * n[0] * n[3] * n[5])) {
    pair->heightSigma = pair->planSigma = std::numeric_limits<double>::infinity();
    return;
  }
  pair->heightSigma = sigma * std::sqrt(zz / determinant);
  const double largest = 0.5 * (xx + yy) + std::hypot(0.5 * (xx - yy), xy);
  pair->planSigma = sigma * std::sqrt(largest / determinant);
}

void SetTimes(const TSeenImage& a, const TSeenImage& b, TStereoPair* pair) {
  if (!a.time || !b.time) return;
  pair->timeGap = std::abs(*a.time - *b.time);
  // Days of the calendar begin half a day off the epoch's noon.
  pair->dateGap = std::abs(std::floor(*a.time + 0.5) - std::floor(*b.time + 0.5));
  const TSunPosition first = SunAt(*a.time, pair->place.lat, pair->place.lon);
  const TSunPosition second = SunAt(*b.time, pair->place.lat, pair->place.lon);
  pair->sunAzimuthDifference = std::abs(std::remainder(first.azimuth - second.azimuth, 360.0));
  pair->sunElevationDifference = std::abs(first.elevation - second.elevation);
}

/// The middle of a simple polygon by its area, or, where that lies outside, its vertex.
xy_d MiddleOf(const TPolygon& polygon) {
  const std::vector<xy_d>& ring = polygon.GetVertices();
  const xy_d origin = ring.front();
  double area = 0.0;
  xy_d sum;
  for (std::size_t i = 0; i < ring.size(); ++i) {
    const xy_d& p = ring[i];
    const xy_d& q = ring[(i + 1) % ring.size()];
    const double cross = (p.x - origin.x) * (q.y - origin.y) - (q.x - origin.x) * (p.y - origin.y);
    area += cross;
    sum.x += cross * (p.x + q.x - 2.0 * origin.x);
    sum.y += cross * (p.y + q.y - 2.0 * origin.y);
  }
  const xy_d middle(origin.x + sum.x / (3.0 * area), origin.y + sum.y / (3.0 * area));
  return polygon.Contains(middle) ? middle : origin;
}

double CommonHeight(const TSeenImage& a, const TSeenImage& b, const TStereoPairOptions& options) {
  if (options.height) return *options.height;
  const double low = std::max(a.lowest, b.lowest), high = std::min(a.highest, b.highest);
  return low <= high ? 0.5 * (low + high) : 0.25 * (a.lowest + a.highest + b.lowest + b.highest);
}

double QualityOf(const TStereoPair& pair) {
  const double angle = pair.convergence;
  if (std::isnan(angle)) return 0.0;  // the order needs a number
  const double rise = angle / kWeakAngle, fall = (kWidestAngle - angle) / (kWidestAngle - kWideAngle);
  return 0.01 * pair.overlapPercent * std::clamp(std::min(rise, fall), 0.0, 1.0);
}

}  // namespace

TStereoPair stereo::LookAt(const TSeenImage& a, const TSeenImage& b, const TStereoPairOptions& options) {
  TStereoPair pair;
  if (!a || !b) {
    pair.state = TStereoPairState::NoFootprint;
    return pair;
  }
  const double h = CommonHeight(a, b, options);
  const TPolygon first = a.OutlineAt(h, 0.0);
  const TPolygon second = b.OutlineAt(h, LongitudeNear(a.middle, b.middle) - b.middle);
  std::vector<TPolygon> pieces;
  pair.state = TStereoPairState::Apart;
  if (!IntersectPolygons(first, second, &pieces)) pair.state = TStereoPairState::NoFootprint;
  if (pieces.empty()) return pair;
  pair.state = TStereoPairState::Done;

  double largest = -1.0;
  xy_d middle;
  for (const TPolygon& piece : pieces) {
    const double area = EllipsoidArea(piece);
    pair.overlapArea += area;
    if (area <= largest) continue;
    largest = area;
    middle = MiddleOf(piece);
  }
  pair.overlapPercent =
      std::min(100.0, 100.0 * pair.overlapArea / std::min(EllipsoidArea(first), EllipsoidArea(second)));
  pair.place = {middle.y, middle.x, h};

  const TView of_a = ViewOf(a, pair.place), of_b = ViewOf(b, pair.place);
  SetAngles(of_a.sight, of_b.sight, &pair);
  SetPrecision(of_a, of_b, options.matchingSigma, &pair);
  // Where a unit of height shifts the image on the ground, of each image.
  const TVector shift = (1.0 / of_a.direction.z) * of_a.direction - (1.0 / of_b.direction.z) * of_b.direction;
  pair.baseToHeight = std::hypot(shift.x, shift.y);
  pair.gsd[0] = of_a.gsd;
  pair.gsd[1] = of_b.gsd;
  const double coarse = std::max(of_a.gsd, of_b.gsd);
  pair.gsdDifference = 100.0 * (coarse - std::min(of_a.gsd, of_b.gsd)) / coarse;
  pair.overlapPixels = pair.overlapArea / (coarse * coarse);
  if (!a.sensor.empty() && !b.sensor.empty()) pair.sameSensor = a.sensor == b.sensor;
  SetTimes(a, b, &pair);
  pair.quality = QualityOf(pair);
  if (options.overlaps) pair.overlap = std::move(pieces);
  return pair;
}

TStereoPair LookAtPair(const TStereoImage& first, const TStereoImage& second, const TStereoPairOptions& options) {
  TStereoPair pair =
      stereo::LookAt(TSeenImage(first, options.pointsPerSide), TSeenImage(second, options.pointsPerSide), options);
  pair.second = 1;
  return pair;
}

const char* PairCriterionName(TPairCriterion criterion) noexcept {
  constexpr const char* kNames[] = {"overlap",  "pixels", "convergence", "sensor",       "time-gap",
                                    "date-gap", "gsd",    "sun-azimuth", "sun-elevation"};
  return kNames[static_cast<int>(criterion)];
}

std::vector<TPairCriterion> FailedCriteria(const TStereoPair& pair,
                                           const StereopairsByOverlap::TStereopairsByOverlapParams& criteria) {
  std::vector<TPairCriterion> failed;
  const auto test = [&failed](TPairCriterion criterion, bool check, double value, double least, double most,
                              bool reject) {
    if (!check) return;
    const bool met = std::isnan(value) ? !reject : value >= least && value <= most;
    if (!met) failed.push_back(criterion);
  };
  constexpr double kAny = std::numeric_limits<double>::infinity();
  using C = TPairCriterion;
  test(C::OverlapPercentage, criteria.CheckOverlapPercentage, pair.overlapPercent, criteria.MinOverlapPercentage, kAny,
       criteria.RejectUndefOverlapPercentage);
  test(C::OverlapPixels, criteria.CheckOverlapPixels, pair.overlapPixels, criteria.MinOverlapPixels, kAny,
       criteria.RejectUndefOverlapPixels);
  test(C::ConvergenceAngle, criteria.CheckConvergenceAngle, pair.convergence, criteria.MinConvergenceAngle,
       criteria.MaxConvergenceAngle, criteria.RejectUndefConvergenceAngle);
  const double same = pair.sameSensor ? (*pair.sameSensor ? 1.0 : 0.0) : TStereoPair::kNaN;
  test(C::Sensor, criteria.TheSameSensor, same, 1.0, 1.0, criteria.RejectUndefSensor);
  test(C::TimeGap, criteria.CheckTimeGap, pair.timeGap, criteria.MinTimeGap, criteria.MaxTimeGap,
       criteria.RejectUndefTimeGap);
  test(C::DateGap, criteria.CheckDateGap, pair.dateGap, 0.0, criteria.MaxDateGap, criteria.RejectUndefDateGap);
  test(C::Gsd, criteria.CheckGSD, pair.gsdDifference, 0.0, criteria.MaxGSDPercentDiff, criteria.RejectUndefGSD);
  test(C::SunAzimuth, criteria.CheckSunAzimuthDiff, pair.sunAzimuthDifference, 0.0, criteria.MaxSunAzimuthDiff,
       criteria.RejectUndefSunAzimuthDiff);
  test(C::SunElevation, criteria.CheckSunElevationDiff, pair.sunElevationDifference, 0.0, criteria.MaxSunElevationDiff,
       criteria.RejectUndefSunElevationDiff);
  return failed;
}

}  // namespace SatCommonUtils
