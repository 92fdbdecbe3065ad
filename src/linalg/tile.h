#pragma once
// Tiles of matrix products: many sums side by side in registers, each in index order.
//
// Factors are packed in panels, the form in which a tile reads them: `panel` columns of consecutive k, one row of the
// panel after the other. The sizes depend on the vector width that this process uses.

#include <cstddef>

#include "linalg/kernels.h"

namespace SatCommonUtils::kernels {

/// Sizes of tiles and panels at one vector width.
struct TShape {
  std::size_t width;  ///< Doubles in a vector.
  std::size_t rows;   ///< Rows of a tile; a divisor of 8 and of `panel`.
  std::size_t panel;  ///< Columns of a panel and of the widest tile; a multiple of `width`, a divisor of kWidestPanel.
};

/// The sizes at the level of this process.
TShape ShapeOfLevel();

inline constexpr std::size_t kMostTileRows = 8;
inline constexpr std::size_t kWidestPanel = 24;

/// panel[(k − inner.first)·shape.panel + (i − columns.first)] = element (k, i), and zeros
/// beyond the last column as far as tiles read.
/// \param columns at most shape.panel of them. \param panel aligned to a vector.
void PackPanel(const TFactor& factor, TRange inner, TRange columns, double* panel);

/// c[r][j] takes the terms of x(k, r), y(k, j) for k below `inner`, r below shape.rows, j below vectors·width.
struct TTileTask {
  const double* x;             ///< A panel, or one from its column r on.
  const double* y;             ///< As `x`, aligned to a vector.
  const double* w;             ///< Weights of the terms, if they have any.
  std::size_t inner;           ///< Terms of each sum.
  std::size_t vectors;         ///< Width of the tile in vectors, 1 to shape.panel / shape.width.
  double* const* c;            ///< The rows of the tile.
  bool fresh;                  ///< The sums start at 0.0 instead of at what `c` holds.
  const double* const* ahead;  ///< `inner` rows of which one element each is asked for meanwhile, or null.
  std::size_t ahead_place;     ///< Its column.
};

/// Does a task with one kind of terms.
void AddToTile(TTerm term, const TTileTask& task);

}  // namespace SatCommonUtils::kernels
