// String tree, file names, start and stop.

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "frame/sat_data_container/file_names.h"
#include "frame/sat_data_container/start_stop.h"
#include "frame/sat_data_container/string_tree.h"
#include "support/bits.h"

namespace SatCommonUtils {
namespace {

TEST(StringTree, KeepsNumbersUnderTagAndIndex) {
  TStringTree tree;
  EXPECT_TRUE(tree.InsertDouble("LINE offset", 5, 0, -0.0));
  EXPECT_TRUE(tree.InsertDouble("LINE scale", 5, 1, 1.0 / 3.0));
  EXPECT_TRUE(tree.InsertDouble("LINE scale", 5, 1, 0.1)) << "replaces";
  EXPECT_TRUE(tree.InsertDouble("other tag", 6, 7, 1.0));
  EXPECT_TRUE(tree.Insert("text", 6, 2, "12 m"));
  EXPECT_FALSE(tree.InsertDouble("below", 5, -1, 1.0));

  double value = orbmath_test::kPoison;
  EXPECT_TRUE(tree.GetDouble(5, 0, &value));
  EXPECT_TRUE(orbmath_test::SameBits(value, -0.0));
  EXPECT_TRUE(tree.GetDouble(5, 1, &value));
  EXPECT_EQ(value, 0.1);
  for (const auto& [tag, index] : std::vector<std::pair<int, int>>{{5, 2}, {5, -1}, {4, 0}, {6, 2}}) {
    EXPECT_FALSE(tree.GetDouble(tag, index, &value)) << tag << " " << index;
  }
  EXPECT_EQ(value, 0.1);
  ASSERT_NE(tree.FindKey(5, 1), nullptr);
  EXPECT_EQ(*tree.FindKey(5, 1), "LINE scale");

  std::vector<int> indices = {99};
  EXPECT_EQ(tree.GetFieldsIndexList(6, &indices), 2u);
  EXPECT_EQ(indices, (std::vector<int>{2, 7}));
  EXPECT_EQ(tree.GetFieldsIndexList(5, nullptr), 2u);
  EXPECT_EQ(tree.GetFieldsIndexList(1, &indices), 0u);
  EXPECT_TRUE(indices.empty());
}

TEST(FileNames, OnlyTheLastNameHasAnExtension) {
  const struct {
    const char* name;
    const char* stem;
  } cases[] = {{"a.tif", "a"},
               {"a.tar.gz", "a.tar"},
               {"dir.d/a", "dir.d/a"},
               {"dir\\b.c\\x.RPB", "dir\\b.c\\x"},
               {".profile", ".profile"},
               {"../..", "../.."},
               {"a.", "a"},
               {"", ""},
               {"dir/.x.y", "dir/.x"},
               {"caf\xC3\xA9.rpc", "caf\xC3\xA9"}};
  for (const auto& item : cases) {
    EXPECT_EQ(CutFileExt(item.name), item.stem);
    EXPECT_EQ(ChangeFileExt(item.name, ".xml"), std::string(item.stem) + ".xml");
    EXPECT_EQ(ChangeFileExt(item.name, "xml"), std::string(item.stem) + ".xml");
    EXPECT_EQ(ChangeFileExt(item.name, ""), item.stem);
  }
}

TEST(SatDataContainer, CountsItsUsers) {
  const unsigned long long before = GetSatDataContainerUsers();
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (int k = 0; k < 1000; ++k) {
        Init_SatDataContainer();
        Deinit_SatDataContainer();
      }
      Init_SatDataContainer();
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(GetSatDataContainerUsers(), before + 4);
  for (unsigned long long i = 0; i < before + 6; ++i) Deinit_SatDataContainer();
  EXPECT_EQ(GetSatDataContainerUsers(), 0u) << "a stop too many changes nothing";
  for (unsigned long long i = 0; i < before; ++i) Init_SatDataContainer();
}

}  // namespace
}  // namespace SatCommonUtils
