// Products, the transpose and the inverse of matrix objects.

#include <algorithm>
#include <utility>
#include <vector>

#include "linalg/kernels.h"
#include "linalg/matrix.h"
#include "linalg/polled_product.h"
#include "linalg/row_pointers.h"

namespace SatCommonUtils {

namespace {

int NeverStop() { return 0; }

}  // namespace

void MatrixMultiplication(const TMatrix& a, const TMatrix& b, TMatrix* c, int (*poll)(void)) {
  // Polls may look at the rows that are done; a factor that is overwritten is needed to the end.
  const bool overwrites = c == &a || c == &b;
  TMatrix elsewhere;
  TMatrix* const product = overwrites ? &elsewhere : c;
  // The sums run over the length of a row of `a`, which a caller may have set apart from the width.
  const std::size_t inner = a.GetHeight() == 0 ? 0 : a[0].GetSize();
  const std::vector<const double*> a_rows = RowPointers(a);
  const std::vector<const double*> b_rows = RowPointers(b);
  product->Reset(b.GetWidth(), a.GetHeight());
  const std::vector<double*> rows = RowPointers(product);
  const kernels::TProduct task{{a_rows.data(), true}, {b_rows.data()}, inner, a.GetHeight(), b.GetWidth()};
  kernels::MultiplyAndPoll(task, {0, a.GetHeight()}, rows.data(), kernels::TWorkspace(task), poll);
  if (overwrites) *c = std::move(elsewhere);
}

TMatrix operator*(const TMatrix& a, const TMatrix& b) {
  TMatrix product;
  MatrixMultiplication(a, b, &product, NeverStop);
  return product;
}

TVector operator*(const TMatrix& m, const TVector& v) {
  TVector result(m.GetHeight());
  const std::vector<const double*> rows = RowPointers(m);
  kernels::MatrixByVector(rows.data(), v.GetSize(), {0, m.GetHeight()}, v.GetData(), result.GetData());
  return result;
}

TVector operator*(const TVector& v, const TMatrix& m) {
  TVector result(m.GetWidth());
  const std::vector<const double*> rows = RowPointers(m);
  kernels::FactorByVector({rows.data()}, kernels::TTerm::Plain, nullptr, {0, m.GetWidth()}, v.GetSize(), v.GetData(),
                          result.GetData());
  return result;
}

TMatrix TMatrix::operator!() const {
  TMatrix result(height_, width_);
  // Blocks of columns, so that both matrices are walked in rows.
  constexpr std::size_t kBlock = 16;
  for (std::size_t first = 0; first < width_; first += kBlock) {
    const std::size_t last = std::min(first + kBlock, width_);
    for (std::size_t i = 0; i < height_; ++i) {
      for (std::size_t j = first; j < last; ++j) result.rows_[j].GetData()[i] = rows_[i](j);
    }
  }
  return result;
}

TMatrix TMatrix::operator~() const {
  CheckSquareBlock(*this, width_);
  TMatrix result(width_, width_);
  kernels::InvertAsOneSystem(RowPointers(*this).data(), width_, RowPointers(&result).data());
  return result;
}

}  // namespace SatCommonUtils
