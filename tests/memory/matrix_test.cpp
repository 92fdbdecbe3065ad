// Matrices that get no memory for a new size.

#include "linalg/matrix.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <string>

#include "memory/failing_memory.h"

namespace SatCommonUtils {
namespace {

// A row that is cut while the others are not leaves a matrix whose elements cannot be reached by its width.
TEST(Matrix, IsClippedWholeOrNotAtAll) {
  for (const std::size_t height : {2u, 3u}) {
    for (std::size_t n = 1;; ++n) {
      TMatrix matrix(3);
      const std::string before = matrix.Output();
      orbmath_test::FailAllocation(n, orbmath_test::Shortage::Once);
      try {
        matrix.Clip(2, height);
      } catch (const std::bad_alloc&) {
      }
      const bool failed = orbmath_test::EndShortage();
      TMatrix clipped(2, height);
      for (std::size_t i = 0; i < 2; ++i) clipped[i][i] = 1.0;
      EXPECT_EQ(matrix.GetWidth(), failed ? 3u : 2u) << "allocation " << n;
      EXPECT_EQ(matrix.Output(), failed ? before : clipped.Output()) << "allocation " << n;
      if (!failed) break;
    }
  }
}

}  // namespace
}  // namespace SatCommonUtils
