#pragma once
// A matrix for the time of one calculation: one block of memory behind an array of row pointers.

#include <cstddef>
#include <vector>

namespace SatCommonUtils {

/// `rows` rows of `columns` values, uninitialised from the reader's point of view.
class WorkMatrix {
 public:
  WorkMatrix(std::size_t rows, std::size_t columns) : values_(rows * columns), rows_(rows) {
    for (std::size_t i = 0; i < rows; ++i) rows_[i] = values_.data() + i * columns;
  }

  /// The row pointers; they may be exchanged.
  double** GetRows() const { return const_cast<double**>(rows_.data()); }

 private:
  std::vector<double> values_;
  std::vector<double*> rows_;
};

}  // namespace SatCommonUtils
