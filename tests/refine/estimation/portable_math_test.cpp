#include "refine/estimation/portable_math.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/bits.h"
#include "support/random.h"

namespace {

using namespace SatCommonUtils::estimation;
using orbmath_test::Bits;
using orbmath_test::Random;

TEST(PortableMath, AgreesWithLongDoubles) {
  Random random("PortableMath");
  for (int i = 0; i < 20000; ++i) {
    const double exponent = random.Uniform(-690, 690);
    const double x = static_cast<double>(std::exp(static_cast<long double>(exponent)));
    const long double log = std::log(static_cast<long double>(x));
    EXPECT_LE(std::fabs(static_cast<double>(PortableLog(x) - log)), kPortableMathError * std::fabs(log)) << x;
    const long double exp = std::exp(static_cast<long double>(exponent));
    EXPECT_LE(std::fabs(static_cast<double>(PortableExp(exponent) / exp - 1.0L)),
              kPortableMathError * (1.0 + std::fabs(exponent)))
        << exponent;
  }
  for (const double x : {1.0, 1.0 + 1e-15, 1.0 - 1e-15, 0.70710678, 0.70710679, 2.0, 1e-310}) {
    const long double log = std::log(static_cast<long double>(x));
    EXPECT_LE(std::fabs(static_cast<double>(PortableLog(x) - log)), kPortableMathError * std::fabs(log)) << x;
  }
  EXPECT_EQ(PortableExp(0.0), 1.0);
  EXPECT_EQ(PortableExp(-1e4), 0.0);
  EXPECT_EQ(PortableExp(1e4), std::numeric_limits<double>::infinity());
  EXPECT_NEAR(PortablePow(2.5, -0.72), std::pow(2.5, -0.72), 1e-15);
}

// Every processor gives these.
TEST(PortableMath, KeepsItsBits) {
  const struct {
    double x;
    std::uint64_t log, exp;
  } rows[] = {{0.1, 0xc0026bb1bbb55515u, 0x3fecf46d99d52b3au},     {0.7, 0xbfd6d3c324e13f50u, 0x3fdfc80db9dd5542u},
              {1.5, 0x3fd9f323ecbf984cu, 0x3fcc8f87724b5c1du},     {13.3, 0x4004b3bda1688b43u, 0x3ebc17e4c120ae6fu},
              {123.456, 0x401343774f3e2362u, 0x34cda9fb9e4ee720u}, {690, 0x401a25927b6ec545u, 0x01b745367beacec6u}};
  for (const auto& row : rows) {
    EXPECT_EQ(Bits(PortableLog(row.x)), row.log) << std::hex << Bits(PortableLog(row.x)) << " for " << row.x;
    EXPECT_EQ(Bits(PortableExp(-row.x)), row.exp) << std::hex << Bits(PortableExp(-row.x)) << " for " << row.x;
  }
}

}  // namespace
