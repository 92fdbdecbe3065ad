// Arrays of points against single points: the same bits, whatever the number of threads. ctest runs this program once
// for each instruction set (ORBMATH_SIMD).

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "frame/zxstd/threads.h"
#include "rpc/image_to_ground.h"
#include "rpc/models.h"
#include "support/bits.h"
#include "support/random.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::CameraModel;
using orbmath_test::CameraRecord;
using orbmath_test::kPoison;
using orbmath_test::Random;
using orbmath_test::SameBits;

// Long enough for several thread blocks and a rest that fills no vector.
constexpr std::size_t kCount = 3 * 2048 + 13;

/// Points in and around the model's box, with special numbers and other turns of longitude strewn in.
struct Points {
  explicit Points(const std::string& tag) : random(tag) {
    const TRPCData record = CameraRecord(1.4);
    const double centre[] = {record.latOffset, record.longOffset, record.heightOffset};
    const double scale[] = {record.latScale, record.longScale, record.heightScale};
    const std::vector<double> specials = orbmath_test::SpecialDoubles();
    for (int c = 0; c < 3; ++c) {
      ground[c].resize(kCount);
      for (double& value : ground[c]) value = centre[c] + scale[c] * random.Uniform(-1.3, 1.3);
    }
    for (std::size_t i = 0; i < kCount / 20; ++i)
      ground[1][random.Index(kCount)] += 360.0 * static_cast<double>(1 + i % 5);
    for (std::size_t i = 0; i < kCount / 20; ++i) ground[1][random.Index(kCount)] = random.Uniform(-1000.0, 1000.0);
    for (std::size_t i = 0; i < 10 * specials.size(); ++i) {
      ground[i % 3][random.Index(kCount)] = specials[i % specials.size()];
    }
  }
  Random random;
  std::vector<double> ground[3];
};

/// Runs `check` with one to three threads.
template <class Check>
void WithThreads(const Check& check) {
  for (int threads = 1; threads <= 3; ++threads) {
    SCOPED_TRACE(threads);
    ZxSetThreadsCount(threads);
    check();
  }
  ZxSetThreadsCount(0);
}

using Column = std::vector<double>;

// Law 4 of `TRPC`.
TEST(PointArrays, ProjectLikeSinglePoints) {
  const TRPC model = CameraModel();
  const Points points("project");
  const Column& lat = points.ground[0];
  const Column& lon = points.ground[1];
  const Column& h = points.ground[2];
  Column expected[8];
  for (Column& column : expected) column.resize(kCount);
  for (std::size_t i = 0; i < kCount; ++i) {
    double dLine[3], dSample[3];
    model.CalculateLineSample(lat[i], lon[i], h[i], &expected[0][i], &expected[1][i], dLine, dSample);
    for (int c = 0; c < 3; ++c) {
      expected[2 + c][i] = dLine[c];
      expected[5 + c][i] = dSample[c];
    }
  }
  WithThreads([&] {
    Column out[8];
    for (Column& column : out) column.assign(kCount + 1, kPoison);
    double* const dLine[] = {out[2].data(), out[3].data(), out[4].data()};
    double* const dSample[] = {out[5].data(), out[6].data(), out[7].data()};
    const auto project = [&](double* const* byLine, double* const* bySample) {
      model.CalculateLineSampleArray(kCount, lat.data(), lon.data(), h.data(), out[0].data(), out[1].data(), byLine,
                                     bySample);
    };
    project(nullptr, nullptr);
    EXPECT_TRUE(SameBits(out[0].data(), expected[0].data(), kCount));
    EXPECT_TRUE(SameBits(out[1].data(), expected[1].data(), kCount));
    project(dLine, nullptr);
    EXPECT_TRUE(SameBits(out[3].data(), expected[3].data(), kCount));
    EXPECT_EQ(out[5][0], kPoison);
    project(dLine, dSample);
    for (int c = 0; c < 8; ++c) {
      EXPECT_TRUE(SameBits(out[c].data(), expected[c].data(), kCount)) << "column " << c;
      EXPECT_EQ(out[c][kCount], kPoison) << "written past the end";
    }
  });
}

TEST(PointArrays, EveryShortLengthWorksInPlace) {
  const TRPC model = CameraModel();
  const Points points("short");
  const auto& [lat, lon, h] = points.ground;
  for (std::size_t count = 0; count < 70; ++count) {
    Column x(lat.begin(), lat.begin() + 70);
    Column y(lon.begin(), lon.begin() + 70);
    model.CalculateLineSampleArray(count, x.data(), y.data(), h.data(), x.data(), y.data(), nullptr, nullptr);
    for (std::size_t i = 0; i < 70; ++i) {
      double line = lat[i];
      double sample = lon[i];
      if (i < count) model.CalculateLineSample(lat[i], lon[i], h[i], &line, &sample, nullptr, nullptr);
      ASSERT_TRUE(SameBits(x[i], line)) << count << " points, point " << i;
      ASSERT_TRUE(SameBits(y[i], sample)) << count << " points, point " << i;
    }
  }
}

// Law 4 of `TRPC`.
TEST(PointArrays, InvertLikeSinglePoints) {
  TRPCData wild = CameraRecord(1.4);
  for (int k = 10; k < 20; ++k) wild.lineNumCoef[k] = wild.sampDenCoef[k] = 0.3;  // some points do not converge
  for (const TRPCData& record : {CameraRecord(1.4), wild}) {
    const TRPC model(record, nullptr);
    const Points points("invert");
    Column line(kCount), sample(kCount), lat(kCount), lon(kCount);
    const Column& h = points.ground[2];
    std::vector<char> good(kCount);
    for (std::size_t i = 0; i < kCount; ++i) {
      model.CalculateLineSample(points.ground[0][i], points.ground[1][i], h[i], &line[i], &sample[i], nullptr, nullptr);
      good[i] = model.CalculateLatLon(line[i], sample[i], h[i], &lat[i], &lon[i]) ? 1 : 0;
    }
    WithThreads([&] {
      Column lat1(kCount + 1, kPoison), lon1(kCount + 1, kPoison);
      std::vector<TGroundStatus> status(kCount);
      const std::size_t converged = model.CalculateLatLonArray(kCount, line.data(), sample.data(), h.data(),
                                                               lat1.data(), lon1.data(), status.data());
      EXPECT_TRUE(SameBits(lat1.data(), lat.data(), kCount));
      EXPECT_TRUE(SameBits(lon1.data(), lon.data(), kCount));
      EXPECT_EQ(lat1[kCount], kPoison);
      std::size_t counted = 0;
      for (std::size_t i = 0; i < kCount; ++i) {
        EXPECT_EQ(status[i].state != TGroundState::Singular, good[i] != 0) << i;
        EXPECT_LE(status[i].iterations, 10);
        counted += status[i].state == TGroundState::Converged ? 1 : 0;
      }
      EXPECT_EQ(counted, converged);
      EXPECT_GT(converged, kCount / 5);
      EXPECT_LT(converged, kCount);
      EXPECT_EQ(
          model.CalculateLatLonArray(kCount, line.data(), sample.data(), h.data(), lat1.data(), lon1.data(), nullptr),
          converged);
    });
  }
}

TEST(PointArrays, IntersectLikeSinglePoints) {
  const TRPC left = CameraModel(1.4, -0.3);
  const TRPC right = CameraModel(361.4, 0.3);
  const TRPC opposite = CameraModel(191.4, 0.3);  // sees nothing of left's ground, and turns its longitudes
  const TRPC flat = [] {
    TRPCData record = CameraRecord(1.4);
    record.lineScale = record.sampScale = 0.0;  // its equations say nothing
    return TRPC(record, nullptr);
  }();
  const orbmath_test::OpenModel derived(CameraRecord(1.4, 0.1));  // goes through the virtual projection
  const Points points("intersect");
  const struct {
    std::size_t count;
    std::vector<const TRPC*> models;
  } cases[] = {{2048 + 77, {&left, &right}},
               {2048 + 1, {&left, &right, &left}},
               {75, {&derived, &right, &left}},
               {67, {&left, &right, &left, &flat, &right}},
               {7, {&flat, &flat}},
               {9, {&left, &opposite}},
               {1, {&right, &left}},
               {3, {&left, nullptr}},
               {3, {&left}}};
  for (const auto& row : cases) {
    const std::size_t count = row.count;
    const std::vector<const TRPC*>& models = row.models;
    std::vector<Column> line(models.size(), Column(count)), sample(models.size(), Column(count));
    std::vector<const double*> lines, samples;
    for (std::size_t m = 0; m < models.size(); ++m) {
      for (std::size_t i = 0; i < count && models[m] != nullptr; ++i) {
        models[m]->CalculateLineSample(points.ground[0][i], points.ground[1][i], points.ground[2][i], &line[m][i],
                                       &sample[m][i], nullptr, nullptr);
      }
      lines.push_back(line[m].data());
      samples.push_back(sample[m].data());
    }
    const Column& h = points.ground[2];
    SCOPED_TRACE(count);
    const TImageArrays arrays = {models.size(), models.data(), count, lines.data(), samples.data()};
    WithThreads([&] {
      Column out[8];
      for (Column& column : out) column.assign(count, kPoison);
      std::vector<TGroundStatus> status(count);
      CalculateLatLonArray(arrays, h.data(), out[0].data(), out[1].data(), nullptr);
      CalculateLatLonHArray(arrays, out[2].data(), out[3].data(), out[4].data(), status.data());
      CalculateLatLonHArray(arrays, h.data(), 4.0, out[5].data(), out[6].data(), out[7].data(), nullptr);
      for (std::size_t i = 0; i < count; ++i) {
        std::vector<TRPCCoordsDataItem> items;
        for (std::size_t m = 0; m < models.size(); ++m) items.push_back({models[m], line[m][i], sample[m][i]});
        double one[8];
        for (double& value : one) value = kPoison;
        CalculateLatLon(items, h[i], &one[0], &one[1]);
        const bool good = CalculateLatLonH(items, &one[2], &one[3], &one[4]);
        CalculateLatLonH(items, h[i], 4.0, &one[5], &one[6], &one[7]);
        for (int c = 0; c < 8; ++c) ASSERT_TRUE(SameBits(out[c][i], one[c])) << "point " << i << " column " << c;
        ASSERT_EQ(good, status[i].state == TGroundState::Converged || status[i].state == TGroundState::NotConverged);
      }
    });
  }
}

}  // namespace
}  // namespace SatCommonUtils
