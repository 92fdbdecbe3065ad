#pragma once
// A simulated pushbroom satellite image, shared by the examples: what a camera with one line of detectors sees from a
// circular orbit. Made of the library's rays, attitudes and polynomials only.

#include <utility>

#include <orbmath/geometry/attitude.h>
#include <orbmath/geometry/ray.h>
#include <orbmath/linalg/matrix.h>
#include <orbmath/linalg/vector.h>

namespace example {

constexpr double kPi = 3.14159265358979323846;
constexpr double kRadian = kPi / 180.0;                                     // radians in a degree
constexpr double kEquatorialAxis = 6378137.0, kPolarAxis = 6356752.314245;  // WGS84, metres
constexpr double kGravity = 3.986004418e14;                                 // G times mass of the Earth, m^3/s^2
constexpr double kEarthRate = 7.292115e-5;                                  // rotation of the Earth, rad/s

/// Earth-fixed Cartesian coordinates, metres, of a geodetic point in degrees and metres.
SatCommonUtils::TVector CartesianOf(double lat, double lon, double h);

/// One image of a square of ground, 16,000 lines of 16,000 samples of about 0.7 m, from 620 km.
class PushbroomScene {
 public:
  static constexpr int kLines = 16000, kSamples = 16000;
  static constexpr double kTargetLat = 47.3, kTargetLon = 8.5;  // centre of the image at height 0, degrees

  /// \param time when the middle line is taken, seconds from the pass over the target's latitude.
  explicit PushbroomScene(double time);

  /// Where the detector of a sample is and looks when it takes a line, Earth-fixed; whole numbers are pixel centres.
  std::pair<SatCommonUtils::TVector, SatCommonUtils::TVector> Ray(double line, double sample) const;
  /// Latitude and longitude, degrees, of what it sees at a height in metres above the ellipsoid.
  std::pair<double, double> Ground(double line, double sample, double height) const;

 private:
  double middle_;
  SatCommonUtils::TAttitudePolynomials attitude_;
};

}  // namespace example
