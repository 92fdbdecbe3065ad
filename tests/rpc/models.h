#pragma once
// Models that the tests of the sensor model share.

#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "rpc/rpc_file.h"
#include "rpc/rpc_model.h"
#include "support/real_data.h"

namespace orbmath_test {

/// A record like those of narrow-angle satellite cameras: `across` tilts the view sideways, as in a stereo pair.
inline SatCommonUtils::TRPCData CameraRecord(double longOffset, double across = 0.0) {
  SatCommonUtils::TRPCData record;
  for (int k = 0; k < 20; ++k) {
    const double small = k < 4 ? 1e-3 : (k < 10 ? 1e-4 : 1e-6);
    const double sign = k % 2 == 0 ? 1.0 : -1.0;
    record.lineNumCoef[k] = small * sign * (1.0 + 0.1 * k);
    record.lineDenCoef[k] = 0.3 * small * (1.0 - 0.03 * k);
    record.sampNumCoef[k] = -small * (1.0 + 0.07 * k);
    record.sampDenCoef[k] = 0.2 * small * sign;
  }
  record.lineNumCoef[2] = -1.05;
  record.lineNumCoef[3] = 0.02;
  record.lineDenCoef[0] = 1.0;
  record.sampNumCoef[1] = 1.01;
  record.sampNumCoef[3] = 0.01 + across;
  record.sampDenCoef[0] = 1.0;
  record.lineOffset = 7000.0;
  record.lineScale = 7100.0;
  record.sampOffset = 6000.0;
  record.sampScale = 6050.0;
  record.latOffset = 43.6;
  record.latScale = 0.065;
  record.longOffset = longOffset;
  record.longScale = 0.085;
  record.heightOffset = 240.0;
  record.heightScale = 500.0;
  return record;
}

/// A model without a margin.
inline SatCommonUtils::TRPC CameraModel(double longOffset = 1.4, double across = 0.0) {
  return SatCommonUtils::TRPC(CameraRecord(longOffset, across), nullptr);
}

/// The model of a real file.
inline SatCommonUtils::TRPC RealModel(const std::string& name) {
  SatCommonUtils::TRPCFile file;
  SatCommonUtils::TRPCFileError error;
  EXPECT_TRUE(SatCommonUtils::ReadRPCFile(RealDataPath(name), &file, &error)) << error.GetText();
  return SatCommonUtils::TRPC(file.record, nullptr);
}

/// Makes the protected operations of a model public, and its projection replaceable.
class OpenModel : public SatCommonUtils::TRPC {
 public:
  OpenModel() = default;
  explicit OpenModel(const SatCommonUtils::TRPCData& record) : TRPC(record, nullptr) {}
  using TRPC::CalculateLatLonAlt;
  using TRPC::CalculateLatLonNormalizedAlt;
  using TRPC::CreateApproximation;
  using TRPC::Reset;
  using TRPC::SetRPCData;
};

/// Projects otherwise than its record does: line and sample of the record are shifted and sheared.
class ShearedModel : public SatCommonUtils::TRPC {
 public:
  explicit ShearedModel(const SatCommonUtils::TRPCData& record) : TRPC(record, nullptr) {}
  void CalculateLineSample(const double& lat, const double& lon, const double& h, double* line, double* sample,
                           double* dLine, double* dSample) const override {
    TRPC::CalculateLineSample(lat, lon, h, line, sample, dLine, dSample);
    Shear(1, line, sample);
    for (int c = 0; c < 3 && dLine != nullptr; ++c) dLine[c] += kShear * dSample[c];
  }
  void CalculateLineSampleArray(std::size_t count, const double* lat, const double* lon, const double* h, double* line,
                                double* sample, double* const* dLine, double* const* dSample) const override {
    TRPC::CalculateLineSampleArray(count, lat, lon, h, line, sample, dLine, dSample);
    Shear(count, line, sample);
    for (std::size_t i = 0; i < 3 * count && dLine != nullptr; ++i) {
      dLine[i / count][i % count] += kShear * dSample[i / count][i % count];
    }
  }

 private:
  static constexpr double kShear = 0.01;
  static void Shear(std::size_t count, double* line, const double* sample) {
    for (std::size_t i = 0; i < count; ++i) line[i] += 40.0 + kShear * sample[i];
  }
};

/// A point on the ground: latitude, longitude, height.
using Ground = std::array<double, 3>;

/// Points of a grid over the normalised box of a model, `counts` along each axis.
inline std::vector<Ground> GridOf(const SatCommonUtils::TRPC& model, const std::array<int, 3>& counts, double size) {
  const SatCommonUtils::TLinearNormalization* const axes[] = {
      model.GetLatitudeNormalization(), model.GetLongitudeNormalization(), model.GetHeightNormalization()};
  std::vector<Ground> points;
  for (int i = 0; i < counts[0] * counts[1] * counts[2]; ++i) {
    const int index[] = {i / counts[2] / counts[1], i / counts[2] % counts[1], i % counts[2]};
    Ground point;
    for (int axis = 0; axis < 3; ++axis) {
      point[axis] = axes[axis]->Normalized2Initial(size * (2.0 * index[axis] / (counts[axis] - 1) - 1.0));
    }
    points.push_back(point);
  }
  return points;
}

}  // namespace orbmath_test
