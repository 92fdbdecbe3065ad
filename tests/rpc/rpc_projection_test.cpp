// Ground to image: values and derivatives against an independent formula, longitude turns, special numbers.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "rpc/models.h"
#include "support/bits.h"
#include "support/differences.h"
#include "support/random.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::CameraModel;
using orbmath_test::CameraRecord;
using orbmath_test::Random;
using orbmath_test::SameBits;

// Exponents of longitude, latitude and height in the 20 terms: the published table of RPC00B.
constexpr int kExponents[20][3] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 1, 0}, {1, 0, 1}, {0, 1, 1},
                                   {2, 0, 0}, {0, 2, 0}, {0, 0, 2}, {1, 1, 1}, {3, 0, 0}, {1, 2, 0}, {1, 0, 2},
                                   {2, 1, 0}, {0, 3, 0}, {0, 1, 2}, {2, 0, 1}, {0, 2, 1}, {0, 0, 3}};

/// A number and its three derivatives (by longitude, latitude, height), carried by the rules of differentiation.
struct Dual {
  long double value;
  long double d[3];
};

Dual Polynomial(const double* c, const long double* x) {
  Dual sum = {};
  for (int k = 0; k < 20; ++k) {
    const auto term = [&](int by) {
      long double product = c[k];
      for (int axis = 0; axis < 3; ++axis) {
        const int power = kExponents[k][axis] - (axis == by ? 1 : 0);
        product *= axis == by ? kExponents[k][axis] : 1;
        product *= power < 0 ? 0.0L : std::pow(x[axis], static_cast<long double>(power));
      }
      return product;
    };
    sum.value += term(-1);
    for (int axis = 0; axis < 3; ++axis) sum.d[axis] += term(axis);
  }
  return sum;
}

Dual Quotient(const Dual& a, const Dual& b) {
  Dual q = {a.value / b.value, {}};
  for (int axis = 0; axis < 3; ++axis) q.d[axis] = (a.d[axis] - q.value * b.d[axis]) / b.value;
  return q;
}

// Differences in the last digits of double arithmetic over 20 terms of order 1.
constexpr double kRounding = 1e-14;

TEST(RPCProjection, MatchesTheTableOfTerms) {
  Random random("projection");
  for (int run = 0; run < 200; ++run) {
    TRPCData record = CameraRecord(1.4);
    for (double* const c : {record.lineNumCoef, record.lineDenCoef, record.sampNumCoef, record.sampDenCoef}) {
      for (int k = 0; k < 20; ++k) c[k] = random.Uniform(-0.1, 0.1);
    }
    record.lineDenCoef[0] = record.sampDenCoef[0] = 2.0;
    const TRPC model(record, nullptr);
    const double P = random.Uniform(-1.0, 1.0);
    const double L = random.Uniform(-1.0, 1.0);
    const double H = random.Uniform(-1.0, 1.0);
    const long double x[] = {L, P, H};
    const Dual line = Quotient(Polynomial(record.lineNumCoef, x), Polynomial(record.lineDenCoef, x));
    const Dual sample = Quotient(Polynomial(record.sampNumCoef, x), Polynomial(record.sampDenCoef, x));
    double lineN, sampleN, dLine[3], dSample[3];
    model.CalculateLineSampleNormalized(P, L, H, &lineN, &sampleN, dLine, dSample);
    EXPECT_NEAR(lineN, static_cast<double>(line.value), kRounding);
    EXPECT_NEAR(sampleN, static_cast<double>(sample.value), kRounding);
    const int order[] = {1, 0, 2};  // latitude comes first in the derivatives
    for (int i = 0; i < 3; ++i) {
      EXPECT_NEAR(dLine[i], static_cast<double>(line.d[order[i]]), kRounding);
      EXPECT_NEAR(dSample[i], static_cast<double>(sample.d[order[i]]), kRounding);
    }
  }
}

// Law 3 of `TRPC`.
TEST(RPCProjection, DerivativesAreThoseOfPixelsByDegreesAndMetres) {
  const TRPC model = CameraModel();
  const double at[] = {43.63, 1.37, 410.0};
  double line, sample, dLine[3], dSample[3];
  model.CalculateLineSample(at[0], at[1], at[2], &line, &sample, dLine, dSample);
  const double steps[] = {1e-5, 1e-5, 0.1};
  for (int i = 0; i < 3; ++i) {
    for (const bool of_line : {true, false}) {
      const auto moved = [&](double value) {
        double p[] = {at[0], at[1], at[2]};
        p[i] = value;
        double l, s;
        model.CalculateLineSample(p[0], p[1], p[2], &l, &s, nullptr, nullptr);
        return of_line ? l : s;
      };
      const double difference = orbmath_test::CentralDifference(moved, at[i], steps[i]);
      EXPECT_NEAR((of_line ? dLine : dSample)[i] / difference, 1.0, 1e-6);
    }
  }
}

TEST(RPCProjection, GivesTheConstantsAtTheCentre) {
  TRPCData record = CameraRecord(1.4);
  record.lineNumCoef[0] = 0.25;
  record.lineDenCoef[0] = 0.5;
  double line, sample;
  TRPC(record, nullptr).CalculateLineSample(43.6, 1.4, 240.0, &line, &sample, nullptr, nullptr);
  EXPECT_EQ(line, 7000.0 + 7100.0 * 0.5);
}

TEST(RPCProjection, OneDerivativeOutputLeavesTheOtherAlone) {
  const TRPC model = CameraModel();
  double line, sample, dLine[3], dSample[3];
  model.CalculateLineSample(43.63, 1.37, 410.0, &line, &sample, dLine, dSample);
  double line2, sample2, d[3];
  model.CalculateLineSample(43.63, 1.37, 410.0, &line2, &sample2, nullptr, d);
  EXPECT_TRUE(SameBits(d, dSample, 3));
  model.CalculateLineSample(43.63, 1.37, 410.0, &line2, &sample2, d, nullptr);
  EXPECT_TRUE(SameBits(d, dLine, 3));
  model.CalculateLineSample(43.63, 1.37, 410.0, &line2, &sample2, nullptr, nullptr);
  EXPECT_TRUE(SameBits(line, line2));
  EXPECT_TRUE(SameBits(sample, sample2));
}

// Law 1 of `TRPC`.
TEST(RPCProjection, BringsLongitudesToTheTurnOfTheModel) {
  struct Case {
    double offset;  // of the model
    double given;
    double same;  // a longitude that projects alike
  };
  const double up = std::nextafter(190.0, 400.0);
  for (const Case& c :
       {Case{10.0, 370.0, 10.0}, Case{10.0, -350.0, 10.0}, Case{10.0, 10.0 + 540.0, 190.0}, Case{10.0, 190.0, 190.0},
        Case{10.0, up, up - 360.0}, Case{10.0, -170.0, -170.0}, Case{10.0, 10.0 + 3600.0, 10.0},
        Case{179.9, -179.95, 180.05}, Case{-179.9, 179.95, -180.05}, Case{359.0, 1.0, 361.0}}) {
    TRPCData record = CameraRecord(c.offset);
    record.longScale = 100.0;
    const TRPC model(record, nullptr);
    double line, sample, lineN, sampleN;
    model.CalculateLineSample(43.6, c.given, 240.0, &line, &sample, nullptr, nullptr);
    model.CalculateLineSampleNormalized(0.0, (c.same - c.offset) / 100.0, 0.0, &lineN, &sampleN, nullptr, nullptr);
    EXPECT_NEAR(line, 7000.0 + 7100.0 * lineN, 1e-8) << c.given;
    EXPECT_NEAR(sample, 6000.0 + 6050.0 * sampleN, 1e-8) << c.given;
  }
}

TEST(RPCProjection, SpecialNumbersGoThrough) {
  const TRPC model = CameraModel();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double infinity = std::numeric_limits<double>::infinity();
  for (const double bad : {nan, infinity, -infinity}) {
    for (int i = 0; i < 3; ++i) {
      double p[] = {43.6, 1.4, 240.0};
      p[i] = bad;
      double line = 0.0;
      double sample = 0.0;
      double d[3];
      model.CalculateLineSample(p[0], p[1], p[2], &line, &sample, d, d);
      EXPECT_FALSE(std::isfinite(line) && std::isfinite(sample)) << bad << " in place " << i;
    }
  }
  TRPCData record = CameraRecord(1.4);
  for (double& c : record.lineDenCoef) c = 0.0;
  double line, sample;
  TRPC(record, nullptr).CalculateLineSample(43.61, 1.41, 240.0, &line, &sample, nullptr, nullptr);
  EXPECT_TRUE(std::isinf(line));
  EXPECT_TRUE(std::isfinite(sample));
}

}  // namespace
}  // namespace SatCommonUtils
