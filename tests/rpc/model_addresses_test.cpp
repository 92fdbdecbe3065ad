// A model stands where its host puts it: in a map's node, behind an int, in a vector of a derived class. Every kind of
// evaluation gives the same bits at every address that holds a double.

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <new>
#include <vector>

#include "refine/adjusted_rpc.h"
#include "refine/refinement_data.h"
#include "rpc/ground_solution.h"
#include "rpc/image_to_ground.h"
#include "rpc/models.h"
#include "support/bits.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::CameraModel;
using orbmath_test::CameraRecord;
using orbmath_test::OpenModel;
using orbmath_test::SameBits;

constexpr std::size_t kCacheLine = 64;
constexpr std::size_t kPoints = 21;  // fills no whole number of vectors

/// What a host may derive: its own numbers move those of the next model in an array.
struct NamedModel : OpenModel {
  using OpenModel::OpenModel;
  double extra = 1.0;
};

struct ShiftedModel : TAdjustedRPC {
  explicit ShiftedModel(const TRPCData& record) : TAdjustedRPC(&record, Shift().get()) {}
  static std::unique_ptr<TRPCRefinementDataShift> Shift() {
    auto shift = std::make_unique<TRPCRefinementDataShift>();
    shift->d_line = 1.25;
    shift->d_sample = -0.75;
    return shift;
  }
};

/// `model` evaluated in all ways at points of its box; the arrays begin `shift` doubles behind the start of a vector.
std::vector<double> Evaluate(const TRPC& model, std::size_t shift) {
  std::vector<double> results;
  const auto keep = [&results](std::initializer_list<double> numbers) { results.insert(results.end(), numbers); };
  const TRPC other = CameraModel(1.41, 0.4);
  alignas(kCacheLine) double columns[13][kPoints + 8];
  double* at[13];
  for (std::size_t c = 0; c < 13; ++c) at[c] = columns[c] + shift;
  for (std::size_t i = 0; i < kPoints; ++i) {
    const double lat = at[0][i] = 43.55 + 0.005 * static_cast<double>(i);
    const double lon = at[1][i] = 1.33 + 0.007 * static_cast<double>(i) + (i % 5 == 1 ? 360.0 : 0.0);
    const double h = at[2][i] = 100.0 + 20.0 * static_cast<double>(i);
    double line, sample, dLine[3], dSample[3], otherLine, otherSample;
    model.CalculateLineSample(lat, lon, h, &line, &sample, nullptr, nullptr);
    keep({line, sample});
    model.CalculateLineSample(lat, lon, h, &line, &sample, dLine, dSample);
    keep({dLine[0], dLine[1], dLine[2], dSample[0], dSample[1], dSample[2]});
    model.CalculateLineSampleNormalized(0.1, -0.2, 0.3, &line, &sample, nullptr, nullptr);
    keep({line, sample});
    model.CalculateLineSampleApproximately(lat, lon, h, &line, &sample);
    keep({line, sample});
    model.CalculateLineSample(lat, lon, h, &line, &sample, nullptr, nullptr);
    double x = 0.0, y = 0.0, z = 0.0;
    EXPECT_TRUE(model.CalculateLatLon(line, sample, h, &x, &y));
    keep({x, y});
    EXPECT_TRUE(model.CalculateLatLonNormalized(0.2, -0.1, 0.3, &x, &y));
    keep({x, y});
    other.CalculateLineSample(lat, lon, h, &otherLine, &otherSample, nullptr, nullptr);
    TRPC::CalculateLatLonH(model, line, sample, other, otherLine, otherSample, &x, &y, &z);
    keep({x, y, z});
    TRPC::CalculateLatLonHApproximately(model, line, sample, other, otherLine, otherSample, &x, &y, &z);
    keep({x, y, z});
    const TGroundSolution solution = SolveLatLon(model, line, sample, h);
    keep({solution.lat, solution.lon, solution.residual});
  }
  double* const dLine[] = {at[5], at[6], at[7]};
  double* const dSample[] = {at[8], at[9], at[10]};
  model.CalculateLineSampleArray(kPoints, at[0], at[1], at[2], at[3], at[4], nullptr, nullptr);
  model.CalculateLineSampleArray(kPoints, at[0], at[1], at[2], at[3], at[4], dLine, dSample);
  model.CalculateLatLonArray(kPoints, at[3], at[4], at[2], at[11], at[12], nullptr);
  for (std::size_t c = 3; c < 13; ++c) results.insert(results.end(), at[c], at[c] + kPoints);
  const TRPC* const models[] = {&model, &other};
  const double* const lines[] = {at[3], at[3]};
  const double* const samples[] = {at[4], at[4]};
  CalculateLatLonArray({2, models, kPoints, lines, samples}, at[2], at[11], at[12], nullptr);
  for (std::size_t c = 11; c < 13; ++c) results.insert(results.end(), at[c], at[c] + kPoints);
  return results;
}

template <class Model>
void ExpectSameEverywhere() {
  const Model original(CameraRecord(1.4));
  const std::vector<double> expected = Evaluate(original, 0);
  alignas(kCacheLine) unsigned char room[sizeof(Model) + kCacheLine];
  for (std::size_t offset = 0; offset < kCacheLine; offset += alignof(Model)) {
    SCOPED_TRACE(offset);
    const auto destroy = [](Model* model) { model->~Model(); };
    const std::unique_ptr<Model, decltype(destroy)> model(new (room + offset) Model(CameraRecord(1.4)), destroy);
    if (offset % 3 != 0) *model = original;  // from another place in its vector
    const std::vector<double> results = Evaluate(*model, offset / sizeof(double));
    ASSERT_EQ(results.size(), expected.size());
    EXPECT_TRUE(SameBits(results.data(), expected.data(), expected.size()));
  }
}

// Law 4 of `TRPC`.
// A model at an address 8 beyond a multiple of 16 ended the process (November 2026).
TEST(ModelAddresses, PlainModel) { ExpectSameEverywhere<OpenModel>(); }
TEST(ModelAddresses, DerivedModel) { ExpectSameEverywhere<NamedModel>(); }
TEST(ModelAddresses, AdjustedModel) { ExpectSameEverywhere<ShiftedModel>(); }

}  // namespace
}  // namespace SatCommonUtils
