#pragma once
// The matrix of an elimination in strips of columns, and what eliminated columns call for in a strip.

#include <cstddef>
#include <vector>

#include "linalg/aligned_buffer.h"
#include "linalg/kernels.h"
#include "linalg/tile.h"

namespace SatCommonUtils::kernels {

/// Columns of a strip: those of the widest tile.
inline constexpr std::size_t kStripColumns = kWidestPanel;

/// A square matrix as strips that are blocks of memory of their own, so that threads that work on different ones have
/// no cache line in common. Rows go on with zeros to the end of the last strip, and rows of zeros fill the last tile.
class TStripMatrix {
 public:
  explicit TStripMatrix(std::size_t n);

  std::size_t Strips() const { return (n_ + kStripColumns - 1) / kStripColumns; }
  double* Strip(std::size_t strip) const { return values_.Get() + strip * rows_.size() * kStripColumns; }

  /// Where in every strip each row begins; rows are exchanged here.
  std::vector<std::size_t>& Rows() { return rows_; }

  double At(std::size_t row, std::size_t column) const {
    return Strip(column / kStripColumns)[rows_[row] + column % kStripColumns];
  }

  /// Copies some rows of a strip from and to a matrix whose rows are in the order that those of this one had at first.
  void Load(std::size_t strip, TRange rows, TConstRows a);
  void Store(std::size_t strip, TRange rows, TRows a) const;

  /// Σ a(row, k)·x(k), k from row + 1 on.
  double DotRightOfDiagonal(std::size_t row, const double* x) const;

 private:
  std::size_t n_;
  std::vector<std::size_t> rows_;
  TAlignedBuffer values_;
};

/// The factors of some columns of an elimination, packed as tiles read them: `ShapeOfLevel().rows` rows together, of
/// which one column stands after the other.
struct TPackedFactors {
  double* values;      ///< Rows beyond the last, up to a whole tile, hold zeros.
  std::size_t height;  ///< Rows of a tile.
  std::size_t terms;   ///< Columns that there is room for.
  std::size_t first;   ///< The column that is packed first.

  /// The factor of a row and the first column; that of the next row of the same tile follows it, that of the next
  /// column stands `height` behind.
  double* Of(std::size_t row) const { return values + row / height * height * terms + row % height; }
};

/// Columns that have waited for those left or right of them to be eliminated.
struct TWaitingColumns {
  double* strip;  ///< The strip that they are in.
  const std::size_t*
      rows;       ///< Where its rows begin, in the order that they had when the last of `done` was eliminated.
  std::size_t n;  ///< Number of rows.
  TPackedFactors factors;
  TRange done;     ///< Eliminated columns whose terms are taken; begins at a multiple of kMostTileRows.
  TRange columns;  ///< Which columns of the strip take them; begins at a multiple of kMostTileRows.
  double* packed;  ///< Work space: kStripColumns for each of `done`, aligned to a cache line.
};

/// Every row below the first of `done` takes the terms of those above it that are among `done`.
void TakeEliminated(const TWaitingColumns& waiting);

}  // namespace SatCommonUtils::kernels
