// Points from several images with status, against the plain iteration and against the laws of least squares.

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "rpc/ground_solution.h"
#include "rpc/image_to_ground.h"
#include "rpc/models.h"
#include "rpc/rpc_boxes.h"
#include "support/random.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::CameraModel;
using orbmath_test::CameraRecord;
using orbmath_test::Random;

using Items = std::vector<TRPCCoordsDataItem>;

constexpr double kVariance = 2.25;  // square metres
constexpr double kSameDegrees = 1e-12;
constexpr double kSameMetres = 1e-7;
constexpr double kSamePixels = 1e-8;  // a last digit of a degree of longitude is 3e-9 pixels

TGroundIntersection SolveKind(int kind, const Items& items, double h) {
  return kind == 0 ? SolveLatLonH(items) : kind == 1 ? SolveLatLon(items, h) : SolveLatLonH(items, h, kVariance);
}

/// What the plain iteration says.
bool Calculate(int kind, const Items& items, double h, double (&ground)[3]) {
  ground[2] = h;
  if (kind == 0) return CalculateLatLonH(items, &ground[0], &ground[1], &ground[2]);
  if (kind == 1) return CalculateLatLon(items, h, &ground[0], &ground[1]);
  return CalculateLatLonH(items, h, kVariance, &ground[0], &ground[1], &ground[2]);
}

/// The largest element of covariance times normal matrix minus one, in units of the unknowns' standard deviations, and
/// the largest difference between residuals and those of the point as it is given back.
void ExpectWhatTheModelsSay(int kind, const Items& items, const TGroundIntersection& solution) {
  const int unknowns = kind == 1 ? 2 : 3;
  double normal[3][3] = {};
  double sum = 0.0;
  ASSERT_EQ(solution.residuals.size(), items.size());
  for (std::size_t m = 0; m < items.size(); ++m) {
    double line, sample, rows[2][3];
    items[m].model->CalculateLineSample(solution.lat, solution.lon, solution.h, &line, &sample, rows[0], rows[1]);
    EXPECT_NEAR(solution.residuals[m].line, items[m].line - line, kSamePixels);
    EXPECT_NEAR(solution.residuals[m].sample, items[m].sample - sample, kSamePixels);
    sum += std::pow(solution.residuals[m].line, 2) + std::pow(solution.residuals[m].sample, 2);
    for (int i = 0; i < 9; ++i) {
      for (const double(&row)[3] : rows) normal[i / 3][i % 3] += row[i / 3] * row[i % 3];
    }
  }
  EXPECT_NEAR(solution.residual, std::sqrt(sum / static_cast<double>(items.size())), kSamePixels);
  if (kind == 2) normal[2][2] += 1.0 / kVariance;
  for (int i = 0; i < unknowns; ++i) {
    for (int j = 0; j < unknowns; ++j) {
      double element = i == j ? -1.0 : 0.0;
      for (int k = 0; k < unknowns; ++k) element += solution.covariance[3 * i + k] * normal[k][j];
      const double scale = std::sqrt(solution.covariance[4 * i] * normal[j][j]);
      EXPECT_NEAR(element, 0.0, 1e-6 * scale) << i << " " << j;
    }
  }
}

/// The flags are those of the images' boxes and margins.
void ExpectFlags(const Items& items, const TGroundIntersection& solution) {
  bool image = false, height = false, ground = false, margin = false;
  for (const TRPCCoordsDataItem& item : items) {
    const TGroundBox box = GroundBoxOf(*item.model);
    const TPolygon* const polygon = item.model->FindMargin();
    image = image || !ImageBoxOf(*item.model).Contains({item.line, item.sample});
    height = height || box.HeightRemoteness(solution.h) > 1.0;
    ground = ground || box.Remoteness({solution.lat, solution.lon, solution.h}) > 1.0;
    margin = margin || (polygon != nullptr && !polygon->Contains({item.sample, item.line}));
  }
  EXPECT_EQ(solution.outsideImage, image);
  EXPECT_EQ(solution.outsideHeight, height);
  EXPECT_EQ(solution.outsideGround, ground);
  EXPECT_EQ(solution.outsideMargin, margin);
}

/// Many points of images with errors of a pixel and of twenty: the same minimum as the plain iteration's in two or
/// three evaluations of the models.
TEST(IntersectionNewton, FindsWhatThePlainIterationFinds) {
  TRPCData strong = CameraRecord(1.39, 0.15);  // curvatures and a denominator as of wide fields of view
  strong.lineNumCoef[8] = strong.sampNumCoef[7] = 0.012;
  strong.lineDenCoef[2] = strong.sampDenCoef[1] = -0.013;
  strong.lineScale = 3300.0;
  const TRPC left = CameraModel(1.4, -0.3), right = CameraModel(361.42, 0.3);
  TRPC middle = CameraModel(1.41, 0.05), wide(strong, nullptr);
  wide.SetRasterDims(9000, 10100);
  middle.SetMargin(TPolygon(std::vector<xy_d>{{900.0, 900.0}, {9000.0, 1000.0}, {8500.0, 9000.0}}));
  TRPCData east = CameraRecord(179.99, -0.2), west = CameraRecord(-179.98, 0.25);  // the antimeridian between them
  const TRPC eastern(east, nullptr), western(west, nullptr);
  const orbmath_test::ShearedModel sheared(strong);
  const struct {
    std::vector<const TRPC*> models;
    double noise;  // pixels
    int most;      // evaluations
  } rows[] = {{{&left, &right}, 0.0, 2},
              {{&left, &right}, 1.0, 3},
              {{&right, &wide}, 1.0, 3},
              {{&wide, &left, &right}, 1.0, 3},
              {{&left, &wide, &middle, &right, &left}, 20.0, 4},
              {{&wide, &right}, 30.0, 5},  // the step behind which nothing is left is the third or the fourth
              {{&eastern, &western}, 1.0, 3},
              {{&western, &eastern}, 1.0, 3},
              {{&sheared, &left}, 1.0, 3},
              {{&left, &sheared, &right}, 20.0, 4}};
  Random random("newton");
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    const TRPC& first = *row.models[0];
    for (int i = 0; i < 200; ++i) {
      const double lat = first.GetCenterLatitude() + 0.065 * random.Uniform(-1.2, 1.2);
      const double lon = first.GetCenterLongitude() + 0.085 * random.Uniform(-1.2, 1.2);
      const double h = 240.0 + 500.0 * random.Uniform(-1.2, 1.2);
      Items items;
      for (const TRPC* const model : row.models) {
        TRPCCoordsDataItem item;
        item.model = model;
        model->CalculateLineSample(lat, lon, h, &item.line, &item.sample, nullptr, nullptr);
        item.line += random.Normal(row.noise);
        item.sample += random.Normal(0.5 * row.noise);
        items.push_back(item);
      }
      for (int kind = 0; kind < 3; ++kind) {
        SCOPED_TRACE(kind);
        double ground[3];
        ASSERT_TRUE(Calculate(kind, items, h, ground));
        const TGroundIntersection solution = SolveKind(kind, items, h);
        ASSERT_TRUE(solution) << DescribeGroundState(solution.status.state);
        EXPECT_LE(solution.status.iterations, row.most);
        ASSERT_NEAR(solution.lat, ground[0], kSameDegrees);
        ASSERT_NEAR(solution.lon, ground[1], kSameDegrees) << "in the turn of the first image";
        ASSERT_NEAR(solution.h, ground[2], kSameMetres);
        ExpectWhatTheModelsSay(kind, items, solution);
        ExpectFlags(items, solution);
      }
    }
  }
}

/// The determinant of line and sample by latitude and longitude, whose sign changes at a fold.
double DeterminantAt(const TRPC& model, double lat, double lon, double h) {
  double line, sample, dLine[3], dSample[3];
  model.CalculateLineSample(lat, lon, h, &line, &sample, dLine, dSample);
  return dLine[0] * dSample[1] - dLine[1] * dSample[0];
}

/// Ground beyond a fold, where the start lies too, is no answer though nothing is left of it in the images.
TEST(IntersectionNewton, TakesNoPointBeyondAFold) {
  TRPCData records[] = {CameraRecord(1.4, -0.3), CameraRecord(1.41, 0.3)};
  for (TRPCData& record : records) record.lineNumCoef[15] = 3.0;  // lines turn back at a third of the box
  const TRPC left(records[0], nullptr), right(records[1], nullptr);
  int found = 0;
  for (int i = 0; i <= 40; ++i) {
    SCOPED_TRACE(i);
    const double lat = 43.6 + 0.065 * 0.03 * i;
    Items items = {{&left, 0.0, 0.0}, {&right, 0.0, 0.0}};
    for (TRPCCoordsDataItem& item : items) {
      item.model->CalculateLineSample(lat, 1.43, 300.0, &item.line, &item.sample, nullptr, nullptr);
    }
    for (int kind = 0; kind < 3; ++kind) {
      const TGroundIntersection solution = SolveKind(kind, items, 300.0);
      if (!solution) continue;
      ++found;
      for (const TRPC* const model : {&left, &right}) {
        const double center = DeterminantAt(*model, 43.6, model->GetCenterLongitude(), 240.0);
        EXPECT_GT(DeterminantAt(*model, solution.lat, solution.lon, solution.h) * center, 0.0) << kind;
      }
    }
  }
  EXPECT_GE(found, 30) << "those before the fold";
}

/// Rays that are parallel but for a hundred-thousandth of a radian still have their covariance, and none at all no
/// point.
TEST(IntersectionNewton, LeavesParallelRaysToThePlainIteration) {
  const TRPC left = CameraModel(1.4, 0.2);
  for (const double base : {1e-2, 1e-4, 1e-6}) {
    SCOPED_TRACE(base);
    const TRPC right = CameraModel(1.4, 0.2 + base);
    Items items = {{&left, 0.0, 0.0}, {&right, 0.0, 0.0}};
    for (TRPCCoordsDataItem& item : items) {
      item.model->CalculateLineSample(43.62, 1.43, 300.0, &item.line, &item.sample, nullptr, nullptr);
    }
    const TGroundIntersection solution = SolveLatLonH(items);
    ASSERT_TRUE(solution) << DescribeGroundState(solution.status.state);
    // A base of b pixels a metre leaves a pixel 1 / b metres of height.
    const double sigma = std::sqrt(2.0) / (base * 6050.0 / 500.0);
    EXPECT_NEAR(std::sqrt(solution.covariance[8]), sigma, 0.05 * sigma);
    EXPECT_NEAR(solution.h, 300.0, 1e-7 * sigma + 1e-6);
  }
  Random random("parallel");
  for (int i = 0; i < 100; ++i) {
    Items items = {{&left, 0.0, 0.0}, {&left, 0.0, 0.0}, {&left, 0.0, 0.0}};
    for (TRPCCoordsDataItem& item : items) {
      const double lat = 43.6 + 0.065 * random.Uniform(-1.0, 1.0), lon = 1.4 + 0.085 * random.Uniform(-1.0, 1.0);
      item.model->CalculateLineSample(lat, lon, 300.0, &item.line, &item.sample, nullptr, nullptr);
      if (&item == &items[0]) continue;
      item.line = items[0].line + 1e-3 * random.Normal(i % 3);
      item.sample = items[0].sample;
    }
    EXPECT_FALSE(SolveLatLonH(items)) << i;
  }
}

}  // namespace
}  // namespace SatCommonUtils
