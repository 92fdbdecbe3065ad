#pragma once
/// \file
/// A 3 by 3 matrix of doubles.

#include <cstddef>
#include <string>

#include "../api.h"
#include "xini_reader.h"
#include "xini_writer.h"

namespace SatCommonUtils {

/// Nine doubles, row by row. A plain value; a new one is all zeros.
struct ORBMATH_API matr3x3 {
  double m[3][3] = {};  ///< Row first, then column.

  /// The row at `row`, 0 to 2, which is not checked.
  double* operator[](std::size_t row) { return m[row]; }
  /// The three elements of a row, for reading.
  const double* operator[](std::size_t row) const { return m[row]; }

  /// Becomes the identity.
  void fill_unity();

  /// Reads the child section `key` of the current section: the items "00", "01", "02", "10" ... "22", row and column of
  /// an element. \throws TZxMessage, the matrix untouched, when the section or an item is missing or no number.
  void XIniLoadE(TZxXIniReader* reader, const std::string& key);
  /// Writes what `XIniLoadE` reads; every element comes back bit for bit.
  /// \throws TZxMessage when it could not be written.
  void XIniSaveE(TZxXIniWriter* writer, const std::string& key) const;
};

/// Equal when every element is.
ORBMATH_API bool operator==(const matr3x3& a, const matr3x3& b);
ORBMATH_API bool operator!=(const matr3x3& a, const matr3x3& b);

}  // namespace SatCommonUtils
