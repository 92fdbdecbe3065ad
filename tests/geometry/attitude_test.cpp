#include "geometry/attitude.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "geometry/matchers.h"
#include "support/bits.h"
#include "support/differences.h"
#include "support/random.h"
#include "support/xml.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::CentralDifference;
using orbmath_test::IsRotation;
using orbmath_test::Near;
using orbmath_test::ReaderOf;
using orbmath_test::SavedXml;

constexpr double kPi = 3.14159265358979323846;
// Of a difference quotient with the step below: its square against rounding.
constexpr double kStep = 1e-5;
constexpr double kDifferenceTolerance = 1e-8;

double TAttitudeAngles::*const kAngles[] = {&TAttitudeAngles::roll, &TAttitudeAngles::pitch, &TAttitudeAngles::yaw};

TAttitudeAngles RandomAngles(orbmath_test::Random* random) {
  return {random->Uniform(-3.1, 3.1), random->Uniform(-1.57, 1.57), random->Uniform(-3.1, 3.1)};
}

TAttitudePolynomials Polynomials() {
  return {1000.0, TPolynome("(1e-4;-2e-3;0.1)"), TPolynome("(3e-3;0.2)"), TPolynome("(2e-5;1e-3;-4e-3;-0.3)")};
}

// Wertz, table E-1, sequence 3-2-1, written out.
TEST(Attitude, MatrixOfThePublishedTable) {
  orbmath_test::Random random("Attitude.Matrix");
  for (int run = 0; run < 50; ++run) {
    const TAttitudeAngles a = RandomAngles(&random);
    const double sr = std::sin(a.roll), cr = std::cos(a.roll), sp = std::sin(a.pitch), cp = std::cos(a.pitch);
    const double sy = std::sin(a.yaw), cy = std::cos(a.yaw);
    TMatrix expected(3, 3);
    expected.SetRow(0, {cp * cy, cp * sy, -sp});
    expected.SetRow(1, {sr * sp * cy - cr * sy, sr * sp * sy + cr * cy, sr * cp});
    expected.SetRow(2, {cr * sp * cy + sr * sy, cr * sp * sy - sr * cy, cr * cp});
    EXPECT_TRUE(Near(a.GetMatrix(), expected));
    EXPECT_TRUE(IsRotation(a.GetMatrix()));
    EXPECT_TRUE(Near(a.GetQuaternion().R(), !expected));
  }
}

TEST(Attitude, DerivativesByTheAngles) {
  orbmath_test::Random random("Attitude.Derivatives");
  for (int run = 0; run < 20; ++run) {
    const TAttitudeAngles angles = RandomAngles(&random);
    TMatrix matrix, derivatives[3];
    angles.GetMatrixDerivatives(&matrix, &derivatives[0], &derivatives[1], &derivatives[2]);
    EXPECT_TRUE(Near(matrix, angles.GetMatrix(), 0.0));
    for (int k = 0; k < 3; ++k) {
      for (std::size_t i = 0; i < 9; ++i) {
        const auto element = [&](double value) {
          TAttitudeAngles moved = angles;
          moved.*kAngles[k] = value;
          return moved.GetMatrix()(i / 3, i % 3);
        };
        EXPECT_NEAR(derivatives[k](i / 3, i % 3), CentralDifference(element, angles.*kAngles[k], kStep),
                    kDifferenceTolerance);
      }
    }
  }
}

TEST(Attitude, AnglesComeBackFromMatrixAndQuaternion) {
  // The inverse of the cosine of pitch, at most 1300 here, multiplies rounding.
  constexpr double kAngleTolerance = 1e-12;
  orbmath_test::Random random("Attitude.Back");
  for (int run = 0; run < 500; ++run) {
    const TAttitudeAngles angles = RandomAngles(&random);
    TAttitudeAngles from_matrix, from_quaternion;
    ASSERT_TRUE(from_matrix.SetMatrix(angles.GetMatrix()));
    ASSERT_TRUE(from_quaternion.SetQuaternion(random.Uniform(-9, 9) * angles.GetQuaternion()));
    for (double TAttitudeAngles::*const angle : kAngles) {
      ASSERT_NEAR(from_matrix.*angle, angles.*angle, kAngleTolerance);
      ASSERT_NEAR(from_quaternion.*angle, angles.*angle, kAngleTolerance);
    }
  }
}

// In gimbal lock and on the way to it the angles are not well defined one by one, the matrix is.
TEST(Attitude, NothingIsLostNearGimbalLock) {
  for (const double sign : {1.0, -1.0}) {
    for (double off = 1e-3; off > 1e-20; off /= 7.0) {
      const TMatrix m = TAttitudeAngles(0.9, sign * (kPi / 2 - off), -2.0).GetMatrix();
      TAttitudeAngles found;
      ASSERT_TRUE(found.SetMatrix(m));
      EXPECT_TRUE(Near(found.GetMatrix(), m)) << off;
    }
    TMatrix lock(3, 3);
    lock.SetRow(0, {0, 0, -sign});
    lock.SetRow(1, {-std::sin(0.3), std::cos(0.3), 0});
    lock.SetRow(2, {sign * std::cos(0.3), sign * std::sin(0.3), 0});
    TAttitudeAngles found;
    ASSERT_TRUE(found.SetMatrix(lock));
    EXPECT_TRUE(found.roll == 0.0 && found.pitch == sign * kPi / 2 && Near(found.GetMatrix(), lock));
  }
}

TEST(Attitude, RefusesWhatIsNoRotation) {
  const double inf = std::numeric_limits<double>::infinity();
  TMatrix sheared(3), bad(3);
  sheared.SetElement(0, 1, 1e-3);
  bad.SetElement(0, 1, NAN);
  const TAttitudeAngles before(1, 2, 3);
  TAttitudeAngles angles = before;
  for (const TMatrix& m : {TMatrix(TVector(1, 1, -1)), TMatrix(TVector(1, 1, 1.001)), sheared, bad, TMatrix(),
                           TMatrix(2), TMatrix(4), TMatrix(3, 2)}) {
    EXPECT_FALSE(angles.SetMatrix(m)) << m.Output();
  }
  for (const TQuaternion& q :
       {TQuaternion(), TQuaternion(NAN, 1, 0, 0), TQuaternion(1, NAN, 0, 0), TQuaternion(0, inf, 0, 0)}) {
    EXPECT_FALSE(angles.SetQuaternion(q)) << q.Output();
  }
  EXPECT_EQ(angles, before);
  EXPECT_TRUE(angles.SetQuaternion(TQuaternion(1e-200, 0, 0, 0)) && angles == TAttitudeAngles()) << "any length but 0";
}

TEST(Attitude, RatesAreTheDerivativesInTime) {
  const TAttitudePolynomials p = Polynomials();
  for (const double time : {996.0, 1000.0, 1007.5}) {
    const TMatrix matrix = p.GetAngles(time).GetMatrix();
    const TMatrix rate = p.GetMatrixRate(time);
    for (std::size_t i = 0; i < 9; ++i) {
      const auto element = [&](double t) { return p.GetAngles(t).GetMatrix()(i / 3, i % 3); };
      EXPECT_NEAR(rate(i / 3, i % 3), CentralDifference(element, time, 1e-4), 1e-8);
    }
    const TVector w = p.GetBodyRates(time);
    // dA/dt = -w x A, column by column.
    for (std::size_t i = 0; i < 3; ++i) EXPECT_TRUE(Near(rate.GetColomn(i), -(w ^ matrix.GetColomn(i))));
    TAttitudeAngles back;
    ASSERT_TRUE(GetAngleRates(p.GetAngles(time), w, &back));
    const TAttitudeAngles rates = p.GetAngleRates(time);
    EXPECT_TRUE(Near(TVector(back.roll, back.pitch, back.yaw), TVector(rates.roll, rates.pitch, rates.yaw)));
  }
  TAttitudeAngles rates(7, 7, 7);
  EXPECT_FALSE(GetAngleRates({0, kPi / 2, 0}, {0.1, 0.1, 0.1}, &rates));
  for (const TVector& bad : {TVector(), TVector(2), TVector(4)}) EXPECT_FALSE(GetAngleRates({}, bad, &rates));
  EXPECT_EQ(rates, TAttitudeAngles(7, 7, 7));
}

TEST(Attitude, OrbitalFrame) {
  // An orbit over the equator, eastwards: the normal is north.
  TMatrix frame;
  ASSERT_TRUE(GetOrbitalFrame({7e6, 0, 0}, {100, 7500, 0}, &frame));
  EXPECT_TRUE(IsRotation(frame) && Near(frame.GetRow(0), TVector(0, 1, 0)) && Near(frame.GetRow(2), TVector(-1, 0, 0)));
  for (const TVector& bad : {TVector(0, 0, 0), TVector(-1, 0, 0), TVector(NAN, 0, 1), TVector(), TVector(4)}) {
    TMatrix untouched(2);
    EXPECT_FALSE(GetOrbitalFrame({7e6, 0, 0}, bad, &untouched) || GetOrbitalFrame(bad, {7e6, 0, 0}, &untouched));
    EXPECT_EQ(untouched.GetWidth(), 2u);
  }
}

// On either side of the limits that the header names.
TEST(Attitude, LimitsAreWhereTheyAreNamed) {
  TAttitudeAngles angles, rates;
  TMatrix frame;
  for (const bool within : {false, true}) {
    const double factor = within ? 1.01 : 0.99;
    TMatrix nearly(3);
    nearly[0][1] = kRotationTolerance / factor;
    EXPECT_EQ(angles.SetMatrix(nearly), within);
    angles = TAttitudeAngles(0.3, kPi / 2 - kSmallestCosineOfPitch * factor, 0.1);
    EXPECT_EQ(GetAngleRates(angles, {0.1, 0.2, 0.3}, &rates), within);
    EXPECT_EQ(GetOrbitalFrame({7e6, 0, 0}, {7e3, 0, 7e3 * kSmallestSineOfOrbit * factor}, &frame), within);
  }
}

TEST(Attitude, FormsComeBackBitForBit) {
  const std::vector<double> values = orbmath_test::SpecialDoubles();
  for (std::size_t i = 0; i + 2 < values.size(); ++i) {
    const TAttitudeAngles angles(values[i], values[i + 1], values[i + 2]);
    const std::string xml = SavedXml([&](TZxXIniWriter* writer) { EXPECT_TRUE(angles.SaveToXML(writer, "Attitude")); });
    TAttitudeAngles from_text, from_xml;
    ASSERT_TRUE(from_text.InitializeFromText(angles.GetString())) << angles.GetString();
    ASSERT_TRUE(from_xml.InitializeFromXML(ReaderOf(xml).get(), "Attitude"));
    EXPECT_TRUE(orbmath_test::SameBits(&from_text.roll, &angles.roll, 3));
    EXPECT_TRUE(orbmath_test::SameBits(&from_xml.roll, &angles.roll, 3));
  }
  EXPECT_EQ(TAttitudeAngles(0.5, -1, 2).GetString(), "(0.5;-1;2)");
  const std::string xml = SavedXml([](TZxXIniWriter* writer) { EXPECT_TRUE(Polynomials().SaveToXML(writer, "Law")); });
  TAttitudePolynomials read;
  EXPECT_FALSE(static_cast<bool>(read));
  ASSERT_TRUE(read.InitializeFromXML(ReaderOf(xml).get(), "Law"));
  EXPECT_EQ(read, Polynomials());
}

TEST(Attitude, BadFormsLeaveItAlone) {
  const TAttitudeAngles before(1, 2, 3);
  TAttitudeAngles angles = before;
  for (const char* bad : {"", "(1;2)", "(1;2;3;4)", "(1;2;3) x", "(1;2;x)", "1;2;3"}) {
    EXPECT_FALSE(angles.InitializeFromText(bad)) << bad;
  }
  const std::string xml = SavedXml([](TZxXIniWriter* writer) {
    TZxXIniWriterSection section(writer, "Law");
    writer->WriteS<double>("Epoch", 7);
    writer->WriteS<double>("Roll", 7);
    writer->WriteS<double>("Pitch", 7);
  });
  TAttitudePolynomials law = Polynomials();
  EXPECT_FALSE(angles.InitializeFromXML(ReaderOf(xml).get(), "Law"));
  EXPECT_FALSE(law.InitializeFromXML(ReaderOf(xml).get(), "Law"));
  EXPECT_TRUE(angles == before && law == Polynomials());
  EXPECT_FALSE(angles.InitializeFromXML(nullptr) || angles.InitializeFromXML(nullptr, "Law"));
  EXPECT_FALSE(law.InitializeFromXML(nullptr, "Law") || law.SaveToXML(nullptr, "Law"));
  EXPECT_FALSE(angles.SaveToXML(nullptr) || angles.SaveToXML(nullptr, "Attitude"));
  EXPECT_TRUE(angles == before && law == Polynomials());
  angles.Invalidate();
  EXPECT_FALSE(static_cast<bool>(angles));
}

}  // namespace
}  // namespace SatCommonUtils
