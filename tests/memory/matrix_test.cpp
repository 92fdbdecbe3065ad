// Matrices that get no memory for a new size, and solvers that get none for their work.

#include "linalg/matrix.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <string>
#include <vector>

#include "linalg/raw_arrays.h"
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

// A host may go on with a system that could not be solved, by other means.
TEST(Solvers, LeaveTheSystemAsItWasWhereMemoryFails) {
  constexpr std::size_t kSize = 151;
  std::vector<double> values(kSize * kSize), right(kSize, 1.0), x(kSize);
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = static_cast<double>(i * i % 1009);
  for (std::size_t n = 1;; ++n) {
    std::vector<double> work = values, b = right;
    std::vector<double*> rows(kSize);
    for (std::size_t i = 0; i < kSize; ++i) rows[i] = work.data() + i * kSize;
    const std::vector<double*> before = rows;
    const std::ptrdiff_t blocks = orbmath_test::LiveBlocks();
    orbmath_test::FailAllocation(n, orbmath_test::Shortage::Once);
    try {
      Gauss(rows.data(), b.data(), x.data(), kSize, nullptr);
    } catch (const std::bad_alloc&) {
    }
    const bool failed = orbmath_test::EndShortage();
    EXPECT_EQ(orbmath_test::LiveBlocks(), blocks) << "allocation " << n;
    EXPECT_EQ(work == values && b == right && rows == before, failed) << "allocation " << n;
    if (!failed) break;
  }
}

}  // namespace
}  // namespace SatCommonUtils
