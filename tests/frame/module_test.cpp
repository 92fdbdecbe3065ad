#include "frame/module.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#if defined(__linux__)
#include <dlfcn.h>
#endif

#include "frame/sat_data_container/start_stop.h"
#include "frame/zxstd/transform_2d.h"
#include "support/sanitizers.h"
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

TEST(Module, AHostsOwnRegistrationIsBackAfterTheStop) {
  class Mine : public T2DAffineTransform {};
  ASSERT_TRUE(TZx2DTransform::TSerializer::RegisterName("sat_affine", [] { return make_var_a<Mine>(); }));
  const auto is_mine = [] {
    return dynamic_cast<const Mine*>(TZx2DTransform::TSerializer::CreateN("sat_affine").get()) != nullptr;
  };
  for (int round = 0; round < 2; ++round) {
    Init_Orbmath();
    EXPECT_TRUE(IsRegistered());
    Deinit_Orbmath();
    EXPECT_TRUE(is_mine());
  }
  // One that a host has put in the place of the library's meanwhile stays, too.
  EXPECT_TRUE(TZx2DTransform::TSerializer::UnregisterName("sat_affine"));
  Init_Orbmath();
  EXPECT_FALSE(is_mine());
  Deinit_Orbmath();
  EXPECT_FALSE(IsRegistered());
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

#if defined(__linux__)
TEST(Module, KnowsItsOwnFileWhenItWasFoundByARelativePath) {
  namespace fs = std::filesystem;
  if (orbmath_test::kSanitized) GTEST_SKIP() << "the address sanitizer takes a copy of the library for an error";
  Init_Orbmath();
  const fs::path library = GetOrbmathModuleInfo().path;
  Deinit_Orbmath();
  if (library.string().find(".so") == std::string::npos) GTEST_SKIP() << "the library is part of this program";
  const fs::path before = fs::current_path();
  std::string folder = (fs::temp_directory_path() / "orbmath_module_XXXXXX").string();
  ASSERT_NE(mkdtemp(folder.data()), nullptr);
  fs::copy_file(library, fs::path(folder) / "libcopy.so");
  fs::current_path(folder);
  void* const copy = dlopen("./libcopy.so", RTLD_NOW | RTLD_LOCAL);
  fs::current_path("/");
  ASSERT_NE(copy, nullptr) << dlerror();
  const auto start = reinterpret_cast<void (*)()>(dlsym(copy, "_ZN14SatCommonUtils12Init_OrbmathEv"));
  const auto info =
      reinterpret_cast<TOrbmathModuleInfo (*)()>(dlsym(copy, "_ZN14SatCommonUtils20GetOrbmathModuleInfoEv"));
  const auto stop = reinterpret_cast<void (*)()>(dlsym(copy, "_ZN14SatCommonUtils14Deinit_OrbmathEv"));
  ASSERT_TRUE(start != nullptr && info != nullptr && stop != nullptr);
  start();
  EXPECT_EQ(info().path, (fs::canonical(folder) / "libcopy.so").string());
  stop();
  fs::current_path(before);
  fs::remove_all(folder);
}
#endif
