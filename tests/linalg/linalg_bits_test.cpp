// Products and solutions have the same bits on every processor. Sizes stand beside the blocks and register tiles.

#include <gtest/gtest.h>

#include "linalg/linear_systems.h"
#include "linalg/reference.h"
#include "support/portable_bits.h"

namespace orbmath_test {
namespace {

using namespace SatCommonUtils;

Rows LehmerRows(Lehmer* numbers, std::size_t rows, std::size_t columns) {
  Rows values(rows);
  for (auto& row : values) row = LehmerNumbers(numbers, columns);
  return values;
}

std::vector<double> Flat(const Rows& rows) {
  std::vector<double> values;
  for (const auto& row : rows) values.insert(values.end(), row.begin(), row.end());
  return values;
}

int NeverStop() { return 0; }

TEST(LinalgBits, OfProductsAndSolutions) {
  const struct {
    std::size_t rows, columns;
    std::uint64_t product, normal, cholesky, inverse, gauss;
  } sizes[] = {
      {5, 3, 0x47ad7fdf5be3c977u, 0x6cad5ebb274f627du, 0x9892b64599c70ac0u, 0x6d46a9d45f2a472du, 0xc9ac2b5333d4bf57u},
      {41, 17, 0x9c51a39eed481af6u, 0xf1c5b358303d0c2eu, 0x9a9f8721593dbc2du, 0x3ac24f14ed76499fu, 0xf06482751dea99a0u},
      {530, 129, 0xf503a8004922e2bcu, 0xd3875496bf506a06u, 0xa44d18be92a89bc6u, 0xaa65ddd5a95beb4u,
       0x282405fb41dfc0eeu}};
  for (const auto& size : sizes) {
    SCOPED_TRACE(size.columns);
    const std::size_t n = size.columns;
    Lehmer numbers;
    RawMatrix a(LehmerRows(&numbers, size.rows, n)), b(LehmerRows(&numbers, n, n + 2));
    RawMatrix product(size.rows, n + 2), normal(n, n), inverse(n, n);
    std::vector<double> weights = LehmerNumbers(&numbers, size.rows), right = LehmerNumbers(&numbers, n), x(n);
    for (double& weight : weights) weight += 1.5;
    MatrixMultiplication(a.Get(), size.rows, n, b.Get(), n + 2, product.Get(), NeverStop);
    CalculateNormalMatrix(a.Get(), size.rows, n, weights.data(), normal.Get(), NeverStop);
    EXPECT_TRUE(HasHash(Flat(product.Values()), size.product));
    EXPECT_TRUE(HasHash(Flat(normal.Values()), size.normal));
    ASSERT_TRUE(Cholesky(normal.Get(), right.data(), x.data(), n, nullptr));
    EXPECT_TRUE(HasHash(x, size.cholesky));
    ASSERT_TRUE(CholeskyMatrixInversion(normal.Get(), inverse.Get(), n, nullptr));
    EXPECT_TRUE(HasHash(Flat(inverse.Values()), size.inverse));
    const double condition = Gauss(normal.Get(), right.data(), x.data(), n, nullptr);
    x.push_back(condition);
    EXPECT_TRUE(HasHash(x, size.gauss));
  }
}

}  // namespace
}  // namespace orbmath_test
