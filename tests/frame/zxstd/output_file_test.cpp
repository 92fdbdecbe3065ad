// Files that come whole or not at all, on a real file system.

#include "frame/zxstd/output_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include "frame/zxstd/output_target.h"

using namespace SatCommonUtils;
namespace fs = std::filesystem;

namespace {

class OutputFile : public ::testing::Test {
 protected:
  OutputFile() {
    std::string pattern = (fs::temp_directory_path() / "orbmath_output_XXXXXX").string();
    folder_ = mkdtemp(pattern.data());
  }
  ~OutputFile() override { fs::remove_all(folder_); }

  std::string In(const std::string& name) const { return folder_ + "/" + name; }
  void Put(const std::string& name, const std::string& text) const { std::ofstream(In(name)) << text; }
  std::string Get(const std::string& name) const {
    std::ifstream file(In(name));
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
  }
  std::set<std::string> Names() const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder_)) names.insert(entry.path().filename().string());
    return names;
  }
  std::string WhyNot(const std::string& name) const {
    std::string error;
    EXPECT_FALSE(ZxWriteFile(TZxPath(In(name)), "new", &error)) << name;
    return error;
  }

  std::string folder_;
};

using Files = std::set<std::string>;

/// Writes by both ways to a new file that a system may offer. \return true when it came to its place.
bool WriteTarget(const std::string& path, bool unnamed, const std::string& text) {
  OutputTarget target(unnamed);
  std::string reason;
  return target.Begin(path, &reason) && target.Put(text) && target.Flush() && target.Place();
}

TEST_F(OutputFile, ANewFileHasTheUsualPermissionsAndAnOldOneKeepsItsOwn) {
  const mode_t before = umask(027);
  for (const bool unnamed : {true, false}) {
    EXPECT_TRUE(WriteTarget(In("new"), unnamed, "first"));
    EXPECT_EQ(fs::status(In("new")).permissions(), fs::perms(0640));
    fs::permissions(In("new"), fs::perms(0604));
    EXPECT_TRUE(WriteTarget(In("new"), unnamed, "second"));
    EXPECT_EQ(Get("new"), "second");
    EXPECT_EQ(fs::status(In("new")).permissions(), fs::perms(0604));
    EXPECT_EQ(Names(), Files({"new"}));
    fs::remove(In("new"));
  }
  umask(before);
}

TEST_F(OutputFile, WithoutACommitNothingIsChanged) {
  Put("old", "old");
  for (const bool unnamed : {true, false}) {
    for (const char* name : {"old", "new"}) {
      OutputTarget target(unnamed);
      std::string reason;
      ASSERT_TRUE(target.Begin(In(name), &reason));
      ASSERT_TRUE(target.Put("half"));
      ASSERT_TRUE(target.Flush());
    }
    EXPECT_EQ(Names(), Files({"old"}));
    EXPECT_EQ(Get("old"), "old");
  }
}

TEST_F(OutputFile, ALinkStaysAndWhatItLeadsToIsReplacedOrMade) {
  fs::create_directory(In("sub"));
  Put("sub/there", "old");
  fs::create_symlink("sub/there", In("link"));
  fs::create_symlink("link", In("link to the link"));
  fs::create_symlink("sub/not yet", In("dangling"));
  for (const char* name : {"link to the link", "dangling"}) {
    EXPECT_TRUE(ZxWriteFile(TZxPath(In(name)), name, nullptr));
    EXPECT_TRUE(fs::is_symlink(In(name)));
  }
  EXPECT_TRUE(fs::is_symlink(In("link")));
  EXPECT_EQ(Get("sub/there"), "link to the link");
  EXPECT_EQ(Get("sub/not yet"), "dangling");
  fs::create_symlink("circle", In("circle"));
  EXPECT_EQ(WhyNot("circle"), std::string("cannot be written: ") + std::strerror(ELOOP));
}

TEST_F(OutputFile, AFailureSaysItsCauseAndLeavesNothingBehind) {
  fs::create_directory(In("sub"));
  Put("sub/old", "old");
  const std::string longest(255, 'n');
  EXPECT_TRUE(ZxWriteFile(TZxPath(In("sub/" + longest)), "x", nullptr));
  EXPECT_TRUE(ZxWriteFile(TZxPath(In("sub/" + longest)), "y", nullptr)) << "it is there now";
  EXPECT_EQ(Get("sub/" + longest), "y");
  fs::remove(In("sub/" + longest));
  EXPECT_EQ(WhyNot("sub/" + longest + "n"), std::string("cannot be written: ") + std::strerror(ENAMETOOLONG));
  EXPECT_EQ(WhyNot("sub"), "cannot be written: Is a directory");
  EXPECT_EQ(WhyNot("sub/new/"), "cannot be written: its name ends with a slash");
  EXPECT_EQ(WhyNot("nowhere/new"), "cannot be written: there is no directory \"" + In("nowhere/") + "\"");
  EXPECT_EQ(WhyNot("sub/old/new"), "cannot be written: Not a directory");
  EXPECT_EQ(WhyNot(std::string("a\0b", 3)), "cannot be written: Invalid argument");

  // Permissions do not hold the superuser back.
  const bool super = geteuid() == 0;
  fs::permissions(folder_, fs::perms(0755));
  fs::permissions(In("sub"), fs::perms(0555));
  ASSERT_TRUE(!super || seteuid(65534) == 0);
  const std::string in_directory = WhyNot("sub/new");
  const std::string on_old = super ? WhyNot("sub/old") : "";
  ASSERT_TRUE(!super || seteuid(0) == 0);
  fs::permissions(In("sub"), fs::perms(0755));
  EXPECT_EQ(in_directory,
            "cannot be written: the directory \"" + In("sub/") + "\" does not give the right to write in it");
  if (super) {
    EXPECT_EQ(on_old, "cannot be written: Permission denied");
  }
  EXPECT_EQ(Get("sub/old"), "old");
  EXPECT_EQ(Names(), Files({"sub"}));
  EXPECT_EQ(std::distance(fs::directory_iterator(In("sub")), fs::directory_iterator()), 1);
}

TEST_F(OutputFile, AFullDiskLeavesTheOldFile) {
  Put("old", "old");
  struct rlimit before {};
  getrlimit(RLIMIT_FSIZE, &before);
  const struct rlimit tight = {100000, before.rlim_max};
  std::signal(SIGXFSZ, SIG_IGN);
  setrlimit(RLIMIT_FSIZE, &tight);
  std::string error;
  const bool written = ZxWriteFile(TZxPath(In("old")), std::string(200000, 'x'), &error);
  setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, SIG_DFL);
  EXPECT_FALSE(written);
  EXPECT_EQ(error, "cannot be written: File too large");
  EXPECT_EQ(Get("old"), "old");
  EXPECT_EQ(Names(), Files({"old"}));
  TZxOutputFile full;
  if (!full.Open(TZxPath("/dev/full"))) GTEST_SKIP() << "the system has no /dev/full";
  EXPECT_EQ(full.Write("x", 1), 1u);
  EXPECT_FALSE(full.Commit());
  EXPECT_EQ(full.GetError(), "cannot be written: No space left on device");
}

TEST_F(OutputFile, SeveralFilesComeTogetherOrNotAtAll) {
  Put("a", "old a");
  TZxOutputFile a;
  TZxOutputFile b;
  TZxOutputFile full;
  ASSERT_TRUE(a.Open(TZxPath(In("a"))) && b.Open(TZxPath(In("b"))));
  a.Write("new a", 5);
  b.Write("new b", 5);
  if (full.Open(TZxPath("/dev/full"))) {
    full.Write("x", 1);
    EXPECT_EQ(ZxCommitFiles({&a, &b, &full}), &full);
    EXPECT_EQ(Get("a"), "old a");
    EXPECT_EQ(Names(), Files({"a"}));
  }
  EXPECT_EQ(ZxCommitFiles({&a, &b}), nullptr);
  EXPECT_EQ(Get("a") + Get("b"), "new anew b");
  EXPECT_EQ(a.Write("x", 1), 0u) << "it is closed";
  EXPECT_FALSE(a.Commit());
}

TEST_F(OutputFile, AKilledWriterLeavesNothingBeyondTheNextSave) {
  Put("old", "old");
  for (const bool unnamed : {true, false}) {
    const pid_t child = fork();
    if (child == 0) {
      OutputTarget target(unnamed);
      std::string reason;
      if (target.Begin(In("old"), &reason) && target.Put("half")) raise(SIGKILL);
      _exit(1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(Get("old"), "old");
    EXPECT_EQ(Names().size(), unnamed ? 1u : 2u);
    EXPECT_TRUE(ZxWriteFile(TZxPath(In("other")), "x", nullptr));
    EXPECT_EQ(Names(), Files({"old", "other"}));
    fs::remove(In("other"));
  }
}

TEST_F(OutputFile, AnotherWritersFileIsNotSwept) {
  OutputTarget slow(false);
  std::string reason;
  ASSERT_TRUE(slow.Begin(In("slow"), &reason));
  EXPECT_TRUE(ZxWriteFile(TZxPath(In("quick")), "x", nullptr));
  ASSERT_TRUE(slow.Put("slow"));
  EXPECT_TRUE(slow.Place());
  EXPECT_EQ(Get("slow"), "slow");
}

TEST_F(OutputFile, TheWorkingDirectoryMayChangeMeanwhile) {
  const fs::path before = fs::current_path();
  fs::current_path(folder_);
  TZxOutputFile file;
  EXPECT_TRUE(file.Open(TZxPath("here")));
  fs::current_path(before);
  EXPECT_TRUE(file.Commit());
  EXPECT_EQ(Names(), Files({"here"}));
}

}  // namespace
