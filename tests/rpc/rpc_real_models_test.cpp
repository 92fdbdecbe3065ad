// Real models: round trips, published values and values computed by other programs.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <map>

#include "rpc/ground_solution.h"
#include "rpc/image_to_ground.h"
#include "rpc/models.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::GridOf;
using orbmath_test::Ground;
using orbmath_test::RealModel;
using orbmath_test::RealModelFiles;
using orbmath_test::RealTable;

using RPCRealModels = orbmath_test::WithRealData;

/// One degree of latitude in metres, to turn tolerances around.
constexpr double kMetresPerDegree = 111000.0;

double Number(const std::string& text) { return std::strtod(text.c_str(), nullptr); }

struct Image {
  double line;
  double sample;
};

Image Project(const TRPC& model, const Ground& p) {
  Image image;
  model.CalculateLineSample(p[0], p[1], p[2], &image.line, &image.sample, nullptr, nullptr);
  return image;
}

TEST_F(RPCRealModels, GroundImageGround) {
  for (const std::string& name : RealModelFiles()) {
    SCOPED_TRACE(name);
    const TRPC model = RealModel(name);
    // One model is normalised by 1 degree although its scene has a fiftieth of that: its polynomials mean nothing
    // outside of the scene.
    const double size = model.GetLatitudeNormalization()->GetScale() == 1.0 ? 0.01 : 1.0;
    double worst_degrees = 0.0;
    double worst_pixels = 0.0;
    double worst_solution = 0.0;
    for (const Ground& p : GridOf(model, {21, 21, 5}, size)) {
      const Image image = Project(model, p);
      double lat, lon;
      ASSERT_TRUE(model.CalculateLatLon(image.line, image.sample, p[2], &lat, &lon));
      const Image back = Project(model, {lat, lon, p[2]});
      worst_degrees = std::fmax(worst_degrees, std::fmax(std::fabs(lat - p[0]), std::fabs(lon - p[1])));
      worst_pixels = std::fmax(worst_pixels, std::hypot(back.line - image.line, back.sample - image.sample));
      const TGroundSolution solution = SolveLatLon(model, image.line, image.sample, p[2]);
      ASSERT_TRUE(solution);
      worst_solution = std::fmax(worst_solution, solution.residual);
    }
    EXPECT_LT(worst_degrees, 1e-9);
    EXPECT_LT(worst_solution, 1e-6);
    // The plain iteration stops at 1e-10 in normalised units, of line and of sample.
    const double scale =
        std::hypot(model.GetLineNormalization()->GetScale(), model.GetSampleNormalization()->GetScale());
    EXPECT_LT(worst_pixels, 1.2e-10 * scale);
  }
}

TEST_F(RPCRealModels, ComputedGroundToImage) {
  std::map<std::string, TRPC> models;
  for (const auto& row : RealTable("computed_ground_to_image.csv")) {
    const TRPC& model = models.try_emplace(row[1], RealModel(row[1])).first->second;
    const Image image = Project(model, {Number(row[3]), Number(row[2]), Number(row[4])});
    EXPECT_NEAR(image.sample, Number(row[5]), 1e-7) << row[0];
    EXPECT_NEAR(image.line, Number(row[6]), 1e-7) << row[0];
  }
}

TEST_F(RPCRealModels, ComputedImageToGround) {
  std::map<std::string, TRPC> models;
  for (const auto& row : RealTable("computed_image_to_ground.csv")) {
    const TRPC& model = models.try_emplace(row[1], RealModel(row[1])).first->second;
    const Image image = {Number(row[3]), Number(row[2])};
    const TGroundSolution solution = SolveLatLon(model, image.line, image.sample, Number(row[4]));
    ASSERT_TRUE(solution) << row[0];
    EXPECT_LT(solution.residual, 1e-6);
    EXPECT_NEAR(solution.lon, Number(row[5]), 2e-11) << row[0];
    EXPECT_NEAR(solution.lat, Number(row[6]), 2e-11) << row[0];
  }
}

TEST_F(RPCRealModels, PublishedPoints) {
  for (const auto& row : RealTable("points.csv")) {
    const TRPC model = RealModel(row[2]);
    const Image image = {Number(row[5]), Number(row[4])};
    const Ground p = {Number(row[7]), Number(row[6]), Number(row[8])};
    if (row[3] != "image_to_ground") {
      const Image projected = Project(model, p);
      EXPECT_NEAR(projected.line, image.line, Number(row[9])) << row[0];
      EXPECT_NEAR(projected.sample, image.sample, Number(row[9])) << row[0];
    }
    const double tolerance = Number(row[10]) / (row[11] == "m" ? kMetresPerDegree : 1.0);
    const TGroundSolution solution = SolveLatLon(model, image.line, image.sample, p[2]);
    ASSERT_TRUE(solution) << row[0];
    EXPECT_NEAR(solution.lat, p[0], tolerance) << row[0];
    EXPECT_NEAR(solution.lon, p[1], tolerance / std::cos(p[0] / 57.3)) << row[0];
  }
}

TEST_F(RPCRealModels, StereoTiesGiveTheirGroundBack) {
  std::map<std::string, std::vector<std::vector<std::string>>> points;
  for (const auto& row : RealTable("computed_ties.csv")) points[row[0] + row[1]].push_back(row);
  for (const auto& [key, rows] : points) {
    std::vector<TRPC> models;
    for (const auto& row : rows) models.push_back(RealModel(row[6]));
    std::vector<TRPCCoordsDataItem> items;
    for (std::size_t i = 0; i < rows.size(); ++i) items.push_back({&models[i], Number(rows[i][8]), Number(rows[i][7])});
    const TGroundIntersection solution = SolveLatLonH(items);
    ASSERT_TRUE(solution) << key;
    // The table has nine digits after the point.
    EXPECT_NEAR(solution.lon, Number(rows[0][2]), 1e-12) << key;
    EXPECT_NEAR(solution.lat, Number(rows[0][3]), 1e-12) << key;
    EXPECT_NEAR(solution.h, Number(rows[0][4]), 1e-6) << key;
    double lat, lon, h;
    ASSERT_TRUE(CalculateLatLonH(items, &lat, &lon, &h));
    EXPECT_NEAR(h, Number(rows[0][4]), 1e-6) << key;
  }
}

/// Over the image and half its width around, at three heights: on the centre's branch, within 1e-6 pixels, and next to
/// where its neighbour is.
TEST_F(RPCRealModels, TheImageAndHalfItsWidthAroundIsOnTheBranch) {
  for (const std::string& name : RealModelFiles()) {
    SCOPED_TRACE(name);
    const TRPC model = RealModel(name);
    constexpr int kHalf = 40;
    for (const double height : {model.GetMinHeight(), model.GetAverageHeight(), model.GetMaxHeight()}) {
      double longest = 0.0;
      double shortest = HUGE_VAL;
      for (int i = -kHalf; i <= kHalf; ++i) {
        TGroundSolution before;
        for (int j = -kHalf; j <= kHalf; ++j) {
          const Image image = {model.GetLineNormalization()->Normalized2Initial(2.0 * i / kHalf),
                               model.GetSampleNormalization()->Normalized2Initial(2.0 * j / kHalf)};
          const TGroundSolution solution = SolveLatLon(model, image.line, image.sample, height);
          ASSERT_TRUE(solution) << image.line << " " << image.sample;
          const Image back = Project(model, {solution.lat, solution.lon, height});
          ASSERT_LT(std::hypot(back.line - image.line, back.sample - image.sample), 1e-6);
          const double step = std::hypot(solution.lat - before.lat, solution.lon - before.lon);
          if (before) longest = std::fmax(longest, step);
          if (before) shortest = std::fmin(shortest, step);
          before = solution;
        }
      }
      EXPECT_LT(longest, 2.0 * shortest) << "jumps at " << height << " m";
    }
  }
}

TEST_F(RPCRealModels, AModelOfOneDegreeScaleWorksAtEveryHeight) {
  const TRPC model = RealModel("20191015_073816_ssc1d3_0011_basic_l1a_panchromatic_dn_RPC.TXT");
  struct Case {
    double h, lon, lat;
  };
  for (const Case& c : {Case{70.0, 49.649741128184, 25.934218129605}, Case{90.0, 49.649786907400, 25.934211297520}}) {
    const TGroundSolution solution = SolveLatLon(model, 0.0, 0.0, c.h);
    ASSERT_TRUE(solution) << c.h;
    EXPECT_NEAR(solution.lon, c.lon, 1e-11);
    EXPECT_NEAR(solution.lat, c.lat, 1e-11);
    EXPECT_LT(solution.residual, 1e-6);
  }
  for (double h = -500.0; h <= 3000.0; h += 50.0) EXPECT_TRUE(SolveLatLon(model, 0.0, 0.0, h)) << h;
}

}  // namespace
}  // namespace SatCommonUtils
