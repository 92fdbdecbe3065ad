#include "rpc/rpc_data.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <limits>

#include "rpc/records.h"
#include "rpc/rpc_compare.h"
#include "rpc/rpc_fields.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::CountingRecord;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(RPCData, LaysOutNinetyDoublesInOrder) {
  EXPECT_EQ(sizeof(TRPCData), 90 * sizeof(double));
  const std::size_t kScalars = 80 * sizeof(double);
  EXPECT_EQ(offsetof(TRPCData, lineDenCoef), 20 * sizeof(double));
  EXPECT_EQ(offsetof(TRPCData, sampDenCoef), 60 * sizeof(double));
  EXPECT_EQ(offsetof(TRPCData, lineOffset), kScalars);
  EXPECT_EQ(offsetof(TRPCData, sampOffset), kScalars + 2 * sizeof(double));
  EXPECT_EQ(offsetof(TRPCData, longScale), kScalars + 7 * sizeof(double));
  EXPECT_EQ(offsetof(TRPCData, heightScale), kScalars + 9 * sizeof(double));
}

TEST(RPCData, OneUnsetNumberMakesTheRecordIncomplete) {
  EXPECT_FALSE(static_cast<bool>(TRPCData()));
  for (std::size_t unset = 0; unset < 90; ++unset) {
    TRPCData record = CountingRecord();
    ASSERT_TRUE(static_cast<bool>(record));
    std::memcpy(reinterpret_cast<char*>(&record) + unset * sizeof(double), &kUnsetMark, sizeof(double));
    EXPECT_FALSE(static_cast<bool>(record)) << "number " << unset;
    const TRPCData copy = record;
    EXPECT_EQ(std::memcmp(&copy, &record, sizeof(record)), 0);
  }
}

TEST(RPCData, AnyOtherValueCountsAsSet) {
  for (const double value : {kNaN, kInfinity, -kInfinity, 0.0, -kUnsetMark}) {
    TRPCData record;
    VisitRPCNumbers(record, [value](double& number) {
      number = value;
      return true;
    });
    EXPECT_TRUE(static_cast<bool>(record)) << value;
  }
}

TEST(RPCCompare, DifferenceIsPlainSubtraction) {
  TRPCData a = CountingRecord();
  TRPCData b = a;
  b.longScale -= 0.25;
  b.sampDenCoef[19] += 8;
  a.lineNumCoef[0] = kUnsetMark;
  TRPCData difference;
  DebugEstimateRPCDataDifference(a, b, &difference);
  EXPECT_EQ(difference.longScale, 0.25);
  EXPECT_EQ(difference.sampDenCoef[19], -8);
  EXPECT_EQ(difference.lineNumCoef[0], kUnsetMark);  // the mark swallows the other value
  EXPECT_EQ(difference.lineNumCoef[1], 0);
  DebugEstimateRPCDataDifference(a, b, &a);
  EXPECT_EQ(std::memcmp(&a, &difference, sizeof(a)), 0);
}

TEST(RPCCompare, IdentityIsAllDifferencesZero) {
  const TRPCData record = CountingRecord();
  const auto same = [&record](double TRPCData::*field, double mine, double other) {
    TRPCData a = record;
    TRPCData b = record;
    a.*field = mine;
    b.*field = other;
    return DebugRPCDataAreIdentical(a, b);
  };
  EXPECT_TRUE(DebugRPCDataAreIdentical(TRPCData(), TRPCData()));
  EXPECT_TRUE(same(&TRPCData::heightScale, 0.0, -0.0));
  EXPECT_FALSE(same(&TRPCData::heightScale, 1.0, 1.0 + std::numeric_limits<double>::epsilon()));
  EXPECT_FALSE(same(&TRPCData::lineOffset, kNaN, kNaN));
  EXPECT_FALSE(same(&TRPCData::lineOffset, kInfinity, kInfinity));
  TRPCData last = record;
  last.sampDenCoef[19] += 1;
  EXPECT_FALSE(DebugRPCDataAreIdentical(record, last));
}

}  // namespace
}  // namespace SatCommonUtils
