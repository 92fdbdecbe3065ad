#pragma once
// Real files of every container and what independent programs read in them, where the machine has them: the folder
// "formats" beside that of the real models.

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <string>

#include "rpc/rpc_fields.h"
#include "rpc/rpc_file.h"
#include "rpc/rpc_model.h"
#include "support/json_value.h"
#include "support/real_data.h"

namespace orbmath_test {

inline std::string FormatsPath(const std::string& name) { return RealDataPath("../formats/" + name); }

class WithFormats : public ::testing::Test {
 protected:
  void SetUp() override {
    const std::string content = FileContent(FormatsPath("expected.json"));
    if (content.empty()) GTEST_SKIP() << "there is no folder \"formats\" beside that of ORBMATH_TEST_DATA";
    const char* p = content.c_str();
    expected_ = ParseJson(&p).members;
  }
  std::map<std::string, Json> expected_;
};

/// 1 is taken off the offsets of some containers, which costs the last digits.
constexpr double kOffsetTolerance = 1e-11;
/// Of ground to image, against the programs that computed the expected values.
constexpr double kPixelTolerance = 1e-7;

/// Compares a record with "record" and "coefficients" of an expectation. \param digits relative difference allowed
/// where another program printed the numbers, 0 for those that are read here.
inline void ExpectRecord(const SatCommonUtils::TRPCData& record, const Json& expected, double digits) {
  for (const auto& field : SatCommonUtils::RPCScalarFields()) {
    const double number = expected["record"][field.textKey].number;
    EXPECT_NEAR(record.*field.value, number, kOffsetTolerance + digits * std::fabs(number)) << field.textKey;
  }
  for (const auto& field : SatCommonUtils::RPCCoefficientFields()) {
    std::string key = field.textKey;
    key.pop_back();
    const Json& list = expected["coefficients"].members.at(key);
    ASSERT_EQ(list.items.size(), 20u);
    for (int k = 0; k < 20; ++k) {
      const double number = list.items[k].number;
      EXPECT_NEAR((record.*field.values)[k], number, digits * std::fabs(number)) << field.textKey << k + 1;
    }
  }
}

/// Ground to image as independent programs have it.
inline void ExpectProjections(const SatCommonUtils::TRPCData& record, const Json& expected) {
  const SatCommonUtils::TRPC model(record, nullptr);
  for (const Json& point : expected["ground_to_image"].items) {
    double line = 0.0;
    double sample = 0.0;
    model.CalculateLineSample(point["lat"].number, point["lon"].number, point["height"].number, &line, &sample, nullptr,
                              nullptr);
    EXPECT_NEAR(line, point["line"].number, kPixelTolerance);
    EXPECT_NEAR(sample, point["sample"].number, kPixelTolerance);
  }
}

/// Identifiers and errors where the container has them.
inline void ExpectExtras(const SatCommonUtils::TRPCFile& file, const Json& expected) {
  const Json& record = expected["record"];
  const auto expect = [&record](const char* key, const std::optional<double>& number) {
    const auto wanted = record.Has(key) ? std::make_optional(record[key].number) : std::nullopt;
    EXPECT_EQ(number, wanted) << key;
  };
  expect("ERR_BIAS", file.extras.biasError);
  expect("ERR_RAND", file.extras.randomError);
}

}  // namespace orbmath_test
