// How many threads a call may use.

#include "frame/zxstd/threads.h"

#include <gtest/gtest.h>

#include <thread>

namespace SatCommonUtils {
namespace {

TEST(Threads, AScopeCountsForTheCallsOfItsThreadAlone) {
  ZxSetThreadsCount(5);
  EXPECT_EQ(ZxGetThreadsCount(), 5);
  {
    const TZxThreadsScope two(2);
    EXPECT_EQ(ZxGetThreadsCount(), 2);
    {
      const TZxThreadsScope process(0);
      EXPECT_EQ(ZxGetThreadsCount(), 5);
      ZxSetThreadsCount(6);
      EXPECT_EQ(ZxGetThreadsCount(), 6);
    }
    EXPECT_EQ(ZxGetThreadsCount(), 2);
    int elsewhere = 0;
    std::thread([&elsewhere] { elsewhere = ZxGetThreadsCount(); }).join();
    EXPECT_EQ(elsewhere, 6);
  }
  EXPECT_EQ(ZxGetThreadsCount(), 6);
  ZxSetThreadsCount(0);
}

}  // namespace
}  // namespace SatCommonUtils
