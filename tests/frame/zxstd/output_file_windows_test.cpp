// Files that come whole or not at all, on Windows: names beyond ASCII, old files that somebody reads.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "frame/zxstd/output_file.h"
#include "support/system.h"

using namespace SatCommonUtils;
namespace fs = std::filesystem;

namespace {

class OutputFileOnWindows : public ::testing::Test {
 protected:
  OutputFileOnWindows() : folder_(orbmath_test::NewTemporaryFolder("orbmath_output")) {}
  ~OutputFileOnWindows() override { fs::remove_all(folder_); }

  std::string In(const std::string& name) const { return (folder_ / fs::u8path(name)).u8string(); }
  std::string Get(const std::string& name) const {
    std::ifstream file(fs::u8path(In(name)), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  std::ptrdiff_t Files() const { return std::distance(fs::directory_iterator(folder_), fs::directory_iterator()); }

  fs::path folder_;
};

TEST_F(OutputFileOnWindows, NamesAreUtf8AndBytesStay) {
  const std::string name = "h\xC3\xB6he \xE4\xB8\xAD.RPB", text("a\0\r\n\x1A\nb", 7);
  for (const std::string& content : {text, text + text}) {
    std::string error;
    ASSERT_TRUE(ZxWriteFile(TZxPath(In(name)), content, &error)) << error;
    EXPECT_EQ(Get(name), content);
  }
  EXPECT_EQ(Files(), 1);
}

TEST_F(OutputFileOnWindows, WithoutACommitAndWhereSomebodyReadsTheOldFileStays) {
  ASSERT_TRUE(ZxWriteFile(TZxPath(In("old")), "old", nullptr));
  {
    TZxOutputFile half;
    ASSERT_TRUE(half.Open(TZxPath(In("old"))));
    EXPECT_EQ(half.Write("half", 4), 4u);
    EXPECT_TRUE(half.Finish());
  }
  EXPECT_EQ(Get("old"), "old");
  std::string error;
  {
    std::ifstream reader(fs::u8path(In("old")));
    EXPECT_FALSE(ZxWriteFile(TZxPath(In("old")), "new", &error));
    EXPECT_EQ(error.find("cannot be written: "), 0u) << error;
  }
  EXPECT_EQ(Get("old"), "old");
  EXPECT_EQ(Files(), 1) << "the new file beside the old one is left over";
  EXPECT_TRUE(ZxWriteFile(TZxPath(In("old")), "new", nullptr));
  EXPECT_EQ(Get("old"), "new");
}

TEST_F(OutputFileOnWindows, AFailureSaysItsCause) {
  std::string error;
  for (const std::string name : {"nowhere/new", "sub"}) {
    fs::create_directory(folder_ / "sub");
    EXPECT_FALSE(ZxWriteFile(TZxPath(In(name)), "new", &error)) << name;
    EXPECT_EQ(error.find("cannot be written: "), 0u) << error;
  }
  EXPECT_EQ(Files(), 1);
}

}  // namespace
