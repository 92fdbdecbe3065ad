#pragma once
// Models to fit, points of them, and how far a fitted record is from its source.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "refine/robust_fit.h"
#include "rpc/rpc_file.h"
#include "rpc/rpc_model.h"
#include "support/bits.h"
#include "support/random.h"

namespace orbmath_test {

using TPoints = std::vector<SatCommonUtils::TRPCEstimationPoint>;

inline SatCommonUtils::TRPCData RecordFromFile(const std::string& path) {
  SatCommonUtils::TRPCFile file;
  SatCommonUtils::TRPCFileError error;
  EXPECT_TRUE(SatCommonUtils::ReadRPCFile(path, &file, &error)) << error.GetText();
  return file.record;
}

/// A realistic model: a simulated pushbroom image of 16,000 x 16,000 pixels.
inline SatCommonUtils::TRPCData PushbroomRecord() {
  return RecordFromFile(ORBMATH_TESTS_DIR "/../examples/data/pushbroom_left.RPB");
}

/// A model whose denominators vary so much that all of its coefficients are determined by points.
inline SatCommonUtils::TRPCData CurvedRecord() {
  SatCommonUtils::TRPCData record = PushbroomRecord();
  Random random("CurvedRecord");
  for (int k = 0; k < 20; ++k) {
    const double size = k < 4 ? 0.1 : 0.02;
    for (double* coefficients : {record.lineNumCoef, record.lineDenCoef, record.sampNumCoef, record.sampDenCoef}) {
      coefficients[k] = random.Uniform(-size, size);
    }
  }
  record.lineDenCoef[0] = record.sampDenCoef[0] = 1.0;
  record.lineNumCoef[2] = -0.9;
  record.sampNumCoef[1] = 0.9;
  return record;
}

/// The projection of a normalised ground point; in units of the record unless `normalized`.
inline SatCommonUtils::TRPCEstimationPoint PointAt(const SatCommonUtils::TRPC& model, double P, double L, double H,
                                                   bool normalized = false) {
  SatCommonUtils::TRPCEstimationPoint p{P, L, H, 0.0, 0.0};
  model.CalculateLineSampleNormalized(P, L, H, &p.Line, &p.Sample, nullptr, nullptr);
  if (normalized) return p;
  return {
      model.GetLatitudeNormalization()->Normalized2Initial(P), model.GetLongitudeNormalization()->Normalized2Initial(L),
      model.GetHeightNormalization()->Normalized2Initial(H), model.GetLineNormalization()->Normalized2Initial(p.Line),
      model.GetSampleNormalization()->Normalized2Initial(p.Sample)};
}

/// Random points of the model's ground box. \param noise pixels, in line and in sample.
inline TPoints RandomPoints(const SatCommonUtils::TRPCData& record, std::size_t count, double noise, Random* random,
                            bool normalized = false) {
  const SatCommonUtils::TRPC model(record, nullptr);
  TPoints points;
  for (std::size_t i = 0; i < count; ++i) {
    points.push_back(
        PointAt(model, random->Uniform(-1, 1), random->Uniform(-1, 1), random->Uniform(-1, 1), normalized));
    if (noise > 0.0) {
      points.back().Line += random->Normal(noise);
      points.back().Sample += random->Normal(noise);
    }
  }
  return points;
}

/// Makes a share of the points bad, half of them in the image, half in latitude or longitude. \param size in pixels,
/// also of those on the ground. \return their places, ascending.
inline std::vector<std::size_t> Spoil(const SatCommonUtils::TRPCData& record, double share, double size, Random* random,
                                      TPoints* points) {
  const auto count = static_cast<std::size_t>(share * static_cast<double>(points->size()) + 0.5);
  std::vector<std::size_t> bad;
  while (bad.size() < count) {
    const std::size_t place = random->Index(points->size());
    if (std::find(bad.begin(), bad.end(), place) != bad.end()) continue;
    SatCommonUtils::TRPCEstimationPoint& point = (*points)[place];
    const double sign = random->Uniform(-1, 1) > 0 ? 1.0 : -1.0;
    switch (bad.size() % 4) {
      case 0:
        point.Line += sign * size;
        break;
      case 1:
        point.Lat += sign * size * record.latScale / record.lineScale;
        break;
      case 2:
        point.Sample += sign * size;
        break;
      default:
        point.Lon += sign * size * record.longScale / record.sampScale;
    }
    bad.push_back(place);
  }
  std::sort(bad.begin(), bad.end());
  return bad;
}

/// Pixels between two models over 400 random points of the first one's box.
inline SatCommonUtils::TRPCFitStatistics Distance(const SatCommonUtils::TRPCData& source,
                                                  const SatCommonUtils::TRPCData& fitted) {
  Random random("Distance");
  return SatCommonUtils::ResidualsOfRPC(fitted, RandomPoints(source, 400, 0.0, &random), false).distance;
}

inline SatCommonUtils::TRPCData PoisonedRecord() {
  SatCommonUtils::TRPCData record;
  double* const values = &record.lineNumCoef[0];
  for (int i = 0; i < 90; ++i) values[i] = kPoison - i;
  return record;
}

/// Same bits in all ninety numbers.
inline ::testing::AssertionResult SameRecord(const SatCommonUtils::TRPCData& a, const SatCommonUtils::TRPCData& b) {
  return SameBits(&a.lineNumCoef[0], &b.lineNumCoef[0], 90);
}

}  // namespace orbmath_test
