// Messages, formatted texts, the debug print and the thread count.

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "frame/zxstd/debug_output.h"
#include "frame/zxstd/message.h"
#include "frame/zxstd/text.h"
#include "frame/zxstd/threads.h"
#include "support/comma_locale.h"
#include "support/debug_capture.h"
#include "support/system.h"

namespace SatCommonUtils {
namespace {

TEST(Message, IsAStandardExceptionAndKeepsItsText) {
  EXPECT_STREQ(TZxMessage(static_cast<const char*>(nullptr)).what(), "");
  TZxMessage first("TRPC::TRPC(TZxXIniReader *src)");
  const TZxMessage second = std::move(first);
  EXPECT_STREQ(first.what(), second.what());  // NOLINT(bugprone-use-after-move): a message is never emptied
  try {
    throw second;
  } catch (const std::exception& caught) {
    EXPECT_STREQ(caught.what(), "TRPC::TRPC(TZxXIniReader *src)");
  }
}

TEST(Text, TrimAndToupper) {
  EXPECT_EQ(trim(" \t a b \r\n"), "a b");
  EXPECT_EQ(trim(" \n"), "");
  EXPECT_EQ(toupper("aZ\xC3\xA9_9"), "AZ\xC3\xA9_9");
}

TEST(Text, SsprintfTakesAnyLengthAndNoLocale) {
  const orbmath_test::CommaLocale locale;  // where one is installed
  EXPECT_EQ(Zentarix::ssprintf("%+010.2lf|%s|%zu", 1.5, "x", static_cast<std::size_t>(3)), "+000001.50|x|3");
  const std::string longer(100000, 'y');
  EXPECT_EQ(Zentarix::ssprintf("%s!", longer.c_str()), longer + "!");
  EXPECT_EQ(Zentarix::ssprintf("%s", ""), "");
}

// Sets ORBMATH_DEBUG for as long as it lives.
class DebugVariable {
 public:
  explicit DebugVariable(const char* value) { orbmath_test::SetVariable("ORBMATH_DEBUG", value); }
  DebugVariable(const DebugVariable&) = delete;
  DebugVariable& operator=(const DebugVariable&) = delete;
  ~DebugVariable() { orbmath_test::SetVariable("ORBMATH_DEBUG", nullptr); }
};

std::string OnStandardError(const std::string& message) {
  ::testing::internal::CaptureStderr();
  ZxPrintDbgMsg(message);
  return ::testing::internal::GetCapturedStderr();
}

TEST(DebugOutput, GoesWhereItIsSent) {
  EXPECT_EQ(OnStandardError("silent"), "");
  {
    const DebugVariable variable("1");
    EXPECT_EQ(OnStandardError("no end"), "no end\n");
    EXPECT_EQ(OnStandardError("an end\n"), "an end\n");
    const orbmath_test::DebugCapture capture;
    EXPECT_EQ(OnStandardError("to the sink"), "");
    ZxPrintDbgMsg(static_cast<const char*>(nullptr));
    EXPECT_EQ(capture.messages, (std::vector<std::string>{"to the sink", ""}));
  }
  for (const char* off : {"", "0"}) {
    const DebugVariable variable(off);
    EXPECT_EQ(OnStandardError("silent"), "");
  }
}

// A sink that prints must not wait for itself.
TEST(DebugOutput, ASinkMayPrintAndReplaceItself) {
  std::vector<std::string> seen;
  const TZxDebugSink before = ZxSetDebugSink([&](const std::string& text) {
    seen.push_back(text);
    ZxSetDebugSink([&](const std::string& inner) { seen.push_back("second " + inner); });
    ZxPrintDbgMsg("inner");
  });
  ZxPrintDbgMsg("outer");
  ZxSetDebugSink(before);
  EXPECT_EQ(seen, (std::vector<std::string>{"outer", "second inner"}));
}

TEST(DebugOutput, ThreadsPrintWholeMessages) {
  const DebugVariable variable("yes");
  ::testing::internal::CaptureStderr();
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (int k = 0; k < 100; ++k) ZxPrintDbgMsg("a line that must stay whole");
    });
  }
  for (std::thread& thread : threads) thread.join();
  const std::string all = ::testing::internal::GetCapturedStderr();
  const std::string line = "a line that must stay whole\n";
  std::string expected;
  for (int i = 0; i < 400; ++i) expected += line;
  EXPECT_EQ(all, expected);
}

TEST(Threads, CountIsTheMachinesUnlessSet) {
  const int machine = ZxGetThreadsCount();
  EXPECT_GE(machine, 1);
  ZxSetThreadsCount(7);
  EXPECT_EQ(ZxGetThreadsCount(), 7);
  for (const int none : {0, -3}) {
    ZxSetThreadsCount(none);
    EXPECT_EQ(ZxGetThreadsCount(), machine);
  }
}

}  // namespace
}  // namespace SatCommonUtils
