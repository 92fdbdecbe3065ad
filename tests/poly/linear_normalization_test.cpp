#include "poly/linear_normalization.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>

#include "frame/sat_data_container/string_tree.h"
#include "frame/zxstd/message.h"

namespace SatCommonUtils {
namespace {

// Failure of a construction, as its text; empty when it succeeds.
std::string ThrownText(const std::function<void()>& construct) {
  try {
    construct();
  } catch (const TZxMessage& message) {
    return message.GetText();
  }
  return std::string();
}

TEST(LinearNormalization, TwoPointsFixTheMap) {
  TLinearNormalization n;
  EXPECT_EQ(n.Initial2Normalized(3.25), 3.25);  // the identity at first
  EXPECT_EQ(TLinearNormalization(0, 4).Initial2Normalized(2), 0.5);
  ASSERT_TRUE(n.Reset(10, 2, 1, -1));
  EXPECT_EQ(n.GetOffset(), 6);
  EXPECT_EQ(n.GetScale(), 4);
  EXPECT_EQ(n.Initial2Normalized(10), 1);
  EXPECT_EQ(n.Initial2Normalized(2), -1);
  EXPECT_EQ(n.Normalized2Initial(-0.5), 4);
}

TEST(LinearNormalization, RefusalsChangeNothing) {
  TStringTree tree;
  tree.InsertDouble("offset", 3, 0, 9);
  tree.Insert("scale", 3, 1, "wide");
  TLinearNormalization n(7, -3);
  EXPECT_FALSE(n.Reset(5, 0) || n.Reset(5, -0.0) || n.Reset(3, 3, 1, -1) || n.Reset(1, 2, 0, 0));
  EXPECT_FALSE(n.Reset(1e-320, 0, 1e10, 0)) << "a scale below every number";
  EXPECT_FALSE(n.Reset(&tree, 3) || n.Reset(&tree, 4) || n.Reset(nullptr, 3));
  EXPECT_EQ(n.GetOffset(), 7);
  EXPECT_EQ(n.GetScale(), -3);
  EXPECT_EQ(ThrownText([] { TLinearNormalization(1, 0); }),
            "TLinearNormalization::TLinearNormalization(const double&,const double&)");
  EXPECT_EQ(ThrownText([] { TLinearNormalization(3, 3, 1, -1); }),
            "TLinearNormalization::TLinearNormalization(const double&, const double&, const double&, const double&)");
  EXPECT_EQ(ThrownText([&tree] { TLinearNormalization(&tree, 3); }),
            "TLinearNormalization::TLinearNormalization(TStringTree *src, int tag)");
}

TEST(LinearNormalization, NaNAndUncheckedZeroScalesAreTaken) {
  TLinearNormalization n;
  EXPECT_TRUE(n.Reset(5, std::numeric_limits<double>::quiet_NaN()));
  EXPECT_TRUE(std::isnan(n.Initial2Normalized(5)));
  n = TLinearNormalization::Unchecked(2, 0);
  EXPECT_EQ(n.Initial2Normalized(3), std::numeric_limits<double>::infinity());
  EXPECT_EQ(n.Normalized2Initial(5), 2);
}

TEST(LinearNormalization, LivesInATreeUnderATag) {
  TStringTree tree;
  ASSERT_TRUE(TLinearNormalization(0.1, -1e-300).WriteToTree(&tree, 3, "LINE"));
  ASSERT_TRUE(TLinearNormalization::Unchecked(5, 0).WriteToTree(&tree, 4, nullptr));
  EXPECT_EQ(*tree.FindKey(3, 0), "LINE offset");
  EXPECT_EQ(*tree.FindKey(3, 1), "LINE scale");
  EXPECT_EQ(*tree.FindKey(4, 0), "offset");
  EXPECT_EQ(*tree.FindKey(4, 1), "scale");
  TLinearNormalization n(&tree, 3);
  EXPECT_EQ(n.GetOffset(), 0.1);
  EXPECT_EQ(n.GetScale(), -1e-300);
  ASSERT_TRUE(n.Reset(&tree, 4));
  EXPECT_EQ(n.GetScale(), 0);  // taken as it stands
}

}  // namespace
}  // namespace SatCommonUtils
