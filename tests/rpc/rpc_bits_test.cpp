// The model both ways, one image and two, has the same bits on every processor. Points and models are made here of sums
// and products only.

#include <gtest/gtest.h>

#include "rpc/ground_solution.h"
#include "rpc/image_to_ground.h"
#include "rpc/models.h"
#include "support/portable_bits.h"

namespace SatCommonUtils {
namespace {

using namespace orbmath_test;

constexpr std::size_t kCount = 1000;

/// Points in and around the ground box of the camera models, and what a model makes of them.
struct Scene {
  explicit Scene(const TRPC& model) : line(kCount), sample(kCount) {
    const TRPCData record = CameraRecord(1.4);
    Lehmer numbers;
    for (std::size_t i = 0; i < kCount; ++i) {
      lat.push_back(record.latOffset + 1.1 * record.latScale * numbers.Next());
      lon.push_back(record.longOffset + 1.1 * record.longScale * numbers.Next());
      h.push_back(record.heightOffset + 1.1 * record.heightScale * numbers.Next());
    }
    model.CalculateLineSampleArray(kCount, lat.data(), lon.data(), h.data(), line.data(), sample.data(), nullptr,
                                   nullptr);
  }
  std::vector<double> lat, lon, h, line, sample;
};

/// A record whose cubic terms fold the image, so that solutions are found the long way or not at all.
TRPCData FoldedRecord() {
  TRPCData record = CameraRecord(1.4);
  for (int k = 10; k < 20; ++k) record.lineNumCoef[k] = record.sampDenCoef[k] = 0.05;
  return record;
}

void Append(const TGroundSolution& solution, std::vector<double>* values) {
  values->insert(values->end(),
                 {solution.lat, solution.lon, solution.h, solution.residual, static_cast<double>(solution.status.state),
                  static_cast<double>(solution.method), static_cast<double>(solution.status.iterations)});
}

TEST(RpcBits, OfProjections) {
  const TRPC model = CameraModel();
  const Scene scene(model);
  EXPECT_TRUE(HasHash(scene.line, 0x977eaf4f759388d8u));
  EXPECT_TRUE(HasHash(scene.sample, 0xa95f33355f341da7u));
  std::vector<double> derivatives;
  for (std::size_t i = 0; i < kCount; ++i) {
    double line, sample, d_line[3], d_sample[3];
    model.CalculateLineSample(scene.lat[i], scene.lon[i], scene.h[i], &line, &sample, d_line, d_sample);
    derivatives.insert(derivatives.end(), d_line, d_line + 3);
    derivatives.insert(derivatives.end(), d_sample, d_sample + 3);
  }
  EXPECT_TRUE(HasHash(derivatives, 0x771155f66c4ce41cu));
}

TEST(RpcBits, OfInversions) {
  const TRPC model = CameraModel();
  const Scene scene(model);
  std::vector<double> lat(kCount), lon(kCount);
  EXPECT_EQ(model.CalculateLatLonArray(kCount, scene.line.data(), scene.sample.data(), scene.h.data(), lat.data(),
                                       lon.data(), nullptr),
            kCount);
  EXPECT_TRUE(HasHash(lat, 0x949aef4cdc6fb430u));
  EXPECT_TRUE(HasHash(lon, 0x8ae6e88722955058u));
}

TEST(RpcBits, OfSolutions) {
  const struct {
    TRPCData record;
    std::uint64_t hash;
  } rows[] = {{CameraRecord(1.4), 0xefcc89cb54d28378u}, {FoldedRecord(), 0xfc0ab3a5dc39f444u}};
  for (const auto& row : rows) {
    const TRPC model(row.record, nullptr);
    const Scene scene(model);
    std::vector<TGroundSolution> solutions(kCount);
    SolveLatLonArray(model, kCount, scene.line.data(), scene.sample.data(), scene.h.data(), solutions.data());
    std::vector<double> values;
    for (const TGroundSolution& solution : solutions) Append(solution, &values);
    EXPECT_TRUE(HasHash(values, row.hash)) << "row " << &row - rows;
  }
}

TEST(RpcBits, OfIntersections) {
  const TRPC left = CameraModel(1.4, -0.3);
  const TRPC right = CameraModel(1.4, 0.25);
  const Scene of_left(left), of_right(right);
  std::vector<double> plain, whole;
  for (std::size_t i = 0; i < kCount; ++i) {
    const std::vector<TRPCCoordsDataItem> items = {{&left, of_left.line[i] + 0.3, of_left.sample[i]},
                                                   {&right, of_right.line[i], of_right.sample[i] - 0.2}};
    double ground[3];
    ASSERT_TRUE(CalculateLatLonH(items, &ground[0], &ground[1], &ground[2])) << i;
    plain.insert(plain.end(), ground, ground + 3);
    const TGroundIntersection solution = i % 2 == 0 ? SolveLatLonH(items) : SolveLatLonH(items, of_left.h[i], 4.0);
    Append(solution, &whole);
    whole.insert(whole.end(), solution.covariance, solution.covariance + 9);
  }
  EXPECT_TRUE(HasHash(plain, 0x219e8ae1310913aau));
  EXPECT_TRUE(HasHash(whole, 0x2c6ac516c6eec31du));
}

}  // namespace
}  // namespace SatCommonUtils
