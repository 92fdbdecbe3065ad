// Polynomials that get no memory for a new degree.

#include "poly/polynome.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <string>

#include "memory/failing_memory.h"

namespace SatCommonUtils {
namespace {

/// Runs the call while no memory can be had. \return whether it threw for that.
template <class Call>
bool LacksMemory(const Call& call) {
  bool thrown = false;
  orbmath_test::FailAllocation(1, orbmath_test::Shortage::FromThereOn);
  try {
    call();
  } catch (const std::bad_alloc&) {
    thrown = true;
  }
  orbmath_test::EndShortage();
  return thrown;
}

// Memory that is not there is asked for first, and the old coefficients freed afterwards.
TEST(Polynome, KeepsItsCoefficientsWhenMemoryFails) {
  const double coefs[] = {1, 2, 3};
  const TPolynome before(1, coefs), longer(2, coefs);
  TPolynome p = before;
  EXPECT_TRUE(LacksMemory([&] { p.Reset(7); }));
  EXPECT_EQ(p, before);
  EXPECT_TRUE(LacksMemory([&] { p = longer; }));
  EXPECT_EQ(p, before);
  EXPECT_TRUE(LacksMemory([&] { p += longer; }));
  EXPECT_EQ(p, before);
}

// The zero polynomial that a text begins with must not stay behind when there is no room for the numbers.
TEST(Polynome, LeaksNothingWhenMemoryFailsUnderItsText) {
  const std::string text = "(1;2;3)";
  for (std::size_t n = 1;; ++n) {
    const std::ptrdiff_t before = orbmath_test::LiveBlocks();
    orbmath_test::FailAllocation(n, orbmath_test::Shortage::Once);
    try {
      const TPolynome p(text);
    } catch (const std::bad_alloc&) {
    }
    const bool failed = orbmath_test::EndShortage();
    EXPECT_EQ(orbmath_test::LiveBlocks(), before) << "allocation " << n;
    if (!failed) break;
  }
}

}  // namespace
}  // namespace SatCommonUtils
