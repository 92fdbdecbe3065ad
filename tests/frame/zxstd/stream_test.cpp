// Streams over files and texts.

#include "frame/zxstd/stream.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <random>
#include <string>

#include "frame/zxstd/message.h"
#include "frame/zxstd/xini_reader.h"
#include "support/system.h"

namespace SatCommonUtils {
namespace {

// A file of its own, whose name is no ASCII; gone afterwards.
class FileStream : public ::testing::Test {
 protected:
  FileStream()
      : path_(::testing::TempDir() + "orbmath \xC3\xA9\xE4\xB8\xAD " + std::to_string(std::random_device()())) {}
  ~FileStream() override { std::filesystem::remove(std::filesystem::u8path(path_)); }

  std::string Content() const {
    TZxFileStream file;
    std::string content;
    EXPECT_TRUE(file.Open(TZxPath(path_), TZxOpenMode::Read));
    EXPECT_TRUE(ZxReadAll(&file, &content));
    return content;
  }

  const std::string path_;
};

TEST_F(FileStream, WritesAppendsAndReads) {
  const std::string bytes("a\0\r\n\xFF", 5);
  TZxFileStream file;
  EXPECT_FALSE(file.Open(TZxPath(path_), TZxOpenMode::Read)) << "there is none yet";
  ASSERT_TRUE(file.Open(TZxPath(path_), TZxOpenMode::Write, TZxShareMode::None));
  EXPECT_EQ(file.Write(bytes.data(), bytes.size()), bytes.size());
  EXPECT_TRUE(file.Close());
  EXPECT_FALSE(file.Close());
  ASSERT_TRUE(file.Open(TZxPath(path_), TZxOpenMode::Append));
  EXPECT_EQ(file.Write("b", 1), 1u);
  EXPECT_TRUE(file.Close());
  EXPECT_EQ(Content(), bytes + "b");
  ASSERT_TRUE(file.Open(TZxPath(path_), TZxOpenMode::Write));
  EXPECT_TRUE(file.Close());
  EXPECT_EQ(Content(), "");
}

TEST_F(FileStream, TellsOfFailures) {
  TZxFileStream file;
  char byte = 0;
  EXPECT_EQ(file.Read(&byte, 1), 0u);
  EXPECT_EQ(file.Write(&byte, 1), 0u);
  EXPECT_TRUE(file.ReadFailed());
  EXPECT_FALSE(file.Open(TZxPath(::testing::TempDir()), TZxOpenMode::Read)) << "a directory";
  EXPECT_FALSE(file.Open(TZxPath(), TZxOpenMode::Write));
  EXPECT_FALSE(file.Open(TZxPath(path_ + "/below"), TZxOpenMode::Write));
  EXPECT_FALSE(file.Open(TZxPath(path_ + std::string("\0tail", 5)), TZxOpenMode::Write)) << "no other file";
  ASSERT_TRUE(file.Open(TZxPath(path_), TZxOpenMode::Write));
  EXPECT_EQ(file.Read(&byte, 1), 0u);
  EXPECT_TRUE(file.Close());
  ASSERT_TRUE(file.Open(TZxPath(path_), TZxOpenMode::Read));
  EXPECT_EQ(file.Write(&byte, 1), 0u);
  EXPECT_FALSE(file.Close());
}

TEST_F(FileStream, ThatIsOpenForWritingCannotBeRead) {
  if (orbmath_test::kOnWindows) GTEST_SKIP() << "Wine's C library takes such a stream for an empty one";
  TZxFileStream file;
  ASSERT_TRUE(file.Open(TZxPath(path_), TZxOpenMode::Write));
  std::string content = "old";
  EXPECT_FALSE(ZxReadAll(&file, &content));
  EXPECT_TRUE(file.Close());
}

// A disk that is full shows only when the buffered bytes go out.
TEST(FullDevice, CloseTellsThatBytesWereLost) {
  const std::string device = orbmath_test::FullDevice();
  if (device.empty()) GTEST_SKIP() << "the system has no device that is always full";
  TZxFileStream file;
  ASSERT_TRUE(file.Open(TZxPath(device), TZxOpenMode::Write));
  file.Write("x", 1);
  EXPECT_FALSE(file.Close());
}

TEST(StringStream, ReadsWhatItWasGivenAndWhatWasWritten) {
  TZxStringStream stream("abc");
  char two[2];
  EXPECT_EQ(stream.Read(two, 2), 2u);
  EXPECT_EQ(stream.Write("de", 2), 2u);
  std::string rest;
  EXPECT_TRUE(ZxReadAll(&stream, &rest));
  EXPECT_EQ(rest, "cde");
  EXPECT_EQ(stream.GetString(), "abcde");
  EXPECT_EQ(stream.Read(two, 2), 0u);
}

TEST(ReadAll, KeepsItsLimit) {
  std::string text;
  for (const std::size_t limit : {4u, 5u, 6u}) {
    TZxStringStream stream("12345");
    EXPECT_EQ(ZxReadAll(&stream, &text, limit), limit >= 5);
  }
  EXPECT_FALSE(ZxReadAll(nullptr, &text));
  EXPECT_EQ(text, "");
}

// Delivers a document's beginning and then fails, as a disk may.
class FailingStream : public TZxStringStream {
 public:
  using TZxStringStream::TZxStringStream;
  bool ReadFailed() const override { return true; }
};

TEST(ReadAll, AFailedStreamIsNoShortOne) {
  FailingStream stream("<orbmath/>");
  EXPECT_THROW(TZxXIniStreamReader reader(&stream), TZxMessage);
}

}  // namespace
}  // namespace SatCommonUtils
