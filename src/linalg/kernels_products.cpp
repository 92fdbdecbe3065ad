// Matrix products in blocks that stay in the caches: K. Goto, R. A. van de Geijn, Anatomy of high-performance matrix
// multiplication, 2008, doi:10.1145/1356052.1356053. Changed against it: no sum is split, so that the blocks of the
// inner index follow each other, and of a symmetric result half is made.

#include <algorithm>

#include "linalg/kernels.h"
#include "linalg/tile.h"

namespace SatCommonUtils::kernels {

namespace {

// Terms of the sums that are packed at a time: the more, the seldomer a tile's sums go to memory and come back. A panel
// of so many is twice the first cache; tiles ask for it ahead.
constexpr std::size_t kInnerBlock = 512;
// Rows that are packed at a time: a block of them fits the second cache. A multiple of every panel.
constexpr std::size_t kRowBlock = 192;
// Columns that are packed at a time. A multiple of kRowBlock.
constexpr std::size_t kColumnBlock = 6 * kRowBlock;
// Rows that a share of a triangle consists of; a multiple of every tile's rows.
constexpr std::size_t kShareRows = 8;
// Below so many multiplications packing does not pay.
constexpr std::size_t kSmallProduct = 2000;

std::size_t RoundedUp(std::size_t count, std::size_t unit) { return (count + unit - 1) / unit * unit; }

double Element(const TFactor& factor, std::size_t k, std::size_t i) {
  if (factor.transposed) return factor.rows[i][k];
  const double value = factor.rows[k][i];
  return factor.weights == nullptr ? value : value * factor.weights[k];
}

double WithTerm(TTerm term, double product, const double* weights, std::size_t k) {
  if (term == TTerm::Times) return product * weights[k];
  if (term == TTerm::Divided) return product / weights[k];
  return term == TTerm::Subtracted ? -product : product;
}

bool IsSmall(const TProduct& product) {
  return product.inner * product.rows * product.columns < kSmallProduct || product.inner == 0;
}

// Room for one block of a packed factor.
std::size_t PackedSize(const TProduct& product, std::size_t columns, std::size_t block) {
  if (IsSmall(product)) return 0;
  return std::min(product.inner, kInnerBlock) * std::min(RoundedUp(columns, kWidestPanel), block);
}

// The plain loops, for products that are over before anything is packed.
void MultiplySmall(const TProduct& product, TRange range, TRows c) {
  for (std::size_t i = range.first; i < range.last; ++i) {
    if (!product.add) std::fill_n(c[i], product.columns, 0.0);
    for (std::size_t k = 0; k < product.inner; ++k) {
      const double factor = Element(product.x, k, i);
      for (std::size_t j = 0; j < product.columns; ++j) {
        c[i][j] += WithTerm(product.term, factor * Element(product.y, k, j), product.weights, k);
      }
    }
  }
}

// Whether the rows from `row` on, up to the next multiple of kShareRows, are the share's. Going forth and back over
// the threads evens out that upper rows are longer.
bool IsOfShare(const TShare& share, std::size_t row) {
  const std::size_t group = row / kShareRows;
  const std::size_t place = group % share.threads;
  return share.thread == ((group / share.threads) % 2 == 0 ? place : share.threads - 1 - place);
}

// The blocked product. Of the rows in `range` those of the share are made, from the diagonal on when `upper`.
struct TBlockedProduct {
  const TProduct& product;
  TRange range;
  TShare share;
  bool upper;
  TRows c;
  double* y_panels;
  double* x_panels;
  const TShape shape = ShapeOfLevel();
  std::size_t tiles = 0;  // of the block so far

  void Run() {
    for (std::size_t j = 0; j < product.columns; j += kColumnBlock) {
      const TRange columns{j, std::min(j + kColumnBlock, product.columns)};
      for (std::size_t k = 0; k < product.inner; k += kInnerBlock) {
        Block(columns, {k, std::min(k + kInnerBlock, product.inner)});
      }
    }
  }

  // Adds the terms of `inner` to the sums of `columns`.
  void Block(TRange columns, TRange inner) {
    const std::size_t terms = inner.last - inner.first;
    tiles = 0;
    for (std::size_t j = columns.first; j < columns.last; j += shape.panel) {
      PackPanel(product.y, inner, {j, std::min(j + shape.panel, columns.last)}, y_panels + (j - columns.first) * terms);
    }
    const std::size_t last_row = upper ? std::min(range.last, columns.last) : range.last;
    for (std::size_t i = range.first; i < last_row; i += kRowBlock) {
      const TRange rows{i, std::min(i + kRowBlock, last_row)};
      const double* const x = XPanels(columns, inner, rows);
      for (std::size_t j = columns.first; j < columns.last; j += shape.panel) {
        const double* const y = y_panels + (j - columns.first) * terms;
        Panel(inner, rows, {j, std::min(j + shape.panel, columns.last)}, x, y);
      }
    }
  }

  // The packed factors of some rows: panels of y where both are the same.
  const double* XPanels(TRange columns, TRange inner, TRange rows) const {
    const std::size_t terms = inner.last - inner.first;
    const bool same = upper && product.x.rows == product.y.rows && product.x.weights == product.y.weights;
    if (same && rows.first >= columns.first) return y_panels + (rows.first - columns.first) * terms;
    for (std::size_t i = rows.first; i < rows.last; i += shape.panel) {
      PackPanel(product.x, inner, {i, std::min(i + shape.panel, rows.last)}, x_panels + (i - rows.first) * terms);
    }
    return x_panels;
  }

  // The tiles of some rows over the columns of one panel of y, which stays near meanwhile.
  void Panel(TRange inner, TRange rows, TRange columns, const double* x, const double* y) {
    const std::size_t terms = inner.last - inner.first;
    for (std::size_t row = rows.first; row < rows.last; row += shape.rows) {
      if (upper && (row >= columns.last || !IsOfShare(share, row))) continue;
      // From the vector on that holds the diagonal.
      const std::size_t skipped = upper && row > columns.first ? (row - columns.first) / shape.width * shape.width : 0;
      PrefetchTile(std::min(row + shape.rows, rows.last), rows.last, columns);
      const std::size_t place = row - rows.first;
      const double* const x_strip = x + place / shape.panel * shape.panel * terms + place % shape.panel;
      Tile(inner, {row, std::min(row + shape.rows, rows.last)}, {columns.first + skipped, columns.last}, x_strip,
           y + skipped);
    }
  }

  // Asks for the sums of the tile that comes next.
  void PrefetchTile(std::size_t row, std::size_t last_row, TRange columns) const {
    for (std::size_t i = row; i < std::min(row + shape.rows, last_row); ++i) {
      for (std::size_t j = columns.first; j < columns.last; j += kCacheLine) __builtin_prefetch(c[i] + j, 1);
    }
  }

  // The rows of y that are packed next. Every tile asks for one cache line of each, so that they come while it
  // calculates. Null when there are none, or `place` is past their end.
  TConstRows RowsAhead(TRange inner, std::size_t place) const {
    if (product.y.transposed || inner.last == product.inner || place >= product.columns) return nullptr;
    return product.y.rows + std::min(inner.last, product.inner - (inner.last - inner.first));
  }

  // One tile; at the edges of the result by way of a whole one.
  void Tile(TRange inner, TRange rows, TRange columns, const double* x, const double* y) {
    const std::size_t height = rows.last - rows.first;
    const std::size_t width = columns.last - columns.first;
    const std::size_t vectors = (width + shape.width - 1) / shape.width;
    const double* const w = product.weights == nullptr ? nullptr : product.weights + inner.first;
    const bool fresh = inner.first == 0 && !product.add;
    double* tile_rows[kMostTileRows];
    const std::size_t ahead_place = kCacheLine * tiles++;
    const TTileTask task{
        x, y, w, inner.last - inner.first, vectors, tile_rows, fresh, RowsAhead(inner, ahead_place), ahead_place};
    if (height == shape.rows && width == vectors * shape.width) {
      for (std::size_t r = 0; r < height; ++r) tile_rows[r] = c[rows.first + r] + columns.first;
      AddToTile(product.term, task);
      return;
    }
    double whole[kMostTileRows][kWidestPanel];
    for (std::size_t r = 0; r < shape.rows; ++r) {
      tile_rows[r] = whole[r];
      std::fill_n(whole[r], kWidestPanel, 0.0);
      if (r < height && !fresh) std::copy_n(c[rows.first + r] + columns.first, width, whole[r]);
    }
    AddToTile(product.term, task);
    for (std::size_t r = 0; r < height; ++r) std::copy_n(whole[r], width, c[rows.first + r] + columns.first);
  }
};

}  // namespace

TWorkspace::TWorkspace(const TProduct& product)
    : TWorkspace(PackedSize(product, product.columns, kColumnBlock), PackedSize(product, product.rows, kRowBlock)) {}

TWorkspace::TWorkspace(std::size_t y_size, std::size_t x_size) : buffer_(y_size + x_size), x_offset_(y_size) {}

void Multiply(const TProduct& product, TRange range, TRows c, const TWorkspace& workspace) {
  if (IsSmall(product)) return MultiplySmall(product, range, c);
  TBlockedProduct{product, range, {}, false, c, workspace.GetY(), workspace.GetX()}.Run();
}

void MultiplyUpper(const TProduct& product, TShare share, TRows c, const TWorkspace& workspace) {
  const TRange all{0, product.rows};
  if (!IsSmall(product)) return TBlockedProduct{product, all, share, true, c, workspace.GetY(), workspace.GetX()}.Run();
  if (share.thread == 0) MultiplySmall(product, all, c);
}

void MirrorUpper(TRange range, TRows c) {
  for (std::size_t i = range.first; i < range.last; ++i) {
    for (std::size_t j = 0; j < i; ++j) c[i][j] = c[j][i];
  }
}

void MultiplySymmetric(const TProduct& product, TRows c) {
  MultiplyUpper(product, {}, c, TWorkspace(product));
  MirrorUpper({0, product.rows}, c);
}

}  // namespace SatCommonUtils::kernels
