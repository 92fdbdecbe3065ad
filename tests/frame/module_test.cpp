#include "frame/module.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "frame/sat_data_container/start_stop.h"
#include "frame/zxstd/transform_2d.h"
#include "support/xml.h"
#include "transform/affine_2d.h"

using namespace SatCommonUtils;

namespace {

bool IsRegistered() { return static_cast<bool>(TZx2DTransform::TSerializer::CreateN("sat_affine")); }

}  // namespace

TEST(Module, StartsAndStopsAreCounted) {
  const unsigned long long container_users = GetSatDataContainerUsers();
  Deinit_Orbmath();  // without a user nothing happens
  EXPECT_EQ(GetSatDataContainerUsers(), container_users);
  for (int round = 0; round < 2; ++round) {  // a full stop allows a new start
    EXPECT_FALSE(IsRegistered());
    Init_Orbmath();
    Init_Orbmath();
    EXPECT_EQ(GetSatDataContainerUsers(), container_users + 1);
    Deinit_Orbmath();
    EXPECT_TRUE(IsRegistered()) << "one user is left";
    EXPECT_EQ(GetOrbmathModuleInfo().users, 1u);
    Deinit_Orbmath();
    EXPECT_FALSE(IsRegistered());
    EXPECT_EQ(GetSatDataContainerUsers(), container_users);
    Deinit_Orbmath();
  }
}

TEST(Module, SavedAffineTransformsLoadAsTheirClass) {
  Init_Orbmath();
  const T2DAffineTransform saved(T2DAffineParams{2, 0, 1, 0, 4, -3});
  const auto reader = orbmath_test::ReaderOf(orbmath_test::SavedXml(
      [&](TZxXIniWriter* writer) { TZx2DTransform::TSerializer::SaveE(saved, writer, "chain"); }));
  const auto loaded = TZx2DTransform::TSerializer::LoadE(reader.get(), "chain");
  EXPECT_NE(dynamic_cast<const T2DAffineTransform*>(loaded.get()), nullptr);
  EXPECT_EQ(loaded->GetTraCoord(xy_d(10, 20)), xy_d(21, 77));
  Deinit_Orbmath();
  EXPECT_FALSE(TZx2DTransform::TSerializer::LoadN(reader.get(), "chain"));
}

TEST(Module, KnowsItsOwnFile) {
  Init_Orbmath();
  const TOrbmathModuleInfo info = GetOrbmathModuleInfo();
  Deinit_Orbmath();
  EXPECT_TRUE(std::filesystem::path(info.path).is_absolute());
  EXPECT_TRUE(std::filesystem::is_regular_file(info.path));
  EXPECT_NE(info.path.find("Orbmath"), std::string::npos);
  EXPECT_NE(info.handle, nullptr);
  const char separator = std::filesystem::path::preferred_separator;
  EXPECT_EQ(info.directory + separator + info.base_name + "." + info.extension, info.path);
}
