// Image to ground of one image: the approximation, the closed-form start, the iteration, the alternative search.

#include <gtest/gtest.h>

#include <cmath>

#include "frame/zxstd/message.h"
#include "linalg/linear_systems.h"
#include "linalg/normal_equations.h"
#include "rpc/models.h"
#include "rpc/rpc_boxes.h"
#include "support/bits.h"
#include "support/random.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::CameraModel;
using orbmath_test::CameraRecord;
using orbmath_test::GridOf;
using orbmath_test::Ground;
using orbmath_test::kPoison;
using orbmath_test::OpenModel;
using orbmath_test::Random;
using orbmath_test::SameBits;

/// A model whose images lie somewhere else than its record says, as a corrected model's do.
class ShiftedModel : public OpenModel {
 public:
  using OpenModel::OpenModel;
  void CalculateLineSample(const double& lat, const double& lon, const double& h, double* line, double* sample,
                           double* dLine, double* dSample) const override {
    TRPC::CalculateLineSample(lat, lon, h, line, sample, dLine, dSample);
    *line += 20.0;
    ++calls;
  }
  mutable int calls = 0;
};

// Pixels. The approximation is fitted in degrees and metres, whose normal equations leave few digits; the iteration
// that starts from it mends that.
constexpr double kFitRounding = 0.2;

TEST(RPCApproximation, IsExactForAFirstOrderModel) {
  TRPCData record = CameraRecord(1.4);
  for (double* const c : {record.lineNumCoef, record.lineDenCoef, record.sampNumCoef, record.sampDenCoef}) {
    for (int k = 4; k < 20; ++k) c[k] = 0.0;
  }
  const TRPC model(record, nullptr);
  for (const Ground& p : GridOf(model, {4, 4, 4}, 1.2)) {
    double line, sample, line1, sample1, lat, lon;
    model.CalculateLineSample(p[0], p[1], p[2], &line, &sample, nullptr, nullptr);
    model.CalculateLineSampleApproximately(p[0], p[1], p[2], &line1, &sample1);
    EXPECT_NEAR(line1, line, kFitRounding);
    EXPECT_NEAR(sample1, sample, kFitRounding);
    model.CalculateLatLonApproximately(line1, sample1, p[2], &lat, &lon);
    EXPECT_NEAR(lat, p[0], 1e-9);
    EXPECT_NEAR(lon, p[1], 1e-9);
  }
}

TEST(RPCApproximation, IsFittedThroughTheVirtualProjectionOnTheOneSidedGrid) {
  const ShiftedModel model(CameraRecord(1.4));
  EXPECT_TRUE(model.CreateApproximation(5));
  EXPECT_EQ(model.calls, 125);
  double line, sample, shifted, sample2;
  CameraModel().CalculateLineSampleApproximately(43.6, 1.4, 240.0, &line, &sample);
  model.CalculateLineSampleApproximately(43.6, 1.4, 240.0, &shifted, &sample2);
  EXPECT_NEAR(shifted - line, 20.0, 0.1);
  EXPECT_NEAR(sample2, sample, 0.1);
}

TEST(RPCApproximation, FallsBackToAnAffineMapping) {
  TRPCData record = CameraRecord(1.4);
  record.lineNumCoef[15] = 3.0;  // a cubic that no ratio of first order follows
  record.lineScale = 71000.0;
  const TRPC model(record, nullptr);
  double A[4], B[4], C[4], D[4];
  ASSERT_TRUE(model.GetApproximation(A, B, C, D));
  const double affine[] = {0.0, 0.0, 0.0, 1.0};
  EXPECT_TRUE(SameBits(B, affine, 4));
  EXPECT_TRUE(SameBits(D, affine, 4));
  // The affine fit balances its misses over the grid.
  double sum = 0.0;
  double step = 0.4;
  for (int i = 0; i < 125; ++i) {
    const double P = -1.0 + i / 25 * step;
    const double L = -1.0 + i / 5 % 5 * step;
    const double H = -1.0 + i % 5 * step;
    double line, sample, line1, sample1;
    const double lat = record.latOffset + P * record.latScale;
    const double lon = record.longOffset + L * record.longScale;
    const double h = record.heightOffset + H * record.heightScale;
    model.CalculateLineSample(lat, lon, h, &line, &sample, nullptr, nullptr);
    model.CalculateLineSampleApproximately(lat, lon, h, &line1, &sample1);
    sum += line1 - line;
  }
  EXPECT_NEAR(sum / 125, 0.0, 1.0);
}

TEST(RPCInversion, TheStartSolvesTheTwoLinearEquations) {
  const TRPC model = CameraModel();
  double A[4], B[4], C[4], D[4];
  ASSERT_TRUE(model.GetApproximation(A, B, C, D));
  Random random("start");
  for (int i = 0; i < 50; ++i) {
    const double l = random.Uniform(0.0, 14000.0);
    const double s = random.Uniform(0.0, 12000.0);
    const double h = random.Uniform(-200.0, 700.0);
    TLinearSystem system(2);
    system.AccessCoef()[0][0] = A[0] - l * B[0];
    system.AccessCoef()[0][1] = A[1] - l * B[1];
    system.AccessCoef()[1][0] = C[0] - s * D[0];
    system.AccessCoef()[1][1] = C[1] - s * D[1];
    system.AccessFree()[0] = -(h * A[2] + A[3] - (h * B[2] + B[3]) * l);
    system.AccessFree()[1] = -(h * C[2] + C[3] - (h * D[2] + D[3]) * s);
    TVector x;
    ASSERT_NE(system.SolutionGauss(x), 0.0);
    double lat, lon;
    model.CalculateLatLonApproximately(l, s, h, &lat, &lon);
    EXPECT_TRUE(SameBits(lat, x[0]));
    EXPECT_TRUE(SameBits(lon, x[1]));
  }
}

/// The iteration by the general solvers.
bool IterateByMatrices(const TRPC& model, double lineN, double sampleN, double hN, double* latN, double* lonN) {
  double lat, lon;
  model.CalculateLatLonApproximately(model.GetLineNormalization()->Normalized2Initial(lineN),
                                     model.GetSampleNormalization()->Normalized2Initial(sampleN),
                                     model.GetHeightNormalization()->Normalized2Initial(hN), &lat, &lon);
  *latN = model.GetLatitudeNormalization()->Initial2Normalized(lat);
  *lonN = model.GetLongitudeNormalization()->Initial2Normalized(lon);
  for (int i = 0; i < 10; ++i) {
    double line, sample, dLine[3], dSample[3];
    model.CalculateLineSampleNormalized(*latN, *lonN, hN, &line, &sample, dLine, dSample);
    TMatrix design(2, 2);
    TVector residuals(2);
    for (int c = 0; c < 2; ++c) {
      design[0][c] = dSample[c];
      design[1][c] = dLine[c];
    }
    residuals[0] = sampleN - sample;
    residuals[1] = lineN - line;
    TMatrix normal;
    TVector right, step;
    const TVector weights = TVector(2) + 1.0;
    EXPECT_TRUE(NormalEquationsMatrix(design, weights, &normal));
    EXPECT_TRUE(NormalEquationsFreeTerm(design, weights, residuals, &right));
    if (!Cholesky(normal, right, step)) return false;
    if (step.Norma() <= 1e-10) return true;
    *latN += step[0];
    *lonN += step[1];
  }
  return true;
}

TEST(RPCInversion, IsTheIterationOfTheGeneralSolversBitForBit) {
  Random random("inversion");
  const TRPC model = CameraModel();
  for (int i = 0; i < 300; ++i) {
    const double l = random.Uniform(-1.5, 1.5);
    const double s = random.Uniform(-1.5, 1.5);
    const double h = random.Uniform(-1.5, 1.5);
    double lat, lon, lat1, lon1;
    EXPECT_EQ(model.CalculateLatLonNormalized(l, s, h, &lat, &lon), IterateByMatrices(model, l, s, h, &lat1, &lon1));
    EXPECT_TRUE(SameBits(lat, lat1));
    EXPECT_TRUE(SameBits(lon, lon1));
  }
}

// Law 2 of `TRPC`.
TEST(RPCInversion, BringsAProjectedPointBack) {
  const TRPC model = CameraModel();
  const TRPCNormalization& axes = model.GetNormalization();
  for (const TGroundPoint& point : GroundBoxOf(model).Grid(7, 6, 5, TGridNodes::Ends)) {
    TImagePoint image;
    TGroundPoint found = {0.0, 0.0, point.h};
    model.CalculateLineSample(point.lat, point.lon, point.h, &image.line, &image.sample, nullptr, nullptr);
    ASSERT_TRUE(model.CalculateLatLon(image.line, image.sample, point.h, &found.lat, &found.lon));
    EXPECT_NEAR(axes.Normalize(found).lat, axes.Normalize(point).lat, kRPCSmallestStep);
    EXPECT_NEAR(axes.Normalize(found).lon, axes.Normalize(point).lon, kRPCSmallestStep);
  }
}

TEST(RPCInversion, AStepWithinTheLimitIsNotApplied) {
  // From a first-order model the start is nearly exact: the first step is below the limit, and the start stays.
  TRPCData record = CameraRecord(1.4);
  for (double* const c : {record.lineNumCoef, record.lineDenCoef, record.sampNumCoef, record.sampDenCoef}) {
    for (int k = 1; k < 20; ++k) c[k] = 0.0;
  }
  record.lineNumCoef[0] = record.sampNumCoef[0] = 0.0;
  record.lineNumCoef[2] = record.sampNumCoef[1] = 1.0;
  record.latOffset = record.longOffset = record.heightOffset = 0.0;
  record.latScale = record.longScale = record.heightScale = 1.0;
  record.lineOffset = record.sampOffset = 0.0;
  record.lineScale = record.sampScale = 1.0;
  const TRPC model(record, nullptr);
  double start_lat, start_lon, lat, lon;
  model.CalculateLatLonApproximately(0.3, -0.4, 0.1, &start_lat, &start_lon);
  ASSERT_NEAR(start_lat, 0.3, 1e-11);
  EXPECT_TRUE(model.CalculateLatLonNormalized(0.3, -0.4, 0.1, &lat, &lon));
  EXPECT_TRUE(SameBits(lat, start_lat));
  EXPECT_TRUE(SameBits(lon, start_lon));
}

TEST(RPCInversion, ASingularMatrixKeepsTheLastEstimate) {
  TRPCData no_sample = CameraRecord(1.4);
  for (double& c : no_sample.sampNumCoef) c = 0.0;
  TRPCData nothing = no_sample;  // its approximation gives the start equations without any coefficient
  for (double& c : nothing.lineNumCoef) c = 0.0;
  nothing.lineOffset = nothing.sampOffset = 0.0;
  for (const TRPCData& record : {no_sample, nothing}) {
    const TRPC model(record, nullptr);
    double start_lat, start_lon;
    model.CalculateLatLonApproximately(7000.0, 6000.0, 240.0, &start_lat, &start_lon);
    double lat, lon;
    EXPECT_FALSE(model.CalculateLatLon(7000.0, 6000.0, 240.0, &lat, &lon));
    EXPECT_NEAR(lat, start_lat, 1e-12);
    EXPECT_NEAR(lon, start_lon, 1e-12);
    TGroundStatus status;
    const double point[] = {7000.0, 6000.0, 240.0};
    double lat1, lon1;
    EXPECT_EQ(model.CalculateLatLonArray(1, &point[0], &point[1], &point[2], &lat1, &lon1, &status), 0u);
    EXPECT_EQ(status.state, TGroundState::Singular);
    EXPECT_TRUE(SameBits(lat, lat1));
  }
}

TEST(RPCInversion, LongitudesComeInTheTurnOfTheModel) {
  for (const double turn : {0.0, 360.0, -720.0}) {
    const TRPC model = CameraModel(1.4 + turn);
    double line, sample, lat, lon;
    model.CalculateLineSample(43.62, 1.41, 300.0, &line, &sample, nullptr, nullptr);
    ASSERT_TRUE(model.CalculateLatLon(line, sample, 300.0, &lat, &lon));
    EXPECT_NEAR(lat, 43.62, 1e-11);
    EXPECT_NEAR(lon, 1.41 + turn, 1e-11);
  }
}

TEST(RPCAlternativeSearch, FindsWhatTheIterationFinds) {
  const OpenModel model(CameraRecord(1.4));
  for (const Ground& p : GridOf(model, {5, 5, 3}, 0.9)) {
    double line, sample, lat, lon, line1, sample1;
    model.CalculateLineSample(p[0], p[1], p[2], &line, &sample, nullptr, nullptr);
    ASSERT_TRUE(model.CalculateLatLonAlt(line, sample, p[2], &lat, &lon));
    model.CalculateLineSample(lat, lon, p[2], &line1, &sample1, nullptr, nullptr);
    EXPECT_NEAR(line1, line, 1e-5);
    EXPECT_NEAR(sample1, sample, 1e-5);
    const double normalized[] = {model.GetLineNormalization()->Initial2Normalized(line),
                                 model.GetSampleNormalization()->Initial2Normalized(sample),
                                 model.GetHeightNormalization()->Initial2Normalized(p[2])};
    double latN, lonN;
    ASSERT_TRUE(model.CalculateLatLonNormalizedAlt(normalized[0], normalized[1], normalized[2], &latN, &lonN));
    EXPECT_NEAR(model.GetLatitudeNormalization()->Normalized2Initial(latN), p[0], 1e-9);
  }
}

TEST(RPCAlternativeSearch, FollowsTheVirtualProjectionAndChecksItsNormalisedResult) {
  const ShiftedModel model(CameraRecord(1.4));
  double line, sample, lat, lon;
  model.CalculateLineSample(43.62, 1.41, 300.0, &line, &sample, nullptr, nullptr);
  ASSERT_TRUE(model.CalculateLatLonAlt(line, sample, 300.0, &lat, &lon));
  EXPECT_NEAR(lat, 43.62, 1e-9);
  try {
    model.CalculateLatLonNormalizedAlt(0.1, 0.1, 0.1, &lat, &lon);
    ADD_FAILURE() << "the shift is in the search but not in the normalised check";
  } catch (const TZxMessage& message) {
    EXPECT_STREQ(message.what(), "TRPC::CalculateLatLonNormalizedAlt debug check failure");
  }
}

TEST(RPCAlternativeSearch, GivesUpUntouched) {
  TRPCData record = CameraRecord(1.4);
  for (int k = 0; k < 20; ++k) record.sampNumCoef[k] = 0.0;
  const OpenModel model(record);
  double lat = kPoison;
  double lon = kPoison;
  EXPECT_FALSE(model.CalculateLatLonAlt(7000.0, 6500.0, 240.0, &lat, &lon));
  EXPECT_EQ(lat, kPoison);
  EXPECT_EQ(lon, kPoison);
}

}  // namespace
}  // namespace SatCommonUtils
