// A start without memory counts, throws nothing, and its stop releases what it holds.

#include <gtest/gtest.h>

#include "frame/module.h"
#include "frame/sat_data_container/start_stop.h"
#include "frame/zxstd/transform_2d.h"
#include "memory/failing_memory.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::EndShortage;
using orbmath_test::FailAllocation;
using orbmath_test::Shortage;

TEST(StartWithoutMemory, CountsAndIsUndone) {
  const unsigned long long users = GetSatDataContainerUsers();
  bool failed = true;
  for (const Shortage shortage : {Shortage::Once, Shortage::FromThereOn}) {
    for (std::size_t n = 1; n == 1 || failed; ++n) {
      ASSERT_LT(n, 1000u);
      FailAllocation(n, shortage);
      Init_Orbmath();
      failed = EndShortage();
      EXPECT_EQ(GetOrbmathModuleInfo().users, 1u) << n;
      EXPECT_EQ(GetSatDataContainerUsers(), users + 1) << n;
      Deinit_Orbmath();
      EXPECT_EQ(GetSatDataContainerUsers(), users) << n;
      EXPECT_FALSE(TZx2DTransform::TSerializer::CreateN("sat_affine")) << n;
    }
    // With memory again everything is there.
    Init_Orbmath();
    EXPECT_TRUE(TZx2DTransform::TSerializer::CreateN("sat_affine"));
    EXPECT_NE(GetOrbmathModuleInfo().path, "");
    Deinit_Orbmath();
  }
}

TEST(StopWithoutMemory, ThrowsNothing) {
  for (std::size_t n = 1; n < 20; ++n) {
    Init_Orbmath();
    FailAllocation(n, Shortage::FromThereOn);
    Deinit_Orbmath();
    EndShortage();
    EXPECT_EQ(GetOrbmathModuleInfo().users, 0u) << n;
    // Nobody but the library has registered the name: it goes without keeping anything.
    EXPECT_FALSE(TZx2DTransform::TSerializer::CreateN("sat_affine")) << n;
  }
}

}  // namespace
}  // namespace SatCommonUtils
