// Whether a record's lines of sight are those of a camera, and whether they would be with its terms in another order.
//
// A camera sees along straight lines. Its field is a degree or two wide, so that over an image their directions change
// as an affine function of line and sample, up to what attitude and optics add: on the lines' length, the heights of a
// record, that is some tenths of a pixel. Terms of second order that have changed places bend the lines, or spread
// their directions, by ten times that and more. (A radar's circles are bent by decimetres.) Elementary.

#include <algorithm>
#include <array>
#include <cmath>

#include "rpc/check/model_checks.h"
#include "rpc/ellipsoid.h"
#include "rpc/rpc_fields.h"
#include "rpc/rpc_terms.h"

namespace SatCommonUtils::rpc {

namespace {

using ellipsoid::TVector;

constexpr int kAcross = 5;
constexpr int kLevels = 3;
constexpr double kInside = 0.8;          // of the image: fits are worst at the border
constexpr double kLongestSight = 500.0;  // metres above and below the middle
constexpr double kClearly = 4.0;         // times as straight shows the right order
constexpr double kStraight = 1.0;        // pixels: as straight as a right order has to be
constexpr double kMatters = 0.3;         // pixels between both orders that make a difference
constexpr double kBent = 2.0;            // pixels: few cameras see like this
constexpr double kImpossible = 20.0;     // and none like this

/// Ground points over the image at three heights, and how far their lines of sight are from a camera's.
struct TSights {
  std::vector<TGroundSolution> ground;                      ///< heights fastest
  double misfit = std::numeric_limits<double>::infinity();  ///< pixels
};

double LargestBend(const std::vector<TVector>& places) {
  double bend = 0.0;
  for (std::size_t i = 0; i < places.size(); i += kLevels) {
    const TVector sight = places[i + 2] - places[i];
    const TVector middle = places[i + 1] - places[i];
    bend = std::max(bend, ellipsoid::Length(ellipsoid::Cross(sight, middle)) / ellipsoid::Length(sight));
  }
  return bend;
}

/// How far the directions are from affine functions of line and sample, at the end of half a line of sight, metres.
double LargestSpread(const std::vector<TVector>& places) {
  // On a grid around its middle, the mean and the two slopes of a least-squares plane do not depend on each other.
  constexpr int kPoints = kAcross * kAcross;
  std::array<TVector, kPoints> sights;
  TVector mean{0, 0, 0}, down{0, 0, 0}, right{0, 0, 0};
  double squares = 0.0;
  const auto place = [](int i) { return GridPlace(i, kAcross, TGridNodes::Ends); };
  for (int i = 0; i < kPoints; ++i) {
    sights[i] = 0.5 * (places[kLevels * i + 2] - places[kLevels * i]);
    const double u = place(i / kAcross), v = place(i % kAcross);
    mean = mean + (1.0 / kPoints) * sights[i];
    down = down + u * sights[i];
    right = right + v * sights[i];
    squares += u * u;
  }
  double spread = 0.0;
  for (int i = 0; i < kPoints; ++i) {
    const double u = place(i / kAcross) / squares, v = place(i % kAcross) / squares;
    spread = std::max(spread, ellipsoid::Length(sights[i] - mean - (u * down + v * right)));
  }
  return spread;
}

TSights SightsOf(const TRPCData& record) {
  const TRPC model(record, nullptr);
  const double half = std::min(std::abs(record.heightScale), kLongestSight);
  const TImageBox image = ImageBoxOf(model);
  std::vector<double> line, sample, height;
  for (int i = 0; i < kAcross * kAcross; ++i) {
    const TImagePoint point = image.At({kInside * GridPlace(i / kAcross, kAcross, TGridNodes::Ends),
                                        kInside * GridPlace(i % kAcross, kAcross, TGridNodes::Ends)});
    for (const double h : {-half, 0.0, half}) {
      line.push_back(point.line);
      sample.push_back(point.sample);
      height.push_back(record.heightOffset + h);
    }
  }
  TSights sights;
  sights.ground.resize(line.size());
  if (SolveLatLonArray(model, line.size(), line.data(), sample.data(), height.data(), sights.ground.data()) !=
      line.size()) {
    return sights;
  }
  std::vector<TVector> places;
  for (const TGroundSolution& point : sights.ground)
    places.push_back(ellipsoid::PlaceOf({point.lat, point.lon, point.h}));
  constexpr std::size_t kDown = std::size_t{kLevels} * kAcross * (kAcross - 1);  // the first column's last point
  const double pixel = ellipsoid::Length(places[kDown + 1] - places[1]) / (2.0 * kInside * std::abs(record.lineScale));
  sights.misfit = std::max(LargestBend(places), LargestSpread(places)) / pixel;
  return sights;
}

/// Pixels between two records over ground points.
double Distance(const TRPCData& a, const TRPCData& b, const std::vector<TGroundSolution>& ground) {
  const TRPC first(a, nullptr), second(b, nullptr);
  double distance = 0.0;
  for (const TGroundSolution& point : ground) {
    double line[2], sample[2];
    first.CalculateLineSample(point.lat, point.lon, point.h, &line[0], &sample[0], nullptr, nullptr);
    second.CalculateLineSample(point.lat, point.lon, point.h, &line[1], &sample[1], nullptr, nullptr);
    distance = std::fmax(distance, std::hypot(line[0] - line[1], sample[0] - sample[1]));
  }
  return distance;
}

/// The record whose lists, taken for RPC00B, stand in `order`, or, `back`, the other way about.
TRPCData Sorted(const TRPCData& record, TRPCTermOrder order, bool back) {
  TRPCData sorted = record;
  for (const TRPCCoefficientField& field : RPCCoefficientFields()) {
    for (int k = 0; k < kRPCTermCount; ++k) {
      const int place = RPCTermPosition(order, k);
      (sorted.*field.values)[back ? place : k] = (record.*field.values)[back ? k : place];
    }
  }
  return sorted;
}

struct TOtherOrder {
  std::string what;
  double misfit = std::numeric_limits<double>::infinity();
  double distance = 0.0;  ///< from the record as it is, pixels
};

TOtherOrder BestOther(const TRPCData& record) {
  TOtherOrder best;
  for (const TRPCTermOrder order : {TRPCTermOrder::RPC00A, TRPCTermOrder::HeightFirst}) {
    for (const bool back : {false, true}) {
      const TRPCData other = Sorted(record, order, back);
      const TSights sights = SightsOf(other);
      if (!(sights.misfit < best.misfit)) continue;
      const std::string name = RPCTermOrderName(order);
      best.what = back ? "the terms seem to be those of RPC00B that were read as " + name
                       : "the terms seem to stand in the order " + name + ", not RPC00B";
      best.misfit = sights.misfit;
      best.distance = Distance(record, other, sights.ground);
    }
  }
  return best;
}

}  // namespace

void CheckSight(const TExamined& examined) {
  const TSights sights = SightsOf(examined.record);
  if (std::isfinite(sights.misfit)) examined.out->bentSight = sights.misfit;
  const TOtherOrder other = BestOther(examined.record);
  // A distance that is no number (a pole is in the way) matters as well.
  if (kClearly * other.misfit < sights.misfit && other.misfit < kStraight && !(other.distance <= kMatters)) {
    examined.Add(TFindingSeverity::Unfit, TFindingKind::TermOrder, other.what,
                 "lines of sight are off a camera's by " + Rounded(sights.misfit) + " px as read, by " +
                     Rounded(other.misfit) + " px in the other order",
                 "image points are off by up to " + Rounded(other.distance) + " px");
  } else if (sights.misfit > kBent && std::isfinite(sights.misfit)) {
    examined.Add(sights.misfit > kImpossible ? TFindingSeverity::Unfit : TFindingSeverity::Warning, TFindingKind::Sight,
                 "lines of sight are bent, or their directions uneven, by " + Rounded(sights.misfit) + " px",
                 "the image, 500 m up and down at most", "heights from this image are off by about as much");
  }
}

}  // namespace SatCommonUtils::rpc
