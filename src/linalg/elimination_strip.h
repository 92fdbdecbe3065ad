#pragma once
// What eliminated columns call for in other columns, a strip of these at a time.

#include <cstddef>

#include "linalg/kernels.h"

namespace SatCommonUtils::kernels {

/// The factors of some columns of an elimination, packed as tiles read them: `ShapeOfLevel().rows` rows together, of
/// which one column stands after the other.
struct TPackedFactors {
  double* values;      ///< Rows beyond the last, up to a whole tile, hold something as well.
  std::size_t height;  ///< Rows of a tile.
  std::size_t terms;   ///< Columns that there is room for.
  std::size_t first;   ///< The column that is packed first.

  /// The factor of a row and the first column; that of the next row of the same tile follows it, that of the next
  /// column stands `height` behind.
  double* Of(std::size_t row) const { return values + row / height * height * terms + row % height; }
};

/// Columns that have waited for those left of them, or right of them, to be eliminated.
struct TStrip {
  TRows rows;     ///< All rows of the matrix, in the order that they had when the last of `done` was eliminated.
  std::size_t n;  ///< Their number.
  TPackedFactors factors;
  TRange done;     ///< Eliminated columns whose terms are taken; begins at a multiple of kMostTileRows.
  TRange columns;  ///< Up to kWidestPanel columns that take them.
  bool padded;     ///< Rows go on to the end of the cache line, and nobody looks at what is there.
  double* packed;  ///< Work space: rows of a panel for each of `done`, aligned to a cache line.
};

/// Every row below the first of `done` takes the terms of those above it that are among `done`.
void EliminateStrip(const TStrip& strip);

}  // namespace SatCommonUtils::kernels
