#include "rpc/rpc_data.h"

#include <gtest/gtest.h>

#include <limits>

#include "rpc/records.h"
#include "rpc/rpc_compare.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::CountingRecord;
using orbmath_test::SameRecord;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

// The arrays stand first in memory and last in the table of fields; the scalars begin the counting record.
TEST(RPCData, LaysOutNinetyDoublesInOrder) {
  static_assert(sizeof(TRPCData) == 90 * sizeof(double), "nothing but the numbers");
  const TRPCData record = CountingRecord();
  const auto* numbers = reinterpret_cast<const double*>(&record);
  for (int i = 0; i < 90; ++i) EXPECT_EQ(numbers[i], i < 80 ? 6.0 + 0.5 * i : 1.0 + 0.5 * (i - 80)) << i;
  EXPECT_EQ(record.sampNumCoef[0], 26.0);
  EXPECT_EQ(record.latScale, 3.5);
}

TEST(RPCData, OneUnsetNumberMakesTheRecordIncomplete) {
  EXPECT_FALSE(static_cast<bool>(TRPCData()));
  for (std::size_t unset = 0; unset < 90; ++unset) {
    TRPCData record = CountingRecord();
    ASSERT_TRUE(static_cast<bool>(record));
    reinterpret_cast<double*>(&record)[unset] = kUnsetMark;
    EXPECT_FALSE(static_cast<bool>(record)) << "number " << unset;
  }
}

TEST(RPCData, AnyOtherValueCountsAsSet) {
  for (const double value : {kNaN, kInfinity, -kInfinity, 0.0, -kUnsetMark}) {
    TRPCData record = CountingRecord();
    record.heightScale = record.sampDenCoef[19] = value;
    EXPECT_TRUE(static_cast<bool>(record)) << value;
  }
}

TEST(RPCCompare, DifferenceIsPlainSubtraction) {
  TRPCData a = CountingRecord();
  TRPCData b = a;
  b.longScale -= 0.25;
  b.sampDenCoef[19] += 8;
  a.lineNumCoef[0] = kUnsetMark;  // swallows the other value
  TRPCData difference;
  DebugEstimateRPCDataDifference(a, b, &difference);
  TRPCData expected;
  DebugEstimateRPCDataDifference(b, b, &expected);
  expected.longScale = 0.25;
  expected.sampDenCoef[19] = -8;
  expected.lineNumCoef[0] = kUnsetMark;
  EXPECT_TRUE(SameRecord(difference, expected));
  DebugEstimateRPCDataDifference(a, b, &a);
  EXPECT_TRUE(SameRecord(a, expected));
}

TEST(RPCCompare, IdentityIsAllDifferencesZero) {
  const auto same = [](double mine, double other) {
    TRPCData a = CountingRecord();
    TRPCData b = a;
    a.sampDenCoef[19] = mine;
    b.sampDenCoef[19] = other;
    return DebugRPCDataAreIdentical(a, b);
  };
  EXPECT_TRUE(DebugRPCDataAreIdentical(TRPCData(), TRPCData()));
  EXPECT_TRUE(same(0.0, -0.0));
  EXPECT_FALSE(same(1.0, 1.0 + std::numeric_limits<double>::epsilon()));
  EXPECT_FALSE(same(kNaN, kNaN));
  EXPECT_FALSE(same(kInfinity, kInfinity));
}

}  // namespace
}  // namespace SatCommonUtils
