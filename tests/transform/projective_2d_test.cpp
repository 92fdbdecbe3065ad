#include "transform/projective_2d.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/bits.h"
#include "support/xml.h"

using namespace SatCommonUtils;
using orbmath_test::kPoison;
using orbmath_test::SameBits;

namespace {

/// Rounding of the normal equations of coordinates near 1.
constexpr double kRounding = 1e-9;

constexpr T2DProjectiveParams kMap = {1.1, -0.2, 0.3, 0.15, 0.9, -0.4, 0.05, -0.08};

T2DTransformParamsSourceDataItem Tie(const T2DProjectiveParams& map, double x, double y) {
  const double w = map.C1 * x + map.C2 * y + 1;
  return {x, y, (map.A1 * x + map.A2 * y + map.A3) / w, (map.B1 * x + map.B2 * y + map.B3) / w};
}

std::vector<T2DTransformParamsSourceDataItem> Ties(const T2DProjectiveParams& map) {
  return {Tie(map, -1, -1), Tie(map, 1, -0.5), Tie(map, 0.75, 1), Tie(map, -0.5, 0.5), Tie(map, 0.1, 0.2)};
}

void ExpectNear(const T2DProjectiveParams& a, const T2DProjectiveParams& b) {
  for (int i = 0; i < 8; ++i) EXPECT_NEAR((&a.A1)[i], (&b.A1)[i], kRounding) << "coefficient " << i;
}

}  // namespace

TEST(Projective2DFit, ReproducesMapsAndRefusesThreePoints) {
  const T2DProjectiveParams affine = {2, 1, -3, 0.5, 1.5, 4, 0, 0};
  for (const T2DProjectiveParams& map : {kMap, affine}) {
    auto points = Ties(map);
    T2DProjectiveParams out;
    ASSERT_TRUE(Calculate2DProjectiveParams(points, &out));
    ExpectNear(out, map);
    points.resize(4);
    ASSERT_TRUE(Calculate2DProjectiveParams(points, &out));
    ExpectNear(out, map);
    points.resize(3);
    out.C2 = kPoison;
    EXPECT_FALSE(Calculate2DProjectiveParams(points, &out));
    EXPECT_EQ(out.C2, kPoison);
  }
}

TEST(Projective2DXml, ComesBackBitForBit) {
  T2DProjectiveParams loaded;
  const std::string xml =
      orbmath_test::SavedXml([](TZxXIniWriter* writer) { EXPECT_TRUE(SaveToXML(kMap, writer, "map")); });
  const auto reader = orbmath_test::ReaderOf(xml);
  ASSERT_TRUE(InitializeFromXML(reader.get(), "map", &loaded));
  EXPECT_TRUE(SameBits(&loaded.A1, &kMap.A1, 8));
  EXPECT_LT(xml.find("B3"), xml.find("C1")) << "order of the keys";
  loaded.C2 = kPoison;
  EXPECT_FALSE(InitializeFromXML(reader.get(), &loaded)) << "the keys are not in the outer section";
  EXPECT_FALSE(InitializeFromXML(reader.get(), "none", &loaded));
  EXPECT_FALSE(InitializeFromXML(nullptr, &loaded) || InitializeFromXML(nullptr, "map", &loaded));
  EXPECT_FALSE(SaveToXML(kMap, nullptr) || SaveToXML(kMap, nullptr, "map"));
  EXPECT_EQ(loaded.C2, kPoison);
}
