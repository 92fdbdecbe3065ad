#pragma once
// The rows of a matrix object as the kernels take them.

#include <cstddef>
#include <vector>

#include "linalg/checked_access.h"
#include "linalg/matrix.h"

namespace SatCommonUtils {

/// Pointers to the rows of `matrix`, valid until a row changes its size.
inline std::vector<const double*> RowPointers(const TMatrix& matrix) {
  std::vector<const double*> rows(matrix.GetHeight());
  for (std::size_t i = 0; i < rows.size(); ++i) rows[i] = matrix[i].GetData();
  return rows;
}

/// Pointers to write through, valid until a row changes its size.
inline std::vector<double*> RowPointers(TMatrix* matrix) {
  std::vector<double*> rows(matrix->GetHeight());
  for (std::size_t i = 0; i < rows.size(); ++i) rows[i] = (*matrix)[i].GetData();
  return rows;
}

/// The check of the solvers, which read the top left `n` x `n` block of `matrix`.
/// \throws std::runtime_error as every checked access when a row or an element of it is not there.
inline void CheckSquareBlock(const TMatrix& matrix, std::size_t n) {
  if (matrix.GetHeight() < n) ThrowIndexError();
  for (std::size_t i = 0; i < n; ++i) {
    if (matrix[i].GetSize() < n) ThrowIndexError();
  }
}

}  // namespace SatCommonUtils
