#pragma once
// A matrix for the time of one calculation: one block of memory behind an array of row pointers.

#include <algorithm>
#include <cstddef>
#include <vector>

#include "linalg/aligned_buffer.h"

namespace SatCommonUtils {

/// `rows` rows of `columns` values, not initialised. Every row begins at a cache line and goes on with zeros to the
/// next one, so that kernels need not stop within a vector.
class WorkMatrix {
 public:
  WorkMatrix(std::size_t rows, std::size_t columns) : values_(rows * Padded(columns)), rows_(rows) {
    for (std::size_t i = 0; i < rows; ++i) {
      rows_[i] = values_.Get() + i * Padded(columns);
      std::fill(rows_[i] + columns, rows_[i] + Padded(columns), 0.0);
    }
  }

  /// The row pointers; they may be exchanged.
  double** GetRows() const { return const_cast<double**>(rows_.data()); }

  /// The length of a row with its zeros.
  static constexpr std::size_t Padded(std::size_t columns) { return (columns + 7) / 8 * 8; }

 private:
  kernels::TAlignedBuffer values_;
  std::vector<double*> rows_;
};

}  // namespace SatCommonUtils
