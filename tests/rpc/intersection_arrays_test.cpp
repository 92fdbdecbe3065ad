// Points from several images with status: an array gives what single calls give, bit for bit, whatever images see each
// point, in whatever order, on any number of threads. ctest runs this once for each instruction set (ORBMATH_SIMD).

#include <gtest/gtest.h>

#include <map>
#include <vector>

#include "frame/zxstd/threads.h"
#include "rpc/ground_solution.h"
#include "rpc/models.h"
#include "support/bits.h"
#include "support/random.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::CameraModel;
using orbmath_test::CameraRecord;
using orbmath_test::OpenModel;
using orbmath_test::Random;
using orbmath_test::SameBits;

constexpr std::size_t kCount = 2 * 2048 + 61;
constexpr double kVariance = 2.25;  // square metres

/// Models that see about the same ground from several sides, some of them unfit for it.
struct Models {
  Models() {
    TRPCData record = CameraRecord(1.4);
    record.lineNumCoef[8] = 0.8;  // folds in its box
    folded = OpenModel(record);
    record = CameraRecord(1.4);
    record.lineScale = record.sampScale = 0.0;  // its equations say nothing
    flat = OpenModel(record);
    record = CameraRecord(1.4);
    record.latOffset = 89.98;  // half of its box lies beyond the pole
    polar = OpenModel(record);
    left.SetRasterDims(11000, 13500);
    right.SetMargin(
        TPolygon(std::vector<xy_d>{{900.0, 900.0}, {11000.0, 1000.0}, {10500.0, 13000.0}, {1000.0, 12500.0}}));
  }
  TRPC left = CameraModel(1.4, -0.3), right = CameraModel(361.4, 0.3), middle = CameraModel(1.41, 0.05);
  orbmath_test::ShearedModel derived = orbmath_test::ShearedModel(CameraRecord(1.4, 0.2));
  OpenModel folded, flat, polar;
};

/// Points in and around the boxes with errors of pixels; a twentieth of them mean nothing.
struct Scene {
  explicit Scene(const Models& m) {
    const std::vector<std::vector<const TRPC*>> sets = {{&m.left, &m.right},
                                                        {&m.right, &m.left, &m.middle},
                                                        {&m.left, &m.right, &m.middle, &m.derived, &m.left},
                                                        {&m.left, &m.derived},
                                                        {&m.folded, &m.right},
                                                        {&m.flat, &m.flat},
                                                        {&m.left},
                                                        {&m.left, nullptr, &m.right},
                                                        {},
                                                        {&m.middle, &m.left},
                                                        {&m.flat, &m.left, &m.right},
                                                        {&m.polar, &m.polar}};
    Random random("intersections");
    const std::vector<double> specials = orbmath_test::SpecialDoubles();
    const TRPCData box = CameraRecord(1.4);
    for (std::size_t i = 0; i < kCount; ++i) {
      const double reach = i % 9 == 0 ? 2.5 : 1.1;
      const double lat = box.latOffset + box.latScale * random.Uniform(-reach, reach);
      const double lon = box.longOffset + box.longScale * random.Uniform(-reach, reach);
      h.push_back(box.heightOffset + box.heightScale * random.Uniform(-reach, reach));
      first.push_back(items.size());
      // Long runs of one set, and sets that change from point to point.
      const std::size_t set = i < kCount / 3 ? i / 700 : random.Index(sets.size() + 4);
      const std::vector<const TRPC*>& images = sets[set < sets.size() ? set : 0];
      const double north = images.empty() ? 0.0 : images[0]->GetCenterLatitude() - box.latOffset;
      for (const TRPC* const model : images) {
        TRPCCoordsDataItem item;
        item.model = model;
        if (model != nullptr)
          model->CalculateLineSample(lat + north, lon, h[i], &item.line, &item.sample, nullptr, nullptr);
        item.line += random.Uniform(-2.0, 2.0);
        item.sample += random.Uniform(-0.5, 0.5);
        if (random.Index(40) == 0) item.line = specials[random.Index(specials.size())];
        if (random.Index(40) == 0) item.sample += random.Uniform(-30000.0, 30000.0);
        items.push_back(item);
      }
    }
    first.push_back(items.size());
  }
  std::vector<TRPCCoordsDataItem> Of(std::size_t i) const {
    return {items.begin() + static_cast<std::ptrdiff_t>(first[i]),
            items.begin() + static_cast<std::ptrdiff_t>(first[i + 1])};
  }
  std::vector<TRPCCoordsDataItem> items;
  std::vector<std::size_t> first;
  std::vector<double> h;
};

std::vector<double> NumbersOf(const TGroundIntersection& x) {
  std::vector<double> numbers = {x.lat,
                                 x.lon,
                                 x.h,
                                 x.residual,
                                 static_cast<double>(x.status.state),
                                 static_cast<double>(x.status.iterations),
                                 static_cast<double>(x.method),
                                 x.outsideImage + 2.0 * x.outsideHeight + 4.0 * x.outsideGround + 8.0 * x.outsideMargin,
                                 static_cast<double>(x.residuals.size())};
  numbers.insert(numbers.end(), x.covariance, x.covariance + 9);
  for (const TImageResidual& residual : x.residuals) numbers.insert(numbers.end(), {residual.line, residual.sample});
  return numbers;
}

TEST(PointArrays, IntersectionsWithStatusAreThoseOfSinglePoints) {
  const Models models;
  const Scene scene(models);
  TIntersectionOptions options;
  options.largestRms = 30.0;
  const TMeasuredPoints points = {kCount, scene.first.data(), scene.items.data()};
  const auto solve = [&](int kind, const TMeasuredPoints& part, TGroundIntersection* out) {
    if (kind == 0) return SolveLatLonHArray(part, out, options);
    if (kind == 1) return SolveLatLonArray(part, scene.h.data(), out, options);
    return SolveLatLonHArray(part, scene.h.data(), kind == 2 ? kVariance : 0.0, out, options);
  };
  for (int kind = 0; kind < 4; ++kind) {
    SCOPED_TRACE(kind);
    std::vector<TGroundIntersection> expected;
    std::map<TGroundState, int> states;
    std::size_t good = 0;
    for (std::size_t i = 0; i < kCount; ++i) {
      const auto items = scene.Of(i);
      expected.push_back(kind == 0   ? SolveLatLonH(items, options)
                         : kind == 1 ? SolveLatLon(items, scene.h[i], options)
                                     : SolveLatLonH(items, scene.h[i], kind == 2 ? kVariance : 0.0, options));
      ++states[expected.back().status.state];
      good += expected.back() ? 1 : 0;
    }
    if (kind < 3) {
      EXPECT_GT(good, kCount / 2);
      EXPECT_GE(states.size(), 5u) << "the points are too tame for this test";
    }
    TGroundIntersection used;  // what stands in the records must not matter
    used.method = TGroundMethod::Followed;
    used.outsideImage = used.outsideHeight = used.outsideGround = used.outsideMargin = true;
    for (double& value : used.covariance) value = 7.0;
    used.residuals.resize(9);
    std::vector<TGroundIntersection> out;
    for (int threads = 1; threads <= 3; ++threads) {
      ZxSetThreadsCount(threads);
      out.assign(kCount + 1, used);
      EXPECT_EQ(solve(kind, points, out.data()), good);
      for (std::size_t i = 0; i < kCount; ++i) {
        const std::vector<double> a = NumbersOf(out[i]), b = NumbersOf(expected[i]);
        ASSERT_EQ(a.size(), b.size());
        ASSERT_TRUE(SameBits(a.data(), b.data(), a.size())) << "point " << i << ", " << threads << " threads";
      }
    }
    ZxSetThreadsCount(0);
    EXPECT_EQ(out[kCount].residuals.size(), 9u) << "written past the end";
    for (const std::size_t count : {0u, 1u, 5u, 67u}) {
      solve(kind, {count, scene.first.data(), scene.items.data()}, out.data());
      for (std::size_t i = 0; i < count; ++i) {
        ASSERT_TRUE(SameBits(NumbersOf(out[i]).data(), NumbersOf(expected[i]).data(), 18)) << i << " of " << count;
      }
    }
  }
}

}  // namespace
}  // namespace SatCommonUtils
