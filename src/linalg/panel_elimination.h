#pragma once
// Elimination of large systems by panels of columns, on a team of threads.

#include "linalg/elimination_strip.h"
#include "linalg/kernels.h"

namespace SatCommonUtils::kernels {

/// A system that is eliminated.
struct TPanelSystem {
  TConstRows a;  ///< Rows of the matrix, which the elimination copies.
  double* b;     ///< Exchanged and eliminated like a column.
  std::size_t n;
  TPoll poll;  ///< Asked by the calling thread after each column.
  TLeftColumns left_columns;
};

/// Eliminates all columns that have a pivot, unless the poll stops. Wherever it ends, or the poll throws, `matrix` and
/// `b` are as far as the loops that take one column at a time.
/// \param a_rows null, or the rows of `a`, which are overwritten and their pointers exchanged. \param matrix receives
/// the eliminated rows, exchanged too. \param sign is negated for each exchange. \return false when a column has no
/// pivot or the poll stops.
bool EliminateByPanels(const TPanelSystem& system, double** a_rows, TStripMatrix* matrix, double* sign);

}  // namespace SatCommonUtils::kernels
