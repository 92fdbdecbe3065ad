// Filling matrices of three rows of three.

#include "geometry/matrix3.h"

#include <cstddef>

#include "linalg/checked_access.h"

namespace SatCommonUtils {

void FillMatrix3(const Rows3& rows, TMatrix* matrix) {
  // The matrix itself checks columns only.
  if (matrix->GetHeight() < rows.size()) ThrowIndexError();
  for (std::size_t row = 0; row < rows.size(); ++row) {
    for (std::size_t column = 0; column < rows[row].size(); ++column) {
      matrix->SetElement(column, row, rows[row][column]);
    }
  }
}

TMatrix MakeMatrix3(const Rows3& rows) {
  TMatrix matrix(3, 3);
  FillMatrix3(rows, &matrix);
  return matrix;
}

}  // namespace SatCommonUtils
