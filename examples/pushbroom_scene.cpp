// The camera of the examples, and the points that it sees. Elementary: a circular orbit and a line of sight a pixel.

#include "pushbroom_scene.h"

#include <cmath>

namespace example {

namespace {

using namespace SatCommonUtils;

constexpr double kRadius = kEquatorialAxis + 620e3;  // of the orbit, metres
constexpr double kInclination = 97.9 * kRadian;
constexpr double kDetectorAngle = 0.7 / 620e3;  // radians between two detectors
constexpr double kLineTime = 0.7 / 6900.0;      // seconds between two lines
const double kOrbitRate = std::sqrt(kGravity / (kRadius * kRadius * kRadius));

// Position and velocity in the inertial frame that agrees with the Earth at time 0; the satellite flies north to south
// and passes 1.5 degrees east of the target.
void OrbitAt(double time, TVector* position, TVector* velocity) {
  const double latitude = std::atan(kPolarAxis * kPolarAxis / (kEquatorialAxis * kEquatorialAxis) *
                                    std::tan(PushbroomScene::kTargetLat * kRadian));  // geocentric
  // Angle from the ascending node to the target's latitude, on the far side of the northernmost point.
  const double start = kPi - std::asin(std::sin(latitude) / std::sin(kInclination));
  const double node = (PushbroomScene::kTargetLon + 1.5) * kRadian -
                      std::atan2(std::sin(start) * std::cos(kInclination), std::cos(start));
  const double angle = start + kOrbitRate * time;
  const TVector to_node(std::cos(node), std::sin(node), 0.0);
  const TVector ahead(-std::sin(node) * std::cos(kInclination), std::cos(node) * std::cos(kInclination),
                      std::sin(kInclination));
  *position = kRadius * (std::cos(angle) * to_node + std::sin(angle) * ahead);
  *velocity = kRadius * kOrbitRate * (std::cos(angle) * ahead - std::sin(angle) * to_node);
}

// Turns inertial components into Earth-fixed ones.
TVector EarthFixed(const TVector& inertial, double time) {
  const double c = std::cos(kEarthRate * time), s = std::sin(kEarthRate * time);
  return TVector(c * inertial(0) + s * inertial(1), c * inertial(1) - s * inertial(0), inertial(2));
}

// Roll and pitch, yaw being 0, that point the camera from orbital position to target.
TAttitudeAngles PointingAt(const TVector& target, double time) {
  TVector position, velocity;
  OrbitAt(time, &position, &velocity);
  TMatrix frame;
  GetOrbitalFrame(position, velocity, &frame);
  const TVector sight = frame * (EarthFixed(target, -time) - position);
  // The camera looks along the third row of the direction-cosine matrix.
  return {-std::asin(sight(1) / sight.Norma()), std::atan2(sight(0), sight(2)), 0.0};
}

}  // namespace

TVector CartesianOf(double lat, double lon, double h) {
  const double p = lat * kRadian, l = lon * kRadian;
  const double squares = kPolarAxis * kPolarAxis / (kEquatorialAxis * kEquatorialAxis);
  const double normal = kEquatorialAxis / std::sqrt(1.0 - (1.0 - squares) * std::sin(p) * std::sin(p));
  return TVector((normal + h) * std::cos(p) * std::cos(l), (normal + h) * std::cos(p) * std::sin(l),
                 (normal * squares + h) * std::sin(p));
}

PushbroomScene::PushbroomScene(double time) : middle_(time) {
  const TAttitudeAngles at_middle = PointingAt(CartesianOf(kTargetLat, kTargetLon, 0.0), time);
  // The satellite drifts and swings a little while it takes the image: radians, per second, per second squared, ...
  const double roll[] = {at_middle.roll, 4e-5, -1e-5, 3e-6};
  const double pitch[] = {at_middle.pitch, -6e-5, 2e-5, -4e-6};
  const double yaw[] = {0.004, 8e-5, 1e-5};
  attitude_ = TAttitudePolynomials(time, TPolynome(3, roll), TPolynome(3, pitch), TPolynome(2, yaw));
}

std::pair<TVector, TVector> PushbroomScene::Ray(double line, double sample) const {
  const double time = middle_ + (line - 0.5 * (kLines - 1)) * kLineTime;
  TVector position, velocity;
  OrbitAt(time, &position, &velocity);
  TMatrix to_orbital;
  GetOrbitalFrame(position, velocity, &to_orbital);
  const TVector in_body(0.0, std::tan((sample - 0.5 * (kSamples - 1)) * kDetectorAngle), 1.0);
  const TVector direction = !(attitude_.GetAngles(time).GetMatrix() * to_orbital) * in_body;
  return {EarthFixed(position, time), EarthFixed(direction, time)};
}

std::pair<double, double> PushbroomScene::Ground(double line, double sample, double height) const {
  const auto [origin, direction] = Ray(line, sample);
  double lat, lon;
  ray_and_ellipsoid_intersection(kEquatorialAxis, kPolarAxis, height, origin, direction, &lat, &lon, nullptr);
  return {lat / kRadian, lon / kRadian};
}

}  // namespace example
