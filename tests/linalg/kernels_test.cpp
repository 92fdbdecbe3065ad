// The private core: kernels at sizes beyond their blocks, in forms that no public routine asks for alone.

#include "linalg/kernels.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "linalg/number_list.h"
#include "linalg/reference.h"
#include "support/process_ends.h"

namespace orbmath_test {
namespace {

using namespace SatCommonUtils;
using namespace SatCommonUtils::kernels;

// More terms, rows and columns than any block of the product has, none of them a multiple of a tile.
constexpr std::size_t kInner = 521, kRows = 197, kColumns = 1157;

TEST(Kernels, ProductsGoOnFromWhatTheResultHolds) {
  Random random("kernels");
  const Rows x = RandomRows(&random, kInner, kRows, Kind::Wide), y = RandomRows(&random, kInner, kColumns, Kind::Wide);
  const Rows start = RandomRows(&random, kRows, kColumns, Kind::Wide);
  Rows expected = start;
  for (std::size_t i = 0; i < kRows; ++i) {
    for (std::size_t k = 0; k < kInner; ++k) {
      for (std::size_t j = 0; j < kColumns; ++j) expected[i][j] -= x[k][i] * y[k][j];
    }
  }
  RawMatrix a(x), a_transposed(Transposed(x)), b(y);
  for (const bool transposed : {false, true}) {
    RawMatrix c(start);
    TProduct product{{transposed ? a_transposed.Get() : a.Get(), transposed}, {b.Get()}, kInner, kRows, kColumns};
    product.term = TTerm::Subtracted;
    product.add = true;
    const TWorkspace workspace(product);
    Multiply(product, {0, 8}, c.Get(), workspace);  // a part of the rows, and the rest
    Multiply(product, {8, kRows}, c.Get(), workspace);
    EXPECT_TRUE(SameBits(c.Values(), expected)) << transposed;
  }
}

TEST(Kernels, SharesOfATriangleMakeTheWholeOnce) {
  Random random("shares");
  const Rows x = RandomRows(&random, 70, kRows, Kind::Normal);
  const Rows expected = ProductXtY(x, x);
  RawMatrix a(x);
  const TProduct product{{a.Get()}, {a.Get()}, x.size(), kRows, kRows};
  for (const std::size_t threads : {1, 2, 3, 7, 40}) {
    RawMatrix c(kRows, kRows);
    for (std::size_t thread = threads; thread-- > 0;) {
      MultiplyUpper(product, {thread, threads}, c.Get(), TWorkspace(product));
    }
    MirrorUpper({0, kRows}, c.Get());
    EXPECT_TRUE(SameBits(c.Values(), expected)) << threads;
  }
}

// A token of 127 characters is the longest that is read; one more would stop the process.
TEST(NumberList, KnowsTheLongestToken) {
  const std::string longest = "1." + std::string(125, '0');
  const std::string list = "(" + longest + ";2)";
  double values[2] = {};
  EXPECT_FALSE(HasOverlongToken(list.c_str(), kVectorDelimiters));
  EXPECT_EQ(ReadNumberList(list.c_str(), kVectorDelimiters, values, 2, TNumberOrder::Reverse), 2u);
  EXPECT_EQ(values[1], 1.0);
  EXPECT_EQ(values[0], 2.0);
  const std::string overlong = "(2;" + longest + "0)";
  EXPECT_TRUE(HasOverlongToken(overlong.c_str(), kVectorDelimiters));
  WatchEndsInAProcessOfTheirOwn();
  EXPECT_DEATH(ReadNumberList(overlong.c_str(), kVectorDelimiters), "128 or more characters");
}

}  // namespace
}  // namespace orbmath_test
