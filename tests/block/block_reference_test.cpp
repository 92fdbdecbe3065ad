// Agreement with a reference solution of a simulated block of eight images that was worked out elsewhere (plain
// Gauss-Newton least squares, points eliminated), and with its truth. The block lies beside the real models.

#include <gtest/gtest.h>

#include <map>

#include "block/block_adjustment.h"
#include "block/blocks.h"
#include "rpc/models.h"
#include "support/json_value.h"
#include "support/real_data.h"

namespace {

using namespace orbmath_test;
using namespace SatCommonUtils;

constexpr const char* kFolder = "../block/sim8/";
/// Two solutions of one least-squares problem, pixels.
constexpr double kAgreement = 1e-4;

/// The block, with or without its true blunders.
struct Reference {
  TBlockProblem problem;
  std::vector<double> blunder;  ///< Of each measurement, pixels; 0 for a good one.
  std::vector<int> rays;        ///< Of each point, blunders counted.
};

Json ReadJson(const std::string& name) {
  const std::string text = FileContent(RealDataPath(kFolder + name));
  const char* p = text.c_str();
  return ParseJson(&p);
}

Reference ReadReference(bool blunders, TBlockCorrection kind) {
  Reference block;
  for (int k = 0; k < 8; ++k) {
    const std::string name = "000" + std::to_string(k);
    TRPCData record;
    EXPECT_TRUE(record.InitializeFromTextFile(RealDataPath(kFolder + name + "_RPC.TXT")));
    TBlockImage image;
    image.name = name;
    image.model = std::make_shared<TRPC>(record);
    image.correction = kind;
    block.problem.images.push_back(image);
  }
  std::map<std::string, double> outliers;
  const auto number = [](const std::string& text) { return std::strtod(text.c_str(), nullptr); };
  for (const auto& row : RealTable(kFolder + std::string("truth_outliers.csv"))) {
    outliers[row[0] + "/" + row[1]] = number(row[2]);
  }
  std::map<std::string, std::uint32_t> points;
  for (const auto& row : RealTable(kFolder + std::string("control.csv"))) {
    TBlockPoint point;
    point.name = row[0];
    point.role = row[6] == "check" ? TBlockPointRole::Check : TBlockPointRole::Control;
    point.lon = number(row[1]), point.lat = number(row[2]), point.height = number(row[3]);
    point.sigmaHorizontal = number(row[4]), point.sigmaVertical = number(row[5]);
    points[row[0]] = static_cast<std::uint32_t>(block.problem.points.size());
    block.problem.points.push_back(point);
  }
  for (const char* name : {"ties.csv", "control_obs.csv"}) {
    for (const auto& row : RealTable(kFolder + std::string(name))) {
      const double size = outliers[row[0] + "/" + row[1]];
      if (size != 0.0 && !blunders) continue;
      const auto found = points.emplace(row[0], static_cast<std::uint32_t>(block.problem.points.size()));
      if (found.second) {
        block.problem.points.emplace_back();
        block.problem.points.back().name = row[0];
      }
      block.problem.measurements.Add(found.first->second, static_cast<std::uint32_t>(number(row[1])), number(row[3]),
                                     number(row[2]));
      block.blunder.push_back(size);
    }
  }
  block.rays.assign(block.problem.points.size(), 0);
  for (const std::uint32_t point : block.problem.measurements.point) ++block.rays[point];
  return block;
}

/// Corrections of a solution or of the truth; what a kind does not have is 0.
std::vector<TBlockParameters> CorrectionsOf(const Json& json) {
  std::vector<TBlockParameters> all;
  for (const auto& [name, one] : json["corrections"].members) {
    TBlockParameters p;
    for (std::size_t c = 0; c < one["sample"].items.size(); ++c) p.sample[c] = one["sample"].items[c].number;
    for (std::size_t c = 0; c < one["line"].items.size(); ++c) p.line[c] = one["line"].items[c].number;
    all.push_back(p);
  }
  return all;
}

double RmsError(const std::vector<TBlockParameters>& some, const std::vector<TBlockParameters>& truth) {
  double sum = 0.0;
  for (std::size_t k = 0; k < truth.size(); ++k) {
    for (int c = 0; c < 6; ++c) sum += std::pow(SixOf(some[k])[c] - SixOf(truth[k])[c], 2);
  }
  return std::sqrt(sum / static_cast<double>(6 * truth.size()));
}

TBlockOptions ReferenceOptions() {
  TBlockOptions options;
  options.robust = false;
  options.sigmaMeasurement = 0.3;
  options.sigmaShift = options.sigmaDrift = 1000.0;
  return options;
}

class BlockReference : public WithRealData {
 protected:
  void SetUp() override {
    WithRealData::SetUp();
    if (!std::ifstream(RealDataPath(kFolder + std::string("reference.json"))).good()) {
      GTEST_SKIP() << "no simulated block beside the folder of real models";
    }
  }
};

TEST_F(BlockReference, LeastSquaresAgree) {
  const struct {
    const char* name;
    TBlockCorrection kind;
    bool blunders;
  } cases[] = {{"affine, true outliers left out", TBlockCorrection::Affine, false},
               {"shift, true outliers left out", TBlockCorrection::Shift, false},
               {"affine, nothing left out", TBlockCorrection::Affine, true}};
  const Json reference = ReadJson("reference.json");
  for (const auto& one : cases) {
    SCOPED_TRACE(one.name);
    const Json& expected = reference[one.name];
    const TBlockResult result = AdjustBlock(ReadReference(one.blunders, one.kind).problem, ReferenceOptions());
    ASSERT_EQ(result.state, TBlockState::Adjusted) << result.message;
    EXPECT_NEAR(result.sigma0, expected["sigma0"].number, 1e-6);
    EXPECT_NEAR(result.rms, expected["rms_px"].number, 1e-6);
    if (!expected.Has("corrections")) continue;
    EXPECT_LT(LargestDifference(result, CorrectionsOf(expected)), kAgreement);
    EXPECT_EQ(result.redundancy, static_cast<std::int64_t>(expected["redundancy"].number));
    EXPECT_EQ(result.unknowns, static_cast<std::int64_t>(expected["unknowns"].number));
  }
}

TEST_F(BlockReference, BlundersAreFoundAndParametersStayAsGoodAsWithoutThem) {
  const Json truth = ReadJson("truth.json");
  const std::vector<TBlockParameters> expected = CorrectionsOf(truth);
  const Reference block = ReadReference(true, TBlockCorrection::Affine);
  TBlockOptions options;
  options.sigmaMeasurement = 1.0;  // a guess: the spread is found
  const TBlockResult result = AdjustBlock(block.problem, options);
  ASSERT_EQ(result.state, TBlockState::Adjusted) << result.message;
  const double without =
      RmsError(CorrectionsOf(ReadJson("reference.json")["affine, true outliers left out"]), expected);
  std::vector<TBlockParameters> found;
  for (const TBlockImageResult& image : result.images) found.push_back(image.parameters);
  EXPECT_LT(RmsError(found, expected), 1.15 * without);
  int large = 0, missed = 0, good = 0, wronged = 0;
  for (std::size_t i = 0; i < block.blunder.size(); ++i) {
    if (block.rays[block.problem.measurements.point[i]] < 4) continue;
    const TBlockMeasurementState state = result.measurements.state[i];
    const bool named = state == TBlockMeasurementState::Bad || state == TBlockMeasurementState::Undecided;
    if (block.blunder[i] == 0.0) ++good, wronged += named ? 1 : 0;
    if (block.blunder[i] >= 10.0) ++large, missed += named ? 0 : 1;
  }
  EXPECT_GT(large, 40);
  EXPECT_LE(missed * 50, large);
  EXPECT_LE(wronged * 1000, good);
  // Corrections and check points are off by what their covariances expect.
  double square = 0.0;
  for (std::size_t k = 0; k < expected.size(); ++k) {
    for (int c = 0; c < 6; ++c) {
      const double off = SixOf(found[k])[c] - SixOf(expected[k])[c];
      square += off * off / result.images[k].covariance[7 * c];
    }
  }
  EXPECT_NEAR(std::sqrt(square / 48.0), 1.0, 0.3);
  ASSERT_EQ(result.check.size(), 3u);
  for (const TBlockMisclosure& check : result.check) EXPECT_LT(check.standardized, 2.5);
}

}  // namespace
