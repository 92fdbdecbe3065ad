#include "geometry/ray.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

#include "geometry/matchers.h"
#include "support/bits.h"
#include "support/random.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::kPoison;
using orbmath_test::Near;

constexpr double kPi = 3.14159265358979323846;
// WGS 84, metres.
constexpr double kEquatorial = 6378137.0;
constexpr double kPolar = 6356752.314245179;

TVector Hit(double a, double b, double h, const TVector& origin, const TVector& direction) {
  double x, y, z;
  ray_and_ellipsoid_intersection_cartesian(a, b, h, origin, direction, &x, &y, &z);
  return {x, y, z};
}

/// The point at a geodetic position, from the prime vertical radius: independent of what is tested.
TVector FromGeodetic(double lat, double lon, double h) {
  const double ratio = kPolar * kPolar / (kEquatorial * kEquatorial);
  const double n = kEquatorial / std::sqrt(std::cos(lat) * std::cos(lat) + ratio * std::sin(lat) * std::sin(lat));
  return {(n + h) * std::cos(lat) * std::cos(lon), (n + h) * std::cos(lat) * std::sin(lon),
          (ratio * n + h) * std::sin(lat)};
}

TVector Vertical(double lat, double lon) {
  return {std::cos(lat) * std::cos(lon), std::cos(lat) * std::sin(lon), std::sin(lat)};
}

TEST(Ray, EllipsoidTakesTheNearerRootAndNeverMisses) {
  EXPECT_TRUE(Near(Hit(1, 1, 0, {0, 0, 10}, {0, 0, -1}), TVector(0, 0, 1), 0.0));
  EXPECT_TRUE(Near(Hit(1, 1, 0, {0, 0, 10}, {0, 0, 1}), TVector(0, 0, -1), 0.0)) << "behind the origin";
  EXPECT_TRUE(Near(Hit(2, 1, 1, {10, 0, 0}, {-5, 0, 0}), TVector(3, 0, 0))) << "raised, direction of length 5";
  EXPECT_TRUE(Near(Hit(2, 1, 0, {3, 0, 10}, {0, 0, -1}), TVector(3, 0, 0))) << "a miss gives the nearest approach";
  EXPECT_TRUE(std::isnan(Hit(1, 1, 0, {0, 0, 10}, {0, 0, 0})(0)));
}

TEST(Ray, GeodeticCoordinatesAgreeWithTheForwardFormula) {
  // 1e-9 rad is 6 mm; the intersection of a ray from 700 km loses some nanometres.
  constexpr double kTolerance = 1e-9;
  orbmath_test::Random random("Ray.Geodetic");
  for (int run = 0; run < 2000; ++run) {
    const double lat = run % 10 == 0 ? kPi / 2 - std::pow(10.0, -random.Uniform(0, 12)) : random.Uniform(-1.57, 1.57);
    const double lon = random.Uniform(-kPi, kPi);
    const TVector ground = FromGeodetic(lat, lon, 0.0);
    // Any direction of view that is not too flat.
    const TVector sideways(random.Normal(1), random.Normal(1), random.Normal(1));
    const TVector origin = ground + (Vertical(lat, lon) + 0.3 * sideways.GetNormalized()) * 7e5;
    double found_lat, found_lon, geocentric;
    ray_and_ellipsoid_intersection(kEquatorial, kPolar, 0.0, origin, ground - origin, &found_lat, &found_lon,
                                   &geocentric);
    ASSERT_NEAR(found_lat, lat, kTolerance);
    ASSERT_NEAR(std::remainder(found_lon - lon, 2 * kPi) * std::cos(lat), 0.0, kTolerance);
    ASSERT_NEAR(geocentric, std::atan2(ground(2), std::hypot(ground(0), ground(1))), kTolerance);
  }
}

// What the header promises of the closed form above the ellipsoid; the worst errors seen are 7.4e-12 and 1.24e-10 rad.
TEST(Ray, GeodeticLatitudeAboveTheEllipsoid) {
  const struct { double h, lat_error; } cases[] = {{-400.0, 1e-11}, {1e3, 1e-11}, {1e4, 1e-11}, {1e6, 2e-10}};
  for (const auto& c : cases) {
    for (double degrees = -89.5; degrees < 90.0; degrees += 1.0) {
      const double expected = degrees * kPi / 180.0;
      // Straight down on the point at that latitude whose height lies on the raised ellipsoid.
      const TVector down = -1.0 * Vertical(expected, 0.4);
      double lat, lon;
      ray_and_ellipsoid_intersection(kEquatorial, kPolar, c.h, FromGeodetic(expected, 0.4, 2e6), down, &lat, &lon,
                                     nullptr);
      ASSERT_NEAR(lat, expected, c.lat_error) << c.h;
      const TVector hit = Hit(kEquatorial, kPolar, c.h, FromGeodetic(expected, 0.4, 2e6), down);
      ASSERT_LE((hit - FromGeodetic(expected, 0.4, c.h)).Norma(), 1.5e-6 * std::fabs(c.h) + 1e-7) << degrees;
    }
  }
}

TEST(Ray, PolesAndHairsBesideThem) {
  for (const double x : {0.0, 1e-3, 1e-9, 1e-18, 1e-200}) {
    double lat, lon, geocentric;
    ray_and_ellipsoid_intersection(kEquatorial, kPolar, 0.0, {x, 0, -7e6}, {0, 0, 1}, &lat, &lon, &geocentric);
    EXPECT_NEAR(lat, -kPi / 2, x / 6e6 + 1e-15) << x;
    EXPECT_TRUE(lon == 0.0 && geocentric >= lat) << x;
  }
}

TEST(Ray, SphereAndNormalFromAPoint) {
  double x, y, z;
  ray_and_sphere_intersection(2.0, {10, 0, 0}, {-1, 0, 0}, &x, &y, &z);
  EXPECT_TRUE(Near(TVector(x, y, z), TVector(2, 0, 0), 0.0));
  ray_and_sphere_intersection(2.0, {10, 3, 0}, {-1, 0, 0}, &x, &y, &z);
  EXPECT_TRUE(std::isnan(x)) << "a miss";
  TVector out;
  point_to_ray_normal({-5, 3, 4}, {1, 0, 0}, {2, 0, 0}, &out);
  EXPECT_TRUE(Near(out, TVector(0, -3, -4))) << "foot behind the origin";
}

TEST(Ray, Plane) {
  const TVector point(0, 0, 2), normal(0, 0, -3);
  EXPECT_TRUE(Near(ray_and_plane_intersection({1, 1, 0}, {1, 0, 1}, point, normal), TVector(3, 1, 2)));
  EXPECT_TRUE(Near(ray_and_plane_intersection({1, 1, 2}, {1, 0, 1}, point, normal), TVector(1, 1, 2)))
      << "in the plane";
  EXPECT_FALSE(ray_and_plane_intersection({1, 1, 0}, {1, 0, 0}, point, normal)) << "parallel";
  EXPECT_FALSE(ray_and_plane_intersection({1, 1, 2}, {1, 0, 0}, point, normal)) << "within the plane";
  EXPECT_FALSE(ray_and_plane_intersection({1, 1, 0}, {0, 0, -1}, point, normal)) << "away";
}

TEST(Ray, PlaneAndSector) {
  const TVector point(0, 0, 2), normal(0, 0, 1), apex(0, 0, 0);
  TVector hit(kPoison, kPoison, kPoison), chord = hit;
  for (const TVector& bad : {TVector(1, 0, 0), TVector(0, 1, -1)}) {
    EXPECT_FALSE(plane_and_sector_intersection(point, normal, apex, {0, 0, 1}, bad, &hit, &chord));
    EXPECT_FALSE(plane_and_sector_intersection(point, normal, apex, bad, {0, 0, 1}, &hit, &chord));
    EXPECT_TRUE(hit(0) == kPoison && chord(0) == kPoison);
  }
  ASSERT_TRUE(plane_and_sector_intersection(point, normal, apex, {1, 0, 1}, {0, 1, 1}, &hit, &chord));
  EXPECT_TRUE(Near(hit, TVector(2, 0, 2)) && Near(chord, TVector(-2, 2, 0)));
}

TEST(Ray, ConvergenceAngle) {
  EXPECT_DOUBLE_EQ(GetConvergenceAngle(0, 0, kPi / 2, 0), kPi / 2);
  EXPECT_DOUBLE_EQ(angle_of_convergence(0, 0, 90, 0), kPi / 2);
  EXPECT_DOUBLE_EQ(GetConvergenceAngle(0, kPi / 3, kPi, kPi / 3), kPi / 3) << "30 degrees to either side of the zenith";
  orbmath_test::Random random("Ray.Convergence");
  for (int run = 0; run < 3000; ++run) {
    const double az1 = random.Uniform(-4, 7), el1 = random.Uniform(-1.5, 1.5);
    const double az2 = random.Uniform(-4, 7), el2 = random.Uniform(-1.5, 1.5);
    // Near 0 and π an arc cosine keeps half the digits.
    ASSERT_NEAR(GetConvergenceAngle(az1, el1, az2, el2), angle_of_convergence(az1, el1, az2 * 180 / kPi, el2), 1e-7);
    // The cosine of a direction with itself rounds past 1 for some of these.
    ASSERT_NEAR(GetConvergenceAngle(az1, el1, az1, el1), 0.0, 1e-7);
    ASSERT_NEAR(angle_of_convergence(az1, el1, az1 * 180 / kPi, el1), 0.0, 1e-7);
    ASSERT_NEAR(GetConvergenceAngle(az1, el1, az1 + kPi, -el1), kPi, 1e-7);
  }
}

// A missed ray gives an empty vector, which callers hand on.
TEST(Ray, VectorsOfTheWrongSizeAreRefused) {
  const TVector good(1, 2, 3);
  double x = kPoison, y = kPoison, z = kPoison;
  for (const TVector& bad : {TVector(), TVector(2), TVector(4)}) {
    TVector out = good, chord = good;
    for (int place = 0; place < 5; ++place) {
      const auto at = [&](int i) { return i == place ? bad : good; };
      EXPECT_FALSE(plane_and_sector_intersection(at(0), at(1), at(2), at(3), at(4), &out, &chord));
      if (place > 3) break;
      EXPECT_THROW(ray_and_plane_intersection(at(0), at(1), at(2), at(3)), std::runtime_error);
      if (place > 2) continue;
      EXPECT_THROW(point_to_ray_normal(at(0), at(1), at(2), &out), std::runtime_error);
      if (place > 1) continue;
      EXPECT_THROW(ray_and_ellipsoid_intersection_cartesian(2, 1, 0, at(0), at(1), &x, &y, &z), std::runtime_error);
      EXPECT_THROW(ray_and_ellipsoid_intersection(2, 1, 0, at(0), at(1), &x, &y, nullptr), std::runtime_error);
      EXPECT_THROW(ray_and_sphere_intersection(1, at(0), at(1), &x, &y, &z), std::runtime_error);
    }
    EXPECT_TRUE(Near(out, good, 0.0) && Near(chord, good, 0.0));
  }
  EXPECT_TRUE(x == kPoison && y == kPoison && z == kPoison);
}

}  // namespace
}  // namespace SatCommonUtils
