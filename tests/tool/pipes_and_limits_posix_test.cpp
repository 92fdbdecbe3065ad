// What the tool does with pipes, permissions and limits of Linux and its like.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "support/sanitizers.h"
#include "support/system.h"
#include "tool/run_tool.h"

namespace orbmath_test {

namespace {

namespace fs = std::filesystem;

TEST(StreamsTest, AnswersEachLineWhileTheInputStaysOpen) {
  Workspace();
  int to_tool[2];
  ASSERT_EQ(pipe2(to_tool, O_CLOEXEC), 0);
  const std::string command = "exec '" ORBMATH_TOOL "' project '" + Workspace() + "/flat.RPB' --precision 0 <&" +
                              std::to_string(dup(to_tool[0]));
  FILE* from_tool = popen(command.c_str(), "r");
  ASSERT_NE(from_tool, nullptr);
  for (const std::string point : {"45 7 500\n", "45.05 7 500\n"}) {
    ASSERT_EQ(write(to_tool[1], point.data(), point.size()), static_cast<ssize_t>(point.size()));
    pollfd state{fileno(from_tool), POLLIN, 0};
    ASSERT_EQ(poll(&state, 1, 20000), 1) << "no answer to " << point;
    char answer[64];
    ASSERT_NE(std::fgets(answer, sizeof answer, from_tool), nullptr);
    EXPECT_STREQ(answer, point.size() == 9 ? "1000 2000\n" : "500 2000\n");
  }
  close(to_tool[1]);
  EXPECT_EQ(pclose(from_tool), 0);
}

TEST(FilesTest, ANewFileHasTheUsualPermissionsAndAnOldOneKeepsItsOwn) {
  const std::string path = Workspace() + "/mode.xml";
  const mode_t before = umask(027);
  EXPECT_EQ(RunToolLine("convert flat.RPB mode.xml").status, 0);
  umask(before);
  EXPECT_EQ(fs::status(path).permissions(), fs::perms(0640));
  fs::permissions(path, fs::perms(0600));
  EXPECT_EQ(RunToolLine("convert cubic.xml mode.xml").status, 0);
  EXPECT_EQ(fs::status(path).permissions(), fs::perms(0600));
}

TEST(FilesTest, ARefusedThreadIsCalledThat) {
  if (orbmath_test::kSanitized) GTEST_SKIP() << "a sanitizer needs more address space than this test leaves";
  if (kEmulated) GTEST_SKIP() << "an emulator need not keep the limit of addresses";
  struct rlimit before {};
  getrlimit(RLIMIT_AS, &before);
  const struct rlimit tight = {rlim_t{400} << 20, before.rlim_max};
  setrlimit(RLIMIT_AS, &tight);
  const ToolRun run = RunToolLine("project flat.RPB --threads 1000", "45 7 500\n");
  setrlimit(RLIMIT_AS, &before);
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("orbmath: the system refuses a thread ("), std::string::npos) << run.err;
}

TEST(FilesTest, AFullDiskIsAFailure) {
  if (FullDevice().empty()) GTEST_SKIP() << "the system has no /dev/full";
  const ToolRun run = RunToolLine("convert flat.RPB /dev/full --to rpb");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("/dev/full: cannot be written"), std::string::npos) << run.err;
  // A report longer than the buffer of the standard library, which forgets what it could not write.
  const std::string tool = "cd '" + Workspace() + "' && '" ORBMATH_TOOL "' compare flat.RPB right.RPB --json";
  EXPECT_NE(std::system((tool + " > /dev/full 2> /dev/null").c_str()), 0);
}

}  // namespace

}  // namespace orbmath_test
